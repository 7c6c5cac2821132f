#pragma once

#include <QString>
#include <QUrl>

#include <memory>

/// An installed application, as the desktop's application registry (the `.desktop` files and
/// `mimeapps.list` of the freedesktop specifications, read through GIO) describes it.
///
/// The bundle identifier is the desktop-file id without ".desktop"; an app opens documents in
/// place when its command line takes files or URLs (`%f %F %u %U`), so it works on the drive's
/// item itself rather than on an imported copy.
class ApplicationProxy final
{
public:
    /// The app registered under a desktop-file id ("org.kde.okular" or "org.kde.okular.desktop").
    static std::shared_ptr<ApplicationProxy> applicationProxyForIdentifier(const QString &identifier);
    /// The default app for a MIME type, or null.
    static std::shared_ptr<ApplicationProxy> defaultApplicationForType(const QString &mimeType);
    /// Every app registered for a MIME type, the default one first.
    static QList<std::shared_ptr<ApplicationProxy>> applicationsForType(const QString &mimeType);

    QString itemName() const { return m_itemName; }
    QString localizedName() const { return m_localizedName; }
    QString localizedShortName() const { return m_localizedShortName; }
    QString shortVersionString() const { return m_shortVersionString; }
    QString vendorName() const { return m_vendorName; }
    QString bundleIdentifier() const { return m_bundleIdentifier; }
    QString bundleExecutable() const { return m_bundleExecutable; }
    /// The folder holding the app's desktop file.
    QUrl bundleContainerURL() const { return m_bundleContainerURL; }
    bool isInstalled() const { return true; }
    quint64 itemID() const { return m_itemID; }
    bool supportsOpenInPlace() const { return m_supportsOpenInPlace; }
    QString description() const;

    /// Starts the app with the documents; false with a message in `failure` when it cannot start.
    bool launchWithURLs(const QList<QUrl> &urls, QString *failure) const;

private:
    ApplicationProxy() = default;
    static std::shared_ptr<ApplicationProxy> fromAppInfo(void *appInfo);

    QString m_desktopId;
    QString m_itemName;
    QString m_localizedName;
    QString m_localizedShortName;
    QString m_shortVersionString;
    QString m_vendorName;
    QString m_bundleIdentifier;
    QString m_bundleExecutable;
    QUrl m_bundleContainerURL;
    quint64 m_itemID = 0;
    bool m_supportsOpenInPlace = false;
};
