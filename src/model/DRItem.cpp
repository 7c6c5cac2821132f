#include "model/DRItem.h"

#include "core/DRLogging.h"
#include "model/AVDAppBookmarks.h"
#include "model/FileUtils.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseURL.h"
#include "platform/drive/SecurityScopedResource.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/InvalidArgumentException.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/foundation/StringFormat.h"
#include "platform/quicklook/PreviewController.h"
#include "platform/types/UniformType.h"

namespace {

/// Whether two URLs are one object, not merely equal: a promise's physical URL is always a URL
/// of its own, while any other item's physical URL is the very URL it was asked for.
bool isSameURLObject(QUrl a, QUrl b)
{
    return a.data_ptr() == b.data_ptr();
}

} // namespace

DRItem::DRItem()
{
    throw InvalidArgumentException(StringFormat::format("Don't call %@.", QStringLiteral("-[DRItem init]")));
}

DRItem::DRItem(PrivateTag, const QUrl &url)
    : m_url(url)
{
}

std::shared_ptr<DRItem> DRItem::initWithURL(const QUrl &url)
{
    auto item = std::make_shared<DRItem>(PrivateTag{}, url);
    if (!item->cacheValues()) {
        DRLog(LOG_ERR, "Failed to cache values for URL %@", url);
        return nullptr;
    }
    return item;
}

OperationQueue *DRItem::getThumbnailQueue()
{
    static auto *queue = [] {
        auto *made = new OperationQueue(QStringLiteral("thumbnailQueue"), QThread::LowestPriority); // until exit
        // its work reads the drive's shared state, which the process's exit takes down: the
        // work ends with the application, thumbnails not yet begun are not made
        qAddPostRoutine([] {
            getThumbnailQueue()->cancelAllOperations();
            getThumbnailQueue()->waitUntilAllOperationsAreFinished();
        });
        return made;
    }();
    return queue;
}

const QStringList &DRItem::resourceKeys()
{
    static const QStringList keys{
        URLResourceKey::Name,
        URLResourceKey::LocalizedName,
        URLResourceKey::TypeIdentifier,
        URLResourceKey::LocalizedTypeDescription,
        URLResourceKey::FileSize,
        URLResourceKey::CreationDate,
        URLResourceKey::ContentModificationDate,
        URLResourceKey::IsDirectory,
        URLResourceKey::IsPackage,
        URLResourceKey::HasHiddenExtension,
        URLResourceKey::ParentDirectoryURL,
        URLResourceKey::UbiquitousItemIsShared,
        URLResourceKey::UbiquitousSharedItemRole,
        URLResourceKey::UbiquitousItemDownloadingStatus,
    };
    return keys;
}

void DRItem::setUrl(const QUrl &url)
{
    if (url == m_url) {
        return;
    }
    m_url = url;
    cacheValues();
}

bool DRItem::cacheValues()
{
    clearValues();
    if (m_url.isEmpty()) {
        return false;
    }
    if (const std::optional<bool> made = cachePlainItemValues()) {
        return *made;
    }
    return cacheValuesOfAnyItem();
}

std::optional<bool> DRItem::cachePlainItemValues()
{
    std::optional<ResourceValues> values;
    QUrl coordinated;
    FileCoordinator coordinator;
    std::optional<Error> coordinationError;
    coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
        m_url, FileCoordinator::ReadingImmediatelyAvailableMetadataOnly, &coordinationError,
        [&](const QUrl &coordinatedURL) {
            values = URLResourceValues::plainItemValues(coordinatedURL, false);
            coordinated = coordinatedURL;
        });
    if (!values) {
        return std::nullopt;
    }
    m_isBookmark = false;
    m_resolvedURL = m_url;
    if (values->isPromise) {
        m_promisedByPlaceholder = true;
    }
    initFromValues_withURL(*values, coordinated);
    m_tags = values->tags;
    return true;
}

