#include "sync/SyncEngine.h"

#include "core/DRLogging.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "sync/DavClient.h"
#include "sync/LocalPropagator.h"
#include "sync/LocalScanner.h"
#include "sync/ParallelUploads.h"
#include "sync/Reconciler.h"
#include "sync/RemoteMapping.h"
#include "sync/RemotePropagator.h"
#include "sync/RemoteScanner.h"
#include "sync/SendFailures.h"
#include "sync/SyncJournal.h"
#include "sync/TagSync.h"

#include <QSet>

#include <future>

#include <sys/stat.h>

namespace {

using Kind = SyncAction::Kind;

/// The item the journal knows as `record`, found on the device at `path`: moved there.
SyncAction movedOnTheDevice(const QString &path, const SyncRecord &record, const QHash<QString, DavResource> &remote,
                            const LocalItem &local)
{
    SyncAction move;
    move.kind = Kind::MoveRemote;
    move.path = path;
    move.fromPath = record.path;
    move.base = record;
    move.remote = remote.value(record.path);
    move.local = local;
    return move;
}

/// The order in which actions are carried out: folders first, from the top; then documents;
/// then what goes away, folders last and from the bottom, so each finds its place ready.
int phase(const SyncAction &action)
{
    const bool folder = action.base && action.base->isFolder;
    switch (action.kind) {
    case Kind::MakeFolder:
    case Kind::MakeRemoteFolder: return 0;
    case Kind::Move: return 1;
    case Kind::MoveRemote: return folder ? 0 : 1;
    case Kind::RemoveFolder: return 4;
    case Kind::DeleteRemote: return folder ? 4 : 3;
    case Kind::RemoveLocal:
    case Kind::Forget: return 3;
    default: return 2;
    }
}

void sortForApplying(QList<SyncAction> &actions)
{
    std::stable_sort(actions.begin(), actions.end(), [](const SyncAction &a, const SyncAction &b) {
        if (phase(a) != phase(b)) {
            return phase(a) < phase(b);
        }
        const qsizetype depthA = a.path.count(QLatin1Char('/'));
        const qsizetype depthB = b.path.count(QLatin1Char('/'));
        return phase(a) == 4 ? depthA > depthB : depthA < depthB;
    });
}

QString describe(Kind kind)
{
    switch (kind) {
    case Kind::CreatePlaceholder: return QStringLiteral("new");
    case Kind::UpdatePlaceholder: return QStringLiteral("changed");
    case Kind::ReplaceWithPlaceholder: return QStringLiteral("changed, downloaded copy given back");
    case Kind::Move: return QStringLiteral("moved");
    case Kind::MakeFolder: return QStringLiteral("new folder");
    case Kind::RemoveLocal: return QStringLiteral("deleted");
    case Kind::RemoveFolder: return QStringLiteral("folder deleted");
    case Kind::Upload: return QStringLiteral("sent");
    case Kind::UploadChange: return QStringLiteral("changed on the device, sent");
    case Kind::MakeRemoteFolder: return QStringLiteral("new folder on the device, made on the server");
    case Kind::MoveRemote: return QStringLiteral("moved on the device, moved on the server");
    case Kind::KeepBoth: return QStringLiteral("changed on both sides, both versions kept");
    case Kind::DeleteRemote: return QStringLiteral("deleted on the device, deleted on the server");
    default: return {};
    }
}

bool isSending(Kind kind)
{
    return kind == Kind::Upload || kind == Kind::UploadChange || kind == Kind::MakeRemoteFolder || kind == Kind::KeepBoth
        || kind == Kind::MoveRemote || kind == Kind::DeleteRemote;
}

/// The store key the device's item at `path` carries: a placeholder's own, a downloaded
/// document's attribute; empty for anything else.
QString storeKeyAt(const QString &path, const LocalItem &item)
{
    const std::optional<QString> local = RemoteMapping::localPathFor(path);
    if (!local) {
        return {};
    }
    if (item.kind == LocalItem::Kind::Placeholder) {
        std::optional<Error> error;
        const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(*local), &error);
        return placeholder ? placeholder->storeKey : QString();
    }
    return item.kind == LocalItem::Kind::File ? FileAttributes::storeKey(*local) : QString();
}

