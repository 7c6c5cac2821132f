#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariantMap>

class ApplicationDelegate;
#include "platform/ui/Window.h"

/// The running app as its delegate sees it: launching, becoming active and resigning (posted as
/// notifications), URLs to open with the application that sent them, and saving the screens'
/// state when the app leaves the foreground and restoring it at the next launch.
class Application final : public QObject
{
    Q_OBJECT

public:
    /// The options key of the application that sent a URL (its identifier).
    static inline const QString OpenURLOptionsSourceApplicationKey = QStringLiteral("SourceApplication");
    /// The identifier a screen needs for its state to be saved and restored.
    static inline const QString StateRestorationRootIdentifier = QStringLiteral("Root");

    static Application *shared();

    /// Weak: an object implementing ApplicationDelegate.
    QObject *delegate() const { return m_delegate.data(); }
    /// Launches: the delegate's will-finish, the restoration of saved state, its did-finish.
    void launchWithDelegate(QObject *delegate, const QVariantMap &options = {});
    /// Hands a URL to the delegate; the answer is whether it was handled.
    bool openURL(const QUrl &url, const QVariantMap &options);

    /// The window made visible last (the delegate's).
    Window *keyWindow() const { return m_keyWindow.data(); }
    void setKeyWindow(Window *window) { m_keyWindow = window; }

    bool isActive() const { return m_active; }
    /// Follows the platform's application state; tests call it to play activation.
    void setActive(bool active);

    /// Writes the state of the key window's root screen, when the delegate allows it.
    bool saveApplicationState();
    /// Gives the root screen its saved state, when the delegate allows it and there is one.
    bool restoreApplicationState();
    static QString savedStatePath();

private:
    Application() = default;
    ApplicationDelegate *applicationDelegate() const;

    QPointer<QObject> m_delegate;
    QPointer<Window> m_keyWindow;
    bool m_active = false;
};
