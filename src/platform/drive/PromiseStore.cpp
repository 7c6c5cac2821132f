#include "platform/drive/PromiseStore.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/Progress.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/foundation/CancellationToken.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <cstdio>
#include <thread>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 chunkSize = 8 * 1024 * 1024;

/// A file descriptor closed when it goes out of scope.
class Fd
{
public:
    explicit Fd(int fd = -1)
        : m_fd(fd)
    {
    }
    ~Fd()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Q_DISABLE_COPY_MOVE(Fd)
    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }

private:
    int m_fd;
};

/// The file being written before it gets the item's name: unnamed when the file system allows
/// it (nothing is left behind if the process dies), else a hidden name that is removed on
/// failure.
struct PendingFile {
    int fd = -1;
    QByteArray namedPath; // empty for an unnamed file
};

PendingFile openPendingFile(int dirFd, const QString &folder, const QString &name)
{
    PendingFile pending;
    pending.fd = ::openat(dirFd, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0644);
    if (pending.fd >= 0) {
        return pending;
    }
    pending.namedPath = QFile::encodeName(folder + QStringLiteral("/.") + name) + ".download-XXXXXX";
    pending.fd = ::mkostemp(pending.namedPath.data(), O_CLOEXEC);
    if (pending.fd < 0) {
        pending.namedPath.clear();
    }
    return pending;
}

void discardPendingFile(const PendingFile &pending)
{
    if (!pending.namedPath.isEmpty()) {
        ::unlink(pending.namedPath.constData());
    }
    if (pending.fd >= 0) {
        ::close(pending.fd);
    }
}

/// Gives the written file the item's name; never replaces an existing item.
int publishPendingFile(const PendingFile &pending, int dirFd, const QByteArray &name)
{
    if (pending.namedPath.isEmpty()) {
        const QByteArray procPath = "/proc/self/fd/" + QByteArray::number(pending.fd);
        return ::linkat(AT_FDCWD, procPath.constData(), dirFd, name.constData(), AT_SYMLINK_FOLLOW);
    }
    return ::renameat2(AT_FDCWD, pending.namedPath.constData(), dirFd, name.constData(), RENAME_NOREPLACE);
}

