#pragma once

#include "browser/FilenamePrompt.h"

/// The name prompt for a new folder: the caller's title and button, no starting name.
class NewFolderPrompt final : public FilenamePrompt
{
    Q_OBJECT

public:
    NewFolderPrompt(const QString &title, const QString &doneButtonText, ValidateCallback completion);
    static std::unique_ptr<NewFolderPrompt> newWithTitle_doneButtonText_completion(const QString &title,
                                                                                   const QString &doneButtonText,
                                                                                   ValidateCallback completion);
};
