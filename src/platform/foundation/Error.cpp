#include "platform/foundation/Error.h"

#include <QStringList>

#include <cerrno>
#include <cstring>

namespace {

QString englishFileDescription(qint64 code)
{
    switch (code) {
    case FileNoSuchFileError:
        return QStringLiteral("The operation couldn’t be completed. No such file or directory.");
    case FileLockingError:
        return QStringLiteral("The file couldn’t be locked.");
    case FileReadUnknownError:
        return QStringLiteral("The file couldn’t be opened.");
    case FileReadNoPermissionError:
        return QStringLiteral("The file couldn’t be opened because you don’t have permission to view it.");
    case FileReadCorruptFileError:
        return QStringLiteral("The file couldn’t be opened because it isn’t in the correct format.");
    case FileReadNoSuchFileError:
        return QStringLiteral("The file couldn’t be opened because there is no such file.");
    case FileWriteUnknownError:
        return QStringLiteral("The file couldn’t be saved.");
    case FileWriteNoPermissionError:
        return QStringLiteral("You don’t have permission to save the file.");
    case FileWriteInvalidFileNameError:
        return QStringLiteral("The file couldn’t be saved because the file name is invalid.");
    case FileWriteFileExistsError:
        return QStringLiteral("The file couldn’t be saved because a file with the same name already exists.");
    case FileWriteOutOfSpaceError:
        return QStringLiteral("The file couldn’t be saved because there isn’t enough space.");
    case UserCancelledError:
        return QStringLiteral("The operation was cancelled.");
    case FeatureUnsupportedError:
        return QStringLiteral("The requested operation is not supported.");
    case UbiquityFileUnavailableError:
        return QStringLiteral("The file is not available on Aerova Drive.");
    case UbiquityServerNotAvailableError:
        return QStringLiteral("The file couldn’t be downloaded because Aerova Drive is not available.");
    default:
        return QStringLiteral("The operation couldn’t be completed. (File error %1.)").arg(code);
    }
}

qint64 fileCodeForErrno(int errnum, qint64 fallbackCode)
{
    switch (errnum) {
    case ENOENT:
    case ENOTDIR:
        return fallbackCode == FileReadUnknownError ? FileReadNoSuchFileError : FileNoSuchFileError;
    case EEXIST:
    case ENOTEMPTY:
        return FileWriteFileExistsError;
    case EACCES:
    case EPERM:
    case EROFS:
        return fallbackCode == FileReadUnknownError ? FileReadNoPermissionError : FileWriteNoPermissionError;
    case ENOSPC:
    case EDQUOT:
        return FileWriteOutOfSpaceError;
    case ENAMETOOLONG:
    case EINVAL:
        return fallbackCode == FileReadUnknownError ? FileReadUnknownError : FileWriteInvalidFileNameError;
    case ECANCELED:
        return UserCancelledError;
    default:
        return fallbackCode;
    }
}

QString describeValue(const QVariant &value)
{
    if (value.canConvert<Error>() && value.metaType() == QMetaType::fromType<Error>()) {
        return value.value<Error>().description();
    }
    return value.toString();
}

} // namespace

Error::Error(const QString &domain, qint64 code, const QVariantMap &userInfo)
    : m_domain(domain)
    , m_code(code)
    , m_userInfo(userInfo)
{
}

Error Error::fileError(qint64 code, const QVariantMap &userInfo)
{
    return Error(QString::fromLatin1(FileErrorDomain), code, userInfo);
}

Error Error::fromErrno(int errnum, const QString &path, qint64 fallbackCode)
{
    const Error underlying(QString::fromLatin1(PosixErrorDomain), errnum,
                           {{QString::fromLatin1(ErrorKey::LocalizedDescription),
                             QString::fromLocal8Bit(std::strerror(errnum))}});
    QVariantMap info{{QString::fromLatin1(ErrorKey::UnderlyingError), QVariant::fromValue(underlying)}};
    if (!path.isEmpty()) {
        info.insert(QString::fromLatin1(ErrorKey::FilePath), path);
    }
    return fileError(fileCodeForErrno(errnum, fallbackCode), info);
}

bool Error::isFileError(qint64 code) const
{
    return m_code == code && m_domain == QLatin1String(FileErrorDomain);
}

QString Error::localizedDescription() const
{
    const QString own = m_userInfo.value(QString::fromLatin1(ErrorKey::LocalizedDescription)).toString();
    if (!own.isEmpty()) {
        return own;
    }
    if (m_domain == QLatin1String(FileErrorDomain)) {
        return englishFileDescription(m_code);
    }
    if (m_domain == QLatin1String(PosixErrorDomain)) {
        return QString::fromLocal8Bit(std::strerror(int(m_code)));
    }
    return QStringLiteral("The operation couldn’t be completed. (%1 error %2.)").arg(m_domain).arg(m_code);
}

QString Error::localizedFailureReason() const
{
    const QString own = m_userInfo.value(QString::fromLatin1(ErrorKey::LocalizedFailureReason)).toString();
    if (!own.isEmpty()) {
        return own;
    }
    const QVariant underlying = m_userInfo.value(QString::fromLatin1(ErrorKey::UnderlyingError));
    if (underlying.metaType() == QMetaType::fromType<Error>()) {
        return underlying.value<Error>().localizedDescription();
    }
    return {};
}

QString Error::description() const
{
    QStringList info;
    for (auto it = m_userInfo.cbegin(); it != m_userInfo.cend(); ++it) {
        info << it.key() % QStringLiteral("=") % describeValue(it.value());
    }
    return QStringLiteral("Error Domain=%1 Code=%2 \"%3\" UserInfo={%4}")
        .arg(m_domain)
        .arg(m_code)
        .arg(localizedDescription(), info.join(QStringLiteral(", ")));
}

bool Error::operator==(const Error &other) const
{
    return m_domain == other.m_domain && m_code == other.m_code && m_userInfo == other.m_userInfo;
}
