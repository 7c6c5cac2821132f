#include "platform/apps/DocumentInteractionController.h"

#include "core/DRLogging.h"
#include "platform/apps/ApplicationProxy.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/ViewController.h"

#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>

#include <QThreadPool>

namespace {

/// Starts `app` on `url`; when it cannot start, the log and the person both hear why.
void launch(const std::shared_ptr<ApplicationProxy> &app, const QUrl &url, const QPointer<ViewController> &presenter = {})
{
    QString failure;
    if (app->launchWithURLs({url}, &failure)) {
        return;
    }
    DRLog(LOG_ERR, "Could not open %@ in %@: %@", url, app->localizedName(), failure);
    if (!presenter) {
        return;
    }
    auto *alert = new AlertController(
        LocalizedString::localizedStringWithFormat(QStringLiteral("“%@” Could Not Be Opened"), app->localizedName()),
        failure, AlertController::Style::Alert);
    alert->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("OK")), AlertAction::Style::Default, {}));
    presenter->presentViewController(alert, true);
}

/// The app that shows folders (a file manager); null on a device without one, where nothing
/// offers to show a folder.
std::shared_ptr<ApplicationProxy> folderApplication()
{
    return ApplicationProxy::defaultApplicationForType(QStringLiteral("inode/directory"));
}

} // namespace

std::shared_ptr<DocumentInteractionController> DocumentInteractionController::interactionControllerWithURL(const QUrl &url)
{
    return std::shared_ptr<DocumentInteractionController>(new DocumentInteractionController(url));
}

DocumentInteractionController::DocumentInteractionController(const QUrl &url)
    : m_url(url)
{
}

QString DocumentInteractionController::UTI() const
{
    std::optional<Error> error;
    const auto values = URLResourceValues::promisedItemResourceValuesForKeys(m_url, {URLResourceKey::TypeIdentifier},
                                                                             &error);
    return values ? values->value(URLResourceKey::TypeIdentifier).toString() : QString();
}

std::shared_ptr<ApplicationProxy> DocumentInteractionController::defaultApplication() const
{
    return ApplicationProxy::defaultApplicationForType(UTI());
}

bool DocumentInteractionController::openDocumentWithDefaultApplication()
{
    return openDocumentWithApplication(defaultApplication());
}

bool DocumentInteractionController::openDocumentWithApplication(const std::shared_ptr<ApplicationProxy> &app)
{
    if (!app) {
        return false;
    }
    const QUrl url = m_url;
    if (!PromisePlaceholder::isPromisedItem(url.toLocalFile())) {
        launch(app, url);
        return true;
    }
    // the other app needs the content: what stops a download before it starts (offline, content
    // gone from the store) is known now, and then no app gets the document and the caller
    // shows its own preview instead
    if (const std::optional<Error> blocked = PromiseStore::checkDownloadable(url.toLocalFile())) {
        DRLog(LOG_ERR, "Could not download %@ to open it: %@", url, blocked->description());
        return false;
    }
    // the download itself runs away from the caller's thread
    QThreadPool::globalInstance()->start([app, url] {
        FileCoordinator coordinator;
        std::optional<Error> error;
        bool downloaded = false;
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(url, 0, &error,
                                                                        [&downloaded](const QUrl &) { downloaded = true; });
        if (!downloaded) {
            DRLog(LOG_ERR, "Could not download %@ to open it: %@", url, error ? error->description() : QString());
            return;
        }
        DispatchQueue::main()->async([app, url] { launch(app, url); });
    });
    return true;
}

AlertController *DocumentInteractionController::makeOptionsMenu(ViewController *presenter) const
{
    const QUrl url = m_url;
    const QPointer<ViewController> shownOver(presenter);
    auto *menu = new AlertController(FilePath::displayName(QFileInfo(url.toLocalFile()).fileName()), QString(),
                                     AlertController::Style::ActionSheet);
    for (const std::shared_ptr<ApplicationProxy> &app : ApplicationProxy::applicationsForType(UTI())) {
        menu->addAction(new AlertAction(
            LocalizedString::localizedStringWithFormat(QStringLiteral("Open in “%@”"), app->localizedName()),
            AlertAction::Style::Default,
            [app, url](AlertAction *) { interactionControllerWithURL(url)->openDocumentWithApplication(app); }));
    }
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Copy")), AlertAction::Style::Default,
                                    [url](AlertAction *) {
                                        auto *data = new QMimeData;
                                        data->setUrls({url});
                                        data->setText(url.toLocalFile());
                                        QGuiApplication::clipboard()->setMimeData(data);
                                    }));
    // offered only where a file manager can show it: a choice that does nothing is worse than none
    if (const std::shared_ptr<ApplicationProxy> files = folderApplication()) {
        menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Show in Folder")),
                                        AlertAction::Style::Default, [files, url, shownOver](AlertAction *) {
                                            launch(files, QUrl::fromLocalFile(QFileInfo(url.toLocalFile()).absolutePath()),
                                                   shownOver);
                                        }));
    }
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel, {}));
    return menu;
}

AlertController *DocumentInteractionController::presentOptionsMenuFromRect_inView_inViewController_animated(
    const QRect &rect, QWidget *view, ViewController *viewController, bool animated)
{
    if (!viewController) {
        return nullptr;
    }
    AlertController *menu = makeOptionsMenu(viewController);
    menu->popoverPresentationController()->setSourceView(view);
    menu->popoverPresentationController()->setSourceRect(rect);
    viewController->presentViewController(menu, animated);
    return menu;
}

AlertController *DocumentInteractionController::presentOptionsMenuFromBarButtonItem_inViewController_animated(
    BarButtonItem *item, ViewController *viewController, bool animated)
{
    if (!viewController) {
        return nullptr;
    }
    AlertController *menu = makeOptionsMenu(viewController);
    menu->popoverPresentationController()->setBarButtonItem(item);
    viewController->presentViewController(menu, animated);
    return menu;
}
