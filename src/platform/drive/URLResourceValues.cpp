#include "platform/drive/URLResourceValues.h"

#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/foundation/FilePath.h"
#include "platform/types/UniformType.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QMimeDatabase>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// What the file system says of a real item, however it was read: through a descriptor opened
/// with no link on the way, or by its path.
struct RealItem
{
    QString name;
    /// The folder holding it, without the ending '/'.
    QString folder;
    /// Of what the item is (a link into the drive: of what it leads to).
    mode_t mode = 0;
    quint64 size = 0;
    QDateTime modified;
    QDateTime created;
    /// Its real place is in the drive: it has the drive's values (shared role, downloaded).
    bool inDrive = false;
    QString sharedRole;
    std::optional<QStringList> tags;
};

/// A folder whose extension names a known non-folder type is one document (a package).
QString packageType(const QString &name)
{
    const QString suffix = QFileInfo(name).suffix();
    return suffix.isEmpty() ? QString() : UniformType::preferredIdentifierForExtension(suffix);
}

/// The type of what is no document and no folder, told by what it is, as the platform's type
/// database tells it; empty for a document.
QString specialFileType(mode_t mode)
{
    if (S_ISCHR(mode)) {
        return QStringLiteral("inode/chardevice");
    }
    if (S_ISBLK(mode)) {
        return QStringLiteral("inode/blockdevice");
    }
    if (S_ISFIFO(mode)) {
        return QStringLiteral("inode/fifo");
    }
    if (S_ISSOCK(mode)) {
        return QStringLiteral("inode/socket");
    }
    return {};
}

/// The values of a real item. A document's type comes from its name, which costs a look through
/// the type database's patterns: left empty unless `withDocumentType`.
ResourceValues realValues(const RealItem &item, bool withDocumentType)
{
    const bool isDir = S_ISDIR(item.mode);
    ResourceValues values;
    values.name = item.name;
    values.localizedName = FilePath::displayName(item.name);
    const QString package = isDir ? packageType(item.name) : QString();
    values.isPackage = !package.isEmpty();
    if (isDir) {
        values.typeIdentifier = values.isPackage ? package : UniformType::Folder;
    } else if (const QString special = specialFileType(item.mode); !special.isEmpty()) {
        values.typeIdentifier = special;
    } else if (withDocumentType) {
        values.typeIdentifier = URLResourceValues::typeOfDocumentNamed(item.name);
    }
    values.contentModificationDate = item.modified;
    values.creationDate = item.created;
    values.isDirectory = isDir;
    values.parentDirectoryPath = item.folder + QLatin1Char('/');
    if (!isDir) {
        values.fileSize = item.size;
    }
    if (item.inDrive) {
        values.isShared = !item.sharedRole.isEmpty();
        values.sharedRole = item.sharedRole;
        values.downloadingStatus = URLResourceValue::DownloadingStatusCurrent;
    }
    values.tags = item.tags;
    return values;
}

/// The values of a document known by its name and type alone, without reading it.
ResourceValues documentValues(const QString &name, const QString &folder, const QString &type)
{
    ResourceValues values;
    values.name = name;
    values.localizedName = FilePath::displayName(name);
    values.typeIdentifier = type;
    values.parentDirectoryPath = folder + QLatin1Char('/');
    return values;
}

ResourceValues promiseValues(const QString &name, const QString &folder, const PromisePlaceholder &placeholder,
                             bool withDocumentType)
{
    const QString type = !placeholder.mimeType.isEmpty() ? placeholder.mimeType
                         : withDocumentType              ? URLResourceValues::typeOfDocumentNamed(name)
                                                         : QString();
    ResourceValues values = documentValues(name, folder, type);
    values.isPromise = true;
    values.isShared = placeholder.shared;
    values.downloadingStatus = URLResourceValue::DownloadingStatusNotDownloaded;
    if (placeholder.size >= 0) {
        values.fileSize = quint64(placeholder.size);
    }
    values.creationDate = placeholder.creationDate;
    values.contentModificationDate = placeholder.modificationDate;
    if (placeholder.shared) {
        values.sharedRole = placeholder.role;
    }
    values.tags = placeholder.tags;
    return values;
}

