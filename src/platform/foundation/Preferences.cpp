#include "platform/foundation/Preferences.h"

#include "platform/foundation/AerovaHome.h"
#include "platform/foundation/UserDefaults.h"

#include <QDir>
#include <QMutex>

#include <map>

namespace {

QString domainFile(const QString &domain, const QString &containerPath)
{
    const QString base = containerPath.isEmpty() ? AerovaHome::filePath(QStringLiteral("Preferences"))
                                                 : containerPath + QStringLiteral("/Preferences");
    return base + QLatin1Char('/') + domain + QStringLiteral(".ini");
}

/// One object per domain file for the life of the process, so that a value set and not yet
/// synchronised is seen by the next read of the same process.
UserDefaults *domainDefaults(const QString &domain, const QString &containerPath)
{
    static QMutex mutex;
    static std::map<QString, std::unique_ptr<UserDefaults>> byFile;
    QMutexLocker locker(&mutex);
    const QString file = domainFile(domain, containerPath);
    auto &slot = byFile[file];
    if (!slot) {
        slot = std::make_unique<UserDefaults>(file);
    }
    return slot.get();
}

} // namespace

QUrl AppDataContainerURLForBundleIdentifier(const QString &bundleIdentifier)
{
    const QString path = bundleIdentifier == QLatin1String(AerovaAppBundleIdentifier)
        ? AerovaHome::filePath(QStringLiteral("App"))
        : AerovaHome::filePath(QStringLiteral("Apps/") + bundleIdentifier);
    if (!QDir().mkpath(path)) {
        return {};
    }
    return QUrl::fromLocalFile(path);
}

bool PreferencesSynchronizeWithContainer(const QString &domain, const QString &, const QString &,
                                         const QString &containerPath)
{
    return domainDefaults(domain, containerPath)->synchronize();
}

QVariant PreferencesCopyValueWithContainer(const QString &key, const QString &domain, const QString &,
                                           const QString &, const QString &containerPath)
{
    return domainDefaults(domain, containerPath)->objectForKey(key);
}

void PreferencesSetValueWithContainer(const QString &key, const QVariant &value, const QString &domain,
                                      const QString &, const QString &, const QString &containerPath)
{
    UserDefaults *defaults = domainDefaults(domain, containerPath);
    if (value.isValid()) {
        defaults->setObject(value, key);
    } else {
        defaults->removeObjectForKey(key);
    }
}
