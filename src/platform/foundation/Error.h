#pragma once

#include <QMetaType>
#include <QString>
#include <QVariantMap>

#include <optional>

/// The general file error domain: every failure of a file operation of the app or of the drive
/// service carries one of its codes.
inline constexpr const char FileErrorDomain[] = "AerovaFileErrorDomain";
/// Operating-system errors (errno values) travel under this domain, usually as the underlying
/// error of a file error.
inline constexpr const char PosixErrorDomain[] = "AerovaPosixErrorDomain";

/// Codes of the general file error domain that the app and the drive service produce.
enum FileErrorCode : int {
    FileNoSuchFileError = 4,
    FileLockingError = 255,
    FileReadUnknownError = 256,
    FileReadNoPermissionError = 257,
    FileReadNoSuchFileError = 260,
    FileReadCorruptFileError = 259,
    FileWriteUnknownError = 512,
    FileWriteNoPermissionError = 513,
    FileWriteInvalidFileNameError = 514,
    FileWriteFileExistsError = 516,
    FileWriteOutOfSpaceError = 640,
    UserCancelledError = 3072,
    FeatureUnsupportedError = 3328,
    UbiquityFileUnavailableError = 4353,
    UbiquityServerNotAvailableError = 4355,
};

/// Well-known keys of an error's user info.
namespace ErrorKey {
inline constexpr const char FilePath[] = "FilePath";
inline constexpr const char URL[] = "URL";
inline constexpr const char UnderlyingError[] = "UnderlyingError";
inline constexpr const char LocalizedDescription[] = "LocalizedDescription";
inline constexpr const char LocalizedFailureReason[] = "LocalizedFailureReason";
} // namespace ErrorKey

/// A failure crossing a boundary of the system: a domain, an integer code and a user info
/// dictionary. Operations that may fail return `std::optional<Error>`, empty on success.
class Error final
{
public:
    Error() = default;
    Error(const QString &domain, qint64 code, const QVariantMap &userInfo = {});

    /// An error of the general file domain.
    static Error fileError(qint64 code, const QVariantMap &userInfo = {});
    /// A file error describing an operating-system failure on `path`: the errno value is kept as
    /// the underlying error and mapped to the closest file code.
    static Error fromErrno(int errnum, const QString &path, qint64 fallbackCode = FileWriteUnknownError);

    QString domain() const { return m_domain; }
    qint64 code() const { return m_code; }
    QVariantMap userInfo() const { return m_userInfo; }
    bool isFileError(qint64 code) const;

    /// The sentence a user is shown: the user info's own description when present, else the
    /// domain's English text for the code.
    QString localizedDescription() const;
    /// Why it failed, when known (the underlying operating-system message).
    QString localizedFailureReason() const;
    /// The form used in log lines: domain, code, description and user info.
    QString description() const;

    bool operator==(const Error &other) const;

private:
    QString m_domain;
    qint64 m_code = 0;
    QVariantMap m_userInfo;
};

Q_DECLARE_METATYPE(Error)
