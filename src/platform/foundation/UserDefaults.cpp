#include "platform/foundation/UserDefaults.h"

#include "platform/foundation/AerovaHome.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QSettings>

#include <map>

UserDefaults::UserDefaults(const QString &filePath)
    : m_settings(std::make_unique<QSettings>(filePath, QSettings::IniFormat))
{
}

UserDefaults::~UserDefaults() = default;

UserDefaults *UserDefaults::standardUserDefaults()
{
    // one object per defaults file: a test or a demo may move $AEROVA_HOME while running
    static QMutex mutex;
    static std::map<QString, std::unique_ptr<UserDefaults>> byPath;
    QMutexLocker locker(&mutex);
    const QString path = AerovaHome::defaultsFile();
    auto &slot = byPath[path];
    if (!slot) {
        slot = std::make_unique<UserDefaults>(path);
    }
    return slot.get();
}

QString UserDefaults::filePath() const
{
    QMutexLocker locker(&m_mutex);
    return m_settings->fileName();
}

QVariant UserDefaults::objectForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_settings->value(key);
}

qint64 UserDefaults::integerForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    bool ok = false;
    const qint64 value = m_settings->value(key).toLongLong(&ok);
    return ok ? value : 0;
}

bool UserDefaults::boolForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_settings->value(key).toBool();
}

QByteArray UserDefaults::dataForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_settings->value(key).toByteArray();
}

void UserDefaults::setObject(const QVariant &value, const QString &key)
{
    QMutexLocker locker(&m_mutex);
    m_settings->setValue(key, value);
}

void UserDefaults::removeObjectForKey(const QString &key)
{
    QMutexLocker locker(&m_mutex);
    m_settings->remove(key);
}

bool UserDefaults::synchronize()
{
    QMutexLocker locker(&m_mutex);
    QDir().mkpath(QFileInfo(m_settings->fileName()).absolutePath());
    m_settings->sync();
    return m_settings->status() == QSettings::NoError;
}
