#include "sync/HttpDate.h"

#include <QLocale>
#include <QTimeZone>

namespace {

QDateTime asUtc(QDateTime date)
{
    if (!date.isValid()) {
        return {};
    }
    date.setTimeZone(QTimeZone::utc());
    return date;
}

} // namespace

QDateTime HttpDate::parse(const QByteArray &text)
{
    const QString trimmed = QString::fromLatin1(text.trimmed()).simplified();
    if (trimmed.isEmpty()) {
        return {};
    }
    const QLocale c = QLocale::c();
    // the day's name adds nothing and, with RFC 850's two-digit years, would not match the
    // century Qt picks: it is dropped before reading
    QString withoutDay = trimmed;
    if (const qsizetype comma = trimmed.indexOf(QLatin1Char(',')); comma > 0 && comma < 10) {
        withoutDay = trimmed.mid(comma + 1).trimmed();
    } else if (trimmed.size() > 4 && trimmed.at(3) == QLatin1Char(' ') && trimmed.at(0).isLetter()) {
        withoutDay = trimmed.mid(4); // asctime: "Sun Nov 22 18:33:39 2026"
    }
    // the names of months are English whatever the user's locale: read them with C's
    for (const char *pattern : {"dd MMM yyyy HH:mm:ss 'GMT'", "d MMM yyyy HH:mm:ss 'GMT'", "dd MMM yyyy HH:mm:ss 'UTC'",
                                "dd-MMM-yy HH:mm:ss 'GMT'", "MMM d HH:mm:ss yyyy"}) {
        QDateTime date = c.toDateTime(withoutDay, QString::fromLatin1(pattern));
        if (date.isValid()) {
            if (QByteArray(pattern).contains("-yy ") && date.date().year() < 1970) {
                date = date.addYears(100); // RFC 850's two-digit years
            }
            return asUtc(date);
        }
    }
    if (QDateTime date = QDateTime::fromString(trimmed, Qt::RFC2822Date); date.isValid()) {
        return date.toUTC();
    }
    if (QDateTime date = QDateTime::fromString(trimmed, Qt::ISODateWithMs); date.isValid()) {
        return date.timeSpec() == Qt::LocalTime ? asUtc(date) : date.toUTC();
    }
    return {};
}

QByteArray HttpDate::format(const QDateTime &date)
{
    return QLocale::c().toString(date.toUTC(), QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'")).toLatin1();
}
