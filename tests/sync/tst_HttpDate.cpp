#include "sync/HttpDate.h"

#include <QTest>
#include <QTimeZone>

class tst_HttpDate : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryFormServersSend_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("HTTP date, GMT") << QByteArray("Sun, 22 Nov 2026 18:33:39 GMT");
        QTest::newRow("numeric zone") << QByteArray("Sun, 22 Nov 2026 18:33:39 +0000");
        QTest::newRow("RFC 850") << QByteArray("Sunday, 22-Nov-26 18:33:39 GMT");
        QTest::newRow("asctime") << QByteArray("Sun Nov 22 18:33:39 2026");
        QTest::newRow("ISO 8601") << QByteArray("2026-11-22T18:33:39Z");
        QTest::newRow("surrounding spaces") << QByteArray("  Sun, 22 Nov 2026 18:33:39 GMT \n");
    }
    void readsEveryFormServersSend()
    {
        QFETCH(QByteArray, text);
        const QDateTime expected(QDate(2026, 11, 22), QTime(18, 33, 39), QTimeZone::utc());
        QCOMPARE(HttpDate::parse(text), expected);
    }

    void anotherZoneIsTurnedIntoUtc()
    {
        QCOMPARE(HttpDate::parse("Sun, 22 Nov 2026 19:33:39 +0100"),
                 QDateTime(QDate(2026, 11, 22), QTime(18, 33, 39), QTimeZone::utc()));
    }

    void theUserLocaleDoesNotMatter()
    {
        const QLocale saved;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QDateTime date = HttpDate::parse("Tue, 03 Mar 2026 01:02:03 GMT");
        QLocale::setDefault(saved);
        QCOMPARE(date, QDateTime(QDate(2026, 3, 3), QTime(1, 2, 3), QTimeZone::utc()));
    }

    void garbageIsInvalid_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("words") << QByteArray("yesterday");
        QTest::newRow("bad month") << QByteArray("Sun, 22 Foo 2026 18:33:39 GMT");
        QTest::newRow("bad hour") << QByteArray("Sun, 22 Nov 2026 25:33:39 GMT");
    }
    void garbageIsInvalid()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!HttpDate::parse(text).isValid());
    }

    void formatsTheHttpDate()
    {
        QCOMPARE(HttpDate::format(QDateTime(QDate(2026, 11, 22), QTime(18, 33, 39), QTimeZone::utc())),
                 QByteArray("Sun, 22 Nov 2026 18:33:39 GMT"));
    }
};

QTEST_GUILESS_MAIN(tst_HttpDate)
#include "tst_HttpDate.moc"
