#include "platform/lists/DocumentListModel.h"

#include "platform/lists/NameSortKeys.h"

#include "model/DRItem.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/types/ThemeIconEngine.h"
#include "platform/types/UniformType.h"

#include <QCollator>
#include <QCoreApplication>
#include <QFileInfo>
#include <QIcon>
#include <QMimeDatabase>
#include <QPointer>

#include <algorithm>
#include <functional>
#include <future>
#include <numeric>
#include <ranges>

#include <sys/stat.h>

namespace {
/// Records kept for painted rows; more are dropped and read again when needed.
constexpr int MaximumCachedRecords = 1024;
/// From this many rows a sort shares its work with a second thread.
constexpr qsizetype SortedTogetherBelow = 4096;

/// Runs `work` over [0, count): in a big folder the two halves at once, the second on a thread
/// of its own. Returns where the halves part (`count` when it ran in one piece).
qsizetype inTwoHalves(qsizetype count, const std::function<void(qsizetype from, qsizetype to)> &work)
{
    if (count < SortedTogetherBelow) {
        work(0, count);
        return count;
    }
    const qsizetype half = count / 2;
    auto secondHalf = std::async(std::launch::async, work, half, count);
    work(0, half);
    secondHalf.get();
    return half;
}

/// The kind of an entry, its type's description ("PDF document"); empty for a folder. One
/// look-up per extension (or per whole name when it has none: "Makefile").
QString kindOf(const DocumentListEntry &entry, QHash<QString, QString> *kindByPattern)
{
    if (entry.isFolder || entry.isAppContainer) {
        return {};
    }
    const QString suffix = QFileInfo(entry.name).suffix().toLower();
    const QString pattern = suffix.isEmpty() ? entry.name : suffix;
    auto it = kindByPattern->find(pattern);
    if (it == kindByPattern->end()) {
        static const QMimeDatabase types;
        it = kindByPattern->insert(pattern, types.mimeTypeForFile(entry.name, QMimeDatabase::MatchExtension).comment());
    }
    return *it;
}

/// The date (milliseconds) or size of an entry, read only for that key: a listing by name
/// reads no item at all. A promised item's come from its placeholder.
qint64 dateOrSizeOf(const DocumentListEntry &entry, ListSortOrder::Key key)
{
    const QString path = entry.path();
    if (entry.isPromise) {
        std::optional<Error> error;
        const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
        if (!placeholder) {
            return 0;
        }
        return key == ListSortOrder::Key::Size ? placeholder->size : placeholder->modificationDate.toMSecsSinceEpoch();
    }
    const std::optional<struct stat> st = FilePath::linkStatus(path);
    if (!st) {
        return 0;
    }
    return key == ListSortOrder::Key::Size ? (S_ISDIR(st->st_mode) ? 0 : qint64(st->st_size))
                                           : qint64(st->st_mtim.tv_sec) * 1000 + st->st_mtim.tv_nsec / 1'000'000;
}

/// The entries' kinds as their ranks in the collator's order: a folder of a hundred thousand
/// documents has a handful of kinds, compared once each instead of at every step of the sort.
QList<qint64> kindRanks(const QList<DocumentListEntry> &entries, const QCollator &collator)
{
    QHash<QString, QString> kindByPattern;
    QStringList kindOfEntry;
    kindOfEntry.reserve(entries.size());
    for (const DocumentListEntry &entry : entries) {
        kindOfEntry << kindOf(entry, &kindByPattern);
    }
    QStringList kinds = kindOfEntry;
    kinds.removeDuplicates();
    std::sort(kinds.begin(), kinds.end(), [&collator](const QString &a, const QString &b) { return collator.compare(a, b) < 0; });
    QHash<QString, qint64> rank;
    for (qsizetype i = 0; i < kinds.size(); ++i) {
        rank.insert(kinds.at(i), i);
    }
    QList<qint64> ranks;
    ranks.reserve(entries.size());
    for (const QString &kind : std::as_const(kindOfEntry)) {
        ranks << rank.value(kind);
    }
    return ranks;
}


/// Compares two rows as a sorted list orders them: folders first, then the key, names settling
/// ties. It agrees with the sort keys a whole list is sorted by, so one row finds its place in a
/// sorted list by a binary search.
class RowComparison
{
public:
    explicit RowComparison(const ListSortOrder &order)
        : m_order(order)
        , m_collator(DocumentListModel::nameCollator())
    {
    }

