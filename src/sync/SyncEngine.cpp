#include "sync/SyncEngine.h"

#include "app/DRLogging.h"
#include "sync/DavClient.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "sync/LocalPropagator.h"
#include "sync/LocalScanner.h"
#include "sync/Reconciler.h"
#include "sync/RemoteMapping.h"
#include "sync/RemotePropagator.h"
#include "sync/RemoteScanner.h"
#include "sync/SyncJournal.h"

#include <QSet>

#include <future>

#include <sys/stat.h>

namespace {

using Kind = SyncAction::Kind;

/// The order in which actions are carried out: folders first, from the top; then documents;
/// then what goes away, folders last and from the bottom, so each finds its place ready.
int phase(const SyncAction &action)
{
    switch (action.kind) {
    case Kind::MakeFolder:
    case Kind::MakeRemoteFolder: return 0;
    case Kind::Move:
    case Kind::MoveRemote: return 1;
    case Kind::RemoveFolder: return 4;
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
    default: return {};
    }
}

bool isSending(Kind kind)
{
    return kind == Kind::Upload || kind == Kind::UploadChange || kind == Kind::MakeRemoteFolder || kind == Kind::KeepBoth
        || kind == Kind::MoveRemote;
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
        SyncAction move;
        move.kind = Kind::MoveRemote;
        move.path = it.key();
        move.fromPath = record->path;
        move.base = *record;
        move.remote = remote.value(record->path);
        move.local = it.value();
        moves.insert(it.key(), move);
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

} // namespace

SyncEngine::SyncEngine(DavClient *client, SyncJournal *journal)
    : m_client(client)
    , m_journal(journal)
{
}

SyncOutcome SyncEngine::run()
{
    SyncOutcome outcome;
    // the device's tree is walked while the server's answers are awaited
    std::future<QHash<QString, LocalItem>> localScan = std::async(std::launch::async, [] {
        return LocalScanner::scan(QDateTime::currentMSecsSinceEpoch());
    });
    RemoteScanner scanner(m_client);
    DavError error;
    const std::optional<QHash<QString, DavResource>> remote = scanner.scan(&error);
    outcome.refused = scanner.refused();
    for (const QString &refused : std::as_const(outcome.refused)) {
        DRLog(LOG_WARNING, "Refusing the server's item %@", refused);
    }
    if (!remote) {
        outcome.error = error.description();
        outcome.errorKind = error.kindName();
        outcome.ended = QDateTime::currentDateTimeUtc();
        DRLog(LOG_ERR, "Sync with %@ failed: %@", m_client->folder().toDisplayString(), outcome.error);
        return outcome;
    }

    const QHash<QString, SyncRecord> base = m_journal->records();
    const qint64 sendSince = sendSinceMs();
    const QHash<QString, LocalItem> local = localScan.get();
    const QHash<QString, SyncAction> moves = movesOnTheDevice(base, local, *remote);
    QSet<QString> movedAway;
    for (const SyncAction &move : moves) {
        movedAway.insert(move.fromPath);
    }
    QList<SyncAction> actions(moves.cbegin(), moves.cend());
    int heldBack = 0;
    const auto consider = [&](const QString &path) {
        if (moves.contains(path) || movedAway.contains(path)) {
            return; // decided as a move
        }
        const auto baseIt = base.constFind(path);
        const auto remoteIt = remote->constFind(path);
        const LocalItem here = local.value(path);
        // a document neither side changed needs nothing from this run
        if (baseIt != base.cend() && remoteIt != remote->cend() && !baseIt->isFolder && !remoteIt->isCollection
            && baseIt->version == remoteIt->version()
            && (here.kind == LocalItem::Kind::Placeholder || Reconciler::isUnchangedCopy(*baseIt, here))) {
            return;
        }
        if (!RemoteMapping::localPathFor(path)) {
            return;
        }
        SyncAction action = Reconciler::decide(baseIt == base.cend() ? std::nullopt : std::optional(*baseIt), here,
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
    for (auto it = base.cbegin(); it != base.cend(); ++it) {
        if (!remote->contains(it.key())) {
            consider(it.key());
        }
    }
    for (auto it = local.cbegin(); it != local.cend(); ++it) {
        if (!remote->contains(it.key()) && !base.contains(it.key())) {
            consider(it.key());
        }
    }
    if (heldBack > 0) {
        // said once per run, not once per item: an old drive may hold thousands
        DRLog(LOG_NOTICE, "Not sending %d items that were on the device before this account's first sync; edit, move or rename one to send it",
              heldBack);
    }
    actions = Reconciler::pairMoves(actions);
    sortForApplying(actions);

    const bool writes = std::any_of(actions.cbegin(), actions.cend(),
                                    [](const SyncAction &action) { return action.kind != Kind::KeepLocal; });
    if (writes && !m_journal->begin()) {
        outcome.error = QStringLiteral("The sync journal cannot be written: %1").arg(m_journal->lastError());
        outcome.ended = QDateTime::currentDateTimeUtc();
        return outcome;
    }
    QSet<QString> checkedFolders;
    RemotePropagator sender(m_client);
    for (const SyncAction &action : std::as_const(actions)) {
        if (action.kind == Kind::KeepLocal) {
            DRLog(LOG_NOTICE, "Leaving \"%@\" as it is on the device: %@", action.path, action.reason);
            continue;
        }
        QList<SyncRecord> records;
        QString failure;
        // every item is attempted: one failure must not strand the rest
        bool done = false;
        if (isSending(action.kind)) {
            done = sender.apply(action, &records, &failure, &checkedFolders);
        } else {
            SyncRecord record;
            done = LocalPropagator::apply(action, &record, &failure, &checkedFolders);
            if (done && !record.storeKey.isEmpty()) {
                records << record;
            }
        }
        if (!done) {
            outcome.failures << QStringLiteral("\"%1\": %2").arg(action.path, failure);
            DRLog(LOG_ERR, isSending(action.kind) ? "Cannot send \"%@\" to the server: %@" : "Cannot bring \"%@\" from the server: %@",
                  action.path, failure);
            if (records.isEmpty()) {
                continue;
            }
        } else if (const QString what = describe(action.kind); !what.isEmpty()) {
            ++outcome.changes;
            DRLog(LOG_DEBUG, "Synced \"%@\" (%@)", action.path, what);
        }
        record(action, records, &outcome);
    }
    if (writes && !m_journal->commit()) {
        outcome.error = QStringLiteral("The sync journal cannot be written: %1").arg(m_journal->lastError());
    }
    outcome.succeeded = outcome.error.isEmpty();
    outcome.ended = QDateTime::currentDateTimeUtc();
    return outcome;
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
        }
    }
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
