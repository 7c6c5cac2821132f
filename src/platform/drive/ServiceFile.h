#pragma once

#include "platform/foundation/Error.h"

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

/// The drive service's own files (`Service/containers.json`, `account.json`, `kvstore.json`,
/// `quota.json`, `offer.json`, `network`, `store-rate`) and the placeholders of promised items
/// are written by other processes, so they are read as outside input: only a regular file of at
/// most 16 MiB is read, without ever blocking (see RegularFileReader), and anything else there,
/// or JSON that does not parse, is an error record naming the file and what is wrong. The
/// caller then behaves as if the file were missing.
class ServiceFile final
{
public:
    ServiceFile() = delete;

    /// The file's bytes; none when there is no file (no error) or when it must not be read
    /// (`error` set, and logged once per file and problem).
    static std::optional<QByteArray> read(const QString &path, std::optional<Error> *error = nullptr);
    /// The JSON object the file holds; none as for `read`, and for anything but a JSON object.
    static std::optional<QJsonObject> readObject(const QString &path, std::optional<Error> *error = nullptr);
    /// A count or a size from a file: a finite, whole number from 0 to 2^53 (the integers a
    /// JSON number holds exactly); none for anything else ("1e300", -1, 2.5, "12").
    static std::optional<qint64> wholeNumber(const QJsonValue &value);
    /// The error for a file that is there but cannot be used, naming the file and the problem.
    static Error unusableFileError(const QString &path, const QString &problem);
};