    int compare(const DocumentListEntry &a, const DocumentListEntry &b)
    {
        const bool aIsFolder = a.isFolder || a.isAppContainer;
        const bool bIsFolder = b.isFolder || b.isAppContainer;
        if (aIsFolder != bIsFolder) {
            return aIsFolder ? -1 : 1;
        }
        const int byName = m_collator.compare(FilePath::displayName(a.name), FilePath::displayName(b.name));
        int byKey = byName;
        if (m_order.key == ListSortOrder::Key::Kind) {
            byKey = m_collator.compare(kindOf(a, &m_kindByPattern), kindOf(b, &m_kindByPattern));
        } else if (m_order.key != ListSortOrder::Key::Name) {
            const qint64 numberA = dateOrSizeOf(a, m_order.key);
            const qint64 numberB = dateOrSizeOf(b, m_order.key);
            byKey = numberA < numberB ? -1 : numberA > numberB ? 1 : 0;
        }
        if (byKey != 0) {
            return m_order.descending ? -byKey : byKey;
        }
        return byName;
    }

private:
    ListSortOrder m_order;
    QCollator m_collator;
    QHash<QString, QString> m_kindByPattern;
};

/// The sort keys of a list's names, compared by row. Names of plain ASCII get keys made without
/// the collator, in one block of bytes; any other name makes every row use the collator's own
/// keys, which a big folder makes on two threads.
class RowNameKeys
{
public:
    RowNameKeys(const QList<DocumentListEntry> &entries, const QCollator &collator)
    {
        if (makeSimpleKeys(entries, collator)) {
            return;
        }
        m_half = inTwoHalves(entries.size(), [&](qsizetype from, qsizetype to) {
            // a collator is not shared between threads: each part has its own
            const QCollator partCollator = DocumentListModel::nameCollator();
            std::vector<QCollatorSortKey> &keys = from == 0 ? m_firstKeys : m_secondKeys;
            keys.reserve(to - from);
            for (qsizetype i = from; i < to; ++i) {
                // sorted as shown: a byte that is no text sorts as the replacement character it shows as
                keys.push_back(partCollator.sortKey(FilePath::displayName(entries.at(i).name)));
            }
        });
    }

    /// Eight bytes of a row's key as one number, taken after what every key begins with: rows
    /// whose prefixes differ compare as their prefixes do. 0 for the collator's keys.
    quint64 prefix(qsizetype row) const
    {
        if (m_ends.empty()) {
            return 0;
        }
        const QByteArrayView key = simpleKey(row);
        quint64 prefix = 0;
        for (qsizetype i = m_shared; i < m_shared + 8; ++i) {
            prefix = (prefix << 8) | (i < key.size() ? quint8(key.at(i)) : 0);
        }
        return prefix;
    }

    int compare(qsizetype a, qsizetype b) const
    {
        if (!m_ends.empty()) {
            const int compared = simpleKey(a).compare(simpleKey(b));
            return compared < 0 ? -1 : compared > 0 ? 1 : 0;
        }
        return collatorKey(a).compare(collatorKey(b));
    }

private:
    bool makeSimpleKeys(const QList<DocumentListEntry> &entries, const QCollator &collator)
    {
        // a small folder is keyed by the collator in microseconds: the rule, checked against the
        // collator once a language, is made for the folders where the keys cost
        if (entries.size() < SortedTogetherBelow) {
            return false;
        }
        const std::optional<NameSortKeys> rule = NameSortKeys::forCollator(collator);
        if (!rule) {
            return false;
        }
        m_bytes.reserve(entries.size() * 24);
        m_ends.reserve(entries.size());
        for (const DocumentListEntry &entry : entries) {
            // a name with bytes that are no text is not plain ASCII: the collator keys it as shown
            if (!rule->append(entry.name, &m_bytes)) {
                m_bytes = {};
                m_ends = {};
                return false;
            }
            m_ends.push_back(m_bytes.size());
        }
        // a folder's names often begin alike ("IMG_", "Document "): the prefixes start after that
        m_shared = m_ends.empty() ? 0 : simpleKey(0).size();
        for (qsizetype row = 1; row < qsizetype(m_ends.size()) && m_shared > 0; ++row) {
            const QByteArrayView key = simpleKey(row);
            qsizetype same = 0;
            while (same < m_shared && same < key.size() && key.at(same) == simpleKey(0).at(same)) {
                ++same;
            }
            m_shared = same;
        }
        return true;
    }

