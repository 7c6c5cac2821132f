#include "support/TestDrive.h"

#include <QFileInfo>
#include <QProcess>
#include <QTest>

class tst_AerovaDriveCtl : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static int run(const QStringList &args, QByteArray *output = nullptr, QByteArray *errors = nullptr)
    {
        QProcess process;
        process.start(QStringLiteral(AEROVA_CTL_PATH), args);
        process.waitForFinished(60000);
        if (output) {
            *output = process.readAllStandardOutput();
        }
        if (errors) {
            *errors = process.readAllStandardError();
        }
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

private slots:
    // Wrong arguments get the usage and exit code 2, and touch nothing.
    void badArgumentsGiveUsage_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::newRow("none") << QStringList();
        QTest::newRow("unknown") << QStringList{QStringLiteral("explode")};
        QTest::newRow("network") << QStringList{QStringLiteral("network"), QStringLiteral("5g")};
        QTest::newRow("init") << QStringList{QStringLiteral("init"), QStringLiteral("--everything")};
        QTest::newRow("promise") << QStringList{QStringLiteral("promise")};
        QTest::newRow("rate") << QStringList{QStringLiteral("store-rate"), QStringLiteral("fast")};
    }
    void badArgumentsGiveUsage()
    {
        QFETCH(QStringList, args);
        QByteArray errors;
        QCOMPARE(run(args, nullptr, &errors), 2);
        QVERIFY(errors.contains("usage: aerovadrive-ctl"));
    }

    // The demo drive is there to explore, with promised items marked.
    void demoDriveHasPromisedItemsAndContainers()
    {
        QCOMPARE(run({QStringLiteral("init"), QStringLiteral("--demo")}), 0);
        QByteArray output;
        QCOMPARE(run({QStringLiteral("status")}, &output), 0);
        QVERIFY(output.contains("account: signed in"));
        QVERIFY(output.contains("Brochure.pdf  \xe2\x98\x81 promised"));
        QVERIFY(output.contains("com.example.Writer/  (Writer, folders: One)"));
        QVERIFY(output.contains("Plan.pdf"));
    }

    // Signing out disables the drive; signing in enables it again.
    void signOutAndIn()
    {
        QCOMPARE(run({QStringLiteral("sign-out")}), 0);
        QVERIFY(!QFileInfo::exists(m_drive.home() + QStringLiteral("/home/Service/account.json")));
        QCOMPARE(run({QStringLiteral("sign-in"), QStringLiteral("someone@example.com")}), 0);
        QVERIFY(QFileInfo::exists(m_drive.home() + QStringLiteral("/home/Service/account.json")));
    }

    // Promising a file and downloading it gives the same bytes back.
    void promiseThenDownload()
    {
        const QString path = m_drive.path(QStringLiteral("ctl/x.txt"));
        QVERIFY(TestDrive::writeFile(path, "hello"));
        QCOMPARE(run({QStringLiteral("promise"), path}), 0);
        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(run({QStringLiteral("promise"), m_drive.path(QStringLiteral("ctl/missing"))}), 1);
        QCOMPARE(run({QStringLiteral("download"), path}), 0);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("hello"));
    }
};

QTEST_GUILESS_MAIN(tst_AerovaDriveCtl)
#include "tst_AerovaDriveCtl.moc"
