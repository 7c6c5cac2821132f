#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

struct statx;

/// What the drive keeps about a real file beyond its content, in extended attributes:
/// its tags in `user.xdg.tags` (names joined by ',' without spaces, the convention the
/// desktop's file managers read and write), and, for items that came from the store, their
/// creation date, store key and shared role. On a file system without user attributes these
/// reads answer nothing and the writes do nothing.
class FileAttributes final
{
public:
    FileAttributes() = delete;

    /// Never through a link: a link's own attributes are none.
    static QStringList tags(const QString &path);
    static bool setTags(const QString &path, const QStringList &tags);
    static bool setTags(int fd, const QStringList &tags);

    /// The drive's attributes of one open file, read together.
    struct Stored
    {
        QStringList tags;
        /// The creation date the drive stored; invalid when none.
        QDateTime creationDate;
        QString sharedRole;
    };
    /// One listing of the file's attributes, then a read of only those of the drive it holds.
    static Stored readAll(int fd);

    /// The file's birth time when the file system records it, else the one the drive stored.
    static QDateTime creationDate(const QString &path);
    /// The earlier of the two dates that are valid: a downloaded item's stored date (its birth
    /// on the server) comes before the birth of its copy here.
    static QDateTime creationDate(const QDateTime &birth, const QDateTime &stored);
    /// The birth time a statx reported, in UTC; invalid when the file system keeps none.
    static QDateTime birthDate(const struct statx &stx);
    static void setCreationDate(int fd, const QDateTime &date);

    static QString storeKey(const QString &path);
    static void setStoreKey(int fd, const QString &key);
    /// A folder's key: it lets a sync tell a folder moved on the device from a new one. Never
    /// through a link.
    static bool setFolderStoreKey(const QString &folderPath, const QString &key);

    /// "owner" or "participant" for a shared item; empty when not shared.
    static QString sharedRole(const QString &path);
    static void setSharedRole(int fd, const QString &role);
    static bool setSharedRole(const QString &path, const QString &role);

    static QByteArray encodeTags(const QStringList &tags);
    static QStringList decodeTags(const QByteArray &value);
};