    QByteArrayView simpleKey(qsizetype row) const
    {
        const qsizetype start = row == 0 ? 0 : m_ends[row - 1];
        return QByteArrayView(m_bytes).sliced(start, m_ends[row] - start);
    }

    const QCollatorSortKey &collatorKey(qsizetype row) const
    {
        return row < m_half ? m_firstKeys[row] : m_secondKeys[row - m_half];
    }

    QByteArray m_bytes;
    std::vector<qsizetype> m_ends;
    /// How many bytes every key begins with alike.
    qsizetype m_shared = 0;
    qsizetype m_half = 0;
    std::vector<QCollatorSortKey> m_firstKeys;
    std::vector<QCollatorSortKey> m_secondKeys;
};

/// What each row is sorted by before its name: its date, size or kind's rank; nothing when the
/// list is sorted by name. A big folder's dates and sizes are read on two threads.
std::vector<qint64> sortNumbers(const QList<DocumentListEntry> &entries, const ListSortOrder &order, const QCollator &collator)
{
    if (order.key == ListSortOrder::Key::Name) {
        return {};
    }
    if (order.key == ListSortOrder::Key::Kind) {
        const QList<qint64> ranks = kindRanks(entries, collator);
        return std::vector<qint64>(ranks.cbegin(), ranks.cend());
    }
    std::vector<qint64> numbers(entries.size());
    inTwoHalves(entries.size(), [&](qsizetype from, qsizetype to) {
        for (qsizetype i = from; i < to; ++i) {
            numbers[i] = dateOrSizeOf(entries.at(i), order.key);
        }
    });
    return numbers;
}

} // namespace

QIcon DocumentListModel::iconForEntry(const DocumentListEntry &entry)
{
    static QHash<QString, QIcon> icons;
    if (entry.isFolder || entry.isAppContainer) {
        const QString key = entry.isAppContainer ? QStringLiteral("folder-documents") : QStringLiteral("folder");
        auto it = icons.find(key);
        if (it == icons.end()) {
            it = icons.insert(key, ThemeIconEngine::icon({key, QStringLiteral("folder")}));
        }
        return *it;
    }
    static const QMimeDatabase database;
    const QMimeType type = database.mimeTypeForFile(entry.name, QMimeDatabase::MatchExtension);
    auto it = icons.find(type.name());
    if (it == icons.end()) {
        it = icons.insert(type.name(), ThemeIconEngine::icon({type.iconName(), type.genericIconName(),
                                                               QStringLiteral("text-x-generic")}));
    }
    return *it;
}

DocumentListModel::DocumentListModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

int DocumentListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
}

