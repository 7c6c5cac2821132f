#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

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

    /// The file's birth time when the file system records it, else the one the drive stored.
    static QDateTime creationDate(const QString &path);
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
