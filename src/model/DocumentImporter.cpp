#include "model/DocumentImporter.h"

#include "core/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PendingFile.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"

#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t CopyStep = 4 * 1024 * 1024;

/// Opens a source for reading without waiting on it (a FIFO without a writer answers at once)
/// and says what it is.
int openSource(const QString &path, struct stat *st)
{
    const int fd = ::open(FilePath::encode(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd >= 0 && ::fstat(fd, st) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

/// Names the whole copy in the folder: its own name, else the next free one; a name taken
/// between the look and the naming is looked for again.
int publishUnderAFreeName(const PendingFile &pending, int dirFd, const QString &folder, const QString &name,
                          QString *published)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString freeName = FileUtils::stringByUniquingPathInsideDirectory_forBasename(folder, name);
        *published = freeName.isNull() ? name : freeName;
        if (pending.publish(dirFd, FilePath::encode(*published)) == 0) {
            return 0;
        }
        if (errno != EEXIST) {
            return -1;
        }
    }
    errno = EEXIST;
    return -1;
}

enum class Copied { Whole, Failed, Cancelled };

/// Copies one source into the folder whose descriptor is `dirFd`, under its name or the next
/// free one (`published`); on a failure, `reason` says why in a person's words.
Copied importOne(const QString &source, const QString &name, const QString &folder, int dirFd, qint64 *copiedSoFar,
                 const std::function<bool(qint64)> &progress, QString *published, QString *reason)
{
    struct stat st {};
    const FileDescriptor in(openSource(source, &st));
    if (!in.isValid()) {
        *reason = Error::fromErrno(errno, source, FileReadUnknownError).localizedDescription();
        return Copied::Failed;
    }
    if (!S_ISREG(st.st_mode)) {
        *reason = LocalizedString::localized(S_ISDIR(st.st_mode) ? QStringLiteral("it is a folder; only documents are added.")
                                                                 : QStringLiteral("it is not a document."));
        return Copied::Failed;
    }
    if (!FileUtils::isValidFilename(name)) {
        *reason = LocalizedString::localized(QStringLiteral("the drive does not allow its name."));
        return Copied::Failed;
    }
    ::fcntl(in.get(), F_SETFL, 0); // a regular file: reads may block again, as they should
    const PendingFile pending = PendingFile::open(dirFd, folder, name);
    if (pending.fd < 0) {
        *reason = Error::fromErrno(errno, folder).localizedDescription();
        return Copied::Failed;
    }
    bool kernelCopy = true;
    QByteArray buffer;
    ssize_t n = 0;
    while ((n = PendingFile::copyStep(in.get(), pending.fd, CopyStep, &kernelCopy, &buffer)) > 0) {
        *copiedSoFar += n;
        if (progress && !progress(*copiedSoFar)) {
            pending.discard();
            return Copied::Cancelled;
        }
    }
    const timespec times[2] = {st.st_atim, st.st_mtim}; // the document keeps its date
    const bool whole = n == 0 && ::fchmod(pending.fd, 0644) == 0 && ::futimens(pending.fd, times) == 0
        && publishUnderAFreeName(pending, dirFd, folder, name, published) == 0;
    if (!whole) {
        *reason = Error::fromErrno(errno, folder).localizedDescription();
    }
    pending.discard(); // once named, only its descriptor is closed
    return whole ? Copied::Whole : Copied::Failed;
}

} // namespace

qint64 DocumentImporter::totalSize(const QList<QUrl> &sources)
{
    qint64 total = 0;
    for (const QUrl &source : sources) {
        const std::optional<struct stat> st = FilePath::status(FilePath::localPath(source));
        if (st && S_ISREG(st->st_mode)) {
            total += st->st_size;
        }
    }
    return total;
}

DocumentImporter::Outcome DocumentImporter::importDocuments(const QList<QUrl> &sources, const QUrl &folder,
                                                            const std::function<bool(qint64)> &progress)
{
    Outcome outcome;
    const QString folderPath = FilePath::localPath(folder);
    // documents go into the drive only: a folder of the drive, opened by the real path checked
    const QString realFolder = kd_resolvedPathInMobileDocuments(QUrl::fromLocalFile(folderPath));
    const FileDescriptor dirFd(realFolder.isEmpty() ? -1
                                                    : ::open(FilePath::encode(realFolder).constData(),
                                                             O_DIRECTORY | O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    const QString folderProblem = realFolder.isEmpty() ? LocalizedString::localized(QStringLiteral("the folder is not in the drive."))
                                  : !dirFd.isValid()   ? Error::fromErrno(errno, folderPath).localizedDescription()
                                                       : QString();
    qint64 copied = 0;
    for (const QUrl &source : sources) {
        const QString sourcePath = FilePath::localPath(source);
        const QString name = QFileInfo(sourcePath).fileName();
        QString published;
        QString reason = folderProblem;
        // every document is attempted: one failure must not strand the rest
        const Copied copy = reason.isEmpty()
            ? importOne(sourcePath, name, realFolder, dirFd.get(), &copied, progress, &published, &reason)
            : Copied::Failed;
        if (copy == Copied::Cancelled) {
            outcome.cancelled = true;
            break;
        }
        if (copy == Copied::Failed) {
            outcome.failures << LocalizedString::localizedStringWithFormat(QStringLiteral("“%@” could not be added: %@"),
                                                                          FilePath::displayName(name), reason);
            DRLog(LOG_ERR, "Could not add %@ to %@: %@", source, folder, reason);
            continue;
        }
        outcome.added << QUrl::fromLocalFile(folderPath + QLatin1Char('/') + published);
        DRLog(LOG_INFO, "Added %@ as %@", source, outcome.added.constLast());
    }
    return outcome;
}
