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
///
/// The file is read only while it is a regular file of at most RegularFileReader::DefaultLimit
/// bytes: anything else there (a FIFO, a device, a link to `/dev/zero`) is reported on standard
/// error and the domain behaves as if it had no file, keeping its values in memory.
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
    /// Whether the file may be read now; says why not on standard error, once per problem.
    bool fileIsUsable() const;
    /// Reads the file again when it may be read, else keeps the values in memory.
    void attachOrDetachFile();

    mutable QMutex m_mutex; // QSettings itself is not thread-safe
    QString m_filePath;
    std::unique_ptr<QSettings> m_settings; // null while the file must not be read
    QVariantMap m_memory; // the values while there is no usable file
    mutable QString m_reportedProblem;
};