QVariant DocumentListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size()) {
        return {};
    }
    const DocumentListEntry &entry = m_entries.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return FilePath::displayName(entry.name);
    case Qt::AccessibleTextRole: {
        // a screen reader says what a sighted person reads in the row: its name, what it is,
        // and whether it is only on the drive
        QStringList spoken{FilePath::displayName(entry.name), data(index, SubtitleRole).toString().replace(QStringLiteral(" · "), QStringLiteral(", "))};
        if (entry.isPromise) {
            spoken << LocalizedString::localized(QStringLiteral("not downloaded"));
        }
        spoken.removeAll(QString());
        return spoken.join(QStringLiteral(", "));
    }
    case UrlRole:
        return entry.url();
    case IsFolderRole:
        return entry.isFolder || entry.isAppContainer;
    case IsPromiseRole:
        return entry.isPromise;
    case IsAppContainerRole:
        return entry.isAppContainer;
    case IconRole:
        return iconForEntry(entry);
    case ThumbnailRole: {
        if (entry.isFolder || entry.isAppContainer) {
            return {};
        }
        const auto it = m_thumbnails.constFind(entry.url());
        if (it != m_thumbnails.constEnd()) {
            return it->isNull() ? QVariant() : QVariant(*it);
        }
        requestThumbnail(index.row());
        return {};
    }
    case SubtitleRole: {
        if (entry.isAppContainer) {
            return LocalizedString::localized(QStringLiteral("App Folder"));
        }
        if (entry.isFolder) {
            return LocalizedString::localized(QStringLiteral("Folder"));
        }
        const std::shared_ptr<DRItem> item = itemAtRow(index.row());
        if (!item) {
            return {};
        }
        const QString date = DRItem::friendlyDate_style(item->contentModificationDate(), DateFormatter::Style::Medium);
        return date.isEmpty() ? item->friendlyFileSize() : item->friendlyFileSize() + QStringLiteral(" · ") + date;
    }
    default:
        return {};
    }
}

std::shared_ptr<DRItem> DocumentListModel::itemAtRow(int row) const
{
    if (row < 0 || row >= m_entries.size()) {
        return nullptr;
    }
    const QUrl url = m_entries.at(row).url();
    const auto it = m_items.constFind(url);
    if (it != m_items.constEnd()) {
        return *it;
    }
    if (m_items.size() >= MaximumCachedRecords) {
        m_items.clear();
    }
    std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    m_items.insert(url, item);
    return item;
}

void DocumentListModel::requestThumbnail(int row) const
{
    const QUrl url = m_entries.at(row).url();
    if (m_thumbnailRequests.contains(url)) {
        return;
    }
    m_thumbnailRequests.insert(url);
    QPointer<DocumentListModel> model(const_cast<DocumentListModel *>(this));
    const quint64 generation = m_generation;
    // decoding a stored thumbnail takes milliseconds: never while painting
    DRItem::getThumbnailQueue()->addOperation([model, generation, url] {
        QImage image;
        if (std::shared_ptr<DRItem> item = DRItem::initWithURL(url)) {
            image = item->thumbnailMadeWhenMissing();
        }
        if (!image.isNull()) {
            image = image.scaled(ThumbnailEdge, ThumbnailEdge, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        }
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [model, generation, url, image] {
                if (!model || model->m_generation != generation) {
                    return;
                }
                model->m_thumbnails.insert(url, image);
                const int row = model->rowForURL(url);
                if (row >= 0 && !image.isNull()) {
                    const QModelIndex index = model->index(row);
                    Q_EMIT model->dataChanged(index, index, {ThumbnailRole});
                }
            },
            Qt::QueuedConnection);
    });
}

void DocumentListModel::setFolderPath(const QString &folderPath)
{
    m_folderPath = FilePath::localPath(QUrl::fromLocalFile(folderPath));
}

bool DocumentListModel::setEntries(QList<DocumentListEntry> entries, const ListSortOrder &order)
{
    m_order = order;
    if (entries == m_entries) {
        // the items may have changed inside (a download, a new thumbnail): read them again
        m_items.clear();
        m_thumbnails.clear();
        m_thumbnailRequests.clear();
        ++m_generation;
        if (!m_entries.isEmpty()) {
            Q_EMIT dataChanged(index(0), index(int(m_entries.size()) - 1));
        }
        return false;
    }
    beginResetModel();
    m_entries = std::move(entries);
    m_items.clear();
    m_thumbnails.clear();
    m_thumbnailRequests.clear();
    ++m_generation;
    endResetModel();
    return true;
}

