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

/// An attribute's value read by `get(buffer, size)`, a getxattr of one file: first into a
/// small buffer, then, when the value is larger, into one of its size.
template <typename Get>
QByteArray readValue(Get get)
{
    QByteArray value(256, Qt::Uninitialized);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const ssize_t n = get(value.data(), size_t(value.size()));
        if (n >= 0) {
            value.truncate(qsizetype(n));
            return value;
        }
        if (errno != ERANGE) {
            return {};
        }
        const ssize_t needed = get(nullptr, 0);
        if (needed < 0) {
            return {};
        }
        value.resize(qsizetype(needed));
    }
    return {};
}

QByteArray readAttribute(const QString &path, const char *name)
{
    const QByteArray encoded = FilePath::encode(path);
    return readValue([&](char *buffer, size_t size) { return ::lgetxattr(encoded.constData(), name, buffer, size); });
}

QByteArray readAttribute(int fd, const char *name)
{
    return readValue([&](char *buffer, size_t size) { return ::fgetxattr(fd, name, buffer, size); });
}

/// The names of the file's attributes, each ended by a NUL; empty when it has none or they
/// cannot be listed.
QByteArray attributeNames(int fd)
{
    char names[1024];
    const ssize_t n = ::flistxattr(fd, names, sizeof names);
    if (n >= 0) {
        return QByteArray(names, qsizetype(n));
    }
    return errno == ERANGE ? readValue([&](char *buffer, size_t size) { return ::flistxattr(fd, buffer, size); })
                           : QByteArray();
}

QDateTime storedDate(const QByteArray &value)
{
    return value.isEmpty() ? QDateTime() : QDateTime::fromString(QString::fromLatin1(value), Qt::ISODateWithMs);
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
    const QDateTime stored = storedDate(readAttribute(path, createdName));
    if (::statx(AT_FDCWD, FilePath::encode(path).constData(), 0, STATX_BTIME, &stx) == 0
        && (stx.stx_mask & STATX_BTIME)) {
        return creationDate(birthDate(stx), stored);
    }
    return stored;
}

QDateTime FileAttributes::birthDate(const struct statx &stx)
{
    if (!(stx.stx_mask & STATX_BTIME)) {
        return {};
    }
    return FilePath::date(stx.stx_btime);
}

QDateTime FileAttributes::creationDate(const QDateTime &birth, const QDateTime &stored)
{
    if (!birth.isValid()) {
        return stored;
    }
    // a downloaded item was born on the server, before its copy here
    return stored.isValid() && stored < birth ? stored : birth;
}

FileAttributes::Stored FileAttributes::readAll(int fd)
{
    Stored stored;
    const QByteArray names = attributeNames(fd);
    // most files hold none of the drive's attributes: the listing alone tells
    for (qsizetype start = 0; start < names.size();) {
        const qsizetype end = names.indexOf('\0', start);
        const QByteArrayView name(names.constData() + start, (end < 0 ? names.size() : end) - start);
        if (name == QByteArrayView(tagsName)) {
            stored.tags = decodeTags(readAttribute(fd, tagsName));
        } else if (name == QByteArrayView(createdName)) {
            stored.creationDate = storedDate(readAttribute(fd, createdName));
        } else if (name == QByteArrayView(roleName)) {
            stored.sharedRole = QString::fromLatin1(readAttribute(fd, roleName));
        }
        start = end < 0 ? names.size() : end + 1;
    }
    return stored;
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
