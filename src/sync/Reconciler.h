#pragma once

#include "sync/DavResource.h"
#include "sync/LocalItem.h"
#include "sync/SyncAction.h"
#include "sync/SyncRecord.h"

#include <QList>

#include <optional>

/// Decides what a sync run does, from what the last sync knew (`base`), what the device holds
/// and what the server holds. Pure functions: no files, no network, no clock.
///
/// The rules: the server's changes come down; nothing the device changed is overwritten or
/// removed (an edit beats a change or a delete from the server); a folder is removed only once
/// it is empty of everything the sync did not put there.
class Reconciler final
{
public:
    Reconciler() = delete;

    static SyncAction decide(const std::optional<SyncRecord> &base, const LocalItem &local,
                             const std::optional<DavResource> &remote, const QString &path);

    /// Turns a document gone from one place and a new one of the same version elsewhere into
    /// one move, when each version is unique on both sides (servers keep the entity tag of a
    /// renamed document). The rest is left as it was.
    static QList<SyncAction> pairMoves(QList<SyncAction> actions);

    /// Whether a downloaded copy is still the version the base knew: same size and date.
    static bool isUnchangedCopy(const SyncRecord &base, const LocalItem &local);
};
