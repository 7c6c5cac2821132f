#include "sync/SyncEngine.h"

#include "app/DRLogging.h"
#include "sync/DavClient.h"
#include "sync/LocalPropagator.h"
#include "sync/LocalScanner.h"
#include "sync/Reconciler.h"
#include "sync/RemoteMapping.h"
#include "sync/RemotePropagator.h"
#include "sync/RemoteScanner.h"
#include "sync/SyncJournal.h"

#include <QSet>

#include <future>

namespace {

using Kind = SyncAction::Kind;

/// The order in which actions are carried out: folders first, from the top; then documents;
/// then what goes away, folders last and from the bottom, so each finds its place ready.
int phase(const SyncAction &action)
{
    switch (action.kind) {
    case Kind::MakeFolder:
    case Kind::MakeRemoteFolder: return 0;
    case Kind::Move: return 1;
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
    case Kind::KeepBoth: return QStringLiteral("changed on both sides, both versions kept");
    default: return {};
    }
}

bool isSending(Kind kind)
{
    return kind == Kind::Upload || kind == Kind::UploadChange || kind == Kind::MakeRemoteFolder || kind == Kind::KeepBoth;
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
    const QHash<QString, LocalItem> local = localScan.get();
    QList<SyncAction> actions;
    const auto consider = [&](const QString &path) {
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
