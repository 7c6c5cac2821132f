#include "platform/foundation/StringFormat.h"

#include "platform/foundation/Error.h"

#include <QDateTime>
#include <QLocale>
#include <QStringList>
#include <QTimeZone>
#include <QUrl>

#include <algorithm>
#include <limits>

namespace {

/// The widest field and the longest precision a conversion is given: a message is read by a
/// person, and a format from elsewhere ("%2000000000@", "%.99999999f") must not make the
/// formatter allocate gigabytes or print for minutes.
constexpr int MaximumFieldWidth = 1024;

struct Spec {
    int position = 0; // 1-based when given ("%2$@")
    QString flags;
    QString width; // at most MaximumFieldWidth
    QString precision; // including the leading '.'; at most MaximumFieldWidth
    QString length;
    QChar conversion;
};

bool isAsciiDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

/// Reads the decimal digits at `*at`, moving past them, and returns their value kept at most
/// `limit` (no overflow however many digits follow).
int readClampedNumber(const QString &text, qsizetype *at, int limit)
{
    qint64 value = 0;
    while (*at < text.size() && isAsciiDigit(text.at(*at))) {
        value = std::min<qint64>(limit, value * 10 + (text.at(*at).unicode() - '0'));
        ++*at;
    }
    return int(value);
}

QString indentLines(const QString &text)
{
    QString result = text;
    result.replace(QLatin1Char('\n'), QStringLiteral("\n    "));
    return result;
}

QString describeList(const QVariantList &list)
{
    if (list.isEmpty()) {
        return QStringLiteral("(\n)");
    }
    QStringList items;
    items.reserve(list.size());
    for (const QVariant &item : list) {
        items << QStringLiteral("    ") + indentLines(StringFormat::describe(item));
    }
    return QStringLiteral("(\n") + items.join(QStringLiteral(",\n")) + QStringLiteral("\n)");
}

QString describeMap(const QVariantMap &map)
{
    if (map.isEmpty()) {
        return QStringLiteral("{\n}");
    }
    QString result = QStringLiteral("{\n");
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        result += QStringLiteral("    ") + it.key() + QStringLiteral(" = ")
            + indentLines(StringFormat::describe(it.value())) + QStringLiteral(";\n");
    }
    return result + QLatin1Char('}');
}

bool isUnsignedConversion(QChar c)
{
    return c == QLatin1Char('u') || c == QLatin1Char('x') || c == QLatin1Char('X') || c == QLatin1Char('o');
}

bool isIntegerConversion(QChar c)
{
    return c == QLatin1Char('d') || c == QLatin1Char('i') || isUnsignedConversion(c);
}

bool isFloatConversion(QChar c)
{
    const char l = c.toLatin1();
    return l == 'f' || l == 'F' || l == 'e' || l == 'E' || l == 'g' || l == 'G' || l == 'a' || l == 'A';
}

QString pad(const QString &text, const Spec &spec)
{
    const int width = spec.width.toInt();
    if (text.size() >= width) {
        return text;
    }
    return spec.flags.contains(QLatin1Char('-')) ? text.leftJustified(width) : text.rightJustified(width);
}

QString formatOne(const Spec &spec, const QVariant &value)
{
    const QChar c = spec.conversion;
    if (c == QLatin1Char('@')) {
        return pad(StringFormat::describe(value), spec);
    }
    if (c == QLatin1Char('s') || c == QLatin1Char('S')) {
        QString text = value.isValid() ? StringFormat::describe(value) : QStringLiteral("(null)");
        if (!spec.precision.isEmpty()) {
            text.truncate(spec.precision.mid(1).toInt());
        }
        return pad(text, spec);
    }
    if (c == QLatin1Char('c') || c == QLatin1Char('C')) {
        const QString text = value.typeId() == QMetaType::QString ? value.toString().left(1)
                                                                   : QString(QChar(char32_t(value.toUInt())));
        return pad(text, spec);
    }
    const QByteArray cSpec = (QLatin1Char('%') + spec.flags + spec.width + spec.precision).toLatin1();
    if (isIntegerConversion(c)) {
        const QByteArray full = cSpec + "ll" + c.toLatin1();
        if (isUnsignedConversion(c)) {
            return QString::asprintf(full.constData(), value.toULongLong());
        }
        return QString::asprintf(full.constData(), value.toLongLong());
    }
    if (isFloatConversion(c)) {
        const QByteArray full = cSpec + c.toLatin1();
        return QString::asprintf(full.constData(), value.toDouble());
    }
    return QLatin1Char('%') + c;
}

} // namespace

QString StringFormat::describe(const QVariant &value)
{
    if (!value.isValid() || value.isNull()) {
        return QStringLiteral("(null)");
    }
    const QMetaType type = value.metaType();
    if (type == QMetaType::fromType<Error>()) {
        return value.value<Error>().description();
    }
    switch (type.id()) {
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QByteArray:
        return QString::fromUtf8(value.toByteArray());
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::QUrl:
        return value.toUrl().toString();
    case QMetaType::QDateTime:
        return value.toDateTime().toTimeZone(QTimeZone::utc()).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return describeList(value.toList());
    case QMetaType::QVariantMap:
        return describeMap(value.toMap());
    default:
        break;
    }
    if (value.canConvert<QVariantList>() && !value.canConvert<QString>()) {
        return describeList(value.value<QVariantList>());
    }
    if (value.canConvert<QString>()) {
        return value.toString();
    }
    return QStringLiteral("<%1>").arg(QString::fromLatin1(type.name()));
}

QString StringFormat::format(const QString &format, const FormatArgs &args)
{
    QString result;
    result.reserve(format.size() + 16 * args.size());
    int nextArg = 0;
    const qsizetype n = format.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar ch = format.at(i);
        if (ch != QLatin1Char('%')) {
            result += ch;
            continue;
        }
        if (i + 1 < n && format.at(i + 1) == QLatin1Char('%')) {
            result += QLatin1Char('%');
            ++i;
            continue;
        }
        Spec spec;
        qsizetype j = i + 1;
        // Positional argument: digits followed by '$'.
        qsizetype k = j;
        const int position = readClampedNumber(format, &k, std::numeric_limits<int>::max());
        if (k > j && k < n && format.at(k) == QLatin1Char('$')) {
            spec.position = position;
            j = k + 1;
        }
        while (j < n && QStringLiteral("-+ #0'").contains(format.at(j))) {
            spec.flags += format.at(j++);
        }
        if (j < n && isAsciiDigit(format.at(j))) {
            spec.width = QString::number(readClampedNumber(format, &j, MaximumFieldWidth));
        }
        if (j < n && format.at(j) == QLatin1Char('.')) {
            ++j;
            spec.precision = QLatin1Char('.') + QString::number(readClampedNumber(format, &j, MaximumFieldWidth));
        }
        while (j < n && QStringLiteral("hlqLzjt").contains(format.at(j))) {
            spec.length += format.at(j++);
        }
        if (j >= n) {
            result += format.mid(i);
            break;
        }
        spec.conversion = format.at(j);
        const int index = spec.position > 0 ? spec.position - 1 : nextArg++;
        const QVariant value = index < args.size() ? args.at(index).value() : QVariant();
        spec.flags.remove(QLatin1Char('\''));
        result += formatOne(spec, value);
        i = j;
    }
    return result;
}
