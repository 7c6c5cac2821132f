#include "sync/LocalPropagator.h"

#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "sync/RemoteMapping.h"

#include <QFileInfo>
#include <QMimeDatabase>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

qint64 modifiedMs(const struct stat &st)
{
    return qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
}

SyncRecord recordFor(const DavResource &remote, const QString &storeKey)
{
    SyncRecord record;
    record.storeKey = storeKey;
    record.path = remote.path;
    record.isFolder = remote.isCollection;
    record.version = remote.version();
    record.size = remote.isCollection ? -1 : remote.size;
    record.modifiedMs = remote.modified.isValid() ? remote.modified.toMSecsSinceEpoch() : 0;
    record.contentType = remote.contentType;
    return record;
}

PromisePlaceholder placeholderFor(const DavResource &remote, const QString &storeKey, const QStringList &tags)
{
    PromisePlaceholder placeholder;
    placeholder.name = remote.name();
    placeholder.size = std::max<qint64>(0, remote.size);
    placeholder.modificationDate = remote.modified;
    placeholder.creationDate = remote.modified;
    // the server's type when it says one, else the name's (many servers send a generic one)
    placeholder.mimeType = remote.contentType.isEmpty() || remote.contentType == QLatin1String("application/octet-stream")
        ? QMimeDatabase().mimeTypeForFile(remote.name(), QMimeDatabase::MatchExtension).name()
        : remote.contentType;
    placeholder.tags = remote.tags.isEmpty() ? tags : remote.tags;
    placeholder.storeKey = storeKey;
    return placeholder;
}

} // namespace

/// The item's folder must really be the drive's: a link planted on the way would lead out.
bool LocalPropagator::folderIsInDrive(const QString &localPath, QString *error, QSet<QString> *checked)
{
    const QString folder = localPath.left(localPath.lastIndexOf(QLatin1Char('/')));
    if (checked && checked->contains(folder)) {
        return true;
    }
    if (!kd_isInMobileDocuments(QUrl::fromLocalFile(folder + QLatin1Char('/')))) {
        *error = QStringLiteral("its folder is not inside the drive");
        return false;
    }
    if (checked) {
        checked->insert(folder);
    }
    return true;
}

namespace {

using Kind = SyncAction::Kind;

/// The placeholder at `localPath` when it is the one of `storeKey`.
std::optional<PromisePlaceholder> ownPlaceholder(const QString &localPath, const QString &storeKey, QString *error)
{
    std::optional<Error> readError;
    auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(localPath), &readError);
    if (!placeholder) {
        *error = QStringLiteral("its placeholder cannot be read");
        return std::nullopt;
    }
    if (placeholder->storeKey != storeKey) {
        *error = QStringLiteral("its placeholder now belongs to another item");
        return std::nullopt;
    }
    return placeholder;
}

/// The downloaded copy at `localPath`, when it is still the base's version of the base's item.
bool isOwnUnchangedCopy(const QString &localPath, const SyncRecord &base, QString *error)
{
    const std::optional<struct stat> st = FilePath::linkStatus(localPath);
    if (!st || !S_ISREG(st->st_mode) || st->st_size != base.size || modifiedMs(*st) != base.modifiedMs) {
        *error = QStringLiteral("it changed on the device");
        return false;
    }
    if (FileAttributes::storeKey(localPath) != base.storeKey) {
        *error = QStringLiteral("it is another document than the one downloaded");
        return false;
    }
    return true;
}

bool writePlaceholder(const QString &localPath, const PromisePlaceholder &placeholder, bool replace, QString *error)
{
    if (auto writeError = placeholder.write(PromisePlaceholder::placeholderPathFor(localPath), replace)) {
        *error = writeError->localizedDescription();
        return false;
    }
    return true;
}

bool renameNoReplace(const QString &from, const QString &to, QString *error)
{
    if (::renameat2(AT_FDCWD, FilePath::encode(from).constData(), AT_FDCWD, FilePath::encode(to).constData(),
                    RENAME_NOREPLACE)
        != 0) {
        *error = errnoText(errno);
        return false;
    }
    return true;
}

