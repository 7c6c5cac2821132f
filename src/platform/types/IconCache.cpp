#include "platform/types/IconCache.h"

#include "platform/drive/DriveLayout.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/RegularFileReader.h"

#include <QCryptographicHash>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QSaveFile>
#include <QThread>
#include <QTimer>

#include <cstring>

namespace {

constexpr char IndexMagic[] = "aerova icon cache 1";
constexpr char ImageMagic[8] = {'A', 'E', 'R', 'I', 'C', 'O', 'N', '1'};
constexpr qsizetype ImageHeaderSize = sizeof(ImageMagic) + 2 * sizeof(quint32);
constexpr qint64 LargestIndex = 1024 * 1024;
// the themes an icon is looked for in, beyond those named: the freedesktop fallback theme
constexpr int MostThemesInAChain = 16;
constexpr int FlushDelayMs = 1000;

QString imageSuffix()
{
    return QStringLiteral(".argb");
}

/// The names of the themes `themeName` inherits from, as its index file says ("Inherits=").
QStringList parentsOf(const QString &themeName, const QStringList &searchPaths)
{
    if (themeName == QLatin1String("hicolor")) {
        return {}; // the theme every theme falls back to inherits from none
    }
    for (const QString &path : searchPaths) {
        QByteArray index;
        QString problem;
        if (RegularFileReader::read(path + QLatin1Char('/') + themeName + QStringLiteral("/index.theme"), &index, &problem,
                                    LargestIndex)
            != RegularFileReader::Status::Read) {
            continue;
        }
        const qsizetype key = index.startsWith("Inherits=") ? 0 : index.indexOf("\nInherits=");
        if (key < 0) {
            return {}; // the first theme folder of that name is the theme
        }
        const qsizetype from = index.indexOf('=', key) + 1;
        const qsizetype end = index.indexOf('\n', from);
        QStringList parents;
        for (const QByteArray &name : index.mid(from, end < 0 ? -1 : end - from).split(',')) {
            if (const QString parent = QString::fromUtf8(name.trimmed()); !parent.isEmpty()) {
                parents << parent;
            }
        }
        return parents;
    }
    return {};
}

/// The themes named and every theme they inherit from, hicolor last.
QStringList themeChain(const QStringList &themeNames, const QStringList &searchPaths)
{
    QStringList chain;
    QStringList next = themeNames;
    while (!next.isEmpty() && chain.size() < MostThemesInAChain) {
        const QString theme = next.takeFirst();
        if (theme.isEmpty() || chain.contains(theme) || theme.contains(QLatin1Char('/'))) {
            continue;
        }
        chain << theme;
        next << parentsOf(theme, searchPaths);
    }
    chain.removeAll(QStringLiteral("hicolor"));
    chain << QStringLiteral("hicolor");
    return chain;
}

/// A file's date (to the nanosecond) and size as one word; "-" when there is none.
QString fileStamp(const QString &path)
{
    const std::optional<struct stat> st = FilePath::status(path);
    if (!st) {
        return QStringLiteral("-");
    }
    return QStringLiteral("%1.%2:%3").arg(st->st_mtim.tv_sec).arg(st->st_mtim.tv_nsec).arg(st->st_size);
}

QString hexHash(const QString &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex());
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

std::optional<QSize> sizeFromText(QStringView text)
{
    const qsizetype x = text.indexOf(QLatin1Char('x'));
    bool wideOk = false;
    bool highOk = false;
    const int width = x > 0 ? text.left(x).toInt(&wideOk) : 0;
    const int height = x > 0 ? text.mid(x + 1).toInt(&highOk) : 0;
    if (!wideOk || !highOk || width < 0 || height < 0 || width > 4096 || height > 4096) {
        return std::nullopt;
    }
    return QSize(width, height);
}

/// Whether a key or a theme name can stand in a line of the index: one field, one line.
bool fitsInALine(const QString &text)
{
    return !text.isEmpty() && !text.contains(QLatin1Char('\t')) && !text.contains(QLatin1Char('\n'))
        && !text.contains(QLatin1Char('\r'));
}

QByteArray encodeImage(const QImage &image)
{
    const QImage pixels = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const quint32 width = quint32(pixels.width());
    const quint32 height = quint32(pixels.height());
    QByteArray bytes;
    bytes.reserve(ImageHeaderSize + qsizetype(width) * height * 4);
    bytes.append(ImageMagic, sizeof(ImageMagic));
    bytes.append(reinterpret_cast<const char *>(&width), sizeof(width));
    bytes.append(reinterpret_cast<const char *>(&height), sizeof(height));
    for (int y = 0; y < pixels.height(); ++y) {
        bytes.append(reinterpret_cast<const char *>(pixels.constScanLine(y)), qsizetype(width) * 4);
    }
    return bytes;
}

/// The picture a file holds; null unless the header is ours and the size is exactly its own.
QImage decodeImage(const QByteArray &bytes)
{
    if (bytes.size() < ImageHeaderSize || std::memcmp(bytes.constData(), ImageMagic, sizeof(ImageMagic)) != 0) {
        return {};
    }
    quint32 width = 0;
    quint32 height = 0;
    std::memcpy(&width, bytes.constData() + sizeof(ImageMagic), sizeof(width));
    std::memcpy(&height, bytes.constData() + sizeof(ImageMagic) + sizeof(width), sizeof(height));
    if (width == 0 || height == 0 || width > quint32(IconCache::LargestSide) || height > quint32(IconCache::LargestSide)
        || bytes.size() != ImageHeaderSize + qsizetype(width) * height * 4) {
        return {};
    }
    QImage image(int(width), int(height), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        std::memcpy(image.scanLine(y), bytes.constData() + ImageHeaderSize + qsizetype(y) * width * 4, size_t(width) * 4);
    }
    return image;
}

/// Whether no folder from the app's container down to `folder` is a link: the cache is read
/// and written only where it is, never where a link would lead.
bool noLinkOnTheWay(const QString &folder)
{
    const QString container = DriveLayout::appContainerPath();
    const bool inContainer = folder == container || folder.startsWith(container + QLatin1Char('/'));
    for (QString path = folder;; path = QFileInfo(path).path()) {
        if (const std::optional<struct stat> st = FilePath::linkStatus(path); st && S_ISLNK(st->st_mode)) {
            return false;
        }
        // a folder of a test's own, outside the container, is looked at by itself
        if (!inContainer || path == container || path.size() <= 1) {
            return true;
        }
    }
}

bool writeWhole(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

} // namespace

IconCache::IconCache(const QString &folder, const QString &stamp)
    : m_folder(folder)
    , m_stamp(stamp)
    , m_usable(noLinkOnTheWay(folder))
{
    readIndex();
}

IconCache::~IconCache()
{
    flush();
}

std::shared_ptr<IconCache> IconCache::shared()
{
    static QMutex mutex;
    static std::shared_ptr<IconCache> cache;
    static QString madeFor;
    const QString folder = defaultFolder();
    const QString theme = QIcon::themeName();
    const QStringList searchPaths = QIcon::themeSearchPaths();
    const QString identity = folder + QLatin1Char('\n') + theme + QLatin1Char('\n') + searchPaths.join(QLatin1Char('\n'));
    QMutexLocker lock(&mutex);
    static const bool flushedAtTheEnd = [] {
        qAddPostRoutine([] {
            QMutexLocker atTheEnd(&mutex);
            if (cache) {
                cache->flush();
            }
        });
        return true;
    }();
    Q_UNUSED(flushedAtTheEnd)
    if (!cache || identity != madeFor) {
        cache = std::make_shared<IconCache>(folder, stampOf({theme}, searchPaths));
        madeFor = identity;
    }
    return cache;
}

QString IconCache::defaultFolder()
{
    return DriveLayout::appContainerPath() + QStringLiteral("/Library/Caches/Icons");
}

QString IconCache::stampOf(const QStringList &themeNames, const QStringList &searchPaths)
{
    // the app's own resources (its fallback pictures) change with its version
    QString text = QStringLiteral("Qt %1, %2 %3\n")
                       .arg(QString::fromLatin1(qVersion()), QCoreApplication::applicationName(),
                            QCoreApplication::applicationVersion());
    for (const QString &theme : themeChain(themeNames, searchPaths)) {
        text += QStringLiteral("theme %1\n").arg(theme);
        for (const QString &path : searchPaths) {
            const QString folder = path + QLatin1Char('/') + theme;
            text += folder + QLatin1Char(' ') + fileStamp(folder) + QLatin1Char(' ')
                + fileStamp(folder + QStringLiteral("/index.theme")) + QLatin1Char(' ')
                + fileStamp(folder + QStringLiteral("/icon-theme.cache")) + QLatin1Char('\n');
        }
    }
    return hexHash(text);
}

std::optional<QString> IconCache::chosenTheme(const QString &folder, const QString &stamp)
{
    QByteArray bytes;
    QString problem;
    if (!noLinkOnTheWay(folder)
        || RegularFileReader::read(folder + QStringLiteral("/theme"), &bytes, &problem, LargestIndex,
                                   RegularFileReader::Links::Refuse)
            != RegularFileReader::Status::Read) {
        return std::nullopt;
    }
    const QStringList lines = QString::fromUtf8(bytes).split(QLatin1Char('\n'));
    if (lines.size() < 2 || lines.at(0) != stamp || !fitsInALine(lines.at(1)) || lines.at(1).contains(QLatin1Char('/'))) {
        return std::nullopt;
    }
    return lines.at(1);
}

void IconCache::setChosenTheme(const QString &folder, const QString &stamp, const QString &themeName)
{
    if (!fitsInALine(themeName)) {
        return;
    }
    const QByteArray bytes = (stamp + QLatin1Char('\n') + themeName + QLatin1Char('\n')).toUtf8();
    DispatchQueue::globalAsync([folder, bytes] {
        if (noLinkOnTheWay(folder) && QDir().mkpath(folder)) {
            writeWhole(folder + QStringLiteral("/theme"), bytes);
        }
    });
}

std::optional<IconCache::Entry> IconCache::entry(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    const auto it = m_entries.constFind(key);
    if (it == m_entries.cend()) {
        return std::nullopt;
    }
    return *it;
}

void IconCache::setEntry(const QString &key, const Entry &entry)
{
    if (!fitsInALine(key) || entry.name.contains(QLatin1Char('\t')) || entry.name.contains(QLatin1Char('\n'))) {
        return; // kept for this run only, by the icon itself
    }
    {
        QMutexLocker lock(&m_mutex);
        m_entries.insert(key, entry);
        m_indexChanged = true;
    }
    scheduleFlush();
}

QImage IconCache::image(const QString &key, const QSize &size) const
{
    {
        QMutexLocker lock(&m_mutex);
        const QString path = imagePath(key, size);
        for (const auto &[pendingPath, image] : m_pendingImages) {
            if (pendingPath == path) {
                return image;
            }
        }
        if (m_startOver) {
            return {}; // what is on disk is of another theme
        }
    }
    QByteArray bytes;
    QString problem;
    if (!m_usable
        || RegularFileReader::read(imagePath(key, size), &bytes, &problem, ImageHeaderSize + 4LL * LargestSide * LargestSide,
                                   RegularFileReader::Links::Refuse)
            != RegularFileReader::Status::Read) {
        return {};
    }
    return decodeImage(bytes);
}

void IconCache::setImage(const QString &key, const QSize &size, const QImage &image)
{
    if (image.isNull() || image.width() > LargestSide || image.height() > LargestSide) {
        return;
    }
    {
        QMutexLocker lock(&m_mutex);
        m_pendingImages.append({imagePath(key, size), image});
    }
    scheduleFlush();
}

void IconCache::flush()
{
    QMutexLocker lock(&m_mutex);
    m_flushScheduled = false;
    if (m_pendingImages.isEmpty() && !m_indexChanged) {
        return;
    }
    if (!m_usable || !QDir().mkpath(m_folder)) {
        m_pendingImages.clear();
        m_indexChanged = false;
        return;
    }
    if (m_startOver) {
        // the pictures of another theme, or of the theme before it changed, go
        const QDir folder(m_folder);
        for (const QString &name : folder.entryList({QStringLiteral("*") + imageSuffix()}, QDir::Files | QDir::Hidden)) {
            QFile::remove(folder.filePath(name));
        }
        m_startOver = false;
    }
    for (const auto &[path, image] : std::as_const(m_pendingImages)) {
        writeWhole(path, encodeImage(image));
    }
    m_pendingImages.clear();
    if (m_indexChanged) {
        QString text = QString::fromLatin1(IndexMagic) + QLatin1Char('\n') + m_stamp + QLatin1Char('\n');
        for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it) {
            QStringList sizes;
            for (const QSize &size : it->sizes) {
                sizes << sizeText(size);
            }
            text += it.key() + QLatin1Char('\t') + (it->found ? QLatin1Char('1') : QLatin1Char('0')) + QLatin1Char('\t')
                + sizes.join(QLatin1Char(' ')) + QLatin1Char('\t') + it->name + QLatin1Char('\n');
        }
        writeWhole(indexPath(), text.toUtf8());
        m_indexChanged = false;
    }
}