QList<QUrl> DocumentListModel::urls() const
{
    QList<QUrl> result;
    result.reserve(m_entries.size());
    for (const DocumentListEntry &entry : m_entries) {
        result.append(entry.url());
    }
    return result;
}

int DocumentListModel::rowForURL(const QUrl &url) const
{
    const QString path = FilePath::localPath(url);
    const int firstItemRow = firstFolderItemRow();
    for (int row = 0; row < firstItemRow; ++row) {
        if (m_entries.at(row).path() == path) {
            return row;
        }
    }
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash < 0 || QStringView(path).left(slash) != m_folderPath) {
        return -1;
    }
    return rowOfName(path.mid(slash + 1));
}

int DocumentListModel::firstFolderItemRow() const
{
    int row = 0;
    while (row < m_entries.size() && m_entries.at(row).isAppContainer) {
        ++row;
    }
    return row;
}

int DocumentListModel::rowOfName(const QString &name) const
{
    const int first = firstFolderItemRow();
    const int count = int(m_entries.size());
    if (m_order.key != ListSortOrder::Key::Name) {
        // a deleted item's date or size is gone with it: only its name is left to look for
        for (int row = first; row < count; ++row) {
            if (m_entries.at(row).name == name) {
                return row;
            }
        }
        return -1;
    }
    RowComparison comparison(m_order);
    for (const bool isFolder : {true, false}) {
        DocumentListEntry probe;
        probe.name = name;
        probe.isFolder = isFolder;
        const auto rows = std::views::iota(first, count);
        const auto found = std::ranges::lower_bound(rows, 0, std::less<>(), [&](int row) {
            return comparison.compare(m_entries.at(row), probe);
        });
        // names equal but for case sort together: the one spelt the same is among them
        for (int row = found == rows.end() ? count : *found; row < count && comparison.compare(m_entries.at(row), probe) == 0; ++row) {
            if (m_entries.at(row).name == name) {
                return row;
            }
        }
    }
    return -1;
}

int DocumentListModel::sortedRowFor(const DocumentListEntry &entry, int skipping) const
{
    const int first = firstFolderItemRow();
    const int count = int(m_entries.size()) - (skipping >= 0 ? 1 : 0);
    const auto rowAt = [skipping](int position) { return skipping >= 0 && position >= skipping ? position + 1 : position; };
    RowComparison comparison(m_order);
    // after the rows that sort the same: a new item joins the end of its equals, as in a sort
    const auto positions = std::views::iota(first, count);
    const auto found = std::ranges::upper_bound(positions, 0, std::less<>(), [&](int position) {
        return comparison.compare(m_entries.at(rowAt(position)), entry);
    });
    return found == positions.end() ? count : *found;
}

bool DocumentListModel::updateEntryNamed(const QString &name)
{
    QString listedName = name;
    if (name.startsWith(QLatin1Char('.'))) {
        if (!PromisePlaceholder::isPlaceholderName(name)) {
            return false; // hidden: never listed
        }
        listedName = PromisePlaceholder::logicalPathFor(name);
    }
    const std::optional<DocumentListEntry> now = entryOfFolderNamed(m_folderPath, listedName);
    const int row = rowOfName(listedName);
    if (row < 0) {
        if (!now) {
            return false;
        }
        insertEntry(*now);
        return true;
    }
    if (!now) {
        removeRow(row);
        return true;
    }
    if (*now != m_entries.at(row)) {
        // a promised item downloaded, a document replaced by a folder: another kind of row
        removeRow(row);
        insertEntry(*now);
        return true;
    }
    forgetItemAtRow(row);
    if (m_order.key == ListSortOrder::Key::Date || m_order.key == ListSortOrder::Key::Size) {
        // a changed document may belong elsewhere now
        const int target = sortedRowFor(m_entries.at(row), row);
        if (target != row) {
            beginMoveRows({}, row, row, {}, target > row ? target + 1 : target);
            m_entries.move(row, target);
            endMoveRows();
        }
    }
    return false;
}

void DocumentListModel::insertEntry(DocumentListEntry entry)
{
    const int row = sortedRowFor(entry);
    beginInsertRows({}, row, row);
    m_entries.insert(row, std::move(entry));
    endInsertRows();
}

