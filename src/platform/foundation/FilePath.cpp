#include "platform/foundation/FilePath.h"

#include <QDir>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr char16_t firstEscape = 0xDC80; // stands for the byte 0x80
constexpr char16_t lastEscape = 0xDCFF;  // stands for the byte 0xFF

/// The length of the valid UTF-8 sequence that starts at `at`, 0 when the byte there starts
/// none (overlong forms, surrogates and code points past U+10FFFF are not valid).
qsizetype validSequenceLength(QByteArrayView bytes, qsizetype at)
{
    const auto byte = [&](qsizetype i) { return uchar(bytes.at(i)); };
    const uchar lead = byte(at);
    qsizetype length = 0;
    char32_t min = 0;
    char32_t codePoint = 0;
    if (lead < 0x80) {
        return 1;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2, min = 0x80, codePoint = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, min = 0x800, codePoint = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, min = 0x10000, codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (at + length > bytes.size()) {
        return 0;
    }
    for (qsizetype i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) {
            return 0;
        }
        codePoint = (codePoint << 6) | (byte(at + i) & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < min || codePoint > 0x10FFFF || surrogate ? 0 : length;
}

bool isEscape(QStringView text, qsizetype i)
{
    const char16_t unit = text.at(i).unicode();
    // a low surrogate after a high one is half of a real character
    return unit >= firstEscape && unit <= lastEscape && (i == 0 || !text.at(i - 1).isHighSurrogate());
}

} // namespace

QString FilePath::localPath(const QUrl &url)
{
    QString path = url.toLocalFile();
    while (path.size() > 1 && path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    return path;
}

QString FilePath::absolutePath(const QString &path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString FilePath::cleanPath(const QString &path)
{
    const qsizetype size = path.size();
    const QChar *chars = path.constData();
    // a step "." or ".." at the start, after a '/', up to a '/' or the end
    const auto dotStepAt = [chars, size](qsizetype i) {
        if (i >= size || chars[i] != QLatin1Char('.')) {
            return false;
        }
        const qsizetype end = i + 1 < size && chars[i + 1] == QLatin1Char('.') ? i + 2 : i + 1;
        return end == size || chars[end] == QLatin1Char('/');
    };
    bool clean = size > 0 && !dotStepAt(0) && (size == 1 || chars[size - 1] != QLatin1Char('/'));
    for (qsizetype i = 0; clean && i < size; ++i) {
        if (chars[i] == QLatin1Char('/')) {
            clean = !(i + 1 < size && chars[i + 1] == QLatin1Char('/')) && !dotStepAt(i + 1);
        }
    }
    return clean ? path : QDir::cleanPath(path);
}

QByteArray FilePath::encode(const QString &path)
{
    if (path.contains(QChar::Null)) {
        // the kernel would read only up to the NUL and reach another item: this path names none
        return {};
    }
    if (!holdsUndecodableBytes(path)) {
        return path.toUtf8();
    }
    QByteArray bytes;
    bytes.reserve(path.size() * 3);
    qsizetype runStart = 0;
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (isEscape(path, i)) {
            bytes += QStringView(path).sliced(runStart, i - runStart).toUtf8();
            bytes += char(path.at(i).unicode() - 0xDC00);
            runStart = i + 1;
        }
    }
    bytes += QStringView(path).sliced(runStart).toUtf8();
    return bytes;
}

QString FilePath::decode(QByteArrayView bytes)
{
    if (bytes.isValidUtf8()) {
        return QString::fromUtf8(bytes);
    }
    QString text;
    text.reserve(bytes.size());
    qsizetype runStart = 0;
    qsizetype i = 0;
    while (i < bytes.size()) {
        const qsizetype length = validSequenceLength(bytes, i);
        if (length > 0) {
            i += length;
            continue;
        }
        text += QString::fromUtf8(bytes.sliced(runStart, i - runStart));
        text += QChar(char16_t(0xDC00 + uchar(bytes.at(i))));
        runStart = ++i;
    }
    text += QString::fromUtf8(bytes.sliced(runStart));
    return text;
}

QString FilePath::displayName(const QString &name)
{
    if (!holdsUndecodableBytes(name)) {
        return name;
    }
    QString shown = name;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        if (isEscape(name, i)) {
            shown[i] = QChar::ReplacementCharacter;
        }
    }
    return shown;
}

bool FilePath::holdsUndecodableBytes(QStringView path)
{
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (isEscape(path, i)) {
            return true;
        }
    }
    return false;
}

