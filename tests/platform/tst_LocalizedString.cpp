#include "platform/foundation/LocalizedString.h"
#include "platform/ui/BarButtonItem.h"

#include <QLocale>
#include <QTest>

/// The strings table in a second language: a German reader gets German texts, plural forms by
/// the count, and English for any key the German table lacks.
class tst_LocalizedString : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // before the table is first read: the person's language picks it
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    }

    void germanTextsAndPluralForms()
    {
        QCOMPARE(LocalizedString::localized(QStringLiteral("Select")), QStringLiteral("Auswählen"));
        QCOMPARE(LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.ITEMS.%d"), 1, qint64(1)),
                 QStringLiteral("1 Objekt"));
        QCOMPARE(LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.ITEMS.%d"), 3, qint64(3)),
                 QStringLiteral("3 Objekte"));
        QCOMPARE(LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.ITEMS_SELECTED.%d"), 2, qint64(2)),
                 QStringLiteral("2 Objekte ausgewählt"));
        QCOMPARE(LocalizedString::localizedStringWithFormat(QStringLiteral("Open in “%@”"), QStringLiteral("Notizen")),
                 QStringLiteral("In „Notizen“ öffnen"));
        // the platform's own buttons speak the same language
        QCOMPARE(BarButtonItem(BarButtonItem::SystemItem::Cancel).displayText(), QStringLiteral("Abbrechen"));
        QCOMPARE(BarButtonItem(BarButtonItem::SystemItem::Trash).accessibleName(), QStringLiteral("Löschen"));
    }

    void aKeyWithoutGermanShowsInEnglish()
    {
        QCOMPARE(LocalizedString::localized(QStringLiteral("Aerova Drive")), QStringLiteral("Aerova Drive"));
        QCOMPARE(LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.AVAILABLE.%g"), 2, 2.0, QStringLiteral("2 GB")),
                 QStringLiteral("2 GB verfügbar"));
    }
};

QTEST_MAIN(tst_LocalizedString)
#include "tst_LocalizedString.moc"
