#pragma once

#include "browser/FilenamePrompt.h"

/// The name prompt for renaming an item: its current name as the starting text, selected
/// without its extension so that typing replaces the name alone.
class RenamePrompt final : public FilenamePrompt
{
    Q_OBJECT

public:
    RenamePrompt(const QString &filename, ValidateCallback completion);
    static std::unique_ptr<RenamePrompt> newWithFilename_completion(const QString &filename,
                                                                    ValidateCallback completion);
    /// Selects all of the name: a folder's name has no extension to keep.
    void selectWholeName();
    /// What confirming a name does for the item at `url`: an empty name keeps the prompt open
    /// quietly; otherwise the item is renamed (keeping its extension) and a failure's message
    /// keeps the prompt open.
    static ValidateCallback renamingItemAtURL(const QUrl &url);
};
