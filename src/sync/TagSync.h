#pragma once

#include "sync/DavResource.h"
#include "sync/LocalItem.h"
#include "sync/SyncRecord.h"

#include <QHash>
#include <QStringList>

class DavClient;
class SyncJournal;

/// The tags of documents and folders in step on both sides: tags set on the device (in the file's
/// `user.xdg.tags`, as the desktop's file managers write them) go to the server as a dead
/// property (PROPPATCH), and the server's reach the device's copy or placeholder. Each side's
/// tags are compared with the ones both last agreed on: the side that changed them wins, and
/// when both did, each keeps its own and gets the other's too. A server that keeps no dead
/// properties is said so once (and kept in the journal); the device's tags stay its own.
class TagSync final
{
public:
    TagSync(DavClient *client, SyncJournal *journal);

    /// Brings the tags of the documents and folders in `inStep` (by path) to one state; returns how many
    /// changed on either side. What could not be sent is added to `failures`.
    int run(const QHash<QString, SyncRecord> &inStep, const QHash<QString, LocalItem> &local,
            const QHash<QString, DavResource> &remote, QStringList *failures);

private:
    enum class Sent { Done, Refused, Failed };
    /// The journal's name for "this server keeps no tags".
    QString refusedName() const;
    Sent send(const QString &path, bool isFolder, const QStringList &tags, QString *error);
    /// The device's tags of the document or folder `item` at `path`; none when they cannot be read.
    static std::optional<QStringList> deviceTags(const QString &path, const LocalItem &item);
    static bool setDeviceTags(const QString &path, LocalItem::Kind kind, const QStringList &tags);

    DavClient *m_client;
    SyncJournal *m_journal;
};
