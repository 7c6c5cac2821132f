#include "platform/apps/DocumentInteractionController.h"

#include "app/DRLogging.h"
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

#include <QThreadPool>

namespace {

void launch(const std::shared_ptr<ApplicationProxy> &app, const QUrl &url)
{
    QString failure;
    if (!app->launchWithURLs({url}, &failure)) {
        DRLog(LOG_ERR, "Could not open %@ in %@: %@", url, app->localizedName(), failure);
    }
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

AlertController *DocumentInteractionController::makeOptionsMenu() const
{
    const QUrl url = m_url;
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
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Show in Folder")),
                                    AlertAction::Style::Default, [url](AlertAction *) {
                                        const QUrl folder = QUrl::fromLocalFile(QFileInfo(url.toLocalFile()).absolutePath());
                                        if (auto app = ApplicationProxy::defaultApplicationForType(
                                                QStringLiteral("inode/directory"))) {
                                            launch(app, folder);
                                        }
                                    }));
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel, {}));
    return menu;
}

AlertController *DocumentInteractionController::presentOptionsMenuFromRect_inView_inViewController_animated(
    const QRect &rect, QWidget *view, ViewController *viewController, bool animated)
{
    if (!viewController) {
        return nullptr;
    }
    AlertController *menu = makeOptionsMenu();
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
    AlertController *menu = makeOptionsMenu();
    menu->popoverPresentationController()->setBarButtonItem(item);
    viewController->presentViewController(menu, animated);
    return menu;
}
