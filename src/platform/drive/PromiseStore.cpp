#include "platform/drive/PromiseStore.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PendingFile.h"
#include "platform/drive/Progress.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/ServiceFile.h"
#include "platform/drive/SyncServiceClient.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/foundation/CancellationToken.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/FilePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QUuid>

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
        const ssize_t n = PendingFile::copyStep(in, out, want, &kernelCopy, &buffer);
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

/// Copies what is left of `in` to `out`, in the kernel where it can.
bool copyToEnd(int in, int out)
{
    bool kernelCopy = true;
    QByteArray buffer;
    ssize_t n = 0;
    do {
        n = PendingFile::copyStep(in, out, size_t(chunkSize), &kernelCopy, &buffer);
    } while (n > 0);
    return n == 0;
}

/// Gives the content of the open file `sourceFd` to the store under `storeKey`, whole or not at all.
std::optional<Error> copyIntoStore(int sourceFd, const QString &sourcePath, const QString &storeKey)
{
    QDir().mkpath(DriveLayout::storePath());
    const QString finalPath = PromisePlaceholder::storeFilePathForKey(storeKey);
    const QByteArray tempPath = FilePath::encode(finalPath + QStringLiteral(".upload"));
    ::unlink(tempPath.constData());
    const FileDescriptor out(::open(tempPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!out.isValid()) {
        return Error::fromErrno(errno, finalPath);
    }
    if (!copyToEnd(sourceFd, out.get())) {
        const int copyErrno = errno ? errno : EIO;
        ::unlink(tempPath.constData());
        return Error::fromErrno(copyErrno, sourcePath, FileReadUnknownError);
    }
    if (::rename(tempPath.constData(), FilePath::encode(finalPath).constData()) != 0) {
        const int renameErrno = errno;
        ::unlink(tempPath.constData());
        return Error::fromErrno(renameErrno, finalPath);
    }
    return std::nullopt;
}

/// The type of an open document, by its name and its first bytes.
QString mimeTypeOfOpenFile(int fd, const QString &name)
{
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::DontCloseHandle)) {
        return QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name();
    }
    const QString type = QMimeDatabase().mimeTypeForFileNameAndData(name, &file).name();
    ::lseek(fd, 0, SEEK_SET);
    return type;
}

} // namespace

namespace {

/// Opens the store's content of the promised item at `logicalPath`, as a download starts: the
/// descriptor, or -1 with `error` saying why it cannot start.
int openStoreContent(const QString &logicalPath, std::optional<PromisePlaceholder> *placeholder,
                     std::optional<Error> *error)
{
    const auto fail = [&](qint64 code) {
        *error = Error::fileError(code, {{QString::fromLatin1(ErrorKey::FilePath), logicalPath}});
        return -1;
    };
    std::optional<Error> readError;
    *placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(logicalPath), &readError);
    if (!*placeholder) {
        return fail(FileReadNoSuchFileError);
    }
    if (!PromiseStore::isStoreReachable()) {
        return fail(UbiquityServerNotAvailableError);
    }
    const int fd = ::open(FilePath::encode((*placeholder)->storeFilePath()).constData(), O_RDONLY | O_CLOEXEC);
    return fd >= 0 ? fd : fail(UbiquityFileUnavailableError);
}

Error fileError(qint64 code, const QString &path, const QString &description = {})
{
    QVariantMap info{{QString::fromLatin1(ErrorKey::FilePath), path}};
    if (!description.isEmpty()) {
        info.insert(QString::fromLatin1(ErrorKey::LocalizedFailureReason), description);
    }
    return Error::fileError(code, info);
}