void DocumentListModel::removeRow(int row)
{
    forgetCachedItem(m_entries.at(row).url());
    beginRemoveRows({}, row, row);
    m_entries.removeAt(row);
    endRemoveRows();
}

void DocumentListModel::forgetCachedItem(const QUrl &url)
{
    m_items.remove(url);
    m_thumbnails.remove(url);
    m_thumbnailRequests.remove(url);
}

void DocumentListModel::forgetItemAtRow(int row)
{
    forgetCachedItem(m_entries.at(row).url());
    const QModelIndex changed = index(row);
    Q_EMIT dataChanged(changed, changed);
}

QList<DocumentListEntry> DocumentListModel::entriesOfFolder(const QString &folderPath, const ListSortOrder &order)
{
    const QString folder = FilePath::localPath(QUrl::fromLocalFile(folderPath));
    QList<DocumentListEntry> entries;
    QSet<QString> promisedNames;
    // read as the kernel names them: a name that is not UTF-8 is listed too, and reached by its bytes
    FilePath::forEachEntry(folder, [&](FilePath::Entry &&each) {
        if (each.name.startsWith(QLatin1Char('.'))) {
            // a placeholder stands for its promised item
            if (PromisePlaceholder::isPlaceholderName(each.name)) {
                promisedNames.insert(PromisePlaceholder::logicalPathFor(each.name));
            }
            return;
        }
        DocumentListEntry &entry = entries.emplace_back();
        entry.name = std::move(each.name);
        entry.folderPath = folder;
        if (each.kind != FilePath::EntryKind::Other) {
            entry.isFolder = isListedAsFolder(entry.path(), each.kind);
        }
    });
    if (!promisedNames.isEmpty()) {
        for (const DocumentListEntry &entry : std::as_const(entries)) {
            promisedNames.remove(entry.name); // materialised meanwhile: the real item is listed
        }
        for (const QString &name : std::as_const(promisedNames)) {
            DocumentListEntry entry;
            entry.name = name;
            entry.folderPath = folder;
            entry.isPromise = true;
            entries.append(std::move(entry));
        }
    }
    sortEntries(entries, order);
    return entries;
}

std::optional<DocumentListEntry> DocumentListModel::entryOfFolderNamed(const QString &folderPath, const QString &name)
{
    if (name.isEmpty() || name.startsWith(QLatin1Char('.')) || name.contains(QLatin1Char('/'))) {
        return std::nullopt;
    }
    DocumentListEntry entry;
    entry.name = name;
    entry.folderPath = FilePath::localPath(QUrl::fromLocalFile(folderPath));
    const QString path = entry.path();
    if (const std::optional<struct stat> st = FilePath::linkStatus(path)) {
        const FilePath::EntryKind kind = S_ISDIR(st->st_mode) ? FilePath::EntryKind::Folder
            : S_ISLNK(st->st_mode)                             ? FilePath::EntryKind::Link
                                                               : FilePath::EntryKind::Other;
        entry.isFolder = isListedAsFolder(path, kind);
        return entry;
    }
    if (FilePath::linkStatus(PromisePlaceholder::placeholderPathFor(path))) {
        entry.isPromise = true;
        return entry;
    }
    return std::nullopt;
}

bool DocumentListModel::isListedAsFolder(const QString &path, FilePath::EntryKind kind)
{
    bool isLink = kind == FilePath::EntryKind::Link;
    bool isDir = kind == FilePath::EntryKind::Folder;
    if (kind == FilePath::EntryKind::Unknown) {
        const std::optional<struct stat> st = FilePath::linkStatus(path);
        isLink = st && S_ISLNK(st->st_mode);
        isDir = st && S_ISDIR(st->st_mode);
    }
    if (isLink) {
        // a link is a folder only when it leads to one inside the drive, never out of it
        const std::optional<struct stat> target = FilePath::status(path);
        isDir = target && S_ISDIR(target->st_mode) && !kd_resolvedPathInMobileDocuments(QUrl::fromLocalFile(path)).isEmpty();
    }
    if (!isDir) {
        return false;
    }
    // a folder whose extension names a document type is one document (a package)
    const QString suffix = QFileInfo(path).suffix();
    return suffix.isEmpty() || UniformType::preferredIdentifierForExtension(suffix).isEmpty();
}

