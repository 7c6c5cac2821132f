#include "sync/SyncJournal.h"

#include "platform/drive/FileAttributes.h"

#include <QAtomicInt>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

QAtomicInt g_connections;

SyncRecord recordFrom(const QSqlQuery &query)
{
    SyncRecord record;
    record.storeKey = query.value(0).toString();
    record.path = query.value(1).toString();
    record.isFolder = query.value(2).toBool();
    record.version = query.value(3).toString();
    record.size = query.value(4).toLongLong();
    record.modifiedMs = query.value(5).toLongLong();
    record.contentType = query.value(6).toString();
    return record;
}

/// An empty text, never SQL's NULL (which a null QString binds to).
QString notNull(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

const char selectColumns[] = "SELECT storeKey, path, isFolder, version, size, modifiedMs, contentType FROM items";

} // namespace

SyncJournal::SyncJournal(const QString &file)
    : m_file(file)
    , m_connection(QStringLiteral("aerova-sync-%1").arg(g_connections.fetchAndAddRelaxed(1)))
{
}

SyncJournal::~SyncJournal()
{
    m_deleteOther.reset();
    m_insert.reset();
    {
        QSqlDatabase db = QSqlDatabase::database(m_connection, false);
        if (db.isOpen()) {
            db.close();
        }
    }
    QSqlDatabase::removeDatabase(m_connection);
}

bool SyncJournal::open(QString *error)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    db.setDatabaseName(m_file);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    if (!db.open()) {
        *error = db.lastError().text();
        return false;
    }
    const bool made = exec(QStringLiteral("PRAGMA journal_mode=WAL"))
        && exec(QStringLiteral("PRAGMA synchronous=NORMAL"))
        && exec(QStringLiteral("CREATE TABLE IF NOT EXISTS items (storeKey TEXT PRIMARY KEY, path TEXT NOT NULL UNIQUE, "
                               "isFolder INTEGER NOT NULL, version TEXT NOT NULL, size INTEGER NOT NULL, "
                               "modifiedMs INTEGER NOT NULL, contentType TEXT NOT NULL)"))
        && exec(QStringLiteral("CREATE TABLE IF NOT EXISTS named (name TEXT PRIMARY KEY, value TEXT NOT NULL)"))
        && exec(QStringLiteral("CREATE TABLE IF NOT EXISTS partials (storeKey TEXT PRIMARY KEY, version TEXT NOT NULL)"))
        && exec(QStringLiteral("CREATE TABLE IF NOT EXISTS failures (path TEXT PRIMARY KEY, attempts INTEGER NOT NULL, "
                               "message TEXT NOT NULL, nextTryMs INTEGER NOT NULL, localState TEXT NOT NULL, "
                               "permanent INTEGER NOT NULL)"))
        && exec(QStringLiteral("CREATE TABLE IF NOT EXISTS tags (storeKey TEXT PRIMARY KEY, tags TEXT NOT NULL)"));
    if (!made) {
        *error = m_lastError;
    }
    return made;
}

bool SyncJournal::exec(const QString &statement, const QVariantList &values)
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    if (!query.prepare(statement)) {
        m_lastError = query.lastError().text();
        return false;
    }
    for (const QVariant &value : values) {
        query.addBindValue(value);
    }
    if (!query.exec()) {
        m_lastError = query.lastError().text();
        return false;
    }
    return true;
}

QHash<QString, SyncRecord> SyncJournal::records() const
{
    QHash<QString, SyncRecord> records;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    if (!query.exec(QString::fromLatin1(selectColumns))) {
        m_lastError = query.lastError().text();
        return records;
    }
    while (query.next()) {
        SyncRecord record = recordFrom(query);
        records.insert(record.path, record);
    }
    return records;
}

std::optional<SyncRecord> SyncJournal::recordForKey(const QString &storeKey) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QString::fromLatin1(selectColumns) + QStringLiteral(" WHERE storeKey = ?"));
    query.addBindValue(storeKey);
    if (!query.exec() || !query.next()) {
        return std::nullopt;
    }
    return recordFrom(query);
}

bool SyncJournal::begin()
{
    return QSqlDatabase::database(m_connection, false).transaction();
}

bool SyncJournal::commit()
{
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (!db.commit()) {
        m_lastError = db.lastError().text();
        return false;
    }
    return true;
}

void SyncJournal::rollback()
{
    QSqlDatabase::database(m_connection, false).rollback();
}

bool SyncJournal::put(const SyncRecord &record)
{
    const auto run = [this](std::unique_ptr<QSqlQuery> &query, const char *statement, const QVariantList &values) {
        if (!query) {
            query = std::make_unique<QSqlQuery>(QSqlDatabase::database(m_connection, false));
            if (!query->prepare(QString::fromLatin1(statement))) {
                m_lastError = query->lastError().text();
                query.reset();
                return false;
            }
        }
        for (qsizetype i = 0; i < values.size(); ++i) {
            query->bindValue(int(i), values.at(i));
        }
        if (!query->exec()) {
            m_lastError = query->lastError().text();
            return false;
        }
        return true;
    };
    // a path is one item's: an older record under the same path (a key replaced) gives way
    return run(m_deleteOther, "DELETE FROM items WHERE path = ? AND storeKey != ?", {record.path, record.storeKey})
        && run(m_insert, "INSERT OR REPLACE INTO items VALUES (?, ?, ?, ?, ?, ?, ?)",
               {record.storeKey, record.path, record.isFolder ? 1 : 0, notNull(record.version), record.size,
                record.modifiedMs, notNull(record.contentType)});
}