bool createPlaceholder(const QString &local, const SyncAction &action, SyncRecord *record, QString *error)
{
    const QString key = PromisePlaceholder::newStoreKey();
    if (FilePath::linkStatus(local)) {
        *error = QStringLiteral("the device has an item of that name");
        return false;
    }
    if (!writePlaceholder(local, placeholderFor(*action.remote, key, {}), false, error)) {
        return false;
    }
    *record = recordFor(*action.remote, key);
    return true;
}

bool updatePlaceholder(const QString &local, const SyncAction &action, SyncRecord *record, QString *error)
{
    const auto existing = ownPlaceholder(local, action.base->storeKey, error);
    if (!existing) {
        return false;
    }
    PromisePlaceholder placeholder = placeholderFor(*action.remote, action.base->storeKey, existing->tags);
    placeholder.shared = existing->shared;
    placeholder.role = existing->role;
    if (!writePlaceholder(local, placeholder, true, error)) {
        return false;
    }
    *record = recordFor(*action.remote, action.base->storeKey);
    return true;
}

bool replaceWithPlaceholder(const QString &local, const SyncAction &action, SyncRecord *record, QString *error)
{
    if (!isOwnUnchangedCopy(local, *action.base, error)) {
        return false;
    }
    const QStringList tags = FileAttributes::tags(local);
    // the placeholder first: beside the real file it is stale and unseen, so there is no
    // instant without the item
    if (!writePlaceholder(local, placeholderFor(*action.remote, action.base->storeKey, tags), true, error)) {
        return false;
    }
    if (!isOwnUnchangedCopy(local, *action.base, error)) {
        ::unlink(FilePath::encode(PromisePlaceholder::placeholderPathFor(local)).constData());
        return false;
    }
    ::unlink(FilePath::encode(local).constData());
    *record = recordFor(*action.remote, action.base->storeKey);
    return true;
}

bool removeLocal(const QString &local, const SyncAction &action, QString *error)
{
    if (const std::optional<struct stat> st = FilePath::linkStatus(local)) {
        if (!isOwnUnchangedCopy(local, *action.base, error)) {
            return false;
        }
        if (::unlink(FilePath::encode(local).constData()) != 0) {
            *error = errnoText(errno);
            return false;
        }
    } else if (!ownPlaceholder(local, action.base->storeKey, error)) {
        return false;
    }
    const QByteArray placeholder = FilePath::encode(PromisePlaceholder::placeholderPathFor(local));
    if (::unlink(placeholder.constData()) != 0 && errno != ENOENT) {
        *error = errnoText(errno);
        return false;
    }
    return true;
}

bool move(const QString &local, const SyncAction &action, SyncRecord *record, QString *error)
{
    QString reason;
    const std::optional<QString> from = RemoteMapping::localPathFor(action.fromPath, &reason);
    if (!from || !LocalPropagator::folderIsInDrive(*from, error)) {
        if (error->isEmpty()) {
            *error = reason;
        }
        return false;
    }
    if (FilePath::linkStatus(local) || FilePath::linkStatus(PromisePlaceholder::placeholderPathFor(local))) {
        *error = QStringLiteral("the device has an item of that name");
        return false;
    }
    if (FilePath::linkStatus(*from)) {
        if (!isOwnUnchangedCopy(*from, *action.base, error) || !renameNoReplace(*from, local, error)) {
            return false;
        }
    } else {
        if (!ownPlaceholder(*from, action.base->storeKey, error)
            || !renameNoReplace(PromisePlaceholder::placeholderPathFor(*from), PromisePlaceholder::placeholderPathFor(local), error)) {
            return false;
        }
    }
    *record = recordFor(*action.remote, action.base->storeKey);
    return true;
}

