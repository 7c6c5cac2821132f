#pragma once

#include "platform/drive/ResourceValues.h"
#include "platform/foundation/DateFormatter.h"

#include <QDateTime>
#include <QImage>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <atomic>
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
    void initFromValues_withURL(const ResourceValues &values, const QUrl &url);

    QUrl url() const { return m_url; }
    /// A different URL re-reads the metadata; an equal one changes nothing.
    void setUrl(const QUrl &url);
    QUrl resolvedURL() const { return m_resolvedURL; }
    void setResolvedURL(const QUrl &url) { m_resolvedURL = url; }
    QString localizedName() const { return m_localizedName; }
    void setLocalizedName(const QString &name) { m_localizedName = name; }
    QString typeIdentifier() const
    {
        deriveTypeOnFirstUse();
        return m_typeIdentifier;
    }
    void setTypeIdentifier(const QString &type)
    {
        deriveTypeOnFirstUse();
        m_typeIdentifier = type;
    }
    QString localizedTypeDescription() const
    {
        deriveTypeOnFirstUse();
        return m_localizedTypeDescription;
    }
    void setLocalizedTypeDescription(const QString &text)
    {
        deriveTypeOnFirstUse();
        m_localizedTypeDescription = text;
    }
    std::optional<quint64> fileSize() const { return m_fileSize; }
    void setFileSize(std::optional<quint64> size) { m_fileSize = size; }
    /// The size as the person reads it ("1.5 KB"), written when asked; null without a size.
    QString friendlyFileSize() const;
    void setFriendlyFileSize(const QString &text) { m_friendlyFileSize = text; }
    QDateTime creationDate() const { return m_creationDate; }
    void setCreationDate(const QDateTime &date) { m_creationDate = date; }
    QDateTime contentModificationDate() const { return m_contentModificationDate; }
    void setContentModificationDate(const QDateTime &date) { m_contentModificationDate = date; }
    /// Made from the folder's path when asked: most records are never asked.
    QUrl parentDirectoryURL() const;
    void setParentDirectoryURL(const QUrl &url)
    {
        m_parentDirectoryURL = url;
        m_parentDirectoryPath.clear();
    }
    bool isContainer() const { return m_isContainer; }
    void setIsContainer(bool value) { m_isContainer = value; }
    bool isDirectory() const { return m_isDirectory; }
    void setIsDirectory(bool value) { m_isDirectory = value; }
    bool isPackage() const { return m_isPackage; }
    bool hasHiddenExtension() const { return m_hasHiddenExtension; }
    void setHasHiddenExtension(bool value) { m_hasHiddenExtension = value; }
    bool canPreview() const
    {
        deriveTypeOnFirstUse();
        return m_canPreview;
    }
    bool renameable() const { return m_renameable; }
    void setRenameable(bool value) { m_renameable = value; }
    bool isBookmark() const { return m_isBookmark; }
    void setIsBookmark(bool value) { m_isBookmark = value; }
    std::optional<QStringList> tags() const { return m_tags; }
    void setTags(const std::optional<QStringList> &tags) { m_tags = tags; }
    /// The placeholder's URL for a promised item; made when asked.
    QUrl promiseURL() const;
    void setPromiseURL(const QUrl &url)
    {
        m_promiseURL = url;
        m_promisedByPlaceholder = false;
    }
    /// Read from a placeholder, or the physical placeholder URL is set and is another URL object
    /// than `resolvedURL`.
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
    /// Whether the type and what follows from it are known, or wait for their first use.
    enum TypeDerivation { DerivedNow, DerivedOnFirstUse };

    /// The record of an item that is no bookmark, read in one go; null when the item needs
    /// cacheValuesOfAnyItem (a bookmark, a link, a path out of the drive, an unreadable item).
    std::optional<bool> cachePlainItemValues();
    bool cacheValuesOfAnyItem();
    /// The type's description and whether the viewer shows the item.
    void deriveFromType() const;
    /// A document's type comes from its name through a pass over the type database's patterns,
    /// which costs more than reading the rest of the record: it (when not known already), its
    /// description and whether it can be previewed are found when first asked for, once, on
    /// whichever thread asks.
    void deriveTypeOnFirstUse() const;

    QUrl m_url;
    QUrl m_resolvedURL;
    QString m_localizedName;
    mutable QString m_typeIdentifier;
    mutable QString m_localizedTypeDescription;
    /// The name the type is looked up by, while it waits for its first use; empty when the type
    /// is known.
    QString m_typeNamedBy;
    mutable std::atomic<TypeDerivation> m_typeDerived{DerivedNow};
    mutable QMutex m_typeMutex;
    /// What the file system says: a package counts as a folder for the viewer.
    bool m_canPreviewIsDirectory = false;
    std::optional<quint64> m_fileSize;
    /// Set only by setFriendlyFileSize; otherwise written from the size.
    std::optional<QString> m_friendlyFileSize;
    QDateTime m_creationDate;
    QDateTime m_contentModificationDate;
    QUrl m_parentDirectoryURL;
    /// The folder's path, ending in '/', while no URL was made or set.
    QString m_parentDirectoryPath;
    bool m_isContainer = false;
    bool m_isDirectory = false;
    bool m_isPackage = false;
    bool m_hasHiddenExtension = true;
    QImage m_thumbnail;
    mutable bool m_canPreview = false;
    bool m_renameable = true;
    bool m_isBookmark = false;
    std::optional<QStringList> m_tags;
    QUrl m_promiseURL;
    /// Read from its placeholder: the promise URL is the placeholder's, made when asked.
    bool m_promisedByPlaceholder = false;
    bool m_isDownloaded = false;
    bool m_thumbnailFetched = false;
};