/// Copies `total` bytes, reporting progress and honouring the store's speed and a cancel.
std::optional<Error> copyContent(int in, int out, qint64 total, Progress &progress, CancellationToken *cancel,
                                 const QString &path)
{
    const qint64 rate = PromiseStore::storeRate();
    // with a speed limit, about twenty steps a second keep the progress smooth
    const qint64 step = rate > 0 ? std::max<qint64>(4096, rate / 20) : chunkSize;
    const auto start = std::chrono::steady_clock::now();
    bool kernelCopy = true;
    QByteArray buffer;
    qint64 copied = 0;
    while (copied < total) {
        if (cancel && cancel->isCancelled()) {
            return Error::fileError(UserCancelledError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
        }
        const size_t want = size_t(std::min(step, total - copied));
        ssize_t n = -1;
        if (kernelCopy) {
            n = ::copy_file_range(in, nullptr, out, nullptr, want, 0);
            if (n < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
                kernelCopy = false;
            }
        }
        if (!kernelCopy) {
            buffer.resize(qsizetype(want));
            n = ::read(in, buffer.data(), want);
            if (n > 0 && ::write(out, buffer.constData(), size_t(n)) != n) {
                n = -1;
            }
        }
        if (n < 0) {
            return Error::fromErrno(errno, path, FileReadUnknownError);
        }
        if (n == 0) {
            return Error::fileError(FileReadCorruptFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
        }
        copied += n;
        progress.setCompletedUnitCount(copied);
        if (rate > 0) {
            const auto due = start + std::chrono::microseconds(copied * 1000000 / rate);
            const auto wait = due - std::chrono::steady_clock::now();
            if (wait > std::chrono::steady_clock::duration::zero()) {
                if (cancel) {
                    cancel->sleepFor(wait); // wakes early on a cancel, which the loop then reports
                } else {
                    std::this_thread::sleep_for(wait);
                }
            }
        }
    }
    return std::nullopt;
}

void applyItemAttributes(int fd, const PromisePlaceholder &placeholder)
{
    ::fchmod(fd, 0644);
    if (placeholder.modificationDate.isValid()) {
        const qint64 ms = placeholder.modificationDate.toMSecsSinceEpoch();
        const timespec times[2] = {{0, UTIME_NOW}, {time_t(ms / 1000), long((ms % 1000) * 1000000)}};
        ::futimens(fd, times);
    }
    FileAttributes::setTags(fd, placeholder.tags);
    FileAttributes::setCreationDate(fd, placeholder.creationDate);
    FileAttributes::setStoreKey(fd, placeholder.storeKey);
    if (placeholder.shared) {
        FileAttributes::setSharedRole(fd, placeholder.role.isEmpty() ? QStringLiteral("owner") : placeholder.role);
    }
}

std::optional<Error> copyIntoStore(const QString &sourcePath, const QString &storeKey)
{
    QDir().mkpath(DriveLayout::storePath());
    const QString finalPath = PromisePlaceholder::storeFilePathForKey(storeKey);
    const QString tempPath = finalPath + QStringLiteral(".upload");
    QFile::remove(tempPath);
    if (!QFile::copy(sourcePath, tempPath)) {
        QFile::remove(tempPath);
        return Error::fromErrno(errno ? errno : EIO, sourcePath, FileReadUnknownError);
    }
    if (::rename(QFile::encodeName(tempPath).constData(), QFile::encodeName(finalPath).constData()) != 0) {
        const int renameErrno = errno;
        QFile::remove(tempPath);
        return Error::fromErrno(renameErrno, finalPath);
    }
    return std::nullopt;
}

} // namespace

qint64 PromiseStore::storeRate()
{
    QFile file(DriveLayout::storeRateFile());
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return std::max<qint64>(0, file.readAll().trimmed().toLongLong());
}

bool PromiseStore::isStoreReachable()
{
    QFile file(DriveLayout::networkFile());
    if (!file.open(QIODevice::ReadOnly)) {
        return true;
    }
    return file.readAll().trimmed() != "offline";
}

std::optional<Error> PromiseStore::materialize(const QString &logicalPath, CancellationToken *cancel)
{
    const QString placeholderPath = PromisePlaceholder::placeholderPathFor(logicalPath);
    struct stat st;
    if (::lstat(QFile::encodeName(logicalPath).constData(), &st) == 0) {
        return std::nullopt; // already here
    }
    std::optional<Error> error;
    const std::optional<PromisePlaceholder> placeholder = PromisePlaceholder::read(placeholderPath, &error);
    if (!placeholder) {
        return Error::fileError(FileReadNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), logicalPath}});
    }
    if (!isStoreReachable()) {
        return Error::fileError(UbiquityServerNotAvailableError, {{QString::fromLatin1(ErrorKey::FilePath), logicalPath}});
    }
    const Fd in(::open(QFile::encodeName(placeholder->storeFilePath()).constData(), O_RDONLY | O_CLOEXEC));
    struct stat storeStat;
    if (!in.isValid() || ::fstat(in.get(), &storeStat) != 0) {
        return Error::fileError(UbiquityFileUnavailableError, {{QString::fromLatin1(ErrorKey::FilePath), logicalPath}});
    }
    const QFileInfo logical(logicalPath);
    const QString folder = logical.absolutePath();
    const Fd dirFd(::open(QFile::encodeName(folder).constData(), O_DIRECTORY | O_RDONLY | O_CLOEXEC));
    if (!dirFd.isValid()) {
        return Error::fromErrno(errno, folder);
    }

    auto progress = std::make_shared<Progress>(qint64(storeStat.st_size));
    progress->setKind(QString::fromLatin1(Progress::KindFile));
    progress->setFileURL(QUrl::fromLocalFile(logicalPath));
    progress->publish();

    const PendingFile pending = openPendingFile(dirFd.get(), folder, logical.fileName());
    if (pending.fd < 0) {
        const int openErrno = errno;
        progress->unpublish();
        return Error::fromErrno(openErrno, logicalPath);
    }
    error = copyContent(in.get(), pending.fd, qint64(storeStat.st_size), *progress, cancel, logicalPath);
    if (!error) {
        applyItemAttributes(pending.fd, *placeholder);
        if (publishPendingFile(pending, dirFd.get(), QFile::encodeName(logical.fileName())) != 0) {
            error = Error::fromErrno(errno, logicalPath);
        }
    }
    discardPendingFile(pending);
    if (!error) {
        ::unlinkat(dirFd.get(), QFile::encodeName(QFileInfo(placeholderPath).fileName()).constData(), 0);
        Thumbnailer::writeThumbnails(logicalPath); // best effort: a missing thumbnail shows the type's icon
    }
    progress->unpublish();
    return error;
}

