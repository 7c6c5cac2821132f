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

namespace {

/// A folder whose extension names a known non-folder type is one document (a package).
bool isPackageFolder(const QFileInfo &info, bool isDir)
{
    const QString suffix = info.suffix();
    return isDir && !suffix.isEmpty() && !UniformType::preferredIdentifierForExtension(suffix).isEmpty();
}

/// The values of a real item; only the keys asked for are computed (extended attributes and
/// type descriptions cost system calls and lookups). `info` gives the names only: the status
/// `st` was taken through the path's own bytes, which Qt's file classes cannot reach for a name
/// that is not UTF-8.
QVariantMap realValues(const QFileInfo &info, const struct stat &st, const QStringList &keys)
{
    const auto wants = [&keys](const QString &key) { return keys.contains(key); };
    const QString path = info.filePath();
    const bool isDir = S_ISDIR(st.st_mode);
    QVariantMap values;
    if (wants(URLResourceKey::Name)) {
        values.insert(URLResourceKey::Name, info.fileName());
    }
    if (wants(URLResourceKey::LocalizedName)) {
        values.insert(URLResourceKey::LocalizedName, FilePath::displayName(info.fileName()));
    }
    const bool package = isPackageFolder(info, isDir);
    if (wants(URLResourceKey::TypeIdentifier) || wants(URLResourceKey::LocalizedTypeDescription)) {
        const QString type = isDir && !package ? UniformType::Folder
                             : package ? UniformType::preferredIdentifierForExtension(info.suffix())
                                       : QMimeDatabase().mimeTypeForFile(info, QMimeDatabase::MatchExtension).name();
        if (wants(URLResourceKey::TypeIdentifier)) {
            values.insert(URLResourceKey::TypeIdentifier, type);
        }
        if (wants(URLResourceKey::LocalizedTypeDescription)) {
            values.insert(URLResourceKey::LocalizedTypeDescription, UniformType::localizedDescription(type));
        }
    }
    if (wants(URLResourceKey::ContentModificationDate)) {
        values.insert(URLResourceKey::ContentModificationDate, FilePath::modificationDate(st));
    }
    if (wants(URLResourceKey::IsDirectory)) {
        values.insert(URLResourceKey::IsDirectory, isDir);
    }
    if (wants(URLResourceKey::IsPackage)) {
        values.insert(URLResourceKey::IsPackage, package);
    }
    if (wants(URLResourceKey::HasHiddenExtension)) {
        values.insert(URLResourceKey::HasHiddenExtension, false);
    }
    if (wants(URLResourceKey::ParentDirectoryURL)) {
        values.insert(URLResourceKey::ParentDirectoryURL, QUrl::fromLocalFile(info.absolutePath() + QLatin1Char('/')));
    }
    if (wants(URLResourceKey::FileSize) && !isDir) {
        values.insert(URLResourceKey::FileSize, quint64(st.st_size));
    }
    if (wants(URLResourceKey::CreationDate)) {
        if (const QDateTime created = FileAttributes::creationDate(path); created.isValid()) {
            values.insert(URLResourceKey::CreationDate, created);
        }
    }
    const bool wantsUbiquity = wants(URLResourceKey::UbiquitousItemIsShared)
        || wants(URLResourceKey::UbiquitousSharedItemRole) || wants(URLResourceKey::UbiquitousItemDownloadingStatus);
    if (wantsUbiquity && kd_isInMobileDocuments(QUrl::fromLocalFile(path))) {
        const QString role = FileAttributes::sharedRole(path);
        values.insert(URLResourceKey::UbiquitousItemIsShared, !role.isEmpty());
        if (!role.isEmpty()) {
            values.insert(URLResourceKey::UbiquitousSharedItemRole, role);
        }
        values.insert(URLResourceKey::UbiquitousItemDownloadingStatus, URLResourceValue::DownloadingStatusCurrent);
    }
    return values;
}

/// The values of a document known by its name and type alone, without reading it.
QVariantMap documentValues(const QFileInfo &info, const QString &type)
{
    return {
        {URLResourceKey::Name, info.fileName()},
        {URLResourceKey::LocalizedName, FilePath::displayName(info.fileName())},
        {URLResourceKey::TypeIdentifier, type},
        {URLResourceKey::LocalizedTypeDescription, UniformType::localizedDescription(type)},
        {URLResourceKey::IsDirectory, false},
        {URLResourceKey::IsPackage, false},
        {URLResourceKey::HasHiddenExtension, false},
        {URLResourceKey::ParentDirectoryURL, QUrl::fromLocalFile(info.absolutePath() + QLatin1Char('/'))},
    };
}

/// A link that leads out of the drive is described as what it is, an unavailable bookmark,
/// without a look at what it leads to.
QVariantMap unavailableLinkValues(const QFileInfo &info)
{
    return documentValues(info, UniformType::SymbolicLink);
}

QVariantMap promiseValues(const QString &logicalPath, const PromisePlaceholder &placeholder)
{
    const QFileInfo info(logicalPath);
    const QString type = placeholder.mimeType.isEmpty()
        ? QMimeDatabase().mimeTypeForFile(info, QMimeDatabase::MatchExtension).name()
        : placeholder.mimeType;
    QVariantMap values = documentValues(info, type);
    values.insert(URLResourceKey::UbiquitousItemIsShared, placeholder.shared);
    values.insert(URLResourceKey::UbiquitousItemDownloadingStatus, URLResourceValue::DownloadingStatusNotDownloaded);
    if (placeholder.size >= 0) {
        values.insert(URLResourceKey::FileSize, quint64(placeholder.size));
    }
    if (placeholder.creationDate.isValid()) {
        values.insert(URLResourceKey::CreationDate, placeholder.creationDate);
    }
    if (placeholder.modificationDate.isValid()) {
        values.insert(URLResourceKey::ContentModificationDate, placeholder.modificationDate);
    }
    if (placeholder.shared && !placeholder.role.isEmpty()) {
        values.insert(URLResourceKey::UbiquitousSharedItemRole, placeholder.role);
    }
    return values;
}

QVariantMap thumbnailDictionary(const QImage &thumbnail)
{
    if (thumbnail.isNull()) {
        return {};
    }
    return {{URLThumbnailDictionaryItem::Size1024x1024, thumbnail}};
}

QVariantMap only(const QVariantMap &values, const QStringList &keys)
{
    QVariantMap result;
    for (const QString &key : keys) {
        if (values.contains(key)) {
            result.insert(key, values.value(key));
        }
    }
    return result;
}

void setNoSuchFile(std::optional<Error> *error, const QString &path)
{
    if (error) {
        *error = Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
}

} // namespace

std::optional<QVariantMap> URLResourceValues::resourceValuesForKeys(const QUrl &url, const QStringList &keys,
                                                                    std::optional<Error> *error)
{
    const QString path = QDir::cleanPath(url.toLocalFile());
    const QFileInfo info(path);
    const std::optional<struct stat> linkStatus = FilePath::linkStatus(path);
    const std::optional<struct stat> status = FilePath::status(path);
    if (!linkStatus || !status) {
        setNoSuchFile(error, path);
        return std::nullopt;
    }
    if (S_ISLNK(linkStatus->st_mode) && kd_resolvedPathInMobileDocuments(QUrl::fromLocalFile(path)).isNull()) {
        return only(unavailableLinkValues(info), keys);
    }
    QVariantMap values = realValues(info, *status, keys);
    if (keys.contains(URLResourceKey::ThumbnailDictionary) && S_ISREG(status->st_mode)) {
        if (const QImage thumbnail = Thumbnailer::cachedThumbnail(path); !thumbnail.isNull()) {
            values.insert(URLResourceKey::ThumbnailDictionary, thumbnailDictionary(thumbnail));
        }
    }
    return only(values, keys);
}

std::optional<QVariantMap> URLResourceValues::promisedItemResourceValuesForKeys(const QUrl &url,
                                                                                const QStringList &keys,
                                                                                std::optional<Error> *error)
{
    const QString path = QDir::cleanPath(url.toLocalFile());
    if (!path.isEmpty() && PromisePlaceholder::isPromisedItem(path)) {
        std::optional<Error> readError;
        if (const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &readError)) {
            QVariantMap values = promiseValues(path, *placeholder);
            if (keys.contains(URLResourceKey::ThumbnailDictionary) && !placeholder->thumbnailPng.isEmpty()) {
                values.insert(URLResourceKey::ThumbnailDictionary,
                              thumbnailDictionary(QImage::fromData(placeholder->thumbnailPng, "PNG")));
            }
            return only(values, keys);
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
