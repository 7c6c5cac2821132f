#pragma once

#include "sync/DavError.h"
#include "sync/SyncAction.h"

#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>

class DavClient;

/// Carries a sync run's decisions out on the server: the device's new and changed documents
/// and its new folders go up, its moves and deletes are made there. A document is opened without following links, must be a regular
/// file still as the run saw it, and is sent under a condition (`If-None-Match: *` for a new
/// one, `If-Match` for a changed one), so nothing on the server is overwritten unseen. One that
/// changes while it is sent is not taken as in step: the next run sends it again. A move is
/// sent with `Overwrite: F`; where the server took the name meanwhile, the item gets the next
/// free name ("Report 2.pdf") on both sides.
class RemotePropagator final
{
public:
    explicit RemotePropagator(DavClient *client);

    /// Applies `action`. `records` gets what the journal keeps afterwards (the base is forgotten
    /// unless one of them carries its key); it may hold some even when a later step failed.
    /// False with `error` set when something was left undone.
    bool apply(const SyncAction &action, QList<SyncRecord> *records, QString *error,
               QSet<QString> *checkedFolders = nullptr);

    /// For a server that ignores If-Match: each write and delete first looks whether the server
    /// still holds the version the run saw (a change made in between is then caught, though
    /// one made in the instant between the look and the write is not).
    void setLooksBeforeWriting(bool looks) { m_looksBeforeWriting = looks; }

    /// The server's answer that made the last `apply` fail; none when it failed on the device.
    DavError lastServerError() const { return m_lastError; }

    /// The name the device's version of a document gets in a conflict:
    /// "Report (conflict 2026-11-22 1803).pdf".
    static QString conflictName(const QString &name, const QDateTime &when);

private:
    bool makeFolder(const QString &path, SyncRecord *record, QString *error);
    /// Sends the document at `localPath` as `path`: over the server's version `over`, or as new.
    bool upload(const QString &path, const QString &localPath, const LocalItem &seen, const std::optional<DavResource> &over,
                const QString &storeKey, SyncRecord *record, QString *error);
    bool moveRemote(const SyncAction &action, const QString &localPath, SyncRecord *record, QString *error);
    bool deleteRemote(const SyncAction &action, const QString &localPath, QList<SyncRecord> *records, QString *error);
    /// Documents of one name new or changed on both sides that hold the same bytes (one sent
    /// by a run that stopped before the journal kept it, or one copy made on two devices) are
    /// one document, not a conflict; up to this size they are compared.
    static constexpr qint64 sameContentLimit = 64LL * 1024 * 1024;
    bool adoptSameContent(const SyncAction &action, const QString &localPath, QList<SyncRecord> *records);
    bool keepBoth(const SyncAction &action, const QString &localPath, QList<SyncRecord> *records, QString *error,
                  QSet<QString> *checkedFolders);
    /// Whether the server still holds `seen` at `path` (nothing there, for none), with `now`
    /// its description; false with `error` set when it holds another version (the last error
    /// is then Changed, as the server's 412) or cannot be asked.
    bool stillAsSeen(const QString &path, const std::optional<DavResource> &seen, QString *error,
                     std::optional<DavResource> *now);
    /// What a write over `seen` at `path` names as its condition: `seen`, or the server's own
    /// description of that version when it must be looked at first; false as stillAsSeen.
    bool conditionFor(const QString &path, const std::optional<DavResource> &seen, QString *error,
                      std::optional<DavResource> *condition);
    /// The server's own description of `path`, just made or sent.
    std::optional<DavResource> look(const QString &path, bool collection, QString *error);

    DavClient *m_client;
    DavError m_lastError;
    bool m_looksBeforeWriting = false;
};