bool SyncJournal::remove(const QString &storeKey)
{
    return exec(QStringLiteral("DELETE FROM items WHERE storeKey = ?"), {storeKey})
        && exec(QStringLiteral("DELETE FROM tags WHERE storeKey = ?"), {storeKey});
}

bool SyncJournal::removeInside(const QString &folderPath)
{
    // a range, not LIKE: names may hold '%' and '_'; '0' follows '/' in the byte order
    return exec(QStringLiteral("DELETE FROM items WHERE path >= ? AND path < ?"),
                {QString(folderPath + QLatin1Char('/')), QString(folderPath + QLatin1Char('0'))});
}

bool SyncJournal::moveInside(const QString &from, const QString &to)
{
    QList<std::pair<QString, QString>> moved; // store key, new path
    {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.setForwardOnly(true);
        query.prepare(QStringLiteral("SELECT storeKey, path FROM items WHERE path >= ? AND path < ?"));
        query.addBindValue(QString(from + QLatin1Char('/')));
        query.addBindValue(QString(from + QLatin1Char('0')));
        if (!query.exec()) {
            m_lastError = query.lastError().text();
            return false;
        }
        while (query.next()) {
            moved.append({query.value(0).toString(), to + query.value(1).toString().mid(from.size())});
        }
    }
    if (!removeInside(to)) {
        return false;
    }
    for (const auto &[storeKey, path] : std::as_const(moved)) {
        if (!exec(QStringLiteral("UPDATE items SET path = ? WHERE storeKey = ?"), {path, storeKey})) {
            return false;
        }
    }
    return true;
}

bool SyncJournal::clear()
{
    return exec(QStringLiteral("DELETE FROM items")) && exec(QStringLiteral("DELETE FROM partials"))
        && exec(QStringLiteral("DELETE FROM named")) && exec(QStringLiteral("DELETE FROM failures")) && exec(QStringLiteral("DELETE FROM tags"));
}

QHash<QString, SyncFailure> SyncJournal::failures() const
{
    QHash<QString, SyncFailure> failures;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT path, attempts, message, nextTryMs, localState, permanent FROM failures"))) {
        m_lastError = query.lastError().text();
        return failures;
    }
    while (query.next()) {
        SyncFailure failure;
        failure.path = query.value(0).toString();
        failure.attempts = query.value(1).toInt();
        failure.message = query.value(2).toString();
        failure.nextTryMs = query.value(3).toLongLong();
        failure.localState = query.value(4).toString();
        failure.permanent = query.value(5).toBool();
        failures.insert(failure.path, failure);
    }
    return failures;
}

bool SyncJournal::putFailure(const SyncFailure &failure)
{
    return exec(QStringLiteral("INSERT OR REPLACE INTO failures VALUES (?, ?, ?, ?, ?, ?)"),
                {failure.path, failure.attempts, notNull(failure.message), failure.nextTryMs, notNull(failure.localState),
                 failure.permanent ? 1 : 0});
}

QHash<QString, QStringList> SyncJournal::agreedTags() const
{
    QHash<QString, QStringList> tags;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT storeKey, tags FROM tags"))) {
        m_lastError = query.lastError().text();
        return tags;
    }
    while (query.next()) {
        tags.insert(query.value(0).toString(), FileAttributes::decodeTags(query.value(1).toString().toUtf8()));
    }
    return tags;
}

bool SyncJournal::setAgreedTags(const QString &storeKey, const QStringList &tags)
{
    if (tags.isEmpty()) {
        return exec(QStringLiteral("DELETE FROM tags WHERE storeKey = ?"), {storeKey});
    }
    return exec(QStringLiteral("INSERT OR REPLACE INTO tags (storeKey, tags) VALUES (?, ?)"),
                {storeKey, QString::fromUtf8(FileAttributes::encodeTags(tags))});
}

bool SyncJournal::removeFailure(const QString &path)
{
    return exec(QStringLiteral("DELETE FROM failures WHERE path = ?"), {path});
}

QString SyncJournal::value(const QString &name) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT value FROM named WHERE name = ?"));
    query.addBindValue(name);
    return query.exec() && query.next() ? query.value(0).toString() : QString();
}

bool SyncJournal::setValue(const QString &name, const QString &value)
{
    return exec(QStringLiteral("INSERT OR REPLACE INTO named VALUES (?, ?)"), {name, value});
}

QString SyncJournal::partialVersion(const QString &storeKey) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT version FROM partials WHERE storeKey = ?"));
    query.addBindValue(storeKey);
    return query.exec() && query.next() ? query.value(0).toString() : QString();
}

bool SyncJournal::setPartialVersion(const QString &storeKey, const QString &version)
{
    return exec(QStringLiteral("INSERT OR REPLACE INTO partials VALUES (?, ?)"), {storeKey, version});
}

bool SyncJournal::removePartial(const QString &storeKey)
{
    return exec(QStringLiteral("DELETE FROM partials WHERE storeKey = ?"), {storeKey});
}