QList<DocumentListEntry> DocumentListModel::entriesOfDriveRoot(const ListSortOrder &order)
{
    QList<DocumentListEntry> entries;
    QList<DocumentListEntry> appContainers;
    for (const std::shared_ptr<KDContainer> &container : KDContainer::allContainers()) {
        if (container->isDefaultContainer()) {
            entries = entriesOfFolder(container->containerURL().toLocalFile(), order);
            continue;
        }
        const QUrl documents = container->documentsURL();
        if (documents.isEmpty()) {
            continue;
        }
        DocumentListEntry entry;
        entry.name = container->localizedName().isEmpty() ? container->identifier() : container->localizedName();
        entry.folderPath = FilePath::localPath(documents);
        entry.isAppContainer = true;
        appContainers.append(std::move(entry));
    }
    // by name whatever the order: the app folders are the drive's fixed landmarks
    sortEntries(appContainers, {});
    // app folders come first, like the folders of a folder
    return appContainers + entries;
}

QCollator DocumentListModel::nameCollator()
{
    // the C locale compares bytes, numbers by their digits: a session without a language
    // still sorts names as people do
    const QLocale locale = QLocale().language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : QLocale();
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}


void DocumentListModel::sortEntries(QList<DocumentListEntry> &entries, const ListSortOrder &order)
{
    const qsizetype count = entries.size();
    const QCollator collator = nameCollator();
    const RowNameKeys names(entries, collator);
    const std::vector<qint64> numbers = sortNumbers(entries, order, collator);
    // what the comparisons look at, side by side: the rows themselves are not touched while sorting
    struct Row {
        qint64 number;
        quint64 prefix;
        qsizetype index;
        bool isFolder;
    };
    std::vector<Row> rows;
    rows.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        const DocumentListEntry &entry = entries.at(i);
        rows.push_back({numbers.empty() ? 0 : numbers[i], names.prefix(i), i, entry.isFolder || entry.isAppContainer});
    }
    const auto before = [&](const Row &a, const Row &b) {
        if (a.isFolder != b.isFolder) {
            return a.isFolder;
        }
        if (a.number != b.number) {
            return order.descending ? a.number > b.number : a.number < b.number;
        }
        int byName = a.prefix < b.prefix ? -1 : a.prefix > b.prefix ? 1 : 0;
        if (byName == 0) {
            byName = names.compare(a.index, b.index);
        }
        if (byName != 0) {
            // by name the order turns round; by another key names settle ties from A
            return numbers.empty() && order.descending ? byName > 0 : byName < 0;
        }
        return a.index < b.index; // the folder's own order settles the rest
    };
    // a big folder's halves are sorted at once, then merged
    const qsizetype half = inTwoHalves(count, [&](qsizetype from, qsizetype to) {
        std::sort(rows.begin() + from, rows.begin() + to, before);
    });
    std::inplace_merge(rows.begin(), rows.begin() + half, rows.end(), before);
    std::vector<qsizetype> sourceOf;
    sourceOf.reserve(count);
    for (const Row &row : rows) {
        sourceOf.push_back(row.index);
    }
    rows = {};
    // the rows move into their order where they are: no second list of a big folder
    for (qsizetype start = 0; start < count; ++start) {
        if (sourceOf[start] < 0) {
            continue; // placed in an earlier cycle
        }
        DocumentListEntry held = std::move(entries[start]);
        qsizetype at = start;
        while (sourceOf[at] != start) {
            const qsizetype from = sourceOf[at];
            entries[at] = std::move(entries[from]);
            sourceOf[at] = -1;
            at = from;
        }
        entries[at] = std::move(held);
        sourceOf[at] = -1;
    }
}
