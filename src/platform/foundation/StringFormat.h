#pragma once

#include "platform/foundation/FormatArg.h"

#include <QString>

/// Formats texts written in the system's format syntax, the one every log line and localized
/// format of the app uses: "%@" prints an object's description (a URL's string, a number's
/// decimal, a list or dictionary printed readably, nil as "(null)"); the C conversions
/// %d %i %u %o %x %X %c %s %e %f %g with their flags, width, precision and length modifiers;
/// positional forms ("%1$@", "%2$d"); and "%%".
class StringFormat final
{
public:
    StringFormat() = delete;

    static QString format(const QString &format, const FormatArgs &args);
    template <typename... Args>
    static QString format(const char *formatText, const Args &...args)
    {
        return format(QString::fromUtf8(formatText), FormatArgs{FormatArg(args)...});
    }

    /// The description "%@" prints for a value.
    static QString describe(const QVariant &value);
};