/// Gives the complete download `file` the item's name in the drive, as the local store's copy
/// would: attributes first, then one link under the name that never replaces anything, and
/// only while the placeholder is still the one the download was for.
std::optional<Error> publishDownload(const QString &file, const QString &logicalPath, const PromisePlaceholder &placeholder)
{
    const QString placeholderPath = PromisePlaceholder::placeholderPathFor(logicalPath);
    const FileDescriptor fd(::open(FilePath::encode(file).constData(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!fd.isValid()) {
        return Error::fromErrno(errno, file);
    }
    applyItemAttributes(fd.get(), placeholder);
    std::optional<Error> readError;
    const auto current = PromisePlaceholder::read(placeholderPath, &readError);
    if (!current || current->storeKey != placeholder.storeKey) {
        // moved, deleted or replaced meanwhile: the download is not this item's anymore
        return fileError(FileReadNoSuchFileError, logicalPath);
    }
    if (::renameat2(AT_FDCWD, FilePath::encode(file).constData(), AT_FDCWD, FilePath::encode(logicalPath).constData(),
                    RENAME_NOREPLACE)
        != 0) {
        return Error::fromErrno(errno, logicalPath);
    }
    ::unlink(FilePath::encode(placeholderPath).constData());
    return std::nullopt;
}

/// Downloads a promised item of a server account through the sync service, which owns the
/// network: it receives the content into its partial folder, reporting progress; the item is
/// then published here.
std::optional<Error> materializeFromService(const QString &logicalPath, CancellationToken *cancel)
{
    std::optional<Error> readError;
    const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(logicalPath), &readError);
    if (!placeholder) {
        return fileError(FileReadNoSuchFileError, logicalPath);
    }
    if (!PromiseStore::isStoreReachable()) {
        return fileError(UbiquityServerNotAvailableError, logicalPath);
    }
    QString error;
    const std::unique_ptr<SyncServiceClient> service = SyncServiceClient::connect(&error);
    if (!service) {
        DRLog(LOG_ERR, "Cannot download %@: %@", logicalPath, error);
        return fileError(UbiquityServerNotAvailableError, logicalPath, error);
    }
    auto progress = std::make_shared<Progress>(std::max<qint64>(0, placeholder->size));
    progress->setKind(QString::fromLatin1(Progress::KindFile));
    progress->setFileURL(QUrl::fromLocalFile(logicalPath));
    progress->publish();
    const auto answer = service->materialize(
        placeholder->storeKey,
        [&progress](qint64 done, qint64 total) {
            if (total > 0 && total != progress->totalUnitCount()) {
                progress->setTotalUnitCount(total);
            }
            progress->setCompletedUnitCount(done);
        },
        cancel, &error);
    std::optional<Error> result;
    if (!answer) {
        DRLog(LOG_ERR, "Cannot download %@: %@", logicalPath, error);
        result = fileError(UbiquityServerNotAvailableError, logicalPath, error);
    } else if (answer->contains(QStringLiteral("failed"))) {
        const qint64 code = answer->value(QStringLiteral("code")).toInteger(UbiquityServerNotAvailableError);
        result = fileError(code, logicalPath, answer->value(QStringLiteral("failed")).toString());
    } else {
        result = publishDownload(answer->value(QStringLiteral("file")).toString(), logicalPath, *placeholder);
        if (!result) {
            progress->setCompletedUnitCount(progress->totalUnitCount());
            Thumbnailer::writeThumbnails(logicalPath); // best effort: a missing thumbnail shows the type's icon
        }
    }
    progress->unpublish();
    return result;
}

} // namespace

std::optional<Error> PromiseStore::checkDownloadable(const QString &logicalPath)
{
    if (RemoteAccount::current()) {
        // the content is on the server: only the sync service can tell more, once asked
        if (!PromisePlaceholder::isPromisedItem(logicalPath)) {
            return fileError(FileReadNoSuchFileError, logicalPath);
        }
        return isStoreReachable() ? std::nullopt : std::optional(fileError(UbiquityServerNotAvailableError, logicalPath));
    }
    std::optional<PromisePlaceholder> placeholder;
    std::optional<Error> error;
    const int fd = openStoreContent(logicalPath, &placeholder, &error);
    if (fd >= 0) {
        ::close(fd);
    }
    return error;
}

qint64 PromiseStore::storeRate()
{
    return std::max<qint64>(0, ServiceFile::read(DriveLayout::storeRateFile()).value_or(QByteArray()).trimmed().toLongLong());
}

bool PromiseStore::isStoreReachable()
{
    return ServiceFile::read(DriveLayout::networkFile()).value_or(QByteArray()).trimmed() != "offline";
}