/// Which of the values the keyed callers ask for cost more than the item's status.
struct Wanted
{
    bool documentType = true;
    bool creationDate = true;
    bool driveValues = true;

    static Wanted forKeys(const QStringList &keys)
    {
        return {keys.contains(URLResourceKey::TypeIdentifier) || keys.contains(URLResourceKey::LocalizedTypeDescription),
                keys.contains(URLResourceKey::CreationDate),
                keys.contains(URLResourceKey::UbiquitousItemIsShared)
                    || keys.contains(URLResourceKey::UbiquitousSharedItemRole)
                    || keys.contains(URLResourceKey::UbiquitousItemDownloadingStatus)};
    }
};

/// A real item read by its path, for what lies outside the drive or is reached through a link:
/// its status followed through links, its attributes only where they are wanted.
RealItem realItemAtPath(const QString &path, const struct stat &st, Wanted wanted)
{
    const QFileInfo info(path);
    RealItem item;
    item.name = info.fileName();
    item.folder = info.absolutePath();
    item.mode = st.st_mode;
    item.size = quint64(st.st_size);
    item.modified = FilePath::modificationDate(st);
    if (wanted.creationDate) {
        item.created = FileAttributes::creationDate(path);
    }
    item.inDrive = wanted.driveValues && kd_isInMobileDocuments(QUrl::fromLocalFile(path));
    if (item.inDrive) {
        item.sharedRole = FileAttributes::sharedRole(path);
    }
    return item;
}

/// A real item of the drive read through one descriptor, opened with no link on the way: a
/// status and one listing of its attributes, with no further look-up of its path. Null with
/// errno when it cannot be opened that way.
std::optional<RealItem> realItemInDrive(const QString &path)
{
    const int fd = FilePath::openWithoutLinks(path);
    if (fd < 0) {
        return std::nullopt;
    }
    struct statx stx = {};
    const bool known = ::statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &stx) == 0;
    const FileAttributes::Stored stored = known ? FileAttributes::readAll(fd) : FileAttributes::Stored();
    const int error = errno;
    ::close(fd);
    if (!known) {
        errno = error;
        return std::nullopt;
    }
    RealItem item;
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    item.name = path.mid(slash + 1);
    item.folder = path.left(slash);
    item.mode = stx.stx_mode;
    item.size = stx.stx_size;
    item.modified = FilePath::date(stx.stx_mtime);
    item.created = FileAttributes::creationDate(FileAttributes::birthDate(stx), stored.creationDate);
    item.inDrive = true;
    item.sharedRole = stored.sharedRole;
    item.tags = stored.tags;
    return item;
}

/// A link that leads out of the drive is described as what it is, an unavailable bookmark,
/// without a look at what it leads to.
ResourceValues unavailableLinkValues(const QFileInfo &info)
{
    return documentValues(info.fileName(), info.absolutePath(), UniformType::SymbolicLink);
}

QVariantMap thumbnailDictionary(const QImage &thumbnail)
{
    if (thumbnail.isNull()) {
        return {};
    }
    return {{URLThumbnailDictionaryItem::Size1024x1024, thumbnail}};
}

void setNoSuchFile(std::optional<Error> *error, const QString &path)
{
    if (error) {
        *error = Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
}

/// The values of a real item by its path, as the keyed callers ask: the item's own for a plain
/// item, the link's for a link that leads out of the drive, what a link into the drive leads to.
std::optional<ResourceValues> realValuesAtPath(const QString &path, Wanted wanted, std::optional<Error> *error)
{
    const std::optional<struct stat> linkStatus = FilePath::linkStatus(path);
    const std::optional<struct stat> status = FilePath::status(path);
    if (!linkStatus || !status) {
        setNoSuchFile(error, path);
        return std::nullopt;
    }
    if (S_ISLNK(linkStatus->st_mode) && kd_resolvedPathInMobileDocuments(QUrl::fromLocalFile(path)).isNull()) {
        return unavailableLinkValues(QFileInfo(path));
    }
    return realValues(realItemAtPath(path, *status, wanted), wanted.documentType);
}

} // namespace

