#pragma once

#include "sync/DavError.h"
#include "sync/SyncAction.h"
#include "sync/SyncRecord.h"

#include <QList>
#include <QString>

class DavClient;

/// New documents sent several at a time, each connection on a thread of its own: a thousand
/// small documents cost their round trips once per connection, not once in all. Only new
/// documents go this way (nothing else depends on them within a run); the results come back
/// in the order of the actions, for the journal to record on the run's own thread. After a
/// full server's answer (507), no further document is tried.
class ParallelUploads final
{
public:
    static constexpr int connections = 4;

    struct Result {
        bool done = false;
        /// Not tried: the server was full.
        bool tried = false;
        QList<SyncRecord> records;
        QString failure;
        /// The server's answer when it failed.
        DavError answer;
    };

    /// Sends `actions` (all of Kind::Upload) through siblings of `client`.
    static QList<Result> send(const DavClient &client, bool looksBeforeWriting, const QList<SyncAction> &actions);
};
