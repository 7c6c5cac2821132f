#include "platform/ui/Application.h"

#include "platform/drive/DriveLayout.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/ui/ApplicationDelegate.h"
#include "platform/ui/StateCoder.h"
#include "platform/ui/ViewController.h"
#include "platform/ui/Window.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>

Application *Application::shared()
{
    static Application *application = [] {
        auto *app = new Application;
        if (auto *gui = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
            app->setParent(gui);
            connect(gui, &QGuiApplication::applicationStateChanged, app, [app](Qt::ApplicationState state) {
                app->setActive(state == Qt::ApplicationActive);
            });
            connect(gui, &QCoreApplication::aboutToQuit, app, [app] { app->saveApplicationState(); });
        }
        return app;
    }();
    return application;
}

ApplicationDelegate *Application::applicationDelegate() const
{
    return qobject_cast<ApplicationDelegate *>(m_delegate.data());
}

void Application::launchWithDelegate(QObject *delegate, const QVariantMap &options)
{
    m_delegate = delegate;
    if (auto *appDelegate = applicationDelegate()) {
        appDelegate->application_willFinishLaunchingWithOptions(this, options);
        restoreApplicationState();
        appDelegate->application_didFinishLaunchingWithOptions(this, options);
    }
}

bool Application::openURL(const QUrl &url, const QVariantMap &options)
{
    auto *appDelegate = applicationDelegate();
    return appDelegate && appDelegate->application_openURL_options(this, url, options);
}

void Application::setActive(bool active)
{
    if (m_active == active) {
        return;
    }
    m_active = active;
    if (active) {
        NotificationCenter::defaultCenter()->post(NotificationName::ApplicationDidBecomeActive, this);
        return;
    }
    if (auto *appDelegate = applicationDelegate()) {
        appDelegate->applicationWillResignActive(this);
    }
    NotificationCenter::defaultCenter()->post(NotificationName::ApplicationWillResignActive, this);
    saveApplicationState();
}

QString Application::savedStatePath()
{
    return DriveLayout::appContainerPath() + QStringLiteral("/Library/Saved Application State/state.dat");
}

bool Application::saveApplicationState()
{
    auto *appDelegate = applicationDelegate();
    ViewController *root = m_keyWindow ? m_keyWindow->rootViewController() : nullptr;
    if (!appDelegate || !root || root->restorationIdentifier().isEmpty()
        || !appDelegate->application_shouldSaveApplicationState(this, {})) {
        return false;
    }
    StateCoder coder;
    root->encodeRestorableStateWithCoder(coder);
    const StateCoder archive(QVariantMap{{root->restorationIdentifier(), coder.values()}});
    QDir().mkpath(QFileInfo(savedStatePath()).path());
    QSaveFile file(savedStatePath());
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write(archive.archivedData());
    return file.commit();
}

bool Application::restoreApplicationState()
{
    auto *appDelegate = applicationDelegate();
    ViewController *root = m_keyWindow ? m_keyWindow->rootViewController() : nullptr;
    if (!appDelegate || !root || root->restorationIdentifier().isEmpty()) {
        return false;
    }
    QFile file(savedStatePath());
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    if (!appDelegate->application_shouldRestoreApplicationState(this, {})) {
        return false;
    }
    const StateCoder archive = StateCoder::fromArchivedData(file.readAll());
    const QVariant saved = archive.decodeObjectForKey(root->restorationIdentifier());
    if (!saved.isValid()) {
        return false;
    }
    root->decodeRestorableStateWithCoder(StateCoder(saved.toMap()));
    return true;
}
