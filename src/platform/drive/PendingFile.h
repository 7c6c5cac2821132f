#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

/// A file of the drive being written before it gets its name: unnamed when the file system
/// allows it (nothing is left behind if the process dies), else a hidden name beside it
/// (".Name.download-XXXXXX") that is removed on failure, and as a left-over at the next start.
/// Whoever reads the folder meanwhile never sees half a file under a final name.
struct PendingFile {
    int fd = -1;
    QByteArray namedPath; ///< empty for an unnamed file

    /// Opens one for `name` in `folder` (whose descriptor is `dirFd`); `fd` is -1 on failure
    /// (errno set).
    static PendingFile open(int dirFd, const QString &folder, const QString &name);
    /// Gives the written file its name in the folder; never replaces an existing item (-1 with
    /// errno EEXIST then).
    int publish(int dirFd, const QByteArray &name) const;
    /// Closes it and removes what is left of it under its hidden name.
    void discard() const;

    /// Copies up to `want` bytes from `in` to `out`: in the kernel while it can, else through
    /// `buffer` (`kernelCopy` turns false for good once the file systems refuse). The bytes
    /// copied, 0 at the end of `in`, -1 on an error (errno set).
    static ssize_t copyStep(int in, int out, size_t want, bool *kernelCopy, QByteArray *buffer);
};