/// Documents the device moved or renamed: an item the journal does not know at its place,
/// whose store key it knows at a place where the device has nothing now and the server still
/// has it. By the path they go to.
QHash<QString, SyncAction> movesOnTheDevice(const QHash<QString, SyncRecord> &base, const QHash<QString, LocalItem> &local,
                                            const QHash<QString, DavResource> &remote)
{
    QHash<QString, SyncAction> moves;
    QHash<QString, const SyncRecord *> byKey;
    for (const SyncRecord &record : base) {
        if (!record.isFolder) {
            byKey.insert(record.storeKey, &record);
        }
    }
    for (auto it = local.cbegin(); it != local.cend(); ++it) {
        if (base.contains(it.key())) {
            continue; // a server's document of the name is no reason not to send the move: it gets the next free name
        }
        const QString key = storeKeyAt(it.key(), it.value());
        const SyncRecord *record = key.isEmpty() ? nullptr : byKey.value(key);
        if (!record || local.contains(record->path) || !remote.contains(record->path)) {
            continue;
        }
        moves.insert(it.key(), movedOnTheDevice(it.key(), *record, remote, it.value()));
    }
    return moves;
}

/// Whether the device's item at `path` was last changed before `sinceMs`.
bool unchangedSince(const QString &path, qint64 sinceMs)
{
    const std::optional<QString> local = RemoteMapping::localPathFor(path);
    const std::optional<struct stat> st = local ? FilePath::linkStatus(*local) : std::nullopt;
    if (!st) {
        return false;
    }
    const qint64 changed = std::max(qint64(st->st_mtim.tv_sec) * 1000 + st->st_mtim.tv_nsec / 1000000,
                                    qint64(st->st_ctim.tv_sec) * 1000 + st->st_ctim.tv_nsec / 1000000);
    return changed < sinceMs;
}

/// An item the device held before this account's first sync is not sent by itself: after a
/// new sign-in the drive may still hold another account's documents, or the demo's. Touched
/// since (edited, moved, renamed, or a folder given a new item), it goes.
bool isHeldBack(const SyncAction &action, qint64 sendSinceMs)
{
    const bool sendsSomethingNew = !action.base
        && (action.kind == Kind::Upload || action.kind == Kind::MakeRemoteFolder || action.kind == Kind::KeepBoth);
    return sendsSomethingNew && unchangedSince(action.path, sendSinceMs);
}

bool isInside(const QString &path, const QString &folder)
{
    return path.size() > folder.size() + 1 && path.startsWith(folder) && path.at(folder.size()) == QLatin1Char('/');
}

/// `path` with its part `from` (itself or a folder above it) replaced by `to`.
QString moved(const QString &path, const QString &from, const QString &to)
{
    return to + path.mid(from.size());
}

/// Folders the device moved or renamed: a folder the journal does not know at its place, whose
/// store key it knows for a folder at a place where the device has nothing now and the server
/// still has a folder. The outermost of them: those inside are found once these are followed.
QList<SyncAction> foldersMovedOnTheDevice(const QHash<QString, SyncRecord> &base, const QHash<QString, LocalItem> &local,
                                          const QHash<QString, DavResource> &remote)
{
    QHash<QString, const SyncRecord *> byKey;
    for (const SyncRecord &record : base) {
        if (record.isFolder) {
            byKey.insert(record.storeKey, &record);
        }
    }
    QList<SyncAction> moves;
    for (auto it = local.cbegin(); it != local.cend(); ++it) {
        if (it->kind != LocalItem::Kind::Folder || it->storeKey.isEmpty() || base.contains(it.key())) {
            continue;
        }
        const SyncRecord *record = byKey.value(it->storeKey);
        if (!record || local.contains(record->path) || !remote.value(record->path).isCollection) {
            continue;
        }
        moves << movedOnTheDevice(it.key(), *record, remote, it.value());
    }
    QList<SyncAction> outermost;
    for (const SyncAction &move : std::as_const(moves)) {
        const bool inner = std::any_of(moves.cbegin(), moves.cend(), [&move](const SyncAction &other) {
            return isInside(move.fromPath, other.fromPath) || isInside(move.path, other.path);
        });
        if (!inner) {
            outermost << move;
        }
    }
    return outermost;
}

