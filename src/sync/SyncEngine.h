#pragma once

#include "sync/SyncAction.h"
#include "sync/SyncOutcome.h"

#include <QHash>
#include <QList>

class DavClient;
class SyncJournal;

/// One sync run both ways: lists the remote tree and the device's, compares them with the
/// journal, brings the server's changes down as placeholders and folders and sends the device's
/// new and changed documents, new folders, moves and deletes up. A run that would delete more
/// than half of the items it knows (of at least `massDeleteFloor`) changes nothing until the
/// deletes are confirmed.
/// The journal's changes are one transaction; a run in which nothing changed writes nothing.
/// Blocking: runs on the sync service's worker thread.
class SyncEngine final
{
public:
    /// Below this many known items, a run may delete most of them unasked.
    static constexpr int massDeleteFloor = 20;

    SyncEngine(DavClient *client, SyncJournal *journal);

    /// Lets the run delete however many items it finds deleted (the user confirmed them).
    void setDeletesConfirmed(bool confirmed) { m_deletesConfirmed = confirmed; }

    /// For a server that takes a write over a version it no longer has: each write first looks
    /// at the server's version, and the outcome says so.
    void setServerIgnoresIfMatch(bool ignores) { m_serverIgnoresIfMatch = ignores; }
    /// What a server that ignores If-Match means for the user, in the status.
    static QString ifMatchIgnoredMeaning();

    SyncOutcome run();

private:
    /// Gives folders the journal knows their store key where the device's copy has none.
    void adoptFolderKeys(const QHash<QString, SyncRecord> &base, const QHash<QString, LocalItem> &local);
    /// What the run does, item by item. `base` and `remote` become the run's view of them once
    /// the device's folder moves are sent.
    QList<SyncAction> decide(QHash<QString, SyncRecord> *base, const QHash<QString, LocalItem> &local,
                             QHash<QString, DavResource> *remote);
    void apply(const QList<SyncAction> &actions, SyncOutcome *outcome);
    /// The tags of the documents this run left in step follow the side that changed them.
    void syncTags(const QHash<QString, SyncRecord> &base, const QList<SyncAction> &actions,
                  const QHash<QString, LocalItem> &local, const QHash<QString, DavResource> &remote, SyncOutcome *outcome);
    /// The journal's records inside a folder follow the folder's move or delete.
    void followFolder(const SyncAction &action, const QList<SyncRecord> &records, QStringList *unsettled);
    /// When this account's first sync began: the device's items untouched since are not sent.
    qint64 sendSinceMs();
    /// Keeps what an action left in the journal: its records, and the base no longer held.
    void record(const SyncAction &action, const QList<SyncRecord> &records, SyncOutcome *outcome);

    DavClient *m_client;
    SyncJournal *m_journal;
    bool m_deletesConfirmed = false;
    bool m_serverIgnoresIfMatch = false;
};
