#include "platform/foundation/UserDefaults.h"

#include "platform/foundation/AerovaHome.h"
#include "platform/foundation/RegularFileReader.h"

#include <QDebug>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QMutex>
#include <QSettings>

#include <functional>
#include <map>

namespace {

/// An INI file that re-reads itself only when the file is still one that may be read: Qt
/// writes pending changes (re-reading the file first) on its own, from the event loop.
class CheckedSettings final : public QSettings
{
public:
    CheckedSettings(const QString &path, std::function<bool()> fileIsUsable)
        : QSettings(path, QSettings::IniFormat)
        , m_fileIsUsable(std::move(fileIsUsable))
    {
    }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest && !m_fileIsUsable()) {
            return true; // the values stay pending in memory
        }
        return QSettings::event(event);
    }

private:
    std::function<bool()> m_fileIsUsable;
};

} // namespace

UserDefaults::UserDefaults(const QString &filePath)
    : m_filePath(filePath)
{
    attachOrDetachFile();
}

bool UserDefaults::fileIsUsable() const
{
    QString problem;
    if (RegularFileReader::check(m_filePath, &problem) != RegularFileReader::Status::Unusable) {
        m_reportedProblem.clear();
        return true;
    }
    if (problem != m_reportedProblem) {
        m_reportedProblem = problem;
        // said on standard error: the structured log itself reads its level from this file
        qWarning().noquote() << QStringLiteral("The defaults file %1 %2; its values are kept in memory only.")
                                    .arg(m_filePath, problem);
    }
    return false;
}

void UserDefaults::attachOrDetachFile()
{
    if (!fileIsUsable()) {
        if (m_settings) {
            for (const QString &key : m_settings->allKeys()) {
                m_memory.insert(key, m_settings->value(key));
            }
            // not destroyed: QSettings writes pending changes on destruction, re-reading the
            // file first, which is exactly what must not happen now (one small object, once)
            (void)m_settings.release();
        }
        return;
    }
    if (!m_settings) {
        // what was set while the file could not be read is written once it can
        m_settings = std::make_unique<CheckedSettings>(m_filePath, [this] { return fileIsUsable(); });
        for (auto it = m_memory.cbegin(); it != m_memory.cend(); ++it) {
            m_settings->setValue(it.key(), it.value());
        }
        m_memory.clear();
    }
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
    return m_filePath;
}

QVariant UserDefaults::objectForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return m_settings ? m_settings->value(key) : m_memory.value(key);
}

qint64 UserDefaults::integerForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    bool ok = false;
    const qint64 value = (m_settings ? m_settings->value(key) : m_memory.value(key)).toLongLong(&ok);
    return ok ? value : 0;
}

bool UserDefaults::boolForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return (m_settings ? m_settings->value(key) : m_memory.value(key)).toBool();
}

QByteArray UserDefaults::dataForKey(const QString &key) const
{
    QMutexLocker locker(&m_mutex);
    return (m_settings ? m_settings->value(key) : m_memory.value(key)).toByteArray();
}

void UserDefaults::setObject(const QVariant &value, const QString &key)
{
    QMutexLocker locker(&m_mutex);
    if (m_settings) {
        m_settings->setValue(key, value);
    } else {
        m_memory.insert(key, value);
    }
}

void UserDefaults::removeObjectForKey(const QString &key)
{
    QMutexLocker locker(&m_mutex);
    if (m_settings) {
        m_settings->remove(key);
    } else {
        m_memory.remove(key);
    }
}

bool UserDefaults::synchronize()
{
    QMutexLocker locker(&m_mutex);
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    attachOrDetachFile();
    if (!m_settings) {
        return false;
    }
    m_settings->sync();
    return m_settings->status() == QSettings::NoError;
}
