#pragma once

#include <QByteArray>
#include <QString>

/// Reads a small file that another process writes, without trusting what is there: only a
/// regular file is read (a FIFO would block for ever, a link to `/dev/zero` would never end),
/// the open never blocks, and no more than a limit is read. Links are followed, unless the
/// caller refuses them; what they lead to is checked.
class RegularFileReader final
{
public:
    RegularFileReader() = delete;

    /// What a service, settings or state file may hold at most.
    static constexpr qint64 DefaultLimit = 16 * 1024 * 1024;

    enum class Status {
        Read,     ///< the file's bytes were read
        Missing,  ///< nothing is there: the caller's state of a missing file
        Unusable, ///< something is there that must not be read; `problem` says what
    };

    /// Whether a link in the file's place is followed or makes the file unusable.
    enum class Links { Follow, Refuse };

    /// Reads the whole file into `bytes`. On `Unusable`, `problem` says what is wrong in words
    /// a log reader understands ("is a FIFO, not a regular file").
    static Status read(const QString &path, QByteArray *bytes, QString *problem, qint64 limit = DefaultLimit,
                       Links links = Links::Follow);
    /// Whether a file that a library reads by itself (an INI file) may be given to it: `Read`
    /// for a regular file within the limit, `Missing` when there is none.
    static Status check(const QString &path, QString *problem, qint64 limit = DefaultLimit);
};
