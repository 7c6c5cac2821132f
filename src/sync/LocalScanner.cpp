#include "sync/LocalScanner.h"

#include "platform/drive/ContainerRegistry.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "sync/RemoteMapping.h"

#include <atomic>
#include <sys/stat.h>

namespace {

std::atomic<qint64> quietAfterMs{2000};

using Entry = FilePath::Entry;
using EntryKind = FilePath::EntryKind;
using WalkStep = FilePath::WalkStep;

qint64 modifiedMs(const struct stat &st)
{
    return qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
}

qint64 changedMs(const struct stat &st)
{
    return qint64(st.st_ctim.tv_sec) * 1000 + st.st_ctim.tv_nsec / 1000000;
}

/// The server path of each local container root: the default container is the signed-in
/// folder itself.
QString remoteRootOf(const QString &containerId)
{
    return containerId == KDUbiquitousDefaultContainerID
        ? QString()
        : RemoteMapping::containersFolder() + QLatin1Char('/') + containerId;
}

QString joined(const QString &folder, const QString &name)
{
    return folder.isEmpty() || name.isEmpty() ? QString(folder + name) : QString(folder + QLatin1Char('/') + name);
}

LocalItem folderItem(const QString &path)
{
    LocalItem item;
    item.kind = LocalItem::Kind::Folder;
    item.storeKey = FileAttributes::storeKey(path);
    item.tags = FileAttributes::tags(path);
    return item;
}

/// The item at `path` as its listing entry shows it; a document's size and date need a look.
LocalItem itemFor(const QString &path, const Entry &entry, qint64 nowMs)
{
    LocalItem item;
    if (entry.kind == EntryKind::Folder) {
        return folderItem(path);
    }
    if (entry.kind == EntryKind::Link) {
        item.kind = LocalItem::Kind::Other;
        return item;
    }
    const std::optional<struct stat> st = FilePath::linkStatus(path);
    if (!st) {
        return item; // gone since the listing
    }
    if (S_ISDIR(st->st_mode)) {
        item = folderItem(path); // a file system that gives no types in its listings
    } else if (!S_ISREG(st->st_mode)) {
        item.kind = LocalItem::Kind::Other;
    } else {
        item.kind = LocalItem::Kind::File;
        item.size = st->st_size;
        item.modifiedMs = modifiedMs(*st);
        // a writer may keep an old date (a copy keeping its original's): the change time tells
        item.settled = nowMs - std::max(item.modifiedMs, changedMs(*st)) >= LocalScanner::settleMs();
        item.tags = FileAttributes::tags(path); // never through a link
    }
    return item;
}

void scanContainer(const QString &localRoot, const QString &remoteRoot, qint64 nowMs, QHash<QString, LocalItem> *items)
{
    const qsizetype rootLength = localRoot.size() + 1;
    FilePath::walk(localRoot, [&](const QString &path, const Entry &entry) {
        const QString localFolder = path.left(path.lastIndexOf(QLatin1Char('/')));
        const QString remoteFolder = joined(remoteRoot, localFolder.mid(rootLength));
        if (PromisePlaceholder::isPlaceholderName(entry.name)) {
            const QString name = PromisePlaceholder::logicalPathFor(path).section(QLatin1Char('/'), -1);
            const QString remotePath = joined(remoteFolder, name);
            if (!items->contains(remotePath)) { // a real file of the name wins over a stale placeholder
                LocalItem item;
                item.kind = LocalItem::Kind::Placeholder;
                items->insert(remotePath, item);
            }
            return WalkStep::Continue;
        }
        if (entry.name.startsWith(QLatin1Char('.'))) {
            return WalkStep::SkipChildren; // the drive's bookkeeping and hidden items stay here
        }
        const QString remotePath = joined(remoteFolder, entry.name);
        if (!RemoteMapping::localPathFor(remotePath)) {
            return WalkStep::SkipChildren; // a name the server could not give back
        }
        const LocalItem item = itemFor(path, entry, nowMs);
        if (item.kind != LocalItem::Kind::Absent) {
            items->insert(remotePath, item);
        }
        return WalkStep::Continue;
    });
}

} // namespace

qint64 LocalScanner::settleMs()
{
    return quietAfterMs;
}

void LocalScanner::setSettleMs(qint64 ms)
{
    quietAfterMs = ms;
}

QHash<QString, LocalItem> LocalScanner::scan(qint64 nowMs)
{
    QHash<QString, LocalItem> items;
    const QString mobileDocuments = DriveLayout::mobileDocumentsPath();
    for (const Entry &entry : FilePath::entries(mobileDocuments)) {
        if (entry.kind != EntryKind::Folder || !ContainerRegistry::isContainerIdentifier(entry.name)) {
            continue;
        }
        const QString remoteRoot = remoteRootOf(entry.name);
        if (!remoteRoot.isEmpty()) {
            LocalItem root;
            root.kind = LocalItem::Kind::Folder;
            items.insert(remoteRoot, root);
        }
        scanContainer(mobileDocuments + QLatin1Char('/') + entry.name, remoteRoot, nowMs, &items);
    }
    return items;
}

QString LocalScanner::remotePathFor(const QString &localPath)
{
    const QString mobileDocuments = DriveLayout::mobileDocumentsPath() + QLatin1Char('/');
    if (!localPath.startsWith(mobileDocuments)) {
        return {};
    }
    const QString relative = localPath.mid(mobileDocuments.size());
    const QString containerId = relative.section(QLatin1Char('/'), 0, 0);
    if (!ContainerRegistry::isContainerIdentifier(containerId)) {
        return {};
    }
    return joined(remoteRootOf(containerId), relative.section(QLatin1Char('/'), 1));
}