QString IconCache::indexPath() const
{
    return m_folder + QStringLiteral("/index");
}

QString IconCache::imagePath(const QString &key, const QSize &size) const
{
    return m_folder + QLatin1Char('/') + hexHash(m_stamp + QLatin1Char('\n') + key + QLatin1Char('\n') + sizeText(size))
        + imageSuffix();
}

void IconCache::readIndex()
{
    QByteArray bytes;
    QString problem;
    const RegularFileReader::Status status = m_usable
        ? RegularFileReader::read(indexPath(), &bytes, &problem, LargestIndex, RegularFileReader::Links::Refuse)
        : RegularFileReader::Status::Unusable;
    const QStringList lines = QString::fromUtf8(bytes).split(QLatin1Char('\n'));
    if (status != RegularFileReader::Status::Read || lines.size() < 2 || lines.at(0) != QLatin1String(IndexMagic)
        || lines.at(1) != m_stamp) {
        // nothing of ours, or made from another theme: its pictures go with the first write
        m_startOver = true;
        return;
    }
    for (qsizetype i = 2; i < lines.size(); ++i) {
        const QStringList fields = lines.at(i).split(QLatin1Char('\t'));
        if (fields.size() != 4 || fields.at(0).isEmpty() || (fields.at(1) != QLatin1String("1") && fields.at(1) != QLatin1String("0"))) {
            continue;
        }
        Entry entry;
        entry.found = fields.at(1) == QLatin1String("1");
        entry.name = fields.at(3);
        bool sizesOk = true;
        for (const QString &word : fields.at(2).split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            const std::optional<QSize> size = sizeFromText(word);
            sizesOk = sizesOk && size.has_value();
            if (size) {
                entry.sizes << *size;
            }
        }
        if (sizesOk) {
            m_entries.insert(fields.at(0), entry);
        }
    }
}

void IconCache::scheduleFlush()
{
    const std::shared_ptr<IconCache> self = weak_from_this().lock();
    {
        QMutexLocker lock(&m_mutex);
        if (!self || m_flushScheduled) {
            return; // a cache of no shared owner writes when asked, and when it goes
        }
        m_flushScheduled = true;
    }
    const auto write = [self] { DispatchQueue::globalAsync([self] { self->flush(); }); };
    QCoreApplication *application = QCoreApplication::instance();
    if (!application || QThread::currentThread() != application->thread()) {
        write();
        return;
    }
    // a while after the start, so that a first start's frame does not share the processor
    // with the writing; what is still waiting when the application ends is written then
    QTimer::singleShot(FlushDelayMs, application, write);
}
