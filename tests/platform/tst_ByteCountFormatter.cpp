#include "platform/foundation/ByteCountFormatter.h"

#include <QTest>

class tst_ByteCountFormatter : public QObject
{
    Q_OBJECT

private slots:
    // Sizes read the way people say them, in powers of 1000 for files.
    void fileStyle_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << qint64(0) << QStringLiteral("Zero KB");
        QTest::newRow("one") << qint64(1) << QStringLiteral("1 byte");
        QTest::newRow("999") << qint64(999) << QStringLiteral("999 bytes");
        QTest::newRow("1000") << qint64(1000) << QStringLiteral("1 KB");
        QTest::newRow("1500") << qint64(1500) << QStringLiteral("2 KB");
        QTest::newRow("999999") << qint64(999999) << QStringLiteral("1 MB");
        QTest::newRow("3.4 MB") << qint64(3400000) << QStringLiteral("3.4 MB");
        QTest::newRow("1.25 GB") << qint64(1250000000) << QStringLiteral("1.25 GB");
    }
    void fileStyle()
    {
        QFETCH(qint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(ByteCountFormatter::stringFromByteCount(bytes, ByteCountFormatter::CountStyle::File, QLocale::c()), text);
    }

    // Free space counts in powers of 1024.
    void binaryStyle()
    {
        const QLocale c(QLocale::English, QLocale::UnitedStates);
        QCOMPARE(ByteCountFormatter::stringFromByteCount(1024, ByteCountFormatter::CountStyle::Binary, c), QStringLiteral("1 KB"));
        QCOMPARE(ByteCountFormatter::stringFromByteCount(1000, ByteCountFormatter::CountStyle::Binary, c), QStringLiteral("1,000 bytes"));
        QCOMPARE(ByteCountFormatter::stringFromByteCount(5LL * 1024 * 1024 * 1024, ByteCountFormatter::CountStyle::Binary, c),
                 QStringLiteral("5 GB"));
    }

    // Digits follow the user's language.
    void localeDecimalSeparator()
    {
        QCOMPARE(ByteCountFormatter::stringFromByteCount(3400000, ByteCountFormatter::CountStyle::File, QLocale(QLocale::German)),
                 QStringLiteral("3,4 MB"));
    }
};

QTEST_GUILESS_MAIN(tst_ByteCountFormatter)
#include "tst_ByteCountFormatter.moc"
