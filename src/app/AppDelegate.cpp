#include "app/AppDelegate.h"

#include "platform/drive/SyncServiceWatch.h"

#include "browser/NavController.h"
#include "core/DRLogging.h"
#include "core/Settings.h"
#include "model/AVDAppBookmarks.h"
#include "platform/foundation/StringFormat.h"
#include "platform/ui/Application.h"
#include "platform/ui/Device.h"
#include "platform/ui/Window.h"
#include "watchers/NetworkWatcher.h"

#include <QGuiApplication>
#include <QScreen>
#include <QUrlQuery>

namespace {
/// A phone-sized or tablet-sized window on a large desktop screen; the whole screen on a device.
QRect mainScreenBounds()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    QRect bounds = screen ? screen->availableGeometry() : QRect(0, 0, 390, 844);
    if (bounds.width() > 1366 || bounds.height() > 1366) {
        const QSize size = Device::userInterfaceIdiom() == Device::Idiom::Pad ? QSize(1024, 768) : QSize(430, 880);
        bounds = QRect(bounds.center() - QPoint(size.width() / 2, size.height() / 2), size);
    }
    return bounds;
}
} // namespace

AppDelegate::AppDelegate(QObject *parent)
    : QObject(parent)
{
}

AppDelegate::~AppDelegate()
{
    delete _rootWindow.data();
}

bool AppDelegate::application_willFinishLaunchingWithOptions(Application *application, const QVariantMap &options)
{
    Q_UNUSED(options)
    NetworkWatcher::sharedNetworkWatcher()->start();
    _rootWindow = new Window(mainScreenBounds());
    QPalette palette = _rootWindow->palette();
    palette.setColor(QPalette::Window, Qt::white);
    _rootWindow->setPalette(palette);
    _rootWindow->setAutoFillBackground(true);
    auto *navController = new NavController;
    // deliberate: a tablet without QuickLaunch gets no browser
    if (Device::userInterfaceIdiom() == Device::Idiom::Pad && !Settings::quickLaunch()) {
        delete navController;
    } else {
        _rootWindow->setRootViewController(navController);
    }
    if (ViewController *root = _rootWindow->rootViewController()) {
        root->setRestorationIdentifier(Application::StateRestorationRootIdentifier);
    }
    _rootWindow->makeKeyAndVisible();
    if (application) {
        application->setKeyWindow(_rootWindow.data());
    }
    return true;
}

bool AppDelegate::application_didFinishLaunchingWithOptions(Application *application, const QVariantMap &options)
{
    Q_UNUSED(application)
    Q_UNUSED(options)
    // with a server behind the drive, the sync service hears that the app is open
    m_syncWatch = new SyncServiceWatch(this);
    return true;
}

bool AppDelegate::fileURLAndModeForURL(const QUrl &url, QUrl *fileURL, PreviewMode *mode)
{
    if (!url.isValid()) {
        return false;
    }
    // the platform has decoded the path once; the sender encoded it twice
    const QString path = QUrl::fromPercentEncoding(url.path(QUrl::FullyDecoded).toUtf8());
    QUrl file = QUrl::fromLocalFile(path);
    const QUrl promised = avd_URLByResolvingPromise(file);
    if (!promised.isEmpty()) {
        file = promised;
    }
    PreviewMode chosen = PreviewModePreview;
    const QUrlQuery query(url);
    for (const auto &[name, value] : query.queryItems(QUrl::FullyDecoded)) {
        if (name != QLatin1String("mode")) {
            continue;
        }
        if (value == QLatin1String("preview")) {
            chosen = PreviewModePreview;
        } else if (value == QLatin1String("details") || value == QLatin1String("info")) {
            chosen = PreviewModeDetails;
        }
    }
    *fileURL = file;
    *mode = chosen;
    return true;
}

QUrl AppDelegate::launchURLFromText(const QString &text)
{
    const QString writtenScheme = text.section(QLatin1Char(':'), 0, 0);
    if (writtenScheme != URLScheme && writtenScheme.compare(URLScheme, Qt::CaseInsensitive) == 0) {
        return {};
    }
    return QUrl(text);
}

bool AppDelegate::application_openURL_options(Application *application, const QUrl &url, const QVariantMap &options)
{
    DRLog(LOG_INFO, "openURL: %@, options %@, app %@", url, options,
          application ? QStringLiteral("<Application>") : QString());
    QUrl fileURL;
    PreviewMode mode = PreviewModePreview;
    if (!url.isValid()) {
        return false;
    }
    if (url.scheme() != URLScheme) {
        return false;
    }
    const QVariant source = options.value(Application::OpenURLOptionsSourceApplicationKey);
    if (!AcceptedSourceApplications.contains(source.toString())) {
        DRLog(LOG_WARNING, "Ignoring openURL launch from unknown source: %@", source);
        return false;
    }
    if (!fileURLAndModeForURL(url, &fileURL, &mode)) {
        return false;
    }
    auto *navController = qobject_cast<NavController *>(_rootWindow ? _rootWindow->rootViewController() : nullptr);
    if (!navController) {
        return false;
    }
    return navController->showURLPreview_previewMode(fileURL, mode);
}

bool AppDelegate::application_shouldSaveApplicationState(Application *application, const QVariant &coder)
{
    Q_UNUSED(application)
    Q_UNUSED(coder)
    return NavController::checkAerovaState();
}

bool AppDelegate::application_shouldRestoreApplicationState(Application *application, const QVariant &coder)
{
    return application_shouldSaveApplicationState(application, coder);
}

void AppDelegate::applicationWillResignActive(Application *application)
{
    Q_UNUSED(application)
    dumpWindowInfo();
}
