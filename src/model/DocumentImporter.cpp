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

QString failure(const QString &name, const QString &reason)
{
    return LocalizedString::localizedStringWithFormat(QStringLiteral("“%@” could not be added: %@"),
                                                     FilePath::displayName(name), reason);
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

/// Copies one source into the folder whose descriptor is `dirFd`.
Copied importOne(const QString &source, const QString &folder, int dirFd, qint64 *copiedSoFar,
                 const std::function<bool(qint64)> &progress, DocumentImporter::Outcome *outcome)
{
    const QString name = QFileInfo(source).fileName();
    struct stat st {};
    const FileDescriptor in(openSource(source, &st));
    if (in.get() < 0) {
        outcome->failures << failure(name, Error::fromErrno(errno, source, FileReadUnknownError).localizedDescription());
        return Copied::Failed;
    }
    if (S_ISDIR(st.st_mode)) {
        outcome->failures << failure(name, LocalizedString::localized(QStringLiteral("it is a folder; only documents are added.")));
        return Copied::Failed;
    }
    if (!S_ISREG(st.st_mode)) {
        outcome->failures << failure(name, LocalizedString::localized(QStringLiteral("it is not a document.")));
        return Copied::Failed;
    }
    if (!FileUtils::isValidFilename(name)) {
        outcome->failures << failure(name, LocalizedString::localized(QStringLiteral("the drive does not allow its name.")));
        return Copied::Failed;
    }
    ::fcntl(in.get(), F_SETFL, 0); // a regular file: reads may block again, as they should
    const PendingFile pending = PendingFile::open(dirFd, folder, name);
    if (pending.fd < 0) {
        outcome->failures << failure(name, Error::fromErrno(errno, folder).localizedDescription());
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
    QString published;
    const timespec times[2] = {st.st_atim, st.st_mtim}; // the document keeps its date
    if (n < 0 || ::fchmod(pending.fd, 0644) != 0 || ::futimens(pending.fd, times) != 0
        || publishUnderAFreeName(pending, dirFd, folder, name, &published) != 0) {
        outcome->failures << failure(name, Error::fromErrno(errno, folder).localizedDescription());
        pending.discard();
        return Copied::Failed;
    }
    pending.discard(); // named now: only its descriptor is closed
    outcome->added << QUrl::fromLocalFile(folder + QLatin1Char('/') + published);
    DRLog(LOG_INFO, "Added %@ as %@", QUrl::fromLocalFile(source), outcome->added.constLast());
    return Copied::Whole;
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
    // documents go into the drive only: a folder of the drive, by its real path
    if (kd_resolvedPathInMobileDocuments(QUrl::fromLocalFile(folderPath)).isEmpty()) {
        for (const QUrl &source : sources) {
            outcome.failures << failure(QFileInfo(FilePath::localPath(source)).fileName(),
                                        LocalizedString::localized(QStringLiteral("the folder is not in the drive.")));
        }
        return outcome;
    }
    const FileDescriptor dirFd(::open(FilePath::encode(folderPath).constData(), O_DIRECTORY | O_RDONLY | O_CLOEXEC));
    qint64 copied = 0;
    for (const QUrl &source : sources) {
        if (dirFd.get() < 0) {
            outcome.failures << failure(QFileInfo(FilePath::localPath(source)).fileName(),
                                        Error::fromErrno(errno, folderPath).localizedDescription());
            continue;
        }
        // every document is attempted: one failure must not strand the rest
        if (importOne(FilePath::localPath(source), folderPath, dirFd.get(), &copied, progress, &outcome) == Copied::Cancelled) {
            outcome.cancelled = true;
            break;
        }
    }
    return outcome;
}
