#include "platform/drive/PromisePlaceholder.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/ServiceFile.h"

#include "core/DRLogging.h"
#include "platform/foundation/FilePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString suffix = QStringLiteral(".promise");

QString isoDate(const QDateTime &date)
{
    return date.isValid() ? date.toUTC().toString(Qt::ISODateWithMs) : QString();
}

/// Placeholders read lately, by path, while the file stays the same: one item's metadata, type
/// and tags are asked in turn, and a placeholder may carry a large thumbnail.
struct CachedPlaceholder {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};
    PromisePlaceholder placeholder;

    bool matches(const struct stat &st) const
    {
        return device == st.st_dev && inode == st.st_ino && size == st.st_size
            && modified.tv_sec == st.st_mtim.tv_sec && modified.tv_nsec == st.st_mtim.tv_nsec
            && changed.tv_sec == st.st_ctim.tv_sec && changed.tv_nsec == st.st_ctim.tv_nsec;
    }
};

/// Enough for every item of a large folder to be recorded again without a parse; the thumbnails
/// kept are bounded on their own, being far larger than the rest.
constexpr int CacheLimit = 16384;
constexpr qsizetype CachedThumbnailBytesLimit = 16 * 1024 * 1024;
QMutex g_cacheMutex;
QHash<QString, CachedPlaceholder> g_cache;
qsizetype g_cachedThumbnailBytes = 0;

std::optional<PromisePlaceholder> parsePlaceholder(const QString &placeholderPath, std::optional<Error> *error);

} // namespace

std::optional<PromisePlaceholder> PromisePlaceholder::read(const QString &placeholderPath, std::optional<Error> *error)
{
    struct stat st;
    const bool known = ::stat(FilePath::encode(placeholderPath).constData(), &st) == 0;
    if (known) {
        QMutexLocker lock(&g_cacheMutex);
        if (const auto found = g_cache.constFind(placeholderPath); found != g_cache.cend() && found->matches(st)) {
            return found->placeholder;
        }
    }
    std::optional<PromisePlaceholder> placeholder = parsePlaceholder(placeholderPath, error);
    if (placeholder && known) {
        QMutexLocker lock(&g_cacheMutex);
        if (const auto stale = g_cache.constFind(placeholderPath); stale != g_cache.cend()) {
            g_cachedThumbnailBytes -= stale->placeholder.thumbnailPng.size();
        }
        if (g_cache.size() >= CacheLimit
            || g_cachedThumbnailBytes + placeholder->thumbnailPng.size() > CachedThumbnailBytesLimit) {
            g_cache.clear();
            g_cachedThumbnailBytes = 0;
        }
        g_cachedThumbnailBytes += placeholder->thumbnailPng.size();
        g_cache.insert(placeholderPath, CachedPlaceholder{st.st_dev, st.st_ino, st.st_size, st.st_mtim, st.st_ctim, *placeholder});
    }
    return placeholder;
}

namespace {

std::optional<PromisePlaceholder> parsePlaceholder(const QString &placeholderPath, std::optional<Error> *error)
{
    // written by the service from what a server sent: read as outside input
    std::optional<Error> readError;
    const std::optional<QJsonObject> read = ServiceFile::readObject(placeholderPath, &readError);
    if (!read) {
        if (error) {
            *error = readError ? *readError : Error::fromErrno(ENOENT, placeholderPath, FileReadUnknownError);
        }
        return std::nullopt;
    }
    const QJsonObject &json = *read;
    PromisePlaceholder p;
    // the placeholder's own file name is the item's name: a move is one rename, nothing inside
    // has to follow
    p.name = QFileInfo(PromisePlaceholder::logicalPathFor(placeholderPath)).fileName();
    const QJsonValue size = json.value(QStringLiteral("size"));
    p.size = ServiceFile::wholeNumber(size).value_or(-1);
    if (!size.isUndefined() && p.size < 0) {
        DRLog(LOG_ERR, "Ignoring the size of %@: it is not a whole number of bytes from 0 to 2^53", placeholderPath);
    }
    p.creationDate = QDateTime::fromString(json.value(QStringLiteral("created")).toString(), Qt::ISODateWithMs);
    p.modificationDate = QDateTime::fromString(json.value(QStringLiteral("modified")).toString(), Qt::ISODateWithMs);
    p.mimeType = json.value(QStringLiteral("mimeType")).toString();
    for (const QJsonValue &tag : json.value(QStringLiteral("tags")).toArray()) {
        p.tags << tag.toString();
    }
    p.shared = json.value(QStringLiteral("shared")).toBool();
    p.role = json.value(QStringLiteral("role")).toString();
    p.thumbnailPng = QByteArray::fromBase64(json.value(QStringLiteral("thumbnail")).toString().toLatin1());
    p.storeKey = json.value(QStringLiteral("storeKey")).toString();
    if (!PromisePlaceholder::isStoreKey(p.storeKey)) {
        // joined to the store's path, anything but one name of the store would lead elsewhere;
        // the item stays listed, and its content is unavailable
        DRLog(LOG_ERR, "Refusing the store key \"%@\" of %@: a store key is one name of letters, digits, '-' and '_'",
              p.storeKey, placeholderPath);
        p.storeKey.clear();
    }
    return p;
}

} // namespace