/// Moves the items at `from` and inside it to `to` in a map by path, as the run's view of them
/// once the folder's move is sent.
template <typename Item>
void moveInView(QHash<QString, Item> *items, const QString &from, const QString &to)
{
    QList<Item> movedItems;
    for (auto it = items->begin(); it != items->end();) {
        if (it.key() == from || isInside(it.key(), from)) {
            Item item = it.value();
            item.path = moved(it.key(), from, to);
            movedItems << item;
            it = items->erase(it);
        } else {
            ++it;
        }
    }
    for (const Item &item : std::as_const(movedItems)) {
        items->insert(item.path, item);
    }
}

/// A folder deleted on the device goes whole, in one request, while everything the run decided
/// inside it is a delete too. Anything else inside (changed or new on the server, or an item the
/// device cannot show) and the folder comes back, holding just that: a change beats a delete.
/// Gives the number of the known items deleted with their folders.
int settleFolderDeletes(QList<SyncAction> *actions, const QStringList &unheld)
{
    QMap<QString, qsizetype> byPath; // in order: the items inside a folder follow it
    for (qsizetype i = 0; i < actions->size(); ++i) {
        byPath.insert(actions->at(i).path, i);
    }
    QList<qsizetype> folders;
    for (qsizetype i = 0; i < actions->size(); ++i) {
        const SyncAction &action = actions->at(i);
        if (action.kind == Kind::DeleteRemote && action.base->isFolder) {
            folders << i;
        }
    }
    // the deepest first: a folder inside that comes back brings its folder back too
    std::sort(folders.begin(), folders.end(), [actions](qsizetype a, qsizetype b) {
        return actions->at(a).path.count(QLatin1Char('/')) > actions->at(b).path.count(QLatin1Char('/'));
    });
    QSet<qsizetype> dropped;
    int deletedInside = 0;
    for (qsizetype folderIndex : std::as_const(folders)) {
        SyncAction &folder = (*actions)[folderIndex];
        QList<qsizetype> inside;
        bool keep = std::any_of(unheld.cbegin(), unheld.cend(), [&folder](const QString &path) { return isInside(path, folder.path); });
        for (auto it = byPath.lowerBound(folder.path + QLatin1Char('/')); it != byPath.cend() && isInside(it.key(), folder.path); ++it) {
            const Kind kind = actions->at(it.value()).kind;
            keep = keep || (kind != Kind::DeleteRemote && kind != Kind::Forget);
            inside << it.value();
        }
        if (keep) {
            folder.kind = Kind::MakeFolder;
            DRLog(LOG_NOTICE, "\"%@\" was deleted on the device but holds items changed or new on the server: it comes back with them",
                  folder.path);
            continue;
        }
        for (qsizetype index : std::as_const(inside)) {
            if (!dropped.contains(index) && actions->at(index).kind == Kind::DeleteRemote) {
                ++deletedInside;
            }
            dropped.insert(index);
        }
    }
    QList<qsizetype> order(dropped.cbegin(), dropped.cend());
    std::sort(order.begin(), order.end(), std::greater<>());
    for (qsizetype index : std::as_const(order)) {
        actions->removeAt(index);
    }
    return deletedInside;
}

