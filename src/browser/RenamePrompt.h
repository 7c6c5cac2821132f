#pragma once

#include "browser/FilenamePrompt.h"

/// The name prompt for renaming an item: its current name as the starting text.
class RenamePrompt final : public FilenamePrompt
{
    Q_OBJECT

public:
    RenamePrompt(const QString &filename, ValidateCallback completion);
    static std::unique_ptr<RenamePrompt> newWithFilename_completion(const QString &filename,
                                                                    ValidateCallback completion);
};
