#include "browser/RenamePrompt.h"

#include "platform/foundation/LocalizedString.h"

RenamePrompt::RenamePrompt(const QString &filename, ValidateCallback completion)
    : FilenamePrompt(LocalizedString::localized(QStringLiteral("Rename Item")),
                     LocalizedString::localized(QStringLiteral("Enter a new name for this item.")), filename, filename,
                     LocalizedString::localized(QStringLiteral("Done")), std::move(completion))
{
}

std::unique_ptr<RenamePrompt> RenamePrompt::newWithFilename_completion(const QString &filename,
                                                                       ValidateCallback completion)
{
    return std::make_unique<RenamePrompt>(filename, std::move(completion));
}
