#include "platform/drive/PendingFile.h"

#include "platform/foundation/FilePath.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

PendingFile PendingFile::open(int dirFd, const QString &folder, const QString &name)
{
    PendingFile pending;
    pending.fd = ::openat(dirFd, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0644);
    if (pending.fd >= 0) {
        return pending;
    }
    pending.namedPath = FilePath::encode(folder + QStringLiteral("/.") + name) + ".download-XXXXXX";
    pending.fd = ::mkostemp(pending.namedPath.data(), O_CLOEXEC);
    if (pending.fd < 0) {
        pending.namedPath.clear();
    }
    return pending;
}

int PendingFile::publish(int dirFd, const QByteArray &name) const
{
    if (namedPath.isEmpty()) {
        const QByteArray procPath = "/proc/self/fd/" + QByteArray::number(fd);
        return ::linkat(AT_FDCWD, procPath.constData(), dirFd, name.constData(), AT_SYMLINK_FOLLOW);
    }
    return ::renameat2(AT_FDCWD, namedPath.constData(), dirFd, name.constData(), RENAME_NOREPLACE);
}

void PendingFile::discard() const
{
    if (!namedPath.isEmpty()) {
        ::unlink(namedPath.constData());
    }
    if (fd >= 0) {
        ::close(fd);
    }
}

ssize_t PendingFile::copyStep(int in, int out, size_t want, bool *kernelCopy, QByteArray *buffer)
{
    if (*kernelCopy) {
        const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, want, 0);
        if (n >= 0 || !(errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
            return n;
        }
        *kernelCopy = false;
    }
    buffer->resize(qsizetype(want));
    const ssize_t n = ::read(in, buffer->data(), want);
    if (n > 0 && ::write(out, buffer->constData(), size_t(n)) != n) {
        return -1;
    }
    return n;
}