bool makeFolder(const QString &local, const SyncAction &action, SyncRecord *record, QString *error)
{
    if (::mkdir(FilePath::encode(local).constData(), 0755) != 0 && errno != EEXIST) {
        *error = errnoText(errno);
        return false;
    }
    const std::optional<struct stat> st = FilePath::linkStatus(local);
    if (!st || !S_ISDIR(st->st_mode)) {
        *error = QStringLiteral("the device has a document of that name");
        return false;
    }
    *record = recordFor(*action.remote, action.base ? action.base->storeKey : PromisePlaceholder::newStoreKey());
    return true;
}

bool removeFolder(const QString &local, QString *error)
{
    // only an empty folder goes: what is left inside is the device's own
    if (::rmdir(FilePath::encode(local).constData()) != 0 && errno != ENOENT) {
        *error = errno == ENOTEMPTY || errno == EEXIST ? QStringLiteral("it holds items of the device") : errnoText(errno);
        return false;
    }
    return true;
}

} // namespace

LocalItem LocalPropagator::localItemAt(const QString &localPath)
{
    LocalItem item;
    if (const std::optional<struct stat> st = FilePath::linkStatus(localPath)) {
        if (S_ISREG(st->st_mode)) {
            item.kind = LocalItem::Kind::File;
            item.size = st->st_size;
            item.modifiedMs = modifiedMs(*st);
        } else {
            item.kind = S_ISDIR(st->st_mode) ? LocalItem::Kind::Folder : LocalItem::Kind::Other;
        }
    } else if (FilePath::linkStatus(PromisePlaceholder::placeholderPathFor(localPath))) {
        item.kind = LocalItem::Kind::Placeholder;
    }
    return item;
}

bool LocalPropagator::apply(const SyncAction &action, SyncRecord *record, QString *error, QSet<QString> *checkedFolders)
{
    QString reason;
    const std::optional<QString> local = RemoteMapping::localPathFor(action.path, &reason);
    if (!local) {
        *error = reason;
        return false;
    }
    if (action.kind != Kind::Forget && action.kind != Kind::Nothing && !folderIsInDrive(*local, error, checkedFolders)) {
        return false;
    }
    if (action.base) {
        *record = *action.base;
    }
    switch (action.kind) {
    case Kind::Nothing:
    case Kind::KeepLocal:
        return true;
    case Kind::CreatePlaceholder:
        return createPlaceholder(*local, action, record, error);
    case Kind::UpdatePlaceholder:
        return updatePlaceholder(*local, action, record, error);
    case Kind::ReplaceWithPlaceholder:
        return replaceWithPlaceholder(*local, action, record, error);
    case Kind::Move:
        return move(*local, action, record, error);
    case Kind::MakeFolder:
        return makeFolder(*local, action, record, error);
    case Kind::Record: {
        // the device already holds it: a placeholder keeps its own key
        QString key = action.base ? action.base->storeKey : QString();
        if (action.remote && !action.remote->isCollection) {
            std::optional<Error> readError;
            if (const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(*local), &readError)) {
                key = placeholder->storeKey;
            } else if (const QString own = FileAttributes::storeKey(*local); PromisePlaceholder::isStoreKey(own)) {
                key = own; // a downloaded copy keeps the key it was downloaded under
            }
        }
        *record = recordFor(*action.remote, key.isEmpty() ? PromisePlaceholder::newStoreKey() : key);
        return true;
    }
    case Kind::RemoveLocal:
        if (!removeLocal(*local, action, error)) {
            return false;
        }
        *record = {};
        return true;
    case Kind::RemoveFolder:
        if (!removeFolder(*local, error)) {
            return false;
        }
        *record = {};
        return true;
    case Kind::Forget:
        *record = {};
        return true;
    case Kind::Upload:
    case Kind::UploadChange:
    case Kind::MakeRemoteFolder:
    case Kind::KeepBoth:
    case Kind::MoveRemote:
    case Kind::DeleteRemote:
        break; // the server's part
    }
    *error = QStringLiteral("nothing to do on the device");
    return false;
}