std::optional<Error> PromisePlaceholder::write(const QString &placeholderPath, bool replace) const
{
    QJsonObject json{{QStringLiteral("name"), name},
                     {QStringLiteral("created"), isoDate(creationDate)},
                     {QStringLiteral("modified"), isoDate(modificationDate)},
                     {QStringLiteral("mimeType"), mimeType},
                     {QStringLiteral("tags"), QJsonArray::fromStringList(tags)},
                     {QStringLiteral("shared"), shared},
                     {QStringLiteral("role"), role},
                     {QStringLiteral("thumbnail"), QString::fromLatin1(thumbnailPng.toBase64())},
                     {QStringLiteral("storeKey"), storeKey}};
    if (size >= 0) {
        json.insert(QStringLiteral("size"), double(size));
    }
    const QByteArray bytes = QJsonDocument(json).toJson(QJsonDocument::Compact);

    // written beside its final name, then renamed: no half-written placeholder is ever seen
    const QByteArray finalPath = FilePath::encode(placeholderPath);
    QByteArray tempPath = FilePath::encode(QFileInfo(placeholderPath).absolutePath()) + "/.promise-XXXXXX";
    const int fd = ::mkostemp(tempPath.data(), O_CLOEXEC);
    if (fd < 0) {
        return Error::fromErrno(errno, placeholderPath);
    }
    const bool written = ::write(fd, bytes.constData(), size_t(bytes.size())) == bytes.size();
    const int writeErrno = errno;
    ::fchmod(fd, 0644);
    ::close(fd);
    if (!written) {
        ::unlink(tempPath.constData());
        return Error::fromErrno(writeErrno ? writeErrno : EIO, placeholderPath);
    }
    const int renamed = replace ? ::rename(tempPath.constData(), finalPath.constData())
                                : ::renameat2(AT_FDCWD, tempPath.constData(), AT_FDCWD, finalPath.constData(),
                                              RENAME_NOREPLACE);
    if (renamed != 0) {
        const int renameErrno = errno;
        ::unlink(tempPath.constData());
        return Error::fromErrno(renameErrno, placeholderPath);
    }
    return std::nullopt;
}

QString PromisePlaceholder::storeFilePath() const
{
    return storeFilePathForKey(storeKey);
}

QString PromisePlaceholder::storeFilePathForKey(const QString &storeKey)
{
    if (!isStoreKey(storeKey)) {
        return {};
    }
    return DriveLayout::storePath() + QLatin1Char('/') + storeKey;
}

bool PromisePlaceholder::isStoreKey(const QString &storeKey)
{
    if (storeKey.isEmpty() || storeKey.size() > 128) {
        return false;
    }
    return std::all_of(storeKey.cbegin(), storeKey.cend(), [](QChar c) {
        return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) || (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
            || (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('-') || c == QLatin1Char('_');
    });
}

QString PromisePlaceholder::newStoreKey()
{
    return QUuid::createUuid().toString(QUuid::Id128);
}

bool PromisePlaceholder::isPlaceholderName(const QString &fileName)
{
    return fileName.size() > suffix.size() + 1 && fileName.startsWith(QLatin1Char('.')) && fileName.endsWith(suffix);
}

QString PromisePlaceholder::placeholderPathFor(const QString &logicalPath)
{
    const qsizetype slash = logicalPath.lastIndexOf(QLatin1Char('/'));
    return logicalPath.left(slash + 1) + QLatin1Char('.') + logicalPath.mid(slash + 1) + suffix;
}

QString PromisePlaceholder::logicalPathFor(const QString &placeholderPath)
{
    const qsizetype slash = placeholderPath.lastIndexOf(QLatin1Char('/'));
    const QString fileName = placeholderPath.mid(slash + 1);
    if (!isPlaceholderName(fileName)) {
        return {};
    }
    return placeholderPath.left(slash + 1) + fileName.mid(1, fileName.size() - 1 - suffix.size());
}

bool PromisePlaceholder::isPromisedItem(const QString &logicalPath)
{
    struct stat st;
    const QByteArray logical = FilePath::encode(logicalPath);
    if (::lstat(logical.constData(), &st) == 0) {
        return false;
    }
    return ::lstat(FilePath::encode(placeholderPathFor(logicalPath)).constData(), &st) == 0;
}