std::optional<Error> PromiseStore::evict(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        if (PromisePlaceholder::isPromisedItem(path)) {
            return std::nullopt; // nothing downloaded to give back
        }
        return Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    if (info.isDir() && !info.isSymLink()) {
        std::optional<Error> firstError;
        const QFileInfoList children = QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot);
        for (const QFileInfo &child : children) {
            if (auto error = evict(child.filePath()); error && !firstError) {
                firstError = error;
            }
        }
        return firstError;
    }
    if (!info.isFile() || info.isSymLink()) {
        return Error::fileError(FeatureUnsupportedError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }

    PromisePlaceholder placeholder;
    placeholder.name = info.fileName();
    placeholder.size = info.size();
    placeholder.modificationDate = info.lastModified();
    placeholder.creationDate = FileAttributes::creationDate(path);
    placeholder.mimeType = QMimeDatabase().mimeTypeForFile(info).name();
    placeholder.tags = FileAttributes::tags(path);
    const QString role = FileAttributes::sharedRole(path);
    placeholder.shared = !role.isEmpty();
    placeholder.role = role;
    placeholder.storeKey = FileAttributes::storeKey(path);
    placeholder.thumbnailPng = Thumbnailer::thumbnailPng(path);
    if (placeholder.storeKey.isEmpty()) {
        placeholder.storeKey = PromisePlaceholder::newStoreKey();
    }
    // the content reaches the store before anything here changes: an eviction never loses data
    if (auto error = copyIntoStore(path, placeholder.storeKey)) {
        return error;
    }
    if (auto error = placeholder.write(PromisePlaceholder::placeholderPathFor(path), true)) {
        return error;
    }
    if (!QFile::remove(path)) {
        ::unlink(QFile::encodeName(PromisePlaceholder::placeholderPathFor(path)).constData());
        return Error::fromErrno(errno ? errno : EACCES, path);
    }
    return std::nullopt;
}

std::optional<Error> PromiseStore::removeItem(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        const QString placeholderPath = PromisePlaceholder::placeholderPathFor(path);
        std::optional<Error> readError;
        const auto placeholder = PromisePlaceholder::read(placeholderPath, &readError);
        if (!placeholder) {
            return Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
        }
        if (!QFile::remove(placeholderPath)) {
            return Error::fromErrno(errno ? errno : EACCES, path);
        }
        QFile::remove(placeholder->storeFilePath());
        return std::nullopt;
    }
    QStringList storeFiles;
    if (info.isDir() && !info.isSymLink()) {
        QDirIterator it(path, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next();
            std::optional<Error> readError;
            if (PromisePlaceholder::isPlaceholderName(it.fileName())) {
                if (const auto placeholder = PromisePlaceholder::read(file, &readError)) {
                    storeFiles << placeholder->storeFilePath();
                }
            }
        }
    }
    std::error_code ec;
    std::filesystem::remove_all(std::filesystem::path(QFile::encodeName(path).toStdString()), ec);
    if (ec) {
        return Error::fromErrno(ec.value(), path);
    }
    for (const QString &storeFile : std::as_const(storeFiles)) {
        QFile::remove(storeFile);
    }
    return std::nullopt;
}
