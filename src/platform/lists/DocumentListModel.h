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
#include <optional>

class DRItem;

/// The rows of one folder list. Listing reads only names and kinds (one directory read, no
/// metadata), so a folder of a hundred thousand items opens at once; an item's record, size,
/// dates and thumbnail are read only when its row is painted, records on demand and thumbnails
/// in the background.
///
/// A change in the folder is applied to the one row it concerns (`updateEntryNamed`): the row
/// is found and placed by a binary search in the sorted rows, so a change costs the same in a
/// folder of ten items as in one of a hundred thousand.
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

    /// The folder whose items the rows are (the drive's own folder for the drive's root); a
    /// change reported by name is looked for there.
    void setFolderPath(const QString &folderPath);
    QString folderPath() const { return m_folderPath; }

    /// Replaces the rows, which are in `order`; a list equal to the current one changes nothing.
    /// Returns whether the rows changed.
    bool setEntries(QList<DocumentListEntry> entries, const ListSortOrder &order = {});
    const QList<DocumentListEntry> &entries() const { return m_entries; }
    const ListSortOrder &sortOrder() const { return m_order; }
    QList<QUrl> urls() const;
    /// The row of an item, or -1.
    int rowForURL(const QUrl &url) const;
    /// The row of an item of the folder, by its name (a promised item's logical name), or -1.
    int rowOfName(const QString &name) const;
    /// Brings the row of one entry of the folder in line with the disk: adds it, removes it,
    /// moves it where the order now puts it, or reads its item again. `name` is the name that
    /// changed, a placeholder's too. Returns whether rows came or went.
    bool updateEntryNamed(const QString &name);
    /// The record of a row's item, read on first use and kept while the rows stay the same.
    std::shared_ptr<DRItem> itemAtRow(int row) const;

    /// The items of a folder: its visible entries and its promised items, folders first, then
    /// in `order` (by name as people sort them: numbers by value, case ignored). By name it reads
    /// no item; by date or size one status (or placeholder) per item.
    static QList<DocumentListEntry> entriesOfFolder(const QString &folderPath, const ListSortOrder &order = {});
    /// The row an item of a folder has now, read from the disk; nothing when it is not there or
    /// not listed (a hidden file).
    static std::optional<DocumentListEntry> entryOfFolderNamed(const QString &folderPath, const QString &name);
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
    /// The first row after the app containers of the drive's root.
    int firstFolderItemRow() const;
    /// The row where `entry` goes among the sorted rows, `skipping` one row (its own).
    int sortedRowFor(const DocumentListEntry &entry, int skipping = -1) const;
    void insertEntry(DocumentListEntry entry);
    void removeRow(int row);
    /// The row's item may have changed: its record and thumbnail are read again when painted.
    void forgetItemAtRow(int row);
    void forgetCachedItem(const QUrl &url);

    QString m_folderPath;
    ListSortOrder m_order;
    QList<DocumentListEntry> m_entries;
    mutable QHash<QUrl, std::shared_ptr<DRItem>> m_items;
    mutable QHash<QUrl, QImage> m_thumbnails;
    mutable QSet<QUrl> m_thumbnailRequests;
    quint64 m_generation = 0;
};
