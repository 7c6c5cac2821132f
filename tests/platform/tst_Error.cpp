#include "platform/foundation/Error.h"

#include <QTest>

#include <cerrno>

class tst_Error : public QObject
{
    Q_OBJECT

private slots:
    // Each code the system produces has an English sentence for the user.
    void codesHaveDescriptions_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("4") << 4 << QStringLiteral("No such file");
        QTest::newRow("260") << 260 << QStringLiteral("there is no such file");
        QTest::newRow("514") << 514 << QStringLiteral("file name is invalid");
        QTest::newRow("516") << 516 << QStringLiteral("same name already exists");
        QTest::newRow("3072") << 3072 << QStringLiteral("cancelled");
        QTest::newRow("3328") << 3328 << QStringLiteral("not supported");
        QTest::newRow("4355") << 4355 << QStringLiteral("not available");
    }
    void codesHaveDescriptions()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        const Error error = Error::fileError(code);
        QCOMPARE(error.domain(), QStringLiteral("AerovaFileErrorDomain"));
        QCOMPARE(error.code(), code);
        QVERIFY2(error.localizedDescription().contains(text), qPrintable(error.localizedDescription()));
    }

    // An operating-system failure keeps its cause, and maps to the nearest file code.
    void errnoMapsToFileCodes()
    {
        const Error missing = Error::fromErrno(ENOENT, QStringLiteral("/x"));
        QCOMPARE(missing.code(), 4);
        QCOMPARE(missing.userInfo().value(QStringLiteral("FilePath")).toString(), QStringLiteral("/x"));
        QVERIFY(!missing.localizedFailureReason().isEmpty());
        QCOMPARE(Error::fromErrno(EEXIST, {}).code(), 516);
        QCOMPARE(Error::fromErrno(ENOENT, {}, FileReadUnknownError).code(), 260);
    }

    // A description given by whoever made the error wins over the code's text.
    void ownDescriptionWins()
    {
        const Error error(QStringLiteral("Other"), 1, {{QStringLiteral("LocalizedDescription"), QStringLiteral("Mine")}});
        QCOMPARE(error.localizedDescription(), QStringLiteral("Mine"));
        QVERIFY(error == Error(QStringLiteral("Other"), 1, error.userInfo()));
    }
};

QTEST_GUILESS_MAIN(tst_Error)
#include "tst_Error.moc"
