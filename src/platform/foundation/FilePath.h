#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringView>
#include <QUrl>

#include <functional>
#include <optional>

#include <sys/stat.h>

/// A path as the kernel knows it: bytes, which need not be UTF-8. Another program may well
/// create `bad\xff\xfename.txt` in the drive; it must be listed, moved and deleted like any
/// other item, and an operation on it must reach exactly that file, never one whose name only
/// looks the same.
///
/// In a QString, each byte that is not part of valid UTF-8 is kept as the lone surrogate
/// U+DC80–U+DCFF (a code unit that valid text never holds alone), so `decode` and `encode` are
/// exact inverses and QUrl carries such a path unchanged. Qt's own file classes would write a
/// lone surrogate as U+FFFD and so name another file: every path that reaches the kernel goes
/// through `encode`, and what is shown to a person through `displayName`.
class FilePath final
{
public:
    FilePath() = delete;

    /// The local path of a file URL without a trailing slash (a folder's URL may end in one and
    /// names the same item); undecodable bytes kept, which `QUrl::adjusted` would lose. Empty
    /// for a URL that is not a local file.
    static QString localPath(const QUrl &url);
    /// `path` made absolute against the current folder and cleaned, undecodable bytes kept
    /// (`QFileInfo::absoluteFilePath` turns them into U+FFFD, naming another file).
    static QString absolutePath(const QString &path);
    /// `path` as `QDir::cleanPath` makes it ("." and ".." resolved, no doubled or trailing '/');
    /// a path that is so already, as nearly every one the app makes, is handed back as it is,
    /// after one look at its characters: every item record cleans a few.
    static QString cleanPath(const QString &path);
    /// The bytes of `path` for a system call. O(n). A path holding a NUL names no item: it
    /// encodes to nothing, which every system call refuses (the kernel would stop at the NUL
    /// and reach another item).
    static QByteArray encode(const QString &path);
    /// The path or name the kernel gave, undecodable bytes kept. O(n).
    static QString decode(QByteArrayView bytes);
    /// What a person sees of a name: an undecodable byte as U+FFFD.
    static QString displayName(const QString &name);
    /// Whether the path holds bytes that are not UTF-8 (Qt's file classes cannot reach it).
    static bool holdsUndecodableBytes(QStringView path);

    /// The item opened for reading its status and attributes, with the kernel refusing every
    /// link on the way, above the item as well as the item itself (openat2 with
    /// RESOLVE_NO_SYMLINKS): what it opens is really where the path's string says, so a check
    /// of the string is a check of the real place, with no lstat of each folder on the way and no
    /// window between a check of one path and the open of another. O_RDONLY, never blocking (a
    /// FIFO does not hang), never becoming the terminal. Returns the descriptor, or -1 with
    /// errno: ELOOP when a link is on the way, ENOSYS where the kernel cannot refuse links,
    /// ENOENT when nothing has that name, EACCES for what may not be read.
    static int openWithoutLinks(const QString &path);
    /// The item's status, the item itself when it is a link (`lstat`).
    static std::optional<struct stat> linkStatus(const QString &path);
    /// The status of what the path leads to, links followed (`stat`).
    static std::optional<struct stat> status(const QString &path);
    /// The modification date a status holds, to the millisecond.
    static QDateTime modificationDate(const struct stat &st);
    /// A time a statx holds, to the millisecond, in UTC.
    static QDateTime date(const struct statx_timestamp &time);
    /// Whether anything, a dangling link included, has this path.
    static bool exists(const QString &path);
    /// The path with every link resolved, empty when it does not lead to an existing item.
    static QString canonicalPath(const QString &path);
    /// The target a link holds, as written in the link; empty when the path is no link.
    static QString linkTarget(const QString &path);
    /// What a folder's listing says of an entry without a further look: a link is not followed.
    enum class EntryKind { Folder, Link, Other, Unknown };
    struct Entry {
        QString name;
        EntryKind kind = EntryKind::Unknown;
        quint64 inode = 0; // the file's number in its file system, as the folder gives it
    };
    /// The entries of a folder (hidden ones too, without "." and ".."), in the folder's order;
    /// one pass over the folder, no status call per entry where the file system tells the kind.
    static QList<Entry> entries(const QString &folder);
    /// The same entries handed one by one, without a list of them all: a folder of a hundred
    /// thousand items is read without holding its listing twice. Returns false when the folder
    /// cannot be read.
    static bool forEachEntry(const QString &folder, const std::function<void(Entry &&entry)> &take);
    /// The same for a folder already open (`folderFd` is taken over and closed).
    static bool forEachEntryAt(int folderFd, const std::function<void(Entry &&entry)> &take);
    /// What a walk does after an entry.
    enum class WalkStep { Continue, SkipChildren, Stop };
    /// Visits every entry below `folder`, depth first; walks into folders, never through links.
    /// Returns false when `visit` stopped it.
    static bool walk(const QString &folder, const std::function<WalkStep(const QString &path, const Entry &entry)> &visit);
};
