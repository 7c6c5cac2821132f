#include "platform/lists/DocumentListModel.h"
#include "platform/lists/NameSortKeys.h"

#include <QCollator>
#include <QLocale>
#include <QRandomGenerator>
#include <QTest>

class tst_NameSortKeys : public QObject
{
    Q_OBJECT

private:
    static QCollator collatorFor(const QLocale &locale)
    {
        QCollator collator(locale);
        collator.setNumericMode(true);
        collator.setCaseSensitivity(Qt::CaseInsensitive);
        return collator;
    }

    /// A name of printable ASCII as people and programs write them: words, numbers with and
    /// without leading zeros, punctuation, spaces, either case.
    static QString randomName(QRandomGenerator &random)
    {
        static const QString pieces[] = {
            QStringLiteral("a"),  QStringLiteral("B"),    QStringLiteral("ch"),  QStringLiteral("Doc"), QStringLiteral("IMG_"),
            QStringLiteral(" "),  QStringLiteral("-"),    QStringLiteral("."),   QStringLiteral("("),   QStringLiteral(")"),
            QStringLiteral("0"),  QStringLiteral("007"),  QStringLiteral("1"),   QStringLiteral("10"),  QStringLiteral("9"),
            QStringLiteral("~"),  QStringLiteral("$"),    QStringLiteral("z"),   QStringLiteral("Z"),   QStringLiteral("aa"),
            QStringLiteral("ll"), QStringLiteral(".txt"), QStringLiteral("'"),   QStringLiteral("&"),   QStringLiteral("2026"),
        };
        QString name;
        const int length = 1 + int(random.bounded(6));
        for (int i = 0; i < length; ++i) {
            if (random.bounded(4) == 0) {
                name += QChar(char16_t(0x20 + random.bounded(0x7f - 0x20)));
            } else {
                name += pieces[random.bounded(int(std::size(pieces)))];
            }
        }
        return name;
    }

    static int sign(int value) { return value < 0 ? -1 : value > 0 ? 1 : 0; }

private slots:
    // The keys order names exactly as the collator does, ties included, for names of every
    // printable character, numbers of any length and leading zeros, in English and in German.
    void keysOrderNamesAsTheCollatorDoes_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::newRow("en_US") << QLocale(QLocale::English, QLocale::UnitedStates);
        QTest::newRow("de_DE") << QLocale(QLocale::German, QLocale::Germany);
        QTest::newRow("fr_FR") << QLocale(QLocale::French, QLocale::France);
    }
    void keysOrderNamesAsTheCollatorDoes()
    {
        QFETCH(QLocale, locale);
        const QCollator collator = collatorFor(locale);
        const std::optional<NameSortKeys> keys = NameSortKeys::forCollator(collator);
        QVERIFY(keys);
        QRandomGenerator random(20261125);
        for (int i = 0; i < 20000; ++i) {
            const QString a = randomName(random);
            const QString b = randomName(random);
            const QByteArray keyA = keys->keyOf(a);
            const QByteArray keyB = keys->keyOf(b);
            QVERIFY(!keyA.isEmpty() && !keyB.isEmpty());
            if (sign(collator.compare(a, b)) != sign(keyA.compare(keyB))) {
                QFAIL(qPrintable(QStringLiteral("\"%1\" and \"%2\": the collator says %3, the keys %4")
                                     .arg(a, b)
                                     .arg(collator.compare(a, b))
                                     .arg(keyA.compare(keyB))));
            }
        }
    }

    // Where a language sorts letter pairs as one letter (Czech "ch", Danish "aa"), or for a
    // collator that is not the list's, no keys are offered: the collator's own are used.
    void languagesThatSortOtherwiseGetNoKeys()
    {
        QVERIFY(!NameSortKeys::forCollator(collatorFor(QLocale(QLocale::Czech, QLocale::CzechRepublic))));
        QVERIFY(!NameSortKeys::forCollator(collatorFor(QLocale(QLocale::Danish, QLocale::Denmark))));
        QCollator caseSensitive = collatorFor(QLocale(QLocale::English, QLocale::UnitedStates));
        caseSensitive.setCaseSensitivity(Qt::CaseSensitive);
        QVERIFY(!NameSortKeys::forCollator(caseSensitive));
    }

    // A name beyond plain ASCII, or a number too long to carry, has no key.
    void namesBeyondTheKeysHaveNone()
    {
        const std::optional<NameSortKeys> keys = NameSortKeys::forCollator(collatorFor(QLocale(QLocale::English, QLocale::UnitedStates)));
        QVERIFY(keys);
        QVERIFY(keys->keyOf(QStringLiteral("Café")).isEmpty());
        QVERIFY(keys->keyOf(QStringLiteral("tab\there")).isEmpty());
        QVERIFY(keys->keyOf(QString(NameSortKeys::LongestNumber + 1, QLatin1Char('7'))).isEmpty());
        QVERIFY(!keys->keyOf(QString(NameSortKeys::LongestNumber, QLatin1Char('7'))).isEmpty());
        QByteArray appended("kept");
        QVERIFY(!keys->append(QStringLiteral("naïve"), &appended));
        QCOMPARE(appended, QByteArray("kept"));
    }

    // A folder of plain names and one of names beyond ASCII sort alike: the list's order does not
    // depend on which keys were used.
    void aListSortsTheSameWithEitherKeys()
    {
        QRandomGenerator random(7);
        QList<DocumentListEntry> plain;
        for (int i = 0; i < 6000; ++i) {
            DocumentListEntry entry;
            entry.name = randomName(random);
            entry.folderPath = QStringLiteral("/nowhere");
            entry.isFolder = random.bounded(10) == 0;
            plain.append(entry);
        }
        QList<DocumentListEntry> mixed = plain;
        DocumentListEntry accented;
        accented.name = QStringLiteral("Zoë");
        accented.folderPath = QStringLiteral("/nowhere");
        mixed.append(accented); // one name beyond ASCII: the collator keys every row
        DocumentListModel::sortEntries(plain, {});
        DocumentListModel::sortEntries(mixed, {});
        mixed.removeOne(accented);
        QCOMPARE(plain.size(), mixed.size());
        // rows the collator holds equal may stand in either order; all others stand alike
        const QCollator collator = DocumentListModel::nameCollator();
        for (qsizetype i = 0; i < plain.size(); ++i) {
            if (plain.at(i) != mixed.at(i)) {
                QCOMPARE(plain.at(i).isFolder, mixed.at(i).isFolder);
                QCOMPARE(collator.compare(plain.at(i).name, mixed.at(i).name), 0);
            }
        }
        for (const bool descending : {false, true}) {
            QList<DocumentListEntry> sorted = plain;
            DocumentListModel::sortEntries(sorted, {ListSortOrder::Key::Name, descending});
            for (qsizetype i = 1; i < sorted.size(); ++i) {
                const DocumentListEntry &before = sorted.at(i - 1);
                const DocumentListEntry &after = sorted.at(i);
                if (before.isFolder != after.isFolder) {
                    QVERIFY(before.isFolder);
                    continue;
                }
                const int compared = collator.compare(before.name, after.name);
                QVERIFY2(descending ? compared >= 0 : compared <= 0, qPrintable(before.name + QStringLiteral(" / ") + after.name));
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_NameSortKeys)
#include "tst_NameSortKeys.moc"
