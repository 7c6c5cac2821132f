#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>
#include <QVariant>

#include <memory>

class QSettings;

/// A preferences domain stored as an INI file. `standardUserDefaults()` is the user's standard
/// defaults (`$AEROVA_HOME/defaults.ini`); other domains live in app data containers (see
/// Preferences). Several objects, in one process or several, may share a file: `synchronize()`
/// writes what this one changed and re-reads what others wrote. One object may be used from
/// several threads (the log's queue re-reads the standard defaults while the app writes them).
class UserDefaults final
{
public:
    explicit UserDefaults(const QString &filePath);
    ~UserDefaults();
    Q_DISABLE_COPY_MOVE(UserDefaults)

    static UserDefaults *standardUserDefaults();

    QString filePath() const;
    QVariant objectForKey(const QString &key) const;
    /// The integer value of the key; 0 when absent or not a number.
    qint64 integerForKey(const QString &key) const;
    bool boolForKey(const QString &key) const;
    QByteArray dataForKey(const QString &key) const;
    void setObject(const QVariant &value, const QString &key);
    void removeObjectForKey(const QString &key);
    /// Writes pending changes and re-reads the file; false when the file cannot be written.
    bool synchronize();

private:
    mutable QMutex m_mutex; // QSettings itself is not thread-safe
    std::unique_ptr<QSettings> m_settings;
};
