#include "platform/lists/NameSortKeys.h"

#include <QHash>
#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <mutex>

namespace {

constexpr char16_t FirstPrintable = 0x20;
constexpr char16_t LastPrintable = 0x7e;

bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

/// Languages whose collation orders printable ASCII as the common order does.
bool leavesAsciiAsItIs(QLocale::Language language)
{
    switch (language) {
    case QLocale::C:
    case QLocale::English:
    case QLocale::German:
    case QLocale::French:
    case QLocale::Italian:
    case QLocale::Portuguese:
    case QLocale::Dutch:
    case QLocale::Spanish:
    case QLocale::Catalan:
        return true;
    default:
        return false;
    }
}

} // namespace

std::optional<NameSortKeys> NameSortKeys::forCollator(const QCollator &collator)
{
    if (!leavesAsciiAsItIs(collator.locale().language()) || !collator.numericMode()
        || collator.caseSensitivity() != Qt::CaseInsensitive || collator.ignorePunctuation()) {
        return std::nullopt;
    }
    // the rule is made and checked once a language: a few thousand comparisons
    static std::mutex mutex;
    static QHash<QString, std::optional<NameSortKeys>> ruleOfLanguage;
    const std::lock_guard lock(mutex);
    const QString language = collator.locale().bcp47Name();
    auto known = ruleOfLanguage.constFind(language);
    if (known == ruleOfLanguage.constEnd()) {
        known = ruleOfLanguage.insert(language, made(collator));
    }
    return *known;
}

std::optional<NameSortKeys> NameSortKeys::made(const QCollator &collator)
{
    QStringList characters;
    for (char16_t c = FirstPrintable; c <= LastPrintable; ++c) {
        characters << QString(QChar(c));
    }
    std::stable_sort(characters.begin(), characters.end(),
                     [&collator](const QString &a, const QString &b) { return collator.compare(a, b) < 0; });
    NameSortKeys keys;
    quint8 weight = 0;
    for (qsizetype i = 0; i < characters.size(); ++i) {
        // a letter and its capital are one for a collator that ignores case: one weight
        if (i == 0 || collator.compare(characters.at(i - 1), characters.at(i)) != 0) {
            ++weight;
        }
        keys.m_weight[characters.at(i).at(0).unicode()] = weight;
    }
    if (!keys.agreesWith(collator)) {
        return std::nullopt;
    }
    return keys;
}

bool NameSortKeys::append(QStringView name, QByteArray *keys) const
{
    const qsizetype start = keys->size();
    // at most three bytes a character (a one-digit number) and the end: written in place
    keys->resize(start + 3 * name.size() + 1);
    char *out = keys->data() + start;
    const char16_t *c = name.utf16();
    const char16_t *const end = c + name.size();
    while (c < end) {
        if (*c < FirstPrintable || *c > LastPrintable) {
            keys->truncate(start);
            return false;
        }
        if (!isDigit(*c)) {
            *out++ = char(m_weight[*c++]);
            continue;
        }
        // a number: the digits' weight, then how many digits it has without its leading
        // zeros, then those digits; a longer number is the larger
        while (c < end && *c == u'0') {
            ++c;
        }
        const char16_t *const digits = c;
        while (c < end && isDigit(*c)) {
            ++c;
        }
        if (c - digits > LongestNumber) {
            keys->truncate(start);
            return false;
        }
        *out++ = char(m_weight[u'0']);
        *out++ = char(1 + (c - digits));
        for (const char16_t *d = digits; d < c; ++d) {
            *out++ = char(1 + *d - u'0');
        }
    }
    // a name that is the start of another sorts first
    *out++ = '\0';
    keys->truncate(out - keys->constData());
    return true;
}

QByteArray NameSortKeys::keyOf(QStringView name) const
{
    QByteArray key;
    return append(name, &key) ? key : QByteArray();
}

bool NameSortKeys::agreesWith(const QCollator &collator) const
{
    // pairs where a collation could part from the common order: letter pairs some languages
    // sort as one letter, case, numbers with and without leading zeros, punctuation and spaces
    static const char *const probes[] = {
        "cha", "cia", "chz", "ci", "aa", "az", "aab", "b", "ll", "lz", "ij", "iz", "y", "i", "v", "w", "vb", "wa",
        "ch", "h", "cz", "dz", "lj", "nj", "ny", "sz", "zs", "th", "t", "ae", "af", "oe", "of",
        "File 2.txt", "File 10.txt", "file 010.txt", "File 9.txt", "007", "7", "0", "00", "a0", "a", "A", "a ", "a b",
        "ab", "a-b", "a_b", "a.b", "a,b", "(a)", "[a]", "a~", "a$", "a1", "a01", "a1b", "a10", "1.5", "1.10", "x", "X1",
        "Report (2).pdf", "Report 2.pdf", "Report-2.pdf", "Report_2.pdf", "report.pdf", "Report.PDF", "",
    };
    for (const char *a : probes) {
        for (const char *b : probes) {
            const QString nameA = QString::fromLatin1(a);
            const QString nameB = QString::fromLatin1(b);
            const int byCollator = collator.compare(nameA, nameB);
            const int byKeys = keyOf(nameA).compare(keyOf(nameB));
            if ((byCollator < 0) != (byKeys < 0) || (byCollator > 0) != (byKeys > 0)) {
                return false;
            }
        }
    }
    return true;
}