bool isDelete(Kind kind)
{
    return kind == Kind::RemoveLocal || kind == Kind::RemoveFolder || kind == Kind::DeleteRemote;
}

} // namespace

SyncEngine::SyncEngine(DavClient *client, SyncJournal *journal)
    : m_client(client)
    , m_journal(journal)
{
}

SyncOutcome SyncEngine::run()
{
    SyncOutcome outcome;
    outcome.serverIgnoresIfMatch = m_serverIgnoresIfMatch;
    const auto fail = [&outcome](const QString &error, const QString &kind = {}) {
        outcome.error = error;
        outcome.errorKind = kind;
        outcome.ended = QDateTime::currentDateTimeUtc();
        return outcome;
    };
    // a drive folder gone (a disk not mounted, a folder removed by hand) is no sign that the
    // user deleted everything
    if (!FilePath::linkStatus(*RemoteMapping::localPathFor(QString()))) {
        DRLog(LOG_ERR, "The drive's folder is missing: nothing is synced until it is back");
        return fail(QStringLiteral("The drive's folder is missing"), QStringLiteral("drive missing"));
    }
    // the device's tree is walked while the server's answers are awaited
    std::future<QHash<QString, LocalItem>> localScan = std::async(std::launch::async, [] {
        return LocalScanner::scan(QDateTime::currentMSecsSinceEpoch());
    });
    RemoteScanner scanner(m_client);
    DavError error;
    std::optional<QHash<QString, DavResource>> remote = scanner.scan(&error);
    outcome.refused = scanner.refused();
    for (const QString &refused : std::as_const(outcome.refused)) {
        DRLog(LOG_WARNING, "Refusing the server's item %@", refused);
    }
    const QHash<QString, LocalItem> local = localScan.get();
    if (!remote) {
        DRLog(LOG_ERR, "Sync with %@ failed: %@", m_client->folder().toDisplayString(), error.description());
        return fail(error.description(), error.kindName());
    }

    QHash<QString, SyncRecord> base = m_journal->records();
    adoptFolderKeys(base, local);
    QList<SyncAction> actions = decide(&base, local, &*remote);
    const int deletedInside = settleFolderDeletes(&actions, scanner.unheld());
    const qsizetype deletes = deletedInside + std::count_if(actions.cbegin(), actions.cend(), [](const SyncAction &action) {
                                  return isDelete(action.kind);
                              });
    if (base.size() >= massDeleteFloor && deletes * 2 > base.size() && !m_deletesConfirmed) {
        // a server restored from an old backup, or a drive emptied by mistake, must not wipe
        // the other side
        DRLog(LOG_WARNING, "This sync would delete %d of the %d items it knows; it waits for `aerovadrive-ctl sync confirm-deletes`",
              int(deletes), int(base.size()));
        return fail(QStringLiteral("This sync would delete %1 of the %2 items it knows; it waits for `aerovadrive-ctl sync confirm-deletes`")
                        .arg(deletes)
                        .arg(base.size()),
                    QStringLiteral("deletes held"));
    }
    sortForApplying(actions);
    apply(actions, &outcome);
    if (outcome.error.isEmpty()) {
        syncTags(base, actions, local, *remote, &outcome);
    }
    outcome.succeeded = outcome.error.isEmpty();
    outcome.ended = QDateTime::currentDateTimeUtc();
    return outcome;
}

void SyncEngine::adoptFolderKeys(const QHash<QString, SyncRecord> &base, const QHash<QString, LocalItem> &local)
{
    // folders recorded before they carried their key get it now, so a later move of theirs is
    // seen as one
    for (const SyncRecord &record : base) {
        const auto here = local.constFind(record.path);
        if (record.isFolder && here != local.cend() && here->kind == LocalItem::Kind::Folder && here->storeKey.isEmpty()) {
            if (const std::optional<QString> path = RemoteMapping::localPathFor(record.path)) {
                FileAttributes::setFolderStoreKey(*path, record.storeKey);
            }
        }
    }
}

