#pragma once

#include "sync/SyncAction.h"
#include "sync/SyncOutcome.h"

#include <QList>

class DavClient;
class SyncJournal;

/// One sync run both ways: lists the remote tree and the device's, compares them with the
/// journal, brings the server's changes down as placeholders and folders and sends the device's
/// new and changed documents and new folders up.
/// The journal's changes are one transaction; a run in which nothing changed writes nothing.
/// Blocking: runs on the sync service's worker thread.
class SyncEngine final
{
public:
    SyncEngine(DavClient *client, SyncJournal *journal);

    SyncOutcome run();

private:
    /// When this account's first sync began: the device's items untouched since are not sent.
    qint64 sendSinceMs();
    /// Keeps what an action left in the journal: its records, and the base no longer held.
    void record(const SyncAction &action, const QList<SyncRecord> &records, SyncOutcome *outcome);

    DavClient *m_client;
    SyncJournal *m_journal;
};