bool DRItem::cacheValuesOfAnyItem()
{
    if (const QUrl target = avd_URLByResolvingBookmark(m_url); !target.isEmpty()) {
        m_resolvedURL = target;
        m_isBookmark = true;
    } else {
        m_isBookmark = false;
        m_resolvedURL = m_url;
    }
    // the platform hands back the very URL it was given for an item that is no promise: such an
    // item has no promise URL
    const QUrl physical = PromiseCopyPhysicalURL(m_resolvedURL);
    m_promiseURL = isSameURLObject(physical, m_resolvedURL) ? QUrl() : physical;
    const bool accessStarted = startAccessingSecurityScopedResource(m_resolvedURL);

    // a coordination failure keeps the reader from running: the record is still made, with the
    // reset values, as the item may well be there
    bool result = true;
    FileCoordinator coordinator;
    std::optional<Error> coordinationError;
    coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
        m_resolvedURL, FileCoordinator::ReadingImmediatelyAvailableMetadataOnly, &coordinationError,
        [&](const QUrl &coordinatedURL) {
            std::optional<Error> error;
            result = URLResourceValues::checkPromisedItemIsReachableAndReturnError(coordinatedURL, &error);
            if (!result) {
                return;
            }
            error.reset();
            std::optional<QVariantMap> values
                = URLResourceValues::promisedItemResourceValuesForKeys(coordinatedURL, resourceKeys(), &error);
            if (!values && error && error->isFileError(FileNoSuchFileError)) {
                result = false;
                return;
            }
            if (!values) {
                DRLog(LOG_WARNING, "promisedItemResourceValuesForKeys failed on %@", coordinatedURL);
                values = URLResourceValues::resourceValuesForKeys(coordinatedURL, resourceKeys(), &error);
                if (!values) {
                    result = false;
                    return;
                }
            }
            initFromKeysAndValues_withURL(*values, coordinatedURL);
            std::optional<Error> tagError;
            const QStringList tags = kd_getTagNames_error(m_resolvedURL, &tagError);
            m_tags = tagError ? std::nullopt : std::optional<QStringList>(tags);
            if (accessStarted) {
                stopAccessingSecurityScopedResource(m_resolvedURL);
            }
        });
    return result;
}

void DRItem::clearValues()
{
    m_resolvedURL.clear();
    m_localizedName.clear();
    m_typeDerived.store(DerivedNow, std::memory_order_relaxed);
    m_typeNamedBy.clear();
    m_typeIdentifier.clear();
    m_localizedTypeDescription.clear();
    m_fileSize.reset();
    m_friendlyFileSize.reset();
    m_creationDate = {};
    m_contentModificationDate = {};
    m_parentDirectoryURL.clear();
    m_parentDirectoryPath.clear();
    m_thumbnail = {};
    m_tags.reset();
    m_promiseURL.clear();
    m_promisedByPlaceholder = false;
    m_isContainer = false;
    m_isDirectory = false;
    m_isPackage = false;
    m_hasHiddenExtension = true;
    m_thumbnailFetched = false;
    m_renameable = true;
    m_isBookmark = false;
    m_isDownloaded = false;
}

void DRItem::initFromKeysAndValues_withURL(const QVariantMap &values, const QUrl &url)
{
    initFromValues_withURL(ResourceValues::fromMap(values), url);
    deriveTypeOnFirstUse();
    if (m_localizedTypeDescription.isEmpty()) {
        // a type the platform does not describe keeps the description it came with
        m_localizedTypeDescription = values.value(URLResourceKey::LocalizedTypeDescription).toString();
    }
}

void DRItem::initFromValues_withURL(const ResourceValues &values, const QUrl &url)
{
    m_localizedName = values.localizedName.isNull() ? values.name : values.localizedName;
    m_fileSize = values.fileSize;
    m_friendlyFileSize.reset();
    m_creationDate = values.creationDate;
    m_contentModificationDate = values.contentModificationDate;
    m_parentDirectoryURL.clear();
    m_parentDirectoryPath = values.parentDirectoryPath;

    m_isPackage = values.isPackage;
    m_isDirectory = values.isDirectory && !values.isPackage; // a package is one document, never entered
    m_hasHiddenExtension = values.hasHiddenExtension;

    // a document's type costs a pass over the type database: it, its description and whether
    // it can be previewed are found when first asked for
    m_typeIdentifier = values.typeIdentifier;
    m_canPreviewIsDirectory = values.isDirectory;
    m_typeNamedBy = m_typeIdentifier.isEmpty() ? values.name : QString();
    m_typeDerived.store(DerivedOnFirstUse, std::memory_order_release);

    const bool placed = !values.parentDirectoryPath.isEmpty() && !values.name.isEmpty();
    m_isContainer = placed ? kd_isDocumentsContainerAtPath(values.parentDirectoryPath + values.name)
                           : kd_isDocumentsContainer(url);
    if (m_isContainer) {
        m_renameable = false;
        std::optional<Error> error;
        const auto container = KDContainer::containerForItemAtURL_error(url, &error);
        if (container && !error) {
            m_localizedName = container->localizedName();
        }
    } else {
        // the owner of a shared item may rename it; a participant may not
        m_renameable = !(values.isShared.value_or(false)
                         && values.sharedRole == URLResourceValue::SharedItemRoleParticipant);
    }

    m_isDownloaded = !values.downloadingStatus.isEmpty()
        && values.downloadingStatus != URLResourceValue::DownloadingStatusNotDownloaded;
}

