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

namespace {

/// The form nearly every server sends, "Sun, 22 Nov 2026 18:33:39 GMT", read by position: a
/// listing of thousands of documents has as many dates, and the general reader goes through
/// the local time zone for each.
QDateTime parseImfFixdate(QByteArrayView text)
{
    if (text.size() != 29 || text.at(3) != ',' || text.at(4) != ' ' || text.at(7) != ' ' || text.at(11) != ' '
        || text.at(16) != ' ' || text.at(19) != ':' || text.at(22) != ':' || text.sliced(25) != " GMT") {
        return {};
    }
    static const char months[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const QByteArrayView month = text.sliced(8, 3);
    int monthNumber = 0;
    for (int m = 0; m < 12; ++m) {
        if (month == QByteArrayView(months + 3 * m, 3)) {
            monthNumber = m + 1;
        }
    }
    const auto number = [&text](qsizetype from, qsizetype length) {
        int value = 0;
        for (qsizetype i = from; i < from + length; ++i) {
            const char c = text.at(i);
            if (c < '0' || c > '9') {
                return -1;
            }
            value = value * 10 + (c - '0');
        }
        return value;
    };
    const QDate date(number(12, 4), monthNumber, number(5, 2));
    const QTime time(number(17, 2), number(20, 2), number(23, 2));
    if (monthNumber == 0 || !date.isValid() || !time.isValid()) {
        return {};
    }
    return QDateTime(date, time, QTimeZone::utc());
}

} // namespace

QDateTime HttpDate::parse(const QByteArray &text)
{
    if (const QDateTime fixed = parseImfFixdate(QByteArrayView(text).trimmed()); fixed.isValid()) {
        return fixed;
    }
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