std::optional<Error> PromiseStore::materialize(const QString &logicalPath, CancellationToken *cancel)
{
    const QString placeholderPath = PromisePlaceholder::placeholderPathFor(logicalPath);
    struct stat st;
    if (::lstat(FilePath::encode(logicalPath).constData(), &st) == 0) {
        return std::nullopt; // already here
    }
    if (RemoteAccount::current()) {
        return materializeFromService(logicalPath, cancel);
    }
    std::optional<Error> error;
    std::optional<PromisePlaceholder> placeholder;
    const int storeFd = openStoreContent(logicalPath, &placeholder, &error);
    if (storeFd < 0) {
        return error;
    }
    const FileDescriptor in(storeFd);
    struct stat storeStat;
    if (::fstat(in.get(), &storeStat) != 0) {
        return Error::fileError(UbiquityFileUnavailableError, {{QString::fromLatin1(ErrorKey::FilePath), logicalPath}});
    }
    const QFileInfo logical(logicalPath);
    const QString folder = logical.absolutePath();
    const FileDescriptor dirFd(::open(FilePath::encode(folder).constData(), O_DIRECTORY | O_RDONLY | O_CLOEXEC));
    if (!dirFd.isValid()) {
        return Error::fromErrno(errno, folder);
    }

    auto progress = std::make_shared<Progress>(qint64(storeStat.st_size));
    progress->setKind(QString::fromLatin1(Progress::KindFile));
    progress->setFileURL(QUrl::fromLocalFile(logicalPath));
    progress->publish();

    const PendingFile pending = PendingFile::open(dirFd.get(), folder, logical.fileName());
    if (pending.fd < 0) {
        const int openErrno = errno;
        progress->unpublish();
        return Error::fromErrno(openErrno, logicalPath);
    }
    error = copyContent(in.get(), pending.fd, qint64(storeStat.st_size), *progress, cancel, logicalPath);
    if (!error) {
        applyItemAttributes(pending.fd, *placeholder);
        if (pending.publish(dirFd.get(), FilePath::encode(logical.fileName())) != 0) {
            error = Error::fromErrno(errno, logicalPath);
        }
    }
    pending.discard();
    if (!error) {
        ::unlinkat(dirFd.get(), FilePath::encode(QFileInfo(placeholderPath).fileName()).constData(), 0);
        Thumbnailer::writeThumbnails(logicalPath); // best effort: a missing thumbnail shows the type's icon
    }
    progress->unpublish();
    return error;
}