QString URLResourceValues::typeOfDocumentNamed(const QString &name)
{
    return QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name();
}

std::optional<ResourceValues> URLResourceValues::plainItemValues(const QUrl &url, bool withDocumentType)
{
    // opened with no link on the way, an item whose path's string is in the drive really is
    const QString path = FilePath::cleanPath(url.toLocalFile());
    if (!kd_pathIsBelowMobileDocumentsRoot(path)) {
        return std::nullopt;
    }
    if (const std::optional<RealItem> item = realItemInDrive(path)) {
        return realValues(*item, withDocumentType);
    }
    if (errno != ENOENT) {
        return std::nullopt; // a link on the way, an unreadable item: asked by path
    }
    // no real item has the name: a placeholder beside a real file would be stale
    std::optional<Error> readError;
    if (const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &readError)) {
        const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
        return promiseValues(path.mid(slash + 1), path.left(slash), *placeholder, withDocumentType);
    }
    return std::nullopt;
}

std::optional<QVariantMap> URLResourceValues::resourceValuesForKeys(const QUrl &url, const QStringList &keys,
                                                                    std::optional<Error> *error)
{
    const QString path = FilePath::cleanPath(url.toLocalFile());
    const Wanted wanted = Wanted::forKeys(keys);
    std::optional<ResourceValues> values = plainItemValues(url, wanted.documentType);
    if (values && values->isPromise) {
        values.reset(); // a real item only
    }
    if (!values) {
        values = realValuesAtPath(path, wanted, error);
    }
    if (!values) {
        return std::nullopt;
    }
    QVariantMap map = values->toMap(keys);
    if (keys.contains(URLResourceKey::ThumbnailDictionary) && !values->isDirectory
        && values->typeIdentifier != UniformType::SymbolicLink) {
        if (const std::optional<struct stat> status = FilePath::status(path); status && S_ISREG(status->st_mode)) {
            if (const QImage thumbnail = Thumbnailer::cachedThumbnail(path); !thumbnail.isNull()) {
                map.insert(URLResourceKey::ThumbnailDictionary, thumbnailDictionary(thumbnail));
            }
        }
    }
    return map;
}

std::optional<QVariantMap> URLResourceValues::promisedItemResourceValuesForKeys(const QUrl &url,
                                                                                const QStringList &keys,
                                                                                std::optional<Error> *error)
{
    const QString path = QDir::cleanPath(url.toLocalFile());
    if (!path.isEmpty() && PromisePlaceholder::isPromisedItem(path)) {
        std::optional<Error> readError;
        if (const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &readError)) {
            const QFileInfo info(path);
            QVariantMap values = promiseValues(info.fileName(), info.absolutePath(), *placeholder, true).toMap(keys);
            if (keys.contains(URLResourceKey::ThumbnailDictionary) && !placeholder->thumbnailPng.isEmpty()) {
                values.insert(URLResourceKey::ThumbnailDictionary,
                              thumbnailDictionary(QImage::fromData(placeholder->thumbnailPng, "PNG")));
            }
            return values;
        }
    }
    return resourceValuesForKeys(url, keys, error);
}

bool URLResourceValues::checkPromisedItemIsReachableAndReturnError(const QUrl &url, std::optional<Error> *error)
{
    const QString path = QDir::cleanPath(url.toLocalFile());
    if (FilePath::status(path) || PromisePlaceholder::isPromisedItem(path)) {
        return true;
    }
    setNoSuchFile(error, path);
    return false;
}
