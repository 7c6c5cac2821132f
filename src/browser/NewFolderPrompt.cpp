#include "browser/NewFolderPrompt.h"

#include "platform/foundation/LocalizedString.h"

NewFolderPrompt::NewFolderPrompt(const QString &title, const QString &doneButtonText, ValidateCallback completion)
    : FilenamePrompt(title, LocalizedString::localized(QStringLiteral("Enter a name for this folder.")),
                     LocalizedString::localized(QStringLiteral("Folder Name")), QString(), doneButtonText,
                     std::move(completion))
{
}

std::unique_ptr<NewFolderPrompt> NewFolderPrompt::newWithTitle_doneButtonText_completion(const QString &title,
                                                                                         const QString &doneButtonText,
                                                                                         ValidateCallback completion)
{
    return std::make_unique<NewFolderPrompt>(title, doneButtonText, std::move(completion));
}