QList<SyncAction> SyncEngine::decide(QHash<QString, SyncRecord> *base, const QHash<QString, LocalItem> &local,
                                     QHash<QString, DavResource> *remote)
{
    // folders moved on the device first: everything inside them is then judged at its new place
    QList<SyncAction> actions;
    for (QList<SyncAction> found = foldersMovedOnTheDevice(*base, local, *remote); !found.isEmpty();
         found = foldersMovedOnTheDevice(*base, local, *remote)) {
        for (const SyncAction &move : std::as_const(found)) {
            moveInView(base, move.fromPath, move.path);
            moveInView(remote, move.fromPath, move.path);
        }
        actions << found;
    }
    const QHash<QString, SyncAction> moves = movesOnTheDevice(*base, local, *remote);
    QSet<QString> movedAway;
    for (const SyncAction &move : moves) {
        movedAway.insert(move.fromPath);
    }
    actions << QList<SyncAction>(moves.cbegin(), moves.cend());
    const qint64 sendSince = sendSinceMs();
    int heldBack = 0;
    const auto consider = [&](const QString &path) {
        if (moves.contains(path) || movedAway.contains(path)) {
            return; // decided as a move
        }
        const auto baseIt = base->constFind(path);
        const auto remoteIt = remote->constFind(path);
        const LocalItem here = local.value(path);
        // a document neither side changed needs nothing from this run
        if (baseIt != base->cend() && remoteIt != remote->cend() && !baseIt->isFolder && !remoteIt->isCollection
            && baseIt->version == remoteIt->version()
            && (here.kind == LocalItem::Kind::Placeholder || Reconciler::isUnchangedCopy(*baseIt, here))) {
            return;
        }
        if (!RemoteMapping::localPathFor(path)) {
            return;
        }
        const SyncAction action = Reconciler::decide(baseIt == base->cend() ? std::nullopt : std::optional(*baseIt), here,
                                                     remoteIt == remote->cend() ? std::nullopt : std::optional(*remoteIt), path);
        if (isHeldBack(action, sendSince)) {
            ++heldBack;
            return;
        }
        if (action.kind != Kind::Nothing) {
            actions << action;
        }
    };
    for (auto it = remote->cbegin(); it != remote->cend(); ++it) {
        consider(it.key());
    }
    for (auto it = base->cbegin(); it != base->cend(); ++it) {
        if (!remote->contains(it.key())) {
            consider(it.key());
        }
    }
    for (auto it = local.cbegin(); it != local.cend(); ++it) {
        if (!remote->contains(it.key()) && !base->contains(it.key())) {
            consider(it.key());
        }
    }
    if (heldBack > 0) {
        // said once per run, not once per item: an old drive may hold thousands
        DRLog(LOG_NOTICE, "Not sending %d items that were on the device before this account's first sync; edit, move or rename one to send it",
              heldBack);
    }
    return Reconciler::pairMoves(actions);
}

