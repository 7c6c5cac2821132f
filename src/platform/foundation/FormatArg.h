#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include <optional>

/// One argument of a formatted text: any value the system's format strings print, kept as a
/// QVariant. `std::optional` values that are empty, null pointers and default QVariants print as
/// "(null)" through "%@".
class FormatArg final
{
public:
    FormatArg(std::nullptr_t) { }
    FormatArg(const char *text)
        : m_value(text ? QVariant(QByteArray(text)) : QVariant())
    {
    }
    /// A C string that is not const (argv's) prints as text too.
    FormatArg(char *text)
        : FormatArg(static_cast<const char *>(text))
    {
    }
    FormatArg(const QVariant &value)
        : m_value(value)
    {
    }
    template <typename T>
    FormatArg(const std::optional<T> &value)
        : m_value(value ? QVariant::fromValue(*value) : QVariant())
    {
    }
    template <typename T>
    FormatArg(const T &value)
        : m_value(QVariant::fromValue(value))
    {
    }

    const QVariant &value() const { return m_value; }

private:
    QVariant m_value;
};

using FormatArgs = QList<FormatArg>;
