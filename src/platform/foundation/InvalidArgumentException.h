#pragma once

#include <QString>

#include <stdexcept>

/// The one exception of the system: raised when code calls an initialiser that must not be used.
/// Nothing catches it; it marks a programming error.
class InvalidArgumentException final : public std::invalid_argument
{
public:
    explicit InvalidArgumentException(const QString &reason)
        : std::invalid_argument(reason.toStdString())
        , m_reason(reason)
    {
    }

    QString reason() const { return m_reason; }

private:
    QString m_reason;
};
