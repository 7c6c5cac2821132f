#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

/// Dates for people, in the styles a screen chooses: none, short ("11/22/26"), medium
/// ("Nov 22, 2026"), long ("November 22, 2026") and full ("Sunday, November 22, 2026"), each with
/// an optional time in the short ("3:04 PM") style. Patterns come from the locale; the time is
/// shown in the local time zone.
class DateFormatter final
{
public:
    enum class Style {
        None,
        Short,
        Medium,
        Long,
        Full,
    };

    DateFormatter() = delete;

    static QString localizedString(const QDateTime &date, Style dateStyle, Style timeStyle,
                                   const QLocale &locale = QLocale());
    /// The date pattern the locale uses for a style.
    static QString datePattern(Style dateStyle, const QLocale &locale = QLocale());
};
