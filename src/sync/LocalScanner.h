#pragma once

#include "sync/LocalItem.h"

#include <QHash>
#include <QString>

/// What the device holds in the drive, by the path each item has on the server (the default
/// container's items below the signed-in folder, an app container's below
/// `.aerova/<container id>/`). One walk of the drive's folders: names and kinds from the
/// listings, the size and date of real documents only; links are never followed.
///
/// Left out: the drive's own bookkeeping and hidden names (as on the server), and a name the
/// server could not give back to the device (one too long to be promised): sent up, it would
/// look deleted on the server at the next look.
class LocalScanner final
{
public:
    LocalScanner() = delete;

    /// A document written less than this long ago (2 s) may still be being written: it waits.
    static qint64 settleMs();
    /// For tests of other rules: documents count as quiet after `ms`.
    static void setSettleMs(qint64 ms);

    /// `nowMs`: the time the scan counts a document's quiet from, in ms since 1970.
    static QHash<QString, LocalItem> scan(qint64 nowMs);
    /// The server path of the local item at `localPath`; empty when it is not one of the drive's
    /// synced items.
    static QString remotePathFor(const QString &localPath);
};
