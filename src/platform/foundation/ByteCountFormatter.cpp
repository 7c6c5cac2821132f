#include "platform/foundation/ByteCountFormatter.h"

#include <array>
#include <cmath>

QString ByteCountFormatter::stringFromByteCount(qint64 byteCount, CountStyle style, const QLocale &locale)
{
    return stringFromByteCount(byteCount, style, true, locale);
}

QString ByteCountFormatter::stringFromByteCount(qint64 byteCount, CountStyle style, bool includesUnit,
                                                const QLocale &locale)
{
    if (byteCount == 0) {
        return includesUnit ? QStringLiteral("Zero KB") : QStringLiteral("Zero");
    }
    const double base = (style == CountStyle::File || style == CountStyle::Decimal) ? 1000.0 : 1024.0;
    const bool negative = byteCount < 0;
    const double magnitude = std::abs(double(byteCount));
    const QString sign = negative ? locale.negativeSign() : QString();
    if (magnitude < base) {
        const qint64 whole = qint64(magnitude);
        if (!includesUnit) {
            return sign + locale.toString(whole);
        }
        return sign + locale.toString(whole) + (whole == 1 ? QStringLiteral(" byte") : QStringLiteral(" bytes"));
    }
    static const std::array<const char *, 6> units{"KB", "MB", "GB", "TB", "PB", "EB"};
    double value = magnitude / base;
    size_t unit = 0;
    // the rounded value decides the unit, so that 999,999 bytes read "1 MB", not "1,000 KB"
    auto decimalsFor = [](size_t u) { return u == 0 ? 0 : (u == 1 ? 1 : 2); };
    while (unit + 1 < units.size()) {
        const double factor = std::pow(10.0, decimalsFor(unit));
        if (std::round(value * factor) / factor < base) {
            break;
        }
        value /= base;
        ++unit;
    }
    QString number = locale.toString(value, 'f', decimalsFor(unit));
    if (decimalsFor(unit) > 0) {
        const QString point = locale.decimalPoint();
        const QString zero = locale.zeroDigit();
        while (number.endsWith(zero)) {
            number.chop(zero.size());
        }
        if (number.endsWith(point)) {
            number.chop(point.size());
        }
    }
    if (!includesUnit) {
        return sign + number;
    }
    return sign + number + QLatin1Char(' ') + QLatin1String(units[unit]);
}
