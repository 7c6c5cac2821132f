#include "browser/RenamePrompt.h"

#include "browser/UIUtils.h"
#include "model/FileUtils.h"
#include "platform/foundation/LocalizedString.h"

#include <QLineEdit>

RenamePrompt::RenamePrompt(const QString &filename, ValidateCallback completion)
    : FilenamePrompt(LocalizedString::localized(QStringLiteral("Rename Item")),
                     LocalizedString::localized(QStringLiteral("Enter a new name for this item.")), filename, filename,
                     LocalizedString::localized(QStringLiteral("Done")), std::move(completion))
{
    // typing replaces the name and keeps the extension, as in every file manager
    if (QLineEdit *field = textField()) {
        field->setSelection(0, int(FileUtils::splitName(filename).first.size()));
    }
}

void RenamePrompt::selectWholeName()
{
    if (QLineEdit *field = textField()) {
        field->selectAll();
    }
}

std::unique_ptr<RenamePrompt> RenamePrompt::newWithFilename_completion(const QString &filename,
                                                                       ValidateCallback completion)
{
    return std::make_unique<RenamePrompt>(filename, std::move(completion));
}

FilenamePrompt::ValidateCallback RenamePrompt::renamingItemAtURL(const QUrl &url)
{
    return [url](const QString &name, bool *accepted) -> QString {
        if (name.isEmpty()) {
            *accepted = false;
            return QString();
        }
        const std::optional<Error> error = UIUtils::renameItemAtURL_toName(url, name);
        *accepted = !error.has_value();
        return UIUtils::bestMessage(error);
    };
}
