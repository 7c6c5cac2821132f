#pragma once

#include <QString>
#include <QUrl>
#include <QVariant>

/// App data containers and the preferences domains stored inside them.
///
/// An app's data container is a per-app folder below `$AEROVA_HOME`: `App/` for this app,
/// `Apps/<bundle identifier>/` for any other. A preferences domain of a container is the INI file
/// `Preferences/<domain>.ini` inside it; every process that reads the container sees the same
/// values after synchronising.

inline constexpr const char AerovaAppBundleIdentifier[] = "com.quillmere.AerovaDriveApp";
/// The user and host arguments of the calls below: this system keeps one set of preferences per
/// user home, for any host.
inline constexpr const char PreferencesCurrentUser[] = "kCurrentUser";
inline constexpr const char PreferencesAnyHost[] = "kAnyHost";

/// The data container of the app with the given bundle identifier; created on first use.
QUrl AppDataContainerURLForBundleIdentifier(const QString &bundleIdentifier);

/// Re-reads the domain from disk and writes what this process changed; false when the domain
/// cannot be written.
bool PreferencesSynchronizeWithContainer(const QString &domain, const QString &user, const QString &host,
                                         const QString &containerPath);
/// The stored value of `key`, or an invalid QVariant when absent.
QVariant PreferencesCopyValueWithContainer(const QString &key, const QString &domain, const QString &user,
                                           const QString &host, const QString &containerPath);
/// Stores `value` under `key` (an invalid QVariant removes it); visible to others after a
/// synchronise.
void PreferencesSetValueWithContainer(const QString &key, const QVariant &value, const QString &domain,
                                      const QString &user, const QString &host, const QString &containerPath);
