#include "platform/foundation/DateFormatter.h"

#include <QTest>
#include <QTimeZone>

class tst_DateFormatter : public QObject
{
    Q_OBJECT

private:
    QDateTime m_date{QDate(2026, 11, 22), QTime(15, 4)};
    QLocale m_us{QLocale::English, QLocale::UnitedStates};

private slots:
    // Each style gives the length a screen asks for, with the short time.
    void stylesWithShortTime_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<QString>("text");
        QTest::newRow("short") << int(DateFormatter::Style::Short) << QStringLiteral("11/22/26, 3:04 PM");
        QTest::newRow("medium") << int(DateFormatter::Style::Medium) << QStringLiteral("Nov 22, 2026, 3:04 PM");
        QTest::newRow("long") << int(DateFormatter::Style::Long) << QStringLiteral("November 22, 2026 at 3:04 PM");
        QTest::newRow("full") << int(DateFormatter::Style::Full) << QStringLiteral("Sunday, November 22, 2026 at 3:04 PM");
        QTest::newRow("none") << int(DateFormatter::Style::None) << QStringLiteral("3:04 PM");
    }
    void stylesWithShortTime()
    {
        QFETCH(int, style);
        QFETCH(QString, text);
        const QString result = DateFormatter::localizedString(m_date, DateFormatter::Style(style),
                                                              DateFormatter::Style::Short, m_us);
        // the locale data may use a narrow no-break space before AM/PM
        QCOMPARE(QString(result).replace(QChar(0x202F), QLatin1Char(' ')), text);
    }

    // The short time is hours and minutes in every locale, the C locale (whose own short form
    // has seconds) too; the medium time adds the seconds once.
    void shortTimeHasNoSecondsInTheCLocale()
    {
        const QDateTime date(QDate(2016, 2, 19), QTime(17, 21, 14));
        const QString shortTime = DateFormatter::localizedString(date, DateFormatter::Style::None,
                                                                 DateFormatter::Style::Short, QLocale::c());
        QCOMPARE(shortTime, QStringLiteral("17:21"));
        QCOMPARE(DateFormatter::localizedString(date, DateFormatter::Style::None, DateFormatter::Style::Medium, QLocale::c()),
                 QStringLiteral("17:21:14"));
        QVERIFY(!DateFormatter::localizedString(date, DateFormatter::Style::Medium, DateFormatter::Style::Short, QLocale::c())
                     .contains(QStringLiteral("17:21:14")));
    }

    // No date, no text.
    void invalidDateIsEmpty()
    {
        QVERIFY(DateFormatter::localizedString(QDateTime(), DateFormatter::Style::Short, DateFormatter::Style::Short).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_DateFormatter)
#include "tst_DateFormatter.moc"
