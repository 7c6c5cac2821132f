#pragma once

#include "sync/LocalItem.h"
#include "sync/SyncAction.h"

#include <QSet>
#include <QString>

/// Carries a sync run's decisions out on the device. Every step re-checks the item right before
/// it acts (another program may have changed it since the run looked), acts in one rename or
/// one placeholder write, never replaces an item of the user's, and never acts outside the
/// drive (the real path of the item's folder must be inside it).
class LocalPropagator final
{
public:
    LocalPropagator() = delete;

    /// What the device holds at the local path of `remotePath`.
    static LocalItem localItemAt(const QString &localPath);

    /// Applies `action`; the record the journal keeps afterwards is in `record` (empty key:
    /// forget it). False with `error` set when the device was left as it was. `checkedFolders`
    /// holds the folders found inside the drive so far in this run: each is checked once.
    /// Whether the folder of `localPath` is really inside the drive (no link on the way leads
    /// out); `checked` holds the folders found so far, each checked once.
    static bool folderIsInDrive(const QString &localPath, QString *error, QSet<QString> *checked = nullptr);
    static bool apply(const SyncAction &action, SyncRecord *record, QString *error, QSet<QString> *checkedFolders = nullptr);
};
