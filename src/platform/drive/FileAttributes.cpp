#include "platform/drive/FileAttributes.h"

#include "platform/foundation/FilePath.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace {

constexpr const char tagsName[] = "user.xdg.tags";
constexpr const char createdName[] = "user.aerova.created";
constexpr const char storeKeyName[] = "user.aerova.storekey";
constexpr const char roleName[] = "user.aerova.sharedrole";

QByteArray readAttribute(const QString &path, const char *name)
{
    const QByteArray encoded = FilePath::encode(path);
    QByteArray value(256, Qt::Uninitialized);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const ssize_t n = ::lgetxattr(encoded.constData(), name, value.data(), size_t(value.size()));
        if (n >= 0) {
            value.truncate(qsizetype(n));
            return value;
        }
        if (errno != ERANGE) {
            return {};
        }
        const ssize_t needed = ::lgetxattr(encoded.constData(), name, nullptr, 0);
        if (needed < 0) {
            return {};
        }
        value.resize(qsizetype(needed));
    }
    return {};
}

bool writeAttribute(int fd, const char *name, const QByteArray &value)
{
    if (value.isEmpty()) {
        return ::fremovexattr(fd, name) == 0 || errno == ENODATA;
    }
    return ::fsetxattr(fd, name, value.constData(), size_t(value.size()), 0) == 0;
}

} // namespace

QByteArray FileAttributes::encodeTags(const QStringList &tags)
{
    QStringList cleaned;
    for (const QString &tag : tags) {
        const QString trimmed = tag.trimmed();
        if (!trimmed.isEmpty()) {
            cleaned << trimmed;
        }
    }
    return cleaned.join(QLatin1Char(',')).toUtf8();
}

QStringList FileAttributes::decodeTags(const QByteArray &value)
{
    QStringList result;
    for (const QString &part : QString::fromUtf8(value).split(QLatin1Char(','))) {
        const QString trimmed = part.trimmed();
        if (!trimmed.isEmpty()) {
            result << trimmed;
        }
    }
    return result;
}

QStringList FileAttributes::tags(const QString &path)
{
    return decodeTags(readAttribute(path, tagsName));
}

bool FileAttributes::setTags(const QString &path, const QStringList &tags)
{
    const int fd = ::open(FilePath::encode(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool ok = setTags(fd, tags);
    ::close(fd);
    return ok;
}

bool FileAttributes::setTags(int fd, const QStringList &tags)
{
    return writeAttribute(fd, tagsName, encodeTags(tags));
}

QDateTime FileAttributes::creationDate(const QString &path)
{
    struct statx stx = {};
    if (::statx(AT_FDCWD, FilePath::encode(path).constData(), 0, STATX_BTIME, &stx) == 0
        && (stx.stx_mask & STATX_BTIME)) {
        const QDateTime birth = QDateTime::fromMSecsSinceEpoch(qint64(stx.stx_btime.tv_sec) * 1000
                                                               + stx.stx_btime.tv_nsec / 1000000);
        const QDateTime stored = QDateTime::fromString(QString::fromLatin1(readAttribute(path, createdName)),
                                                       Qt::ISODateWithMs);
        // a downloaded item was born on the server, before its copy here
        return stored.isValid() && stored < birth ? stored : birth;
    }
    return QDateTime::fromString(QString::fromLatin1(readAttribute(path, createdName)), Qt::ISODateWithMs);
}

void FileAttributes::setCreationDate(int fd, const QDateTime &date)
{
    if (date.isValid()) {
        writeAttribute(fd, createdName, date.toUTC().toString(Qt::ISODateWithMs).toLatin1());
    }
}

QString FileAttributes::storeKey(const QString &path)
{
    return QString::fromLatin1(readAttribute(path, storeKeyName));
}

void FileAttributes::setStoreKey(int fd, const QString &key)
{
    writeAttribute(fd, storeKeyName, key.toLatin1());
}

bool FileAttributes::setFolderStoreKey(const QString &folderPath, const QString &key)
{
    const int fd = ::open(FilePath::encode(folderPath).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool ok = writeAttribute(fd, storeKeyName, key.toLatin1());
    ::close(fd);
    return ok;
}

QString FileAttributes::sharedRole(const QString &path)
{
    return QString::fromLatin1(readAttribute(path, roleName));
}

void FileAttributes::setSharedRole(int fd, const QString &role)
{
    writeAttribute(fd, roleName, role.toLatin1());
}

bool FileAttributes::setSharedRole(const QString &path, const QString &role)
{
    const int fd = ::open(FilePath::encode(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool ok = writeAttribute(fd, roleName, role.toLatin1());
    ::close(fd);
    return ok;
}
