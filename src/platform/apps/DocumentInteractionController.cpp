#include "platform/apps/DocumentInteractionController.h"

#include "app/DRLogging.h"
#include "platform/apps/ApplicationProxy.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/DispatchQueue.h"

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
    const std::shared_ptr<ApplicationProxy> app = defaultApplication();
    if (!app) {
        return false;
    }
    const QUrl url = m_url;
    if (!PromisePlaceholder::isPromisedItem(url.toLocalFile())) {
        launch(app, url);
        return true;
    }
    // the other app needs the content: download it first, away from the caller's thread
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
