#pragma once

#include "platform/foundation/DateFormatter.h"

#include <QDateTime>
#include <QImage>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

class OperationQueue;

/// One item of the drive (document, folder, package or app container) as the browser, the
/// preview and the details screen see it: its metadata read once, under a coordinated
/// metadata-only read that never starts a download, and kept until the record is re-cached.
///
/// An item whose metadata cannot be read yields no record. The reset values are deliberate: an
/// item whose metadata could not be read counts as renameable with a hidden extension.
class DRItem final
{
    struct PrivateTag { };

public:
    /// Must not be used: raises InvalidArgumentException("Don't call -[DRItem init].").
    DRItem();
    DRItem(PrivateTag, const QUrl &url);
    Q_DISABLE_COPY_MOVE(DRItem)

    /// The record of the item at `url`, or null (logged) when its metadata cannot be read.
    static std::shared_ptr<DRItem> initWithURL(const QUrl &url);
    /// The shared background queue of thumbnail work, "thumbnailQueue".
    static OperationQueue *getThumbnailQueue();
    /// The 14 resource keys a record reads, in order.
    static const QStringList &resourceKeys();

    bool cacheValues();
    void clearValues();
    void initFromKeysAndValues_withURL(const QVariantMap &values, const QUrl &url);

    QUrl url() const { return m_url; }
    /// A different URL re-reads the metadata; an equal one changes nothing.
    void setUrl(const QUrl &url);
    QUrl resolvedURL() const { return m_resolvedURL; }
    void setResolvedURL(const QUrl &url) { m_resolvedURL = url; }
    QString localizedName() const { return m_localizedName; }
    void setLocalizedName(const QString &name) { m_localizedName = name; }
    QString typeIdentifier() const { return m_typeIdentifier; }
    void setTypeIdentifier(const QString &type) { m_typeIdentifier = type; }
    QString localizedTypeDescription() const { return m_localizedTypeDescription; }
    void setLocalizedTypeDescription(const QString &text) { m_localizedTypeDescription = text; }
    std::optional<quint64> fileSize() const { return m_fileSize; }
    void setFileSize(std::optional<quint64> size) { m_fileSize = size; }
    QString friendlyFileSize() const { return m_friendlyFileSize; }
    void setFriendlyFileSize(const QString &text) { m_friendlyFileSize = text; }
    QDateTime creationDate() const { return m_creationDate; }
    void setCreationDate(const QDateTime &date) { m_creationDate = date; }
    QDateTime contentModificationDate() const { return m_contentModificationDate; }
    void setContentModificationDate(const QDateTime &date) { m_contentModificationDate = date; }
    QUrl parentDirectoryURL() const { return m_parentDirectoryURL; }
    void setParentDirectoryURL(const QUrl &url) { m_parentDirectoryURL = url; }
    bool isContainer() const { return m_isContainer; }
    void setIsContainer(bool value) { m_isContainer = value; }
    bool isDirectory() const { return m_isDirectory; }
    void setIsDirectory(bool value) { m_isDirectory = value; }
    bool isPackage() const { return m_isPackage; }
    bool hasHiddenExtension() const { return m_hasHiddenExtension; }
    void setHasHiddenExtension(bool value) { m_hasHiddenExtension = value; }
    bool canPreview() const { return m_canPreview; }
    bool renameable() const { return m_renameable; }
    void setRenameable(bool value) { m_renameable = value; }
    bool isBookmark() const { return m_isBookmark; }
    void setIsBookmark(bool value) { m_isBookmark = value; }
    std::optional<QStringList> tags() const { return m_tags; }
    void setTags(const std::optional<QStringList> &tags) { m_tags = tags; }
    QUrl promiseURL() const { return m_promiseURL; }
    void setPromiseURL(const QUrl &url) { m_promiseURL = url; }
    /// The physical placeholder URL is set and is another URL object than `resolvedURL`.
    bool isPromise() const;
    bool isDownloaded() const { return m_isDownloaded; }
    void setIsDownloaded(bool value) { m_isDownloaded = value; }
    bool thumbnailFetched() const { return m_thumbnailFetched; }
    void setThumbnailFetched(bool value) { m_thumbnailFetched = value; }

    /// The stored thumbnail, read on first use (at most once until the next re-cache).
    QImage thumbnail();
    /// The stored thumbnail, or for a picture, SVG or PDF of the device's own that has none yet
    /// (new, renamed, moved, never downloaded) one made now and kept in the thumbnail cache. It
    /// decodes the document: call it on the thumbnail queue, never on the main thread.
    QImage thumbnailMadeWhenMissing();
    void setThumbnail(const QImage &image) { m_thumbnail = image; }
    void updateThumbnailImage(const QVariant &thumbnailDictionary);
    bool canGenerateThumbnail() const { return false; }
    /// Completes at once, synchronously, with no image.
    void generateThumbnail(const std::function<void(const QImage &)> &completion) const;

    QString friendlyCreationDate(DateFormatter::Style style) const;
    QString friendlyContentModificationDate(DateFormatter::Style style) const;
    /// The date in the given date style and the short time style; null for an invalid date.
    static QString friendlyDate_style(const QDateTime &date, DateFormatter::Style style);

private:
    QUrl m_url;
    QUrl m_resolvedURL;
    QString m_localizedName;
    QString m_typeIdentifier;
    QString m_localizedTypeDescription;
    std::optional<quint64> m_fileSize;
    QString m_friendlyFileSize;
    QDateTime m_creationDate;
    QDateTime m_contentModificationDate;
    QUrl m_parentDirectoryURL;
    bool m_isContainer = false;
    bool m_isDirectory = false;
    bool m_isPackage = false;
    bool m_hasHiddenExtension = true;
    QImage m_thumbnail;
    bool m_canPreview = false;
    bool m_renameable = true;
    bool m_isBookmark = false;
    std::optional<QStringList> m_tags;
    QUrl m_promiseURL;
    bool m_isDownloaded = false;
    bool m_thumbnailFetched = false;
};
