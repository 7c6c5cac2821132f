#pragma once

#include "sync/DavError.h"
#include "sync/SyncAction.h"
#include "sync/SyncFailure.h"

#include <QHash>
#include <QSet>
#include <QString>

class SyncJournal;

/// The items the server would not take, from run to run: when each is sent again, and how the
/// status names it. An answer that may change (5xx, no connection, a timeout) is asked again
/// after a wait that doubles from 30 s up to an hour; one that will not (403, 415) only once
/// the item changed on the device; a full server (507) at every run, one document at a time,
/// while the others wait. Nothing on the device is removed for any of them.
class SendFailures final
{
public:
    /// After this many failures in a row an item is named as failed.
    static constexpr int failedAfter = 5;

    SendFailures(SyncJournal *journal, qint64 nowMs);

    /// Why `action` is not sent in this run ("failed 2 times; tried again at 14:05"); empty
    /// when it is sent.
    QString waitReason(const SyncAction &action);
    /// Keeps the server's `answer` that made `action` fail; what the status says of it.
    QString failed(const SyncAction &action, const DavError &answer);
    void succeeded(const SyncAction &action);
    /// Forgets the failures of items this run no longer had to send.
    void finish();
    /// Documents that wait for the server to have room.
    int waitingForRoom() const { return m_waitingForRoom; }

    /// How long an item that failed `attempts` times in a row waits before it is sent again.
    static qint64 retryDelayMs(int attempts);

private:
    static QString stateOf(const SyncAction &action);
    static QString describe(const SyncFailure &failure);

    SyncJournal *m_journal;
    qint64 m_nowMs;
    QHash<QString, SyncFailure> m_known;
    QSet<QString> m_kept;
    bool m_serverFull = false;
    int m_waitingForRoom = 0;
};
