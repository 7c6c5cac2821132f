#pragma once

#include "platform/foundation/FilePath.h"
#include "platform/lists/DocumentListEntry.h"
#include "platform/lists/ListSortOrder.h"

#include <QAbstractListModel>
#include <QCollator>
#include <QIcon>
#include <QHash>
#include <QImage>
#include <QList>
#include <QSet>

#include <memory>

class DRItem;

/// The rows of one folder list. Listing reads only names and kinds (one directory read, no
/// metadata), so a folder of a hundred thousand items opens at once; an item's record, size,
/// dates and thumbnail are read only when its row is painted, records on demand and thumbnails
/// in the background.
class DocumentListModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        UrlRole = Qt::UserRole + 1,
        IsFolderRole,
        IsPromiseRole,
        IsAppContainerRole,
        /// "12 KB · 3 Mar 2026", "Folder", or a promised item's size.
        SubtitleRole,
        /// The item's thumbnail scaled for a row, or nothing (yet).
        ThumbnailRole,
        /// The type's icon.
        IconRole,
    };

    explicit DocumentListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    /// Replaces the rows; a list equal to the current one changes nothing. Returns whether the
    /// rows changed.
    bool setEntries(QList<DocumentListEntry> entries);
    const QList<DocumentListEntry> &entries() const { return m_entries; }
    QList<QUrl> urls() const;
    /// The row of an item, or -1.
    int rowForURL(const QUrl &url) const;
    /// The record of a row's item, read on first use and kept while the rows stay the same.
    std::shared_ptr<DRItem> itemAtRow(int row) const;

    /// The items of a folder: its visible entries and its promised items, folders first, then
    /// in `order` (by name as people sort them: numbers by value, case ignored). By name it reads
    /// no item; by date or size one status (or placeholder) per item.
    static QList<DocumentListEntry> entriesOfFolder(const QString &folderPath, const ListSortOrder &order = {});
    /// The drive's root: the app containers by name, then the default container's items in `order`.
    static QList<DocumentListEntry> entriesOfDriveRoot(const ListSortOrder &order = {});
    static void sortEntries(QList<DocumentListEntry> &entries, const ListSortOrder &order);
    /// Compares names as people sort them: numbers by value, case ignored.
    static QCollator nameCollator();
    /// The type icon of an entry: a folder's, an app folder's, or its document type's.
    static QIcon iconForEntry(const DocumentListEntry &entry);

    /// The edge of a thumbnail in a row, in pixels.
    static constexpr int ThumbnailEdge = 128;

private:
    /// Whether the entry is walked into: a folder, or a link to a folder inside the drive, but
    /// not a package (a folder whose extension names a document type).
    static bool isListedAsFolder(const QString &path, FilePath::EntryKind kind);

    void requestThumbnail(int row) const;

    QList<DocumentListEntry> m_entries;
    QHash<QUrl, int> m_rowOfURL;
    mutable QHash<QUrl, std::shared_ptr<DRItem>> m_items;
    mutable QHash<QUrl, QImage> m_thumbnails;
    mutable QSet<QUrl> m_thumbnailRequests;
    quint64 m_generation = 0;
};
