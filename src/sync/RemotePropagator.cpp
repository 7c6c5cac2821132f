#include "sync/RemotePropagator.h"

#include "core/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "sync/DavClient.h"
#include "sync/LocalPropagator.h"
#include "sync/RemoteMapping.h"

#include <QFile>
#include <QLocale>
#include <QNetworkReply>
#include <QThread>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Kind = SyncAction::Kind;

qint64 modifiedMs(const struct stat &st)
{
    return qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
}

bool isAsSeen(const struct stat &st, const LocalItem &seen)
{
    return S_ISREG(st.st_mode) && st.st_size == seen.size && modifiedMs(st) == seen.modifiedMs;
}

/// The device's document at `localPath` opened for reading (never through a link, never
/// blocked by a FIFO) while it is still as the run saw it; false with `error` set otherwise.
bool openAsSeen(const QString &localPath, const LocalItem &seen, QFile *file, struct stat *st, QString *error)
{
    const int fd = ::open(FilePath::encode(localPath).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    if (!file->open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        *error = file->errorString();
        return false;
    }
    if (::fstat(fd, st) != 0 || !isAsSeen(*st, seen)) {
        *error = QStringLiteral("it changed since the run looked; the next run sends it");
        return false;
    }
    return true;
}

bool sameState(const struct stat &a, const struct stat &b)
{
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

QString parentOf(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : path.left(slash);
}

QString joined(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? name : folder + QLatin1Char('/') + name;
}

/// Blocking: the reply of `request`, finished.
std::unique_ptr<QNetworkReply> finished(QNetworkReply *request)
{
    std::unique_ptr<QNetworkReply> reply(request);
    DavClient::waitFor(reply.get());
    return reply;
}

int statusOf(QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

} // namespace

RemotePropagator::RemotePropagator(DavClient *client)
    : m_client(client)
{
}

QString RemotePropagator::conflictName(const QString &name, const QDateTime &when)
{
    const auto [stem, suffix] = FileUtils::splitName(name);
    return QStringLiteral("%1 (conflict %2)%3").arg(stem, QLocale::c().toString(when, QStringLiteral("yyyy-MM-dd HHmm")), suffix);
}

bool RemotePropagator::apply(const SyncAction &action, QList<SyncRecord> *records, QString *error,
                             QSet<QString> *checkedFolders)
{
    m_lastError = {};
    QString reason;
    const std::optional<QString> local = RemoteMapping::localPathFor(action.path, &reason);
    if (!local) {
        *error = reason.isEmpty() ? QStringLiteral("the drive does not hold it") : reason;
        return false;
    }
    if (!LocalPropagator::folderIsInDrive(*local, error, checkedFolders)) {
        return false;
    }
    SyncRecord record;
    switch (action.kind) {
    case Kind::MakeRemoteFolder:
        if (!makeFolder(action.path, &record, error)) {
            return false;
        }
        *records << record;
        return true;
    case Kind::Upload:
    case Kind::UploadChange: {
        const bool change = action.kind == Kind::UploadChange;
        const QString key = action.base && !action.base->isFolder ? action.base->storeKey : PromisePlaceholder::newStoreKey();
        if (!upload(action.path, *local, action.local, change ? action.remote : std::nullopt, key, &record, error)) {
            return false;
        }
        *records << record;
        return true;
    }
    case Kind::KeepBoth:
        return keepBoth(action, *local, records, error, checkedFolders);
    case Kind::MoveRemote:
        if (!moveRemote(action, *local, &record, error)) {
            return false;
        }
        *records << record;
        return true;
    case Kind::DeleteRemote:
        return deleteRemote(action, *local, records, error);
    default:
        *error = QStringLiteral("nothing to send");
        return false;
    }
}

std::optional<DavResource> RemotePropagator::look(const QString &path, bool collection, QString *error)
{
    DavError davError;
    const auto listed = m_client->list(path, 0, &davError, nullptr, collection);
    if (!listed) {
        m_lastError = davError;
        *error = davError.description();
        return std::nullopt;
    }
    for (const DavResource &resource : *listed) {
        if (resource.path == path) {
            return resource;
        }
    }
    *error = QStringLiteral("the server does not describe it");
    return std::nullopt;
}

bool RemotePropagator::stillAsSeen(const QString &path, const std::optional<DavResource> &seen, QString *error,
                                   std::optional<DavResource> *now)
{
    *now = look(path, false, error);
    if (!*now && m_lastError) {
        if (m_lastError.kind != DavError::Kind::NotFound) {
            return false;
        }
        m_lastError = {}; // nothing there: an answer, not a failure
    }
    if (now->has_value() == seen.has_value() && (!*now || (*now)->version() == seen->version())) {
        return true;
    }
    m_lastError.kind = DavError::Kind::Changed;
    m_lastError.httpStatus = 412;
    *error = QStringLiteral("the item changed on the server meanwhile");
    return false;
}

bool RemotePropagator::conditionFor(const QString &path, const std::optional<DavResource> &seen, QString *error,
                                    std::optional<DavResource> *condition)
{
    *condition = seen;
    // a weak entity tag leaves only the date as the condition, and some servers (Apache's
    // mod_dav) hold a date condition on PUT and DELETE to the current second: the server's
    // version is looked at again, and its own description, now with a strong tag, is the
    // condition
    const bool onlyADate = seen && (seen->etag.isEmpty() || seen->weakETag);
    if (!(m_looksBeforeWriting || onlyADate)) {
        return true;
    }
    if (!stillAsSeen(path, seen, error, condition)) {
        return false;
    }
    // written in the last second: its tag is strong a second after the write, and a date
    // condition may not outlive the second it names
    for (int attempt = 0; attempt < 2 && *condition && (*condition)->weakETag; ++attempt) {
        QThread::msleep(1050);
        if (!stillAsSeen(path, seen, error, condition)) {
            return false;
        }
    }
    return true;
}

bool RemotePropagator::makeFolder(const QString &path, SyncRecord *record, QString *error)
{
    auto reply = finished(m_client->mkcol(path));
    if (statusOf(reply.get()) == 409 && parentOf(path) == RemoteMapping::containersFolder()) {
        // the first app container on the server: the containers' hidden folder comes first
        finished(m_client->mkcol(RemoteMapping::containersFolder()));
        reply = finished(m_client->mkcol(path));
    }
    const DavError davError = DavClient::errorOf(reply.get());
    if (davError && statusOf(reply.get()) != 405) { // 405: the name is taken; by a folder is fine
        m_lastError = davError;
        *error = davError.description();
        return false;
    }
    const std::optional<DavResource> made = look(path, true, error);
    if (!made) {
        return false;
    }
    if (!made->isCollection) {
        *error = QStringLiteral("the server has a document of that name");
        return false;
    }
    record->storeKey = PromisePlaceholder::newStoreKey();
    record->path = path;
    record->isFolder = true;
    record->version = made->version();
    record->size = -1;
    record->modifiedMs = made->modified.isValid() ? made->modified.toMSecsSinceEpoch() : 0;
    return true;
}

bool RemotePropagator::upload(const QString &path, const QString &localPath, const LocalItem &seen,
                              const std::optional<DavResource> &over, const QString &storeKey, SyncRecord *record,
                              QString *error)
{
    QFile file;
    struct stat before {};
    if (!openAsSeen(localPath, seen, &file, &before, error)) {
        return false;
    }
    const int fd = file.handle();
    std::optional<DavResource> condition;
    if (!conditionFor(path, over, error, &condition)) {
        return false;
    }
    if (const DavError davError = m_client->sendDocument(path, fd, before.st_size, condition)) {
        m_lastError = davError;
        *error = davError.description();
        return false;
    }
    struct stat after {};
    const bool steady = ::fstat(fd, &after) == 0 && sameState(before, after);
    QString lookError;
    const std::optional<DavResource> sent = look(path, false, &lookError);
    FileAttributes::setStoreKey(fd, storeKey);

    record->storeKey = storeKey;
    record->path = path;
    record->isFolder = false;
    record->modifiedMs = modifiedMs(before);
    if (sent && steady && sent->size == before.st_size) {
        record->version = sent->version();
        record->size = before.st_size;
        record->contentType = sent->contentType;
    } else if (sent && steady) {
        // the device's document stood still, yet the server holds another size: another writer
        // wrote over it right after (a server may check If-Match and write without a lock
        // between, so two devices sending at once can both pass). Neither version is known as
        // agreed, so the next run keeps both rather than sending this one over the other's.
        record->version.clear();
        record->size = -1;
        DRLog(LOG_NOTICE, "\"%@\" was written over on the server as it was sent; the next run keeps both", path);
    } else {
        // changed here while it was sent: the server holds this device's earlier bytes, so the
        // next run sends the newer ones over them
        record->version = sent ? sent->version() : QString();
        record->size = -1;
        if (sent) {
            DRLog(LOG_NOTICE, "\"%@\" changed while it was sent; the next run looks again", path);
        } else {
            DRLog(LOG_NOTICE, "\"%@\" was sent but the server does not describe it (%@); the next run looks again", path, lookError);
        }
    }
    return true;
}

bool RemotePropagator::moveRemote(const SyncAction &action, const QString &localPath, SyncRecord *record, QString *error)
{
    const bool promised = action.local.kind == LocalItem::Kind::Placeholder;
    const bool isFolder = action.base->isFolder;
    const QString localItem = promised ? PromisePlaceholder::placeholderPathFor(localPath) : localPath;
    const QString folder = parentOf(localPath);
    const QString remoteFolder = parentOf(action.path);
    const auto [stem, suffix] = FileUtils::splitName(action.path.section(QLatin1Char('/'), -1));
    if (!FilePath::linkStatus(localItem)) {
        *error = QStringLiteral("it moved again since the run looked; the next run looks again");
        return false;
    }
    // the name the device gave it, else the next one free on both sides
    QString name = action.path.section(QLatin1Char('/'), -1);
    for (int n = 1;;) {
        auto reply = finished(m_client->move(action.fromPath, joined(remoteFolder, name), isFolder));
        if (statusOf(reply.get()) != 412) {
            if (const DavError davError = DavClient::errorOf(reply.get())) {
                m_lastError = davError;
                *error = davError.description();
                return false;
            }
            break;
        }
        do {
            name = QStringLiteral("%1 %2%3").arg(stem).arg(++n).arg(suffix);
        } while (FileUtils::nameIsTaken(folder, name) && n < 1000);
        if (n >= 1000) {
            *error = QStringLiteral("no free name for it");
            return false;
        }
    }
    const QString path = joined(remoteFolder, name);
    if (path != action.path) {
        const QString renamed = folder + QLatin1Char('/') + name;
        const QString target = promised ? PromisePlaceholder::placeholderPathFor(renamed) : renamed;
        if (::renameat2(AT_FDCWD, FilePath::encode(localItem).constData(), AT_FDCWD, FilePath::encode(target).constData(),
                        RENAME_NOREPLACE)
            != 0) {
            *error = QStringLiteral("moved on the server to \"%1\", but not here: %2").arg(name, QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
        DRLog(LOG_NOTICE, "The server has \"%@\" already: \"%@\" is \"%@\" on both sides", action.path, action.fromPath, name);
    }
    *record = *action.base;
    record->path = path;
    // a server may give a moved document a new entity tag: the same content keeps its version
    QString lookError;
    if (const std::optional<DavResource> moved = look(path, isFolder, &lookError); moved && moved->size == action.base->size) {
        record->version = moved->version();
    }
    return true;
}

bool RemotePropagator::deleteRemote(const SyncAction &action, const QString &localPath, QList<SyncRecord> *records,
                                    QString *error)
{
    const bool folder = action.base->isFolder;
    const bool back = FilePath::linkStatus(localPath) || FilePath::linkStatus(PromisePlaceholder::placeholderPathFor(localPath));
    if (back) {
        *error = QStringLiteral("it is on the device again; the next run looks again");
        return false;
    }
    // a document only while it is the version deleted here: a change on the server beats it
    std::optional<DavResource> condition;
    const bool asSeen = folder || conditionFor(action.path, action.remote, error, &condition);
    if (!asSeen && m_lastError.kind != DavError::Kind::Changed) {
        return false;
    }
    const auto reply = asSeen ? finished(m_client->remove(action.path, folder, condition)) : nullptr;
    const int status = reply ? statusOf(reply.get()) : 412;
    if (status == 412) {
        *records << *action.base; // the next run sees the server's new version and brings it back
        DRLog(LOG_NOTICE, "\"%@\" changed on the server since it was deleted on the device: it comes back", action.path);
        return true;
    }
    if (status == 207) {
        // some of a folder's items could not be deleted: what is left comes back at the next run
        *error = QStringLiteral("the server deleted only part of it");
        return false;
    }
    if (const DavError davError = DavClient::errorOf(reply.get()); davError && status != 404) { // 404: gone already
        m_lastError = davError;
        *error = davError.description();
        return false;
    }
    return true;
}

bool RemotePropagator::adoptSameContent(const SyncAction &action, const QString &localPath, QList<SyncRecord> *records)
{
    const DavResource &remote = *action.remote;
    if (remote.size != action.local.size || action.local.size > sameContentLimit) {
        return false;
    }
    QFile file;
    struct stat st {};
    QString ignored;
    if (!openAsSeen(localPath, action.local, &file, &st, &ignored)) {
        return false;
    }
    const int fd = file.handle();
    std::unique_ptr<QNetworkReply> reply(m_client->get(action.path));
    // a server answering more than the document it described is not read on
    DavClient::limitAnswer(reply.get(), action.local.size);
    DavClient::waitFor(reply.get());
    if (DavClient::errorOf(reply.get()) || reply->bytesAvailable() != action.local.size) {
        return false;
    }
    const QByteArray theirs = reply->readAll();
    // compared piece by piece: the device's copy is never held whole beside the server's
    constexpr qint64 piece = 1 << 20;
    for (qint64 offset = 0; offset < theirs.size(); offset += piece) {
        if (file.read(piece) != QByteArrayView(theirs).sliced(offset, std::min(piece, theirs.size() - offset))) {
            return false;
        }
    }
    QString key = FileAttributes::storeKey(localPath);
    if (!PromisePlaceholder::isStoreKey(key)) {
        key = action.base ? action.base->storeKey : PromisePlaceholder::newStoreKey();
        FileAttributes::setStoreKey(fd, key);
    }
    SyncRecord record;
    record.storeKey = key;
    record.path = action.path;
    record.version = remote.version();
    record.size = st.st_size;
    record.modifiedMs = modifiedMs(st);
    record.contentType = remote.contentType;
    *records << record;
    DRLog(LOG_INFO, "\"%@\" holds the same on the device and on the server: kept as one", action.path);
    return true;
}

bool RemotePropagator::keepBoth(const SyncAction &action, const QString &localPath, QList<SyncRecord> *records,
                                QString *error, QSet<QString> *checkedFolders)
{
    const std::optional<struct stat> st = FilePath::linkStatus(localPath);
    if (!st || !isAsSeen(*st, action.local)) {
        *error = QStringLiteral("it changed since the run looked; the next run looks again");
        return false;
    }
    if (adoptSameContent(action, localPath, records)) {
        return true;
    }
    const QString folder = parentOf(localPath);
    QString conflict = conflictName(action.remote->name(), QDateTime::currentDateTime());
    if (const QString free = FileUtils::stringByUniquingPathInsideDirectory_forBasename(folder, conflict); !free.isNull()) {
        conflict = free;
    }
    const QString conflictPath = folder + QLatin1Char('/') + conflict;
    if (::renameat2(AT_FDCWD, FilePath::encode(localPath).constData(), AT_FDCWD, FilePath::encode(conflictPath).constData(),
                    RENAME_NOREPLACE)
        != 0) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    DRLog(LOG_NOTICE, "\"%@\" changed on the device and on the server: the device's version is now \"%@\"",
          action.path, conflict);

    // the server's version keeps the name
    SyncAction comeBack = action;
    comeBack.kind = Kind::CreatePlaceholder;
    SyncRecord placeholder;
    if (!LocalPropagator::apply(comeBack, &placeholder, error, checkedFolders)) {
        return false; // the next run brings it: the device's version is safe under its new name
    }
    *records << placeholder;

    // the device's goes up as a new document
    SyncRecord sent;
    if (!upload(joined(parentOf(action.path), conflict), conflictPath, action.local, std::nullopt, PromisePlaceholder::newStoreKey(),
                &sent, error)) {
        return false; // a document of the device's only: the next run sends it
    }
    *records << sent;
    return true;
}
