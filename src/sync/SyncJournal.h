#pragma once

#include "sync/SyncFailure.h"
#include "sync/SyncRecord.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QSqlQuery;

/// The sync service's memory of the last sync (`Service/sync.db`): one record per item, keyed
/// by its store key; a few named values; the partly received downloads; and the items the
/// server would not take. SQLite through Qt's
/// QSQLITE driver in WAL mode, so that the service's threads read while one writes. Each
/// thread opens its own journal (a connection belongs to the thread that opened it).
class SyncJournal final
{
public:
    explicit SyncJournal(const QString &file);
    ~SyncJournal();
    Q_DISABLE_COPY_MOVE(SyncJournal)

    /// Opens the file, making its tables; false with `error` set when it cannot.
    bool open(QString *error);

    /// Every record, by path.
    QHash<QString, SyncRecord> records() const;
    std::optional<SyncRecord> recordForKey(const QString &storeKey) const;

    /// A sync run's changes are one transaction: all of them or none.
    bool begin();
    bool commit();
    void rollback();
    bool put(const SyncRecord &record);
    bool remove(const QString &storeKey);
    /// Forgets every record inside the folder at `folderPath` (not the folder's own).
    bool removeInside(const QString &folderPath);
    /// Gives every record inside the folder at `from` its place inside `to`: a folder moved.
    bool moveInside(const QString &from, const QString &to);
    /// Forgets every record: a new account starts from nothing.
    bool clear();

    QString value(const QString &name) const;
    bool setValue(const QString &name, const QString &value);

    /// The tags the device and the server last agreed on, by store key (none: no tags).
    QHash<QString, QStringList> agreedTags() const;
    bool setAgreedTags(const QString &storeKey, const QStringList &tags);

    /// The items the server would not take, by path.
    QHash<QString, SyncFailure> failures() const;
    bool putFailure(const SyncFailure &failure);
    bool removeFailure(const QString &path);

    /// The version a partly received download of `storeKey` belongs to; empty when none.
    QString partialVersion(const QString &storeKey) const;
    bool setPartialVersion(const QString &storeKey, const QString &version);
    bool removePartial(const QString &storeKey);

    QString lastError() const { return m_lastError; }

private:
    bool exec(const QString &statement, const QVariantList &values = {});

    /// The statements of `put`, prepared once: a first sync records thousands of items.
    std::unique_ptr<QSqlQuery> m_deleteOther;
    std::unique_ptr<QSqlQuery> m_insert;
    QString m_file;
    QString m_connection;
    mutable QString m_lastError;
};
