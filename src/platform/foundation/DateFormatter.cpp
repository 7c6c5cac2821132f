#include "platform/foundation/DateFormatter.h"

#include <QRegularExpression>

namespace {

QString withoutWeekday(QString pattern)
{
    static const QRegularExpression weekday(QStringLiteral("d{4}[,\\s]*|[,\\s]*d{4}"));
    pattern.remove(weekday);
    return pattern.trimmed();
}

QString shortMonth(QString pattern)
{
    return pattern.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
}

/// The short time shows hours and minutes alone, also where the locale's own short form has
/// seconds (the C locale's "HH:mm:ss").
QString withoutSeconds(QString pattern)
{
    static const QRegularExpression seconds(QStringLiteral("[:.]s{1,2}(?:[.,]z{1,3})?"));
    return pattern.remove(seconds);
}

QString timePattern(DateFormatter::Style timeStyle, const QLocale &locale)
{
    switch (timeStyle) {
    case DateFormatter::Style::None:
        return {};
    case DateFormatter::Style::Short:
        return withoutSeconds(locale.timeFormat(QLocale::ShortFormat));
    case DateFormatter::Style::Medium:
        return withoutSeconds(locale.timeFormat(QLocale::ShortFormat)).replace(QStringLiteral("mm"), QStringLiteral("mm:ss"));
    case DateFormatter::Style::Long:
    case DateFormatter::Style::Full:
        return locale.timeFormat(QLocale::LongFormat);
    }
    return {};
}

} // namespace

QString DateFormatter::datePattern(Style dateStyle, const QLocale &locale)
{
    const QString full = locale.dateFormat(QLocale::LongFormat);
    switch (dateStyle) {
    case Style::None:
        return {};
    case Style::Short:
        return locale.dateFormat(QLocale::ShortFormat);
    case Style::Medium:
        return shortMonth(withoutWeekday(full));
    case Style::Long:
        return withoutWeekday(full);
    case Style::Full:
        return full;
    }
    return {};
}

QString DateFormatter::localizedString(const QDateTime &date, Style dateStyle, Style timeStyle,
                                       const QLocale &locale)
{
    if (!date.isValid()) {
        return {};
    }
    const QDateTime local = date.toLocalTime();
    const QString datePart = dateStyle == Style::None ? QString() : locale.toString(local.date(), datePattern(dateStyle, locale));
    const QString timePart = timeStyle == Style::None ? QString() : locale.toString(local.time(), timePattern(timeStyle, locale));
    if (datePart.isEmpty()) {
        return timePart;
    }
    if (timePart.isEmpty()) {
        return datePart;
    }
    // long dates read as a sentence ("November 22, 2026 at 3:04 PM"), short ones as a list
    const bool sentence = dateStyle == Style::Long || dateStyle == Style::Full;
    return datePart + (sentence ? QStringLiteral(" at ") : QStringLiteral(", ")) + timePart;
}