std::optional<Error> PromiseStore::evict(const QString &path)
{
    // the item is reached by its own bytes, and read through the one descriptor that was checked
    const std::optional<struct stat> linkStatus = FilePath::linkStatus(path);
    if (!linkStatus) {
        if (PromisePlaceholder::isPromisedItem(path)) {
            return std::nullopt; // nothing downloaded to give back
        }
        return Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    if (S_ISDIR(linkStatus->st_mode)) {
        std::optional<Error> firstError;
        for (const FilePath::Entry &child : FilePath::entries(path)) {
            if (child.name.startsWith(QLatin1Char('.'))) {
                continue; // placeholders and hidden files have nothing downloaded to give back
            }
            if (auto error = evict(path + QLatin1Char('/') + child.name); error && !firstError) {
                firstError = error;
            }
        }
        return firstError;
    }
    const FileDescriptor source(S_ISREG(linkStatus->st_mode)
                        ? ::open(FilePath::encode(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                        : -1);
    struct stat st;
    if (!source.isValid() || ::fstat(source.get(), &st) != 0 || !S_ISREG(st.st_mode)) {
        return Error::fileError(FeatureUnsupportedError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }

    const QString name = QFileInfo(path).fileName();
    PromisePlaceholder placeholder;
    placeholder.name = name;
    placeholder.size = st.st_size;
    placeholder.modificationDate = FilePath::modificationDate(st);
    placeholder.creationDate = FileAttributes::creationDate(path);
    placeholder.mimeType = mimeTypeOfOpenFile(source.get(), name);
    placeholder.tags = FileAttributes::tags(path);
    const QString role = FileAttributes::sharedRole(path);
    placeholder.shared = !role.isEmpty();
    placeholder.role = role;
    placeholder.storeKey = FileAttributes::storeKey(path);
    if (placeholder.storeKey.isEmpty()) {
        placeholder.storeKey = PromisePlaceholder::newStoreKey();
    } else if (!PromisePlaceholder::isStoreKey(placeholder.storeKey)) {
        DRLog(LOG_ERR, "Refusing to evict %@: its store key \"%@\" is not one name of letters, digits, '-' and '_'",
              path, placeholder.storeKey);
        return Error::fileError(FileReadCorruptFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    placeholder.thumbnailPng = Thumbnailer::thumbnailPng(path);
    // the content reaches the store before anything here changes: an eviction never loses data
    if (auto error = copyIntoStore(source.get(), path, placeholder.storeKey)) {
        return error;
    }
    if (auto error = placeholder.write(PromisePlaceholder::placeholderPathFor(path), true)) {
        return error;
    }
    if (::unlink(FilePath::encode(path).constData()) != 0) {
        const int unlinkErrno = errno;
        ::unlink(FilePath::encode(PromisePlaceholder::placeholderPathFor(path)).constData());
        return Error::fromErrno(unlinkErrno, path);
    }
    return std::nullopt;
}

namespace {

/// Where deleted items wait, under a hidden name of the drive's root, until they and their
/// store content are gone: one rename takes an item out of sight whole, so a process killed at
/// any instant leaves it either in its place or in here, and the next start finishes it.
QString pendingDeletionsPath()
{
    return DriveLayout::mobileDocumentsPath() + QStringLiteral("/.pending-deletions");
}

/// The name a deletion waits under beside its item when the pending folder is on another file
/// system; a placeholder's name says so, since its store content goes with it.
const QRegularExpression &besideDeletionName()
{
    static const QRegularExpression pattern(QStringLiteral("^\\.[0-9a-f]{32}\\.deleting-(item|promise)$"));
    return pattern;
}

/// Takes the item at `path` (not following a link) out of sight in one rename. Into the drive's
/// pending folder when it is on the same file system, else under a hidden name beside it.
std::optional<QString> takeOutOfSight(const QString &path, bool isPlaceholder, std::optional<Error> *error)
{
    const QByteArray from = FilePath::encode(path);
    QDir().mkpath(pendingDeletionsPath());
    const QString unique = QUuid::createUuid().toString(QUuid::Id128);
    // a placeholder keeps a placeholder's name in there, so that its content is found
    const QString pending = pendingDeletionsPath() + QLatin1Char('/')
        + (isPlaceholder ? PromisePlaceholder::placeholderPathFor(unique) : unique);
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, FilePath::encode(pending).constData(), RENAME_NOREPLACE) == 0) {
        return pending;
    }
    if (errno != EXDEV) {
        *error = Error::fromErrno(errno, path);
        return std::nullopt;
    }
    const QFileInfo info(path);
    const QString beside = info.absolutePath() + QStringLiteral("/.") + unique
        + (isPlaceholder ? QStringLiteral(".deleting-promise") : QStringLiteral(".deleting-item"));
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, FilePath::encode(beside).constData(), RENAME_NOREPLACE) != 0) {
        *error = Error::fromErrno(errno, path);
        return std::nullopt;
    }
    return beside;
}

/// Removes an item already out of sight: first the store content of every promised item it
/// holds (the deletion has happened for the user; the drive forgets the content too), then the
/// item itself. Safe to repeat after a kill at any instant.
std::optional<Error> finishDeletion(const QString &pendingPath)
{
    struct stat st;
    const QByteArray bytes = FilePath::encode(pendingPath);
    if (::lstat(bytes.constData(), &st) != 0) {
        return std::nullopt; // finished by someone else meanwhile
    }
    const auto forgetContent = [](const QString &placeholderPath) {
        std::optional<Error> readError;
        if (const auto placeholder = PromisePlaceholder::read(placeholderPath, &readError)) {
            if (const QString content = placeholder->storeFilePath(); !content.isEmpty()) {
                QFile::remove(content);
            }
        }
    };
    if (S_ISDIR(st.st_mode)) {
        FilePath::walk(pendingPath, [&forgetContent](const QString &path, const FilePath::Entry &entry) {
            if (entry.kind != FilePath::EntryKind::Folder && PromisePlaceholder::isPlaceholderName(entry.name)) {
                forgetContent(path);
            }
            return FilePath::WalkStep::Continue;
        });
    } else if (const QString name = QFileInfo(pendingPath).fileName();
               PromisePlaceholder::isPlaceholderName(name) || name.endsWith(QLatin1String(".deleting-promise"))) {
        forgetContent(pendingPath); // a single promised item travels as its placeholder
    }
    std::error_code ec;
    std::filesystem::remove_all(std::filesystem::path(bytes.toStdString()), ec);
    if (ec) {
        return Error::fromErrno(ec.value(), pendingPath);
    }
    return std::nullopt;
}

/// A temporary file of a writer that died: a placeholder being written (".promise-XXXXXX"), a
/// download being received (".Name.download-XXXXXX"), or a deletion taken out of sight beside
/// its item.
bool isLeftOverName(const QString &name)
{
    static const QRegularExpression temporary(QStringLiteral("^\\.(promise-[A-Za-z0-9]{6}|.+\\.download-[A-Za-z0-9]{6})$"));
    return temporary.match(name).hasMatch() || besideDeletionName().match(name).hasMatch();
}

} // namespace

std::optional<Error> PromiseStore::removeItem(const QString &path)
{
    // the item itself may be a link (the link goes, not its target); the folders leading to it
    // must really be the drive's, or a linked folder would lead the deletion out of it
    if (!kd_isInMobileDocuments(QUrl::fromLocalFile(path))) {
        DRLog(LOG_ERR, "Refusing to delete %@: it is not inside the drive", path);
        return Error::fileError(FileWriteNoPermissionError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    struct stat st;
    const bool real = ::lstat(FilePath::encode(path).constData(), &st) == 0;
    const QString placeholderPath = PromisePlaceholder::placeholderPathFor(path);
    if (!real && ::lstat(FilePath::encode(placeholderPath).constData(), &st) != 0) {
        return Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    // a promised item is its placeholder; anything else is removed as itself, a link as a link
    std::optional<Error> error;
    const std::optional<QString> pending = takeOutOfSight(real ? path : placeholderPath, !real, &error);
    if (!pending) {
        return error;
    }
    finishDeletion(*pending); // what cannot be removed now is removed at the next start
    if (real && ::lstat(FilePath::encode(placeholderPath).constData(), &st) == 0) {
        // a placeholder left beside its downloaded item by an interrupted download would
        // otherwise bring the deleted item back as a promise
        if (const std::optional<QString> stale = takeOutOfSight(placeholderPath, true, &error)) {
            finishDeletion(*stale);
        }
    }
    return std::nullopt;
}

void PromiseStore::finishInterruptedWork(std::chrono::seconds leftOverAge)
{
    for (const FilePath::Entry &entry : FilePath::entries(pendingDeletionsPath())) {
        finishDeletion(pendingDeletionsPath() + QLatin1Char('/') + entry.name);
    }
    // a file another process is writing right now is young: only old ones are left-overs
    const time_t before = time_t(QDateTime::currentSecsSinceEpoch() - leftOverAge.count());
    QStringList leftOvers;
    FilePath::walk(DriveLayout::mobileDocumentsPath(), [&](const QString &path, const FilePath::Entry &entry) {
        if (!isLeftOverName(entry.name)) {
            return FilePath::WalkStep::Continue;
        }
        if (const std::optional<struct stat> st = FilePath::linkStatus(path); st && st->st_mtime <= before) {
            leftOvers << path;
        }
        return FilePath::WalkStep::SkipChildren; // a left-over folder goes whole
    });
    for (const QString &leftOver : std::as_const(leftOvers)) {
        const QString name = QFileInfo(leftOver).fileName();
        if (besideDeletionName().match(name).hasMatch()) {
            finishDeletion(leftOver);
        } else {
            ::unlink(FilePath::encode(leftOver).constData());
        }
    }
}