int FilePath::openWithoutLinks(const QString &path)
{
    const QByteArray encoded = encode(path);
    if (encoded.isEmpty()) {
        errno = ENOENT;
        return -1;
    }
    struct open_how how = {};
    how.flags = O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return int(::syscall(SYS_openat2, AT_FDCWD, encoded.constData(), &how, sizeof how));
}

std::optional<struct stat> FilePath::linkStatus(const QString &path)
{
    struct stat st;
    if (path.isEmpty() || ::lstat(encode(path).constData(), &st) != 0) {
        return std::nullopt;
    }
    return st;
}

std::optional<struct stat> FilePath::status(const QString &path)
{
    struct stat st;
    if (path.isEmpty() || ::stat(encode(path).constData(), &st) != 0) {
        return std::nullopt;
    }
    return st;
}

QDateTime FilePath::modificationDate(const struct stat &st)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000);
}

QDateTime FilePath::date(const struct statx_timestamp &time)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000, Qt::UTC);
}

bool FilePath::exists(const QString &path)
{
    return linkStatus(path).has_value();
}

QString FilePath::canonicalPath(const QString &path)
{
    if (path.isEmpty()) {
        return {};
    }
    char resolved[PATH_MAX];
    if (::realpath(encode(path).constData(), resolved) == nullptr) {
        return {};
    }
    return decode(QByteArrayView(resolved));
}

QString FilePath::linkTarget(const QString &path)
{
    const QByteArray bytes = encode(path);
    char target[PATH_MAX];
    const ssize_t length = path.isEmpty() ? -1 : ::readlink(bytes.constData(), target, sizeof target);
    if (length <= 0) {
        return {};
    }
    const QString written = decode(QByteArrayView(target, length));
    if (written.startsWith(QLatin1Char('/'))) {
        return written;
    }
    // a relative target counts from the link's folder; left uncleaned, since "link/.." is
    // resolved by the kernel through the link, not by dropping a component
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return (slash < 0 ? QString() : path.left(slash + 1)) + written;
}

QList<FilePath::Entry> FilePath::entries(const QString &folder)
{
    QList<Entry> found;
    forEachEntry(folder, [&found](Entry &&entry) { found.append(std::move(entry)); });
    return found;
}

bool FilePath::forEachEntry(const QString &folder, const std::function<void(Entry &&entry)> &take)
{
    return forEachEntryAt(::open(encode(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), take);
}

bool FilePath::forEachEntryAt(int folderFd, const std::function<void(Entry &&entry)> &take)
{
    DIR *dir = folderFd < 0 ? nullptr : ::fdopendir(folderFd);
    if (dir == nullptr) {
        if (folderFd >= 0) {
            ::close(folderFd);
        }
        return false;
    }
    while (const dirent *entry = ::readdir(dir)) {
        const QByteArrayView name(entry->d_name);
        if (name == "." || name == "..") {
            continue;
        }
        const EntryKind kind = entry->d_type == DT_DIR ? EntryKind::Folder
            : entry->d_type == DT_LNK                  ? EntryKind::Link
            : entry->d_type == DT_UNKNOWN              ? EntryKind::Unknown
                                                       : EntryKind::Other;
        take({decode(name), kind, quint64(entry->d_ino)});
    }
    ::closedir(dir);
    return true;
}

bool FilePath::walk(const QString &folder, const std::function<WalkStep(const QString &, const Entry &)> &visit)
{
    for (const Entry &entry : entries(folder)) {
        const QString path = folder + QLatin1Char('/') + entry.name;
        const WalkStep step = visit(path, entry);
        if (step == WalkStep::Stop) {
            return false;
        }
        bool isFolder = entry.kind == EntryKind::Folder;
        if (entry.kind == EntryKind::Unknown) {
            const std::optional<struct stat> st = linkStatus(path);
            isFolder = st && S_ISDIR(st->st_mode);
        }
        if (isFolder && step == WalkStep::Continue && !walk(path, visit)) {
            return false;
        }
    }
    return true;
}
