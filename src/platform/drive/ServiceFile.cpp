#include "platform/drive/ServiceFile.h"

#include "core/DRLogging.h"
#include "platform/foundation/RegularFileReader.h"

#include <QHash>
#include <QJsonDocument>
#include <QMutex>

#include <cmath>

namespace {

/// Says what is wrong with a file once, not on every read of it (the app asks for the account
/// and the containers many times a second while it browses); an empty problem means the file
/// is fine again, so that the next problem is said again.
void logOnce(const QString &path, const QString &problem)
{
    static QMutex mutex;
    static QHash<QString, QString> reported;
    {
        QMutexLocker locker(&mutex);
        if (problem.isEmpty()) {
            reported.remove(path);
            return;
        }
        if (reported.value(path) == problem) {
            return;
        }
        if (reported.size() > 1024) {
            reported.clear();
        }
        reported.insert(path, problem);
    }
    DRLog(LOG_ERR, "Ignoring %@: it %@", path, problem);
}

} // namespace

Error ServiceFile::unusableFileError(const QString &path, const QString &problem)
{
    return Error::fileError(FileReadCorruptFileError,
                            {{QString::fromLatin1(ErrorKey::FilePath), path},
                             {QString::fromLatin1(ErrorKey::LocalizedDescription),
                              QStringLiteral("The file %1 %2.").arg(path, problem)}});
}

std::optional<QByteArray> ServiceFile::read(const QString &path, std::optional<Error> *error)
{
    QByteArray bytes;
    QString problem;
    switch (RegularFileReader::read(path, &bytes, &problem)) {
    case RegularFileReader::Status::Missing:
        return std::nullopt;
    case RegularFileReader::Status::Unusable:
        logOnce(path, problem);
        if (error) {
            *error = unusableFileError(path, problem);
        }
        return std::nullopt;
    case RegularFileReader::Status::Read:
        break;
    }
    return bytes;
}

std::optional<QJsonObject> ServiceFile::readObject(const QString &path, std::optional<Error> *error)
{
    const std::optional<QByteArray> bytes = read(path, error);
    if (!bytes) {
        return std::nullopt;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &parseError);
    QString problem;
    if (parseError.error != QJsonParseError::NoError) {
        problem = QStringLiteral("is not valid JSON (%1 at byte %2)").arg(parseError.errorString()).arg(parseError.offset);
    } else if (!document.isObject()) {
        problem = QStringLiteral("does not hold a JSON object");
    }
    if (!problem.isEmpty()) {
        logOnce(path, problem);
        if (error) {
            *error = unusableFileError(path, problem);
        }
        return std::nullopt;
    }
    logOnce(path, QString());
    return document.object();
}

std::optional<qint64> ServiceFile::wholeNumber(const QJsonValue &value)
{
    constexpr double largest = 9007199254740992.0; // 2^53
    if (!value.isDouble()) {
        return std::nullopt;
    }
    const double number = value.toDouble();
    if (!std::isfinite(number) || number < 0 || number > largest || std::trunc(number) != number) {
        return std::nullopt;
    }
    return qint64(number);
}
