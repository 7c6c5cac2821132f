#include "core/Settings.h"

#include "core/DRLogging.h"
#include "platform/foundation/Preferences.h"

#include <mutex>

namespace {

const QString domain = QString::fromLatin1(Settings::PreferencesDomain);
const QString user = QString::fromLatin1(PreferencesCurrentUser);
const QString host = QString::fromLatin1(PreferencesAnyHost);

} // namespace

QColor Settings::backgroundColor()
{
    return QColor(Qt::white);
}

QColor Settings::statusLabelColor()
{
    return QColor(Qt::black);
}

QString Settings::_appContainerPath()
{
    static std::once_flag once;
    static QString path;
    std::call_once(once, [] {
        path = AppDataContainerURLForBundleIdentifier(QString::fromLatin1(AerovaAppBundleIdentifier)).toLocalFile();
        DRLog(LOG_DEBUG, "AppContainer is %@", path);
    });
    return path;
}

namespace {

/// The value of `key` as the container holds it now (another process may have written it), or
/// `defaultValue`; every read says what it found.
QVariant prefForKey(const QString &key, const QVariant &defaultValue)
{
    const QString container = Settings::_appContainerPath();
    PreferencesSynchronizeWithContainer(domain, user, host, container);
    const QVariant stored = PreferencesCopyValueWithContainer(key, domain, user, host, container);
    const QVariant result = stored.isValid() ? stored : defaultValue;
    if (defaultValue.typeId() == QMetaType::Bool) {
        DRLog(LOG_DEBUG, "%@ = %@", key, result.toBool());
    } else {
        DRLog(LOG_DEBUG, "%@ = %@", key, result.toString());
    }
    return result;
}

void setPref(const QVariant &value, const QString &key)
{
    const QString container = Settings::_appContainerPath();
    PreferencesSetValueWithContainer(key, value, domain, user, host, container);
    if (!PreferencesSynchronizeWithContainer(domain, user, host, container)) {
        DRLog(LOG_ERR, "Failed to write prefs");
    }
}

} // namespace

bool Settings::boolPrefForKey_withDefault(const QString &key, bool defaultValue)
{
    return prefForKey(key, defaultValue).toBool();
}

void Settings::setBoolPref_forKey(bool value, const QString &key)
{
    setPref(value, key);
}

QString Settings::stringPrefForKey_withDefault(const QString &key, const QString &defaultValue)
{
    return prefForKey(key, defaultValue).toString();
}

void Settings::setStringPref_forKey(const QString &value, const QString &key)
{
    setPref(value, key);
}

QString Settings::listSortKey()
{
    return stringPrefForKey_withDefault(QStringLiteral("ListSortKey"), QStringLiteral("name"));
}

void Settings::setListSortKey(const QString &key)
{
    setStringPref_forKey(key, QStringLiteral("ListSortKey"));
}

bool Settings::listSortDescending()
{
    return boolPrefForKey_withDefault(QStringLiteral("ListSortDescending"), false);
}

void Settings::setListSortDescending(bool descending)
{
    setBoolPref_forKey(descending, QStringLiteral("ListSortDescending"));
}

bool Settings::gridMode()
{
    return boolPrefForKey_withDefault(QStringLiteral("GridMode"), false);
}

void Settings::setGridMode(bool gridMode)
{
    setBoolPref_forKey(gridMode, QStringLiteral("GridMode"));
}

namespace {
std::function<bool()> &quickLaunchSource()
{
    static std::function<bool()> source;
    return source;
}
} // namespace

bool Settings::quickLaunch()
{
    const std::function<bool()> &source = quickLaunchSource();
    return source ? source() : true;
}

void Settings::setQuickLaunchSource(std::function<bool()> source)
{
    quickLaunchSource() = std::move(source);
}

void Settings::setQuickLaunch(bool quickLaunch)
{
    DRLog(LOG_DEBUG, "set QuickLaunch = %@", quickLaunch);
    setBoolPref_forKey(quickLaunch, QStringLiteral("QuickLaunch"));
}