void SyncEngine::apply(const QList<SyncAction> &actions, SyncOutcome *outcome)
{
    const bool writes = std::any_of(actions.cbegin(), actions.cend(),
                                    [](const SyncAction &action) { return action.kind != Kind::KeepLocal; });
    if (writes && !m_journal->begin()) {
        outcome->error = QStringLiteral("The sync journal cannot be written: %1").arg(m_journal->lastError());
        return;
    }
    QSet<QString> checkedFolders;
    RemotePropagator sender(m_client);
    sender.setLooksBeforeWriting(m_serverIgnoresIfMatch);
    SendFailures sendFailures(m_journal, QDateTime::currentMSecsSinceEpoch());
    // what failed, or moved elsewhere than planned: what the run planned inside them waits
    QStringList unsettled;
    const auto waitingOn = [&unsettled](const SyncAction &action) {
        return std::find_if(unsettled.cbegin(), unsettled.cend(), [&action](const QString &path) {
            return isInside(action.path, path) || (!action.fromPath.isEmpty() && isInside(action.fromPath, path))
                || (action.kind == Kind::DeleteRemote && isInside(path, action.path));
        });
    };
    // what an action ended with: the journal, the log and the outcome learn it
    const auto conclude = [&](const SyncAction &action, bool done, bool waits, const QString &failure, const QList<SyncRecord> &records) {
        if (!done) {
            unsettled << action.path;
            if (!action.fromPath.isEmpty()) {
                unsettled << action.fromPath;
            }
            outcome->failures << QStringLiteral("\"%1\": %2").arg(action.path, failure);
            if (waits) {
                DRLog(LOG_DEBUG, "Not sending \"%@\" in this run: %@", action.path, failure);
            } else {
                DRLog(LOG_ERR, isSending(action.kind) ? "Cannot send \"%@\" to the server: %@" : "Cannot bring \"%@\" from the server: %@",
                      action.path, failure);
            }
            if (records.isEmpty()) {
                return;
            }
        } else if (const QString what = describe(action.kind); !what.isEmpty()) {
            ++outcome->changes;
            DRLog(LOG_DEBUG, "Synced \"%@\" (%@)", action.path, what);
        }
        if (done && action.base && action.base->isFolder) {
            followFolder(action, records, &unsettled);
        }
        record(action, records, outcome);
        // kept at once: a run stopped at any instant has the journal know all it did before
        if (writes && !(m_journal->commit() && m_journal->begin())) {
            outcome->error = QStringLiteral("The sync journal cannot be written: %1").arg(m_journal->lastError());
        }
    };
    // what the server answered a document sent: kept for its next try, or forgotten
    const auto answered = [&sendFailures](const SyncAction &action, bool done, const DavError &answer, QString *failure) {
        if (done) {
            sendFailures.succeeded(action);
        } else if (answer) {
            *failure = sendFailures.failed(action, answer);
        }
    };
    // new documents depend on nothing else the run does after their folder: sent together
    QList<SyncAction> uploads;
    for (const SyncAction &action : actions) {
        if (action.kind == Kind::KeepLocal) {
            DRLog(LOG_NOTICE, "Leaving \"%@\" as it is on the device: %@", action.path, action.reason);
            continue;
        }
        QList<SyncRecord> records;
        QString failure;
        // every item is attempted: one failure must not strand the rest
        bool done = false;
        bool waits = false;
        if (const auto waiting = waitingOn(action); waiting != unsettled.cend()) {
            failure = QStringLiteral("\"%1\" is not in step yet; the next run looks again").arg(*waiting);
        } else if (isSending(action.kind)) {
            failure = sendFailures.waitReason(action);
            waits = !failure.isEmpty();
            if (!waits && action.kind == Kind::Upload) {
                uploads << action;
                continue;
            }
            done = !waits && sender.apply(action, &records, &failure, &checkedFolders);
            if (!waits) {
                answered(action, done, sender.lastServerError(), &failure);
            }
        } else {
            SyncRecord record;
            done = LocalPropagator::apply(action, &record, &failure, &checkedFolders);
            if (done && !record.storeKey.isEmpty()) {
                records << record;
            }
        }
        conclude(action, done, waits, failure, records);
    }
    // the first alone: a full server is found by one document, not by all
    bool serverFull = false;
    if (!uploads.isEmpty()) {
        const SyncAction first = uploads.takeFirst();
        QList<SyncRecord> records;
        QString failure;
        const bool done = sender.apply(first, &records, &failure, &checkedFolders);
        serverFull = sender.lastServerError().kind == DavError::Kind::ServerFull;
        answered(first, done, sender.lastServerError(), &failure);
        conclude(first, done, false, failure, records);
    }
    const QList<ParallelUploads::Result> results =
        serverFull ? QList<ParallelUploads::Result>(uploads.size()) : ParallelUploads::send(*m_client, m_serverIgnoresIfMatch, uploads);
    for (qsizetype i = 0; i < uploads.size(); ++i) {
        const SyncAction &action = uploads.at(i);
        const ParallelUploads::Result &result = results.at(i);
        QString failure = result.failure;
        // not tried: the server was full when its turn came
        const bool waits = !result.tried;
        if (waits) {
            failure = sendFailures.waitReason(action);
        } else {
            answered(action, result.done, result.answer, &failure);
        }
        conclude(action, result.done, waits, failure, result.records);
    }
    sendFailures.finish();
    outcome->waitingForRoom = sendFailures.waitingForRoom();
    if (outcome->waitingForRoom > 0) {
        DRLog(LOG_WARNING, "The server is full: %d documents wait until it has room", outcome->waitingForRoom);
    }
    if (writes && !m_journal->commit()) {
        outcome->error = QStringLiteral("The sync journal cannot be written: %1").arg(m_journal->lastError());
    }
}

