#pragma once

#include "platform/drive/ResourceValues.h"
#include "platform/foundation/Error.h"

#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <optional>

/// The keys of an item's metadata.
namespace URLResourceKey {
inline const QString Name = QStringLiteral("name");
inline const QString LocalizedName = QStringLiteral("localizedName");
inline const QString TypeIdentifier = QStringLiteral("typeIdentifier");
inline const QString LocalizedTypeDescription = QStringLiteral("localizedTypeDescription");
inline const QString FileSize = QStringLiteral("fileSize");
inline const QString CreationDate = QStringLiteral("creationDate");
inline const QString ContentModificationDate = QStringLiteral("contentModificationDate");
inline const QString IsDirectory = QStringLiteral("isDirectory");
inline const QString IsPackage = QStringLiteral("isPackage");
inline const QString HasHiddenExtension = QStringLiteral("hasHiddenExtension");
inline const QString ParentDirectoryURL = QStringLiteral("parentDirectoryURL");
inline const QString UbiquitousItemIsShared = QStringLiteral("ubiquitousItemIsShared");
inline const QString UbiquitousSharedItemRole = QStringLiteral("ubiquitousSharedItemRole");
inline const QString UbiquitousItemDownloadingStatus = QStringLiteral("ubiquitousItemDownloadingStatus");
/// A dictionary of the item's stored thumbnails by size (URLThumbnailDictionaryItem keys); only
/// computed when asked for.
inline const QString ThumbnailDictionary = QStringLiteral("thumbnailDictionary");
} // namespace URLResourceKey

/// Values of the downloading-status and shared-role keys.
namespace URLResourceValue {
inline const QString DownloadingStatusNotDownloaded = QStringLiteral("NotDownloaded");
inline const QString DownloadingStatusDownloaded = QStringLiteral("Downloaded");
inline const QString DownloadingStatusCurrent = QStringLiteral("Current");
inline const QString SharedItemRoleOwner = QStringLiteral("owner");
inline const QString SharedItemRoleParticipant = QStringLiteral("participant");
} // namespace URLResourceValue

/// The drive service's metadata source: an item's values from the file system, or, for a
/// promised item, from its placeholder, never reading or downloading content.
class URLResourceValues final
{
public:
    URLResourceValues() = delete;

    /// Values of a real item or of a promise; no values (error 4) when neither exists.
    static std::optional<QVariantMap> promisedItemResourceValuesForKeys(const QUrl &url, const QStringList &keys,
                                                                         std::optional<Error> *error);
    /// Values of a real item only.
    static std::optional<QVariantMap> resourceValuesForKeys(const QUrl &url, const QStringList &keys,
                                                            std::optional<Error> *error);
    /// Every value of an item of the drive that is no link, with its tags: a real item read
    /// through one descriptor opened with no link on the way (a status and one listing of its
    /// attributes), or a promised item from its placeholder. A document's type is looked up by
    /// its name only `withDocumentType` (it costs a pass over the type database's patterns);
    /// without it, `typeIdentifier` is empty exactly when typeOfDocumentNamed gives it.
    /// Null when the item is not such an item or cannot be read that way (a link, a path out
    /// of the drive or through a link leading out, an unreadable file, nothing by that name):
    /// the keyed functions answer for those.
    static std::optional<ResourceValues> plainItemValues(const QUrl &url, bool withDocumentType);
    /// The type of a document (no folder, no device) by its name, as the type database tells it.
    static QString typeOfDocumentNamed(const QString &name);
    /// The item exists, real or promised.
    static bool checkPromisedItemIsReachableAndReturnError(const QUrl &url, std::optional<Error> *error);
};
