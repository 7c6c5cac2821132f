#include "model/LaunchUtils.h"

#include "core/DRLogging.h"
#include "model/AVDAppBookmarks.h"
#include "model/FileUtils.h"
#include "platform/apps/ApplicationProxy.h"
#include "platform/apps/DocumentInteractionController.h"
#include "platform/drive/KDContainer.h"
#include "platform/foundation/Preferences.h"
#include "platform/lists/DocumentListControllerPresentOSAlert.h"

bool LaunchUtils::openInDefaultApp_viewController_requireOpenIn(const QUrl &url, ViewController *viewController,
                                                                bool requireOpenIn)
{
    DRLog(LOG_INFO, "Opening document %@ in default app", url);
    QUrl documentURL = url;
    if (const QUrl target = avd_URLByResolvingBookmark(url); !target.isEmpty()) {
        documentURL = target;
    }
    if (!defaultAppForDocument_requireOpenIn(documentURL, requireOpenIn)) {
        return false;
    }
    bool opened = false;
    DocumentListControllerPresentOSAlert(documentURL, viewController, [documentURL, &opened] {
        const auto controller = DocumentInteractionController::interactionControllerWithURL(documentURL);
        opened = controller->openDocumentWithDefaultApplication();
    });
    return opened;
}

std::shared_ptr<ApplicationProxy> LaunchUtils::defaultAppForDocument_requireOpenIn(const QUrl &url, bool requireOpenIn)
{
    if (!FileUtils::exists(url)) {
        // a promised document is treated like a present one
        DRLog(LOG_DEBUG, "Assuming apps can open a promised document...");
    }
    if (isUrlInDefaultContainer(url) && FileUtils::isAudioVideoImageFile(url)) {
        DRLog(LOG_DEBUG, "Preferring QL over default app to open %@", url);
        return nullptr;
    }
    const auto app = DocumentInteractionController::interactionControllerWithURL(url)->defaultApplication();
    if (!app) {
        DRLog(LOG_DEBUG, "No default app to open %@", url);
        return nullptr;
    }
    DRLog(LOG_DEBUG, "App for %@: %@, %@, %@, %@, %@, %@, %@, %@, %@, %@, %@", url, app->itemName(),
          app->localizedName(), app->localizedShortName(), app->shortVersionString(), app->vendorName(),
          app->bundleIdentifier(), app->bundleExecutable(), app->bundleContainerURL(), int(app->isInstalled()),
          app->itemID(), app->description());
    if (requireOpenIn && !app->supportsOpenInPlace()) {
        DRLog(LOG_DEBUG, "App %@ does not support open in place. Ignoring", app->bundleIdentifier());
        return nullptr;
    }
    if (app->bundleIdentifier() == QLatin1String(AerovaAppBundleIdentifier)) {
        DRLog(LOG_DEBUG, "Ignoring %@ as default app", app->bundleIdentifier());
        return nullptr;
    }
    return app;
}

QString LaunchUtils::defaultAppNameForDocument_requireOpenIn(const QUrl &url, bool requireOpenIn)
{
    const auto app = defaultAppForDocument_requireOpenIn(url, requireOpenIn);
    return app ? app->localizedName() : QString();
}

bool LaunchUtils::isUrlInDefaultContainer(const QUrl &url)
{
    std::optional<Error> error;
    const auto container = KDContainer::containerForItemAtURL_error(url, &error);
    if (error) {
        DRLog(LOG_WARNING, "Can't get container for URL %@: %@", url, *error);
    }
    return container && container->identifier() == KDUbiquitousDefaultContainerID;
}
