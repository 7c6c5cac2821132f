#pragma once

#include "platform/ui/ApplicationDelegate.h"
#include "preview/PreviewMode.h"

#include <QObject>
#include <QPointer>

#include <functional>

#include "platform/ui/Window.h"

/// Runs the app: builds the one window with the browser as its root, starts the network
/// watcher, allows state saving only while the drive is enabled, and opens one item from a URL
/// of the app's own scheme sent by the launcher or the test runner.
class SyncServiceWatch;
class AppDelegate final : public QObject, public ApplicationDelegate
{
    Q_OBJECT
    Q_INTERFACES(ApplicationDelegate)

public:
    static inline const QString URLScheme = QStringLiteral("aerovadriveapp");
    static inline const QStringList AcceptedSourceApplications{QStringLiteral("com.quillmere.GuiTest"),
                                                               QStringLiteral("com.quillmere.tramplin")};

    /// The URL a launcher's text names. The scheme is compared as the caller wrote it: a text
    /// such as "AerovaDriveApp:…" names no URL of this app (empty), though URL parsing would
    /// lower-case its scheme into this app's.
    static QUrl launchURLFromText(const QString &text);

    explicit AppDelegate(QObject *parent = nullptr);
    ~AppDelegate() override;

    Window *rootWindow() const { return _rootWindow.data(); }
    /// The application-delegate window property; the delegate never sets it itself.
    Window *window() const { return m_window.data(); }
    void setWindow(Window *window) { m_window = window; }

    bool application_willFinishLaunchingWithOptions(Application *application, const QVariantMap &options) override;
    bool application_didFinishLaunchingWithOptions(Application *application, const QVariantMap &options) override;
    bool application_openURL_options(Application *application, const QUrl &url, const QVariantMap &options) override;
    bool application_shouldSaveApplicationState(Application *application, const QVariant &coder) override;
    bool application_shouldRestoreApplicationState(Application *application, const QVariant &coder) override;
    void applicationWillResignActive(Application *application) override;
    /// A diagnostic hook, empty.
    void dumpWindowInfo() { }

    /// The file URL and preview mode a URL of the app's scheme asks for (the path decoded once
    /// more, a promised item's logical URL); false when the URL cannot be split.
    static bool fileURLAndModeForURL(const QUrl &url, QUrl *fileURL, PreviewMode *mode);

private:
    QPointer<Window> _rootWindow;
    QPointer<Window> m_window;
    QPointer<SyncServiceWatch> m_syncWatch;
};