void SyncEngine::syncTags(const QHash<QString, SyncRecord> &base, const QList<SyncAction> &actions,
                          const QHash<QString, LocalItem> &local, const QHash<QString, DavResource> &remote, SyncOutcome *outcome)
{
    // only what this run left as it was: an item just sent or brought has its tags looked at
    // by the next run, against the version both sides then hold
    QHash<QString, SyncRecord> inStep = base;
    for (const SyncAction &action : actions) {
        inStep.remove(action.path);
        inStep.remove(action.fromPath);
    }
    if (!m_journal->begin()) {
        return;
    }
    outcome->changes += TagSync(m_client, m_journal).run(inStep, local, remote, &outcome->failures);
    m_journal->commit();
}

void SyncEngine::followFolder(const SyncAction &action, const QList<SyncRecord> &records, QStringList *unsettled)
{
    if (action.kind == Kind::DeleteRemote) {
        m_journal->removeInside(action.path);
    } else if (action.kind == Kind::MoveRemote && !records.isEmpty()) {
        m_journal->moveInside(action.fromPath, records.first().path);
        if (records.first().path != action.path) {
            unsettled->append(action.path); // it took another name: what was planned inside waits
        }
    }
}

void SyncEngine::record(const SyncAction &action, const QList<SyncRecord> &records, SyncOutcome *outcome)
{
    const bool baseKept = action.base && std::any_of(records.cbegin(), records.cend(), [&action](const SyncRecord &record) {
                              return record.storeKey == action.base->storeKey;
                          });
    if (action.base && !baseKept) {
        m_journal->remove(action.base->storeKey);
    }
    for (const SyncRecord &record : records) {
        if (action.base && record == *action.base) {
            continue;
        }
        if (!m_journal->put(record)) {
            outcome->failures << QStringLiteral("\"%1\": the sync journal cannot record it: %2").arg(record.path, m_journal->lastError());
            DRLog(LOG_ERR, "Cannot record \"%@\" in the sync journal: %@", record.path, m_journal->lastError());
        } else if (record.isFolder) {
            // the key goes with the folder wherever the device moves it
            if (const std::optional<QString> path = RemoteMapping::localPathFor(record.path)) {
                FileAttributes::setFolderStoreKey(*path, record.storeKey);
            }
        }
    }
}

QString SyncEngine::ifMatchIgnoredMeaning()
{
    return QStringLiteral("an edit made on another device while this one sends its own can be overwritten there "
                          "instead of being kept as a conflict copy; the drive looks at the server's version just "
                          "before each write, which narrows that window but cannot close it");
}

qint64 SyncEngine::sendSinceMs()
{
    const QString since = m_journal->value(QStringLiteral("sendSince"));
    if (!since.isEmpty()) {
        return since.toLongLong();
    }
    // the account's first sync: what the device holds now stays unless touched
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    m_journal->setValue(QStringLiteral("sendSince"), QString::number(now));
    return now;
}
