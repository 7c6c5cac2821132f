#pragma once

#include <QObject>
#include <QUrl>
#include <QVariantMap>

class Application;

/// What the application tells the object that runs the app: launching, URLs to open, losing the
/// foreground, and whether its state may be saved and restored.
class ApplicationDelegate
{
public:
    virtual ~ApplicationDelegate() = default;
    virtual bool application_willFinishLaunchingWithOptions(Application *application, const QVariantMap &options) = 0;
    virtual bool application_didFinishLaunchingWithOptions(Application *application, const QVariantMap &options) = 0;
    virtual bool application_openURL_options(Application *application, const QUrl &url, const QVariantMap &options) = 0;
    virtual bool application_shouldSaveApplicationState(Application *application, const QVariant &coder) = 0;
    virtual bool application_shouldRestoreApplicationState(Application *application, const QVariant &coder) = 0;
    virtual void applicationWillResignActive(Application *application) = 0;
};

#define ApplicationDelegate_iid "com.quillmere.AerovaDriveApp.ApplicationDelegate"
Q_DECLARE_INTERFACE(ApplicationDelegate, ApplicationDelegate_iid)
