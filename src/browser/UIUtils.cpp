#include "browser/UIUtils.h"

#include "core/DRLogging.h"
#include "model/AVDAppBookmarks.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Device.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/ViewController.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QWidget>

namespace {
/// The extension of a file name: what follows its last dot, empty when there is none.
QString extensionOf(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.mid(dot + 1) : QString();
}
} // namespace

std::optional<Error> UIUtils::renameItemAtURL_toName(const QUrl &url, const QString &name)
{
    if (name.isEmpty()) {
        DRLog(LOG_DEBUG, "Rename: empty, reverting");
        return Error::fileError(FileWriteInvalidFileNameError);
    }
    if (!FileUtils::isValidFilename(name)) {
        DRLog(LOG_DEBUG, "Name is invalid: %@", name);
        return Error::fileError(FileWriteInvalidFileNameError);
    }
    DRLog(LOG_DEBUG, "Name is valid: %@", name);
    QUrl oldURL = url;
    const QUrl target = avd_URLByResolvingBookmark(url);
    if (!target.isEmpty()) {
        DRLog(LOG_DEBUG, "Renaming bookmark %@ (%@)", url, target);
        oldURL = target;
    }
    const QUrl newURL = computeNewURL_newBasename(oldURL, name);
    if (newURL == oldURL) {
        DRLog(LOG_DEBUG, "Rename: Old and new URLs are the same: %@ - %@", oldURL, newURL);
        return std::nullopt;
    }
    return FileUtils::move_to(oldURL, newURL);
}

QUrl UIUtils::computeNewURL_newBasename(const QUrl &url, const QString &newBasename)
{
    const QString path = FilePath::localPath(url);
    const QFileInfo info(path);
    const QString oldExtension = extensionOf(info.fileName());
    QString name = newBasename;
    if (!oldExtension.isEmpty() && extensionOf(newBasename).compare(oldExtension, Qt::CaseInsensitive) != 0) {
        name += QLatin1Char('.') + oldExtension;
    }
    return QUrl::fromLocalFile(info.path() + QLatin1Char('/') + name);
}

void UIUtils::showAlert_message_parentViewController(const QString &title, const QString &message,
                                                     ViewController *parentViewController)
{
    if (!parentViewController) {
        return;
    }
    auto *alert = new AlertController(title, message, AlertController::Style::Alert);
    alert->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("OK")), AlertAction::Style::Default, {}));
    parentViewController->presentViewController(alert, true);
}

void UIUtils::showError_parentViewController(const std::optional<Error> &error, ViewController *parentViewController)
{
    showAlert_message_parentViewController(bestMessage(error), QString(), parentViewController);
}

QString UIUtils::bestMessage(const std::optional<Error> &error)
{
    if (!error) {
        return QStringLiteral("");
    }
    return error->localizedDescription().isEmpty() ? error->localizedFailureReason() : error->localizedDescription();
}

void UIUtils::showItemExistsAlert_parentViewController(const QString &name, ViewController *parentViewController)
{
    const QString extension = extensionOf(name);
    const QString stem = extension.isEmpty() ? name : name.left(name.size() - extension.size() - 1);
    const QString title = extension.isEmpty()
        ? LocalizedString::localizedStringWithFormat(QStringLiteral("The name “%@” is already taken."), stem)
        : LocalizedString::localizedStringWithFormat(
              QStringLiteral("The name “%1$@” with extension “.%2$@” is already taken."), stem, extension);
    showAlert_message_parentViewController(title, LocalizedString::localized(QStringLiteral("Choose a different name.")),
                                           parentViewController);
}

void UIUtils::showInvalidItemNameAlert_parentViewController(const QString &name, ViewController *parentViewController)
{
    showAlert_message_parentViewController(
        QString(),
        LocalizedString::localizedStringWithFormat(
            QStringLiteral("The name “%@” can’t be used. Try using a name with fewer characters, or with no "
                           "punctuation marks."),
            name),
        parentViewController);
}

void UIUtils::setCursorInTextFieldToBeforeExtension(QLineEdit *textField)
{
    const qsizetype dot = textField->text().lastIndexOf(QLatin1Char('.'));
    if (dot >= 0) {
        textField->setCursorPosition(int(dot));
    }
}

void UIUtils::selectTextInTextField_range(QLineEdit *textField, int location, int length)
{
    textField->setSelection(location, length);
}

bool UIUtils::veskMode()
{
    return Device::userInterfaceIdiom() == Device::Idiom::Pad;
}

void UIUtils::addChildViewController_childViewController(ViewController *parent, ViewController *child)
{
    child->setParent(parent);
    child->view()->setParent(parent->view());
    child->view()->show();
}

QString UIUtils::messageForDeletePrompt(const QList<QUrl> &urls)
{
    if (urls.size() != 1) {
        const QString items = LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.ITEMS.%d"),
                                                                         int(urls.size()), qint64(urls.size()));
        return LocalizedString::localizedStringWithFormat(
            QStringLiteral("%@ will be permanently deleted from Aerova Drive on all your devices. This action cannot "
                           "be undone."),
            items);
    }
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(urls.first());
    if (!item || item->localizedName().isEmpty()) {
        return {};
    }
    if (item->isContainer()) {
        return LocalizedString::localizedStringWithFormat(
            QStringLiteral("The %@ app library, and all its documents, will be permanently deleted from Aerova Drive "
                           "on all your devices. This action cannot be undone."),
            item->localizedName());
    }
    return LocalizedString::localizedStringWithFormat(
        QStringLiteral("\"%@\" will be permanently deleted from Aerova Drive on all your devices. This action cannot "
                       "be undone."),
        item->localizedName());
}

void UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
    const QList<QUrl> &urls, bool hasContainer, ViewController *viewController, QWidget *view, BarButtonItem *button,
    const DeleteWarningCompletion &completion)
{
    Q_UNUSED(hasContainer)
    if (urls.isEmpty()) {
        if (completion) {
            completion(nullptr, true);
        }
        return;
    }
    const QString message = messageForDeletePrompt(urls);
    if (message.isEmpty()) {
        return; // the item is gone or unreadable: nothing to confirm
    }
    auto *sheet = new AlertController(QString(), message, AlertController::Style::ActionSheet);
    sheet->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Delete from Aerova Drive")),
                                     AlertAction::Style::Destructive, [completion](AlertAction *action) {
                                         DRLog(LOG_DEBUG, "Delete action");
                                         if (completion) {
                                             completion(action, false);
                                         }
                                     }));
    sheet->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel,
                                     [completion](AlertAction *action) {
                                         DRLog(LOG_INFO, "Delete: Cancel pressed");
                                         if (completion) {
                                             completion(action, true);
                                         }
                                     }));
    PopoverPresentationController *popover = sheet->popoverPresentationController();
    if (view) {
        popover->setSourceViewMiddleLine(view);
    } else {
        popover->setBarButtonItem(button);
    }
    if (viewController) {
        viewController->presentViewController(sheet, true);
    } else {
        delete sheet;
    }
}
