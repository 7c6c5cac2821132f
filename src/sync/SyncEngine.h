#pragma once

#include "sync/SyncOutcome.h"

class DavClient;
class SyncJournal;

/// One sync run, from the server to the device: lists the remote tree, compares it with the
/// journal and the device, and brings the server's changes down as placeholders and folders.
/// The journal's changes are one transaction; a run in which nothing changed writes nothing.
/// Blocking: runs on the sync service's worker thread.
class SyncEngine final
{
public:
    SyncEngine(DavClient *client, SyncJournal *journal);

    SyncOutcome run();

private:
    DavClient *m_client;
    SyncJournal *m_journal;
};
