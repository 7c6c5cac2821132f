#include "sync/Reconciler.h"

#include <QHash>

namespace {

using Kind = SyncAction::Kind;
using LocalKind = LocalItem::Kind;

SyncAction action(Kind kind, const QString &path, const std::optional<SyncRecord> &base,
                  const std::optional<DavResource> &remote, const QString &reason = {})
{
    SyncAction result;
    result.kind = kind;
    result.path = path;
    result.base = base;
    result.remote = remote;
    result.reason = reason;
    return result;
}

/// A document of the device's to send: only once it is quiet, never half-written.
SyncAction send(Kind kind, const QString &path, const std::optional<SyncRecord> &base,
                const std::optional<DavResource> &remote, const LocalItem &local)
{
    SyncAction result = local.settled ? action(kind, path, base, remote)
                                      : action(Kind::KeepLocal, path, base, remote, QStringLiteral("it is still being written"));
    result.local = local;
    return result;
}

SyncAction decideRemoteFolder(const std::optional<SyncRecord> &base, const LocalItem &local, const DavResource &remote,
                              const QString &path)
{
    switch (local.kind) {
    case LocalKind::Absent:
        // known and gone here: deleted on the device (whether nothing in it changed on the
        // server is the run's to tell); new on the server: made here
        return base && base->isFolder ? action(Kind::DeleteRemote, path, base, remote)
                                      : action(Kind::MakeFolder, path, base, remote);
    case LocalKind::Folder:
        return base && base->isFolder && base->version == remote.version() ? action(Kind::Nothing, path, base, remote)
                                                                           : action(Kind::Record, path, base, remote);
    default:
        return action(Kind::KeepLocal, path, base, remote,
                      QStringLiteral("the server has a folder where the device has a document"));
    }
}

SyncAction decideRemoteFile(const std::optional<SyncRecord> &base, const LocalItem &local, const DavResource &remote,
                            const QString &path)
{
    const bool known = base && !base->isFolder;
    const bool sameVersion = known && base->version == remote.version();
    switch (local.kind) {
    case LocalKind::Absent:
        // known and gone here: deleted on the device, unless the server changed it since (a
        // change beats a delete)
        return sameVersion ? action(Kind::DeleteRemote, path, base, remote)
                           : action(Kind::CreatePlaceholder, path, base, remote);
    case LocalKind::Placeholder:
        if (sameVersion) {
            return action(Kind::Nothing, path, base, remote);
        }
        return action(known ? Kind::UpdatePlaceholder : Kind::Record, path, base, remote);
    case LocalKind::File:
        if (known && Reconciler::isUnchangedCopy(*base, local)) {
            return sameVersion ? action(Kind::Nothing, path, base, remote)
                               : action(Kind::ReplaceWithPlaceholder, path, base, remote);
        }
        if (!known && local.size == remote.size && remote.modified.isValid()
            && local.modifiedMs == remote.modified.toMSecsSinceEpoch()) {
            // the server's very document, downloaded before the journal knew it (a journal
            // started afresh): taken as it is
            return action(Kind::Record, path, base, remote);
        }
        // changed here; on the server too, or new on both sides under one name
        return send(sameVersion ? Kind::UploadChange : Kind::KeepBoth, path, base, remote, local);
    case LocalKind::Folder:
        return action(Kind::KeepLocal, path, base, remote,
                      QStringLiteral("the server has a document where the device has a folder"));
    case LocalKind::Other:
        return action(Kind::KeepLocal, path, base, remote,
                      QStringLiteral("the device has a link or a special file of that name"));
    }
    return action(Kind::Nothing, path, base, remote);
}

SyncAction decideRemoteGone(const SyncRecord &base, const LocalItem &local, const QString &path)
{
    switch (local.kind) {
    case LocalKind::Absent:
        return action(Kind::Forget, path, base, std::nullopt);
    case LocalKind::Placeholder:
        return base.isFolder ? action(Kind::Forget, path, base, std::nullopt)
                             : action(Kind::RemoveLocal, path, base, std::nullopt);
    case LocalKind::File:
        if (!base.isFolder && Reconciler::isUnchangedCopy(base, local)) {
            return action(Kind::RemoveLocal, path, base, std::nullopt);
        }
        return send(Kind::Upload, path, base, std::nullopt, local); // a change beats a delete
    case LocalKind::Folder:
        return base.isFolder ? action(Kind::RemoveFolder, path, base, std::nullopt)
                             : action(Kind::KeepLocal, path, base, std::nullopt,
                                      QStringLiteral("deleted on the server; the device has a folder there"));
    case LocalKind::Other:
        return action(Kind::Forget, path, base, std::nullopt);
    }
    return action(Kind::Nothing, path, base, std::nullopt);
}

} // namespace

bool Reconciler::isUnchangedCopy(const SyncRecord &base, const LocalItem &local)
{
    return local.kind == LocalKind::File && local.size == base.size && local.modifiedMs == base.modifiedMs;
}

SyncAction Reconciler::decide(const std::optional<SyncRecord> &base, const LocalItem &local,
                              const std::optional<DavResource> &remote, const QString &path)
{
    if (remote) {
        return remote->isCollection ? decideRemoteFolder(base, local, *remote, path)
                                    : decideRemoteFile(base, local, *remote, path);
    }
    if (base) {
        return decideRemoteGone(*base, local, path);
    }
    switch (local.kind) {
    case LocalKind::File:
        return send(Kind::Upload, path, base, remote, local);
    case LocalKind::Folder: {
        SyncAction result = action(Kind::MakeRemoteFolder, path, base, remote);
        result.local = local;
        return result;
    }
    default:
        // a placeholder the server does not know (moved on the device: moves are not sent yet),
        // a link or a special file: nothing a server can hold
        return action(Kind::Nothing, path, base, remote);
    }
}

QList<SyncAction> Reconciler::pairMoves(QList<SyncAction> actions)
{
    // versions of documents that left their place with nothing changed here, and of new ones
    QHash<QString, QList<qsizetype>> gone;
    QHash<QString, QList<qsizetype>> arrived;
    for (qsizetype i = 0; i < actions.size(); ++i) {
        const SyncAction &a = actions.at(i);
        if (a.kind == Kind::RemoveLocal && a.base && !a.base->isFolder && !a.base->version.isEmpty()) {
            gone[a.base->version] << i;
        } else if (a.kind == Kind::CreatePlaceholder && a.remote) {
            arrived[a.remote->version()] << i;
        }
    }
    QList<qsizetype> dropped;
    for (auto it = gone.cbegin(); it != gone.cend(); ++it) {
        const auto match = arrived.constFind(it.key());
        if (it.value().size() != 1 || match == arrived.cend() || match.value().size() != 1) {
            continue; // ambiguous: a delete and a new document lose nothing either
        }
        SyncAction &from = actions[it.value().first()];
        SyncAction &to = actions[match.value().first()];
        if (from.base->size != to.remote->size) {
            continue;
        }
        to.kind = Kind::Move;
        to.fromPath = from.path;
        to.base = from.base;
        dropped << it.value().first();
    }
    std::sort(dropped.begin(), dropped.end(), std::greater<>());
    for (qsizetype index : std::as_const(dropped)) {
        actions.removeAt(index);
    }
    return actions;
}