void DRItem::deriveFromType() const
{
    m_localizedTypeDescription = UniformType::localizedDescription(m_typeIdentifier);
    m_canPreview = PreviewController::canPreviewItem(m_resolvedURL, m_typeIdentifier, m_canPreviewIsDirectory);
}

void DRItem::deriveTypeOnFirstUse() const
{
    if (m_typeDerived.load(std::memory_order_acquire) == DerivedNow) {
        return;
    }
    QMutexLocker lock(&m_typeMutex);
    if (m_typeDerived.load(std::memory_order_relaxed) == DerivedNow) {
        return;
    }
    if (!m_typeNamedBy.isEmpty()) {
        m_typeIdentifier = URLResourceValues::typeOfDocumentNamed(m_typeNamedBy);
    }
    deriveFromType();
    m_typeDerived.store(DerivedNow, std::memory_order_release);
}

QString DRItem::friendlyFileSize() const
{
    if (m_friendlyFileSize) {
        return *m_friendlyFileSize;
    }
    return m_fileSize ? ByteCountFormatter::stringFromByteCount(qint64(*m_fileSize), ByteCountFormatter::CountStyle::File)
                      : QString();
}

QUrl DRItem::parentDirectoryURL() const
{
    return m_parentDirectoryPath.isEmpty() ? m_parentDirectoryURL : QUrl::fromLocalFile(m_parentDirectoryPath);
}

QUrl DRItem::promiseURL() const
{
    if (m_promisedByPlaceholder) {
        return QUrl::fromLocalFile(PromisePlaceholder::placeholderPathFor(m_resolvedURL.toLocalFile()));
    }
    return m_promiseURL;
}

bool DRItem::isPromise() const
{
    return m_promisedByPlaceholder || (!m_promiseURL.isEmpty() && !isSameURLObject(m_promiseURL, m_resolvedURL));
}

QImage DRItem::thumbnail()
{
    if (!m_thumbnailFetched) {
        m_thumbnailFetched = true; // tried at most once until the next re-cache
        const bool accessStarted = startAccessingSecurityScopedResource(m_resolvedURL);
        FileCoordinator coordinator;
        std::optional<Error> error;
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
            m_resolvedURL, FileCoordinator::ReadingImmediatelyAvailableMetadataOnly, &error,
            [&](const QUrl &coordinatedURL) {
                updateThumbnailImage(FileUtils::getResourceValue_forURL(URLResourceKey::ThumbnailDictionary,
                                                                         coordinatedURL));
                if (accessStarted) {
                    stopAccessingSecurityScopedResource(m_resolvedURL);
                }
            });
    }
    return m_thumbnail;
}

QImage DRItem::thumbnailMadeWhenMissing()
{
    const QImage stored = thumbnail();
    if (!stored.isNull() || isPromise() || m_isDirectory || m_isPackage
        || !Thumbnailer::canMakeThumbnail(typeIdentifier())) {
        return stored;
    }
    const QString path = FilePath::localPath(m_resolvedURL);
    if (Thumbnailer::writeThumbnails(path)) {
        m_thumbnail = Thumbnailer::cachedThumbnail(path);
    }
    return m_thumbnail;
}

void DRItem::updateThumbnailImage(const QVariant &thumbnailDictionary)
{
    if (thumbnailDictionary.typeId() != QMetaType::QVariantMap) {
        return;
    }
    const QVariantMap dictionary = thumbnailDictionary.toMap();
    DRLog(LOG_DEBUG, "URL Thumbs: %@", dictionary);
    if (dictionary.isEmpty()) {
        return;
    }
    const QVariant image = dictionary.value(URLThumbnailDictionaryItem::Size1024x1024);
    if (image.typeId() == QMetaType::QImage) {
        m_thumbnail = image.value<QImage>();
    }
}

void DRItem::generateThumbnail(const std::function<void(const QImage &)> &completion) const
{
    if (completion) {
        completion(QImage());
    }
}

QString DRItem::friendlyCreationDate(DateFormatter::Style style) const
{
    return friendlyDate_style(m_creationDate, style);
}

QString DRItem::friendlyContentModificationDate(DateFormatter::Style style) const
{
    return friendlyDate_style(m_contentModificationDate, style);
}

QString DRItem::friendlyDate_style(const QDateTime &date, DateFormatter::Style style)
{
    if (!date.isValid()) {
        return {};
    }
    return DateFormatter::localizedString(date, style, DateFormatter::Style::Short);
}
