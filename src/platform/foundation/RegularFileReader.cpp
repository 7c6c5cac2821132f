#include "platform/foundation/RegularFileReader.h"

#include "platform/foundation/FilePath.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString kindOf(mode_t mode)
{
    if (S_ISDIR(mode)) {
        return QStringLiteral("a folder");
    }
    if (S_ISFIFO(mode)) {
        return QStringLiteral("a FIFO");
    }
    if (S_ISCHR(mode)) {
        return QStringLiteral("a character device");
    }
    if (S_ISBLK(mode)) {
        return QStringLiteral("a block device");
    }
    if (S_ISSOCK(mode)) {
        return QStringLiteral("a socket");
    }
    return QStringLiteral("not a file");
}

QString tooLarge(qint64 limit)
{
    return QStringLiteral("is larger than the %1 bytes it may hold").arg(limit);
}

/// The verdict on what an open descriptor or a stat says is there.
RegularFileReader::Status judge(const struct stat &st, QString *problem, qint64 limit)
{
    if (!S_ISREG(st.st_mode)) {
        *problem = QStringLiteral("is %1, not a regular file").arg(kindOf(st.st_mode));
        return RegularFileReader::Status::Unusable;
    }
    if (st.st_size > limit) {
        *problem = tooLarge(limit);
        return RegularFileReader::Status::Unusable;
    }
    return RegularFileReader::Status::Read;
}

} // namespace

RegularFileReader::Status RegularFileReader::read(const QString &path, QByteArray *bytes, QString *problem,
                                                  qint64 limit, Links links)
{
    bytes->clear();
    // O_NONBLOCK: opening a FIFO without a writer returns at once instead of waiting for one
    const int fd = ::open(FilePath::encode(path).constData(),
                          O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (links == Links::Refuse ? O_NOFOLLOW : 0));
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return Status::Missing;
        }
        if (errno == ELOOP && links == Links::Refuse) {
            *problem = QStringLiteral("is a link");
            return Status::Unusable;
        }
        *problem = QStringLiteral("cannot be opened: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return Status::Unusable;
    }
    struct stat st;
    Status status = ::fstat(fd, &st) == 0 ? judge(st, problem, limit) : Status::Unusable;
    if (status == Status::Read) {
        // the file may grow while it is read: never past the limit
        bytes->resize(qsizetype(std::min<qint64>(limit + 1, std::max<qint64>(st.st_size, 4096))));
        qint64 total = 0;
        while (true) {
            if (total == bytes->size()) {
                if (total > limit) {
                    break;
                }
                bytes->resize(qsizetype(std::min<qint64>(limit + 1, total * 2)));
            }
            const ssize_t n = ::read(fd, bytes->data() + total, size_t(bytes->size() - total));
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n < 0) {
                *problem = QStringLiteral("cannot be read: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
                status = Status::Unusable;
                break;
            }
            if (n == 0) {
                break;
            }
            total += n;
        }
        bytes->truncate(qsizetype(total));
        if (status == Status::Read && total > limit) {
            *problem = tooLarge(limit);
            status = Status::Unusable;
        }
    } else if (problem->isEmpty()) {
        *problem = QStringLiteral("cannot be examined: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
    }
    ::close(fd);
    if (status != Status::Read) {
        bytes->clear();
    }
    return status;
}

RegularFileReader::Status RegularFileReader::check(const QString &path, QString *problem, qint64 limit)
{
    struct stat st;
    if (::stat(FilePath::encode(path).constData(), &st) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return Status::Missing;
        }
        *problem = QStringLiteral("cannot be examined: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return Status::Unusable;
    }
    return judge(st, problem, limit);
}
