#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/foundation/FilePath.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <sys/stat.h>

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

    // Tag definitions are written as the desktop file manager writes them, and items get tags.
    void tagsDefineAndSet()
    {
        QCOMPARE(run({QStringLiteral("tags"), QStringLiteral("define"), QStringLiteral("Red=6"), QStringLiteral("Blue=4")}), 0);
        QByteArray output;
        QCOMPARE(run({QStringLiteral("tags")}, &output), 0);
        QCOMPARE(output, QByteArray("Red=6\nBlue=4\n"));
        QFile store(m_drive.home() + QStringLiteral("/home/Service/kvstore.json"));
        QVERIFY(store.open(QIODevice::ReadOnly));
        const QVariantMap dictionary = QJsonDocument::fromJson(store.readAll()).object().toVariantMap()
                                           .value(QStringLiteral("TrovexTagDict")).toMap();
        QCOMPARE(dictionary.value(QStringLiteral("TrovexTagDictVersion")).toInt(), 2);
        QCOMPARE(dictionary.value(QStringLiteral("TrovexTags")).toList().value(1).toMap().value(QStringLiteral("n")).toString(),
                 QStringLiteral("Blue"));

        const QString file = m_drive.path(QStringLiteral("Tagged by ctl.txt"));
        QVERIFY(TestDrive::writeFile(file, "x"));
        QCOMPARE(run({QStringLiteral("tags"), QStringLiteral("set"), file, QStringLiteral("Red"), QStringLiteral("Blue")}), 0);
        QCOMPARE(FileAttributes::tags(file), (QStringList{QStringLiteral("Red"), QStringLiteral("Blue")}));
        QCOMPARE(run({QStringLiteral("tags"), QStringLiteral("define"), QStringLiteral("Nolabel")}), 2);
        QCOMPARE(run({QStringLiteral("tags"), QStringLiteral("set"), m_drive.path(QStringLiteral("missing.txt")), QStringLiteral("Red")}), 1);
    }

    // The storage plan and its use are set in bytes or with units; a failure can be asked for.
    void quotaSetsPlanAndFailure()
    {
        QCOMPARE(run({QStringLiteral("quota"), QStringLiteral("5GB"), QStringLiteral("300MB")}), 0);
        QFile quota(m_drive.home() + QStringLiteral("/home/Service/quota.json"));
        QVERIFY(quota.open(QIODevice::ReadOnly));
        QJsonObject object = QJsonDocument::fromJson(quota.readAll()).object();
        quota.close();
        QCOMPARE(object.value(QStringLiteral("plan")).toDouble(), 5e9);
        QCOMPARE(object.value(QStringLiteral("used")).toDouble(), 3e8);
        QCOMPARE(run({QStringLiteral("quota"), QStringLiteral("fail-next"), QStringLiteral("Resting")}), 0);
        QVERIFY(quota.open(QIODevice::ReadOnly));
        object = QJsonDocument::fromJson(quota.readAll()).object();
        QCOMPARE(object.value(QStringLiteral("failNext")).toString(), QStringLiteral("Resting"));
        QCOMPARE(object.value(QStringLiteral("plan")).toDouble(), 5e9);
        QCOMPARE(run({QStringLiteral("quota"), QStringLiteral("lots")}), 2);
        QCOMPARE(run({QStringLiteral("quota"), QStringLiteral("lots"), QStringLiteral("1")}), 2);
    }

    // A FIFO, a device or a corrupt file in place of a service file never hangs the control
    // program: it says which file is wrong and how, and goes on as if the file were missing.
    void unusableServiceFilesAreNamedNotWaitedOn_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("kind");
        for (const char *name : {"containers.json", "account.json", "kvstore.json", "quota.json", "offer.json"}) {
            const QString file = QString::fromLatin1(name);
            QTest::newRow(qPrintable(file + QStringLiteral(" fifo"))) << file << QStringLiteral("fifo");
            QTest::newRow(qPrintable(file + QStringLiteral(" zero"))) << file << QStringLiteral("zero");
            QTest::newRow(qPrintable(file + QStringLiteral(" corrupt"))) << file << QStringLiteral("corrupt");
        }
        QTest::newRow("network fifo") << QStringLiteral("network") << QStringLiteral("fifo");
        QTest::newRow("network zero") << QStringLiteral("network") << QStringLiteral("zero");
    }
    void unusableServiceFilesAreNamedNotWaitedOn()
    {
        QFETCH(QString, file);
        QFETCH(QString, kind);
        const QString path = m_drive.home() + QStringLiteral("/home/Service/") + file;
        const QString saved = path + QStringLiteral(".saved");
        QFile::remove(saved);
        const bool existed = QFile::rename(path, saved);
        if (kind == QLatin1String("fifo")) {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
        } else if (kind == QLatin1String("zero")) {
            QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
        } else {
            QVERIFY(TestDrive::writeFile(path, "{\"identity\": "));
        }
        QByteArray output;
        const int status = run({QStringLiteral("status")}, &output);
        QFile::remove(path);
        if (existed) {
            QVERIFY(QFile::rename(saved, path));
        }
        QCOMPARE(status, 0);
        const QByteArray problem = kind == QLatin1String("fifo") ? "is a FIFO, not a regular file"
            : kind == QLatin1String("zero")                      ? "is a character device, not a regular file"
                                                                 : "is not valid JSON";
        QVERIFY2(output.contains(QByteArray("warning: The file " + QFile::encodeName(path) + ' ' + problem)), output.constData());
    }

    // A write that fails names the file it could not write.
    void failedWriteNamesTheFile()
    {
        const QString quota = m_drive.home() + QStringLiteral("/home/Service/quota.json");
        QFile::remove(quota);
        QVERIFY(QDir().mkpath(quota));
        QByteArray errors;
        const int status = run({QStringLiteral("quota"), QStringLiteral("5GB"), QStringLiteral("1GB")}, nullptr, &errors);
        QVERIFY(QDir(quota).removeRecursively());
        QCOMPARE(status, 1);
        QVERIFY2(errors.startsWith("aerovadrive-ctl: quota: ") && errors.contains(QFile::encodeName(quota)), errors.constData());
    }

    // Signing in where the account cannot be written says which file and why.
    void failedSignInSaysWhy()
    {
        const QString account = m_drive.home() + QStringLiteral("/home/Service/account.json");
        QVERIFY(QFile::rename(account, account + QStringLiteral(".saved")));
        QVERIFY(QDir().mkpath(account)); // a folder where the file goes
        QByteArray errors;
        const int status = run({QStringLiteral("sign-in")}, nullptr, &errors);
        QVERIFY(QDir(account).removeRecursively());
        QVERIFY(QFile::rename(account + QStringLiteral(".saved"), account));
        QCOMPARE(status, 1);
        QVERIFY2(errors.startsWith(QByteArray("aerovadrive-ctl: sign-in: cannot write " + QFile::encodeName(account) + ": ")),
                 errors.constData());
    }

    // A download reports what really happened: a folder that took a promised item's name is no
    // download, and an item already here is said to be.
    void downloadSaysWhatReallyHappened()
    {
        const QString path = m_drive.path(QStringLiteral("ctl/Taken.txt"));
        QVERIFY(TestDrive::writeFile(path, "t"));
        QCOMPARE(run({QStringLiteral("download"), path}, nullptr), 0);
        QByteArray output;
        QCOMPARE(run({QStringLiteral("download"), path}, &output), 0);
        QVERIFY(output.startsWith("already downloaded "));
        QCOMPARE(run({QStringLiteral("promise"), path}), 0);
        QVERIFY(QDir().mkpath(path)); // made behind the app's back, beside the placeholder
        QByteArray errors;
        QCOMPARE(run({QStringLiteral("download"), path}, &output, &errors), 1);
        QVERIFY(!output.contains("downloaded"));
        QVERIFY2(errors.contains("is a folder, not a document only on the drive"), errors.constData());
        QVERIFY(QDir().rmdir(path));
    }

    // A file named in bytes that are not UTF-8 is removed by those bytes from the command line,
    // and its look-alike stays.
    void removeTakesTheNameAsTheShellGaveIt()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("bytes"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/bad\uFFFD.txt"), "look-alike"));
        const QString raw = folder + QLatin1Char('/') + FilePath::decode("bad\xff.txt");
        QVERIFY(TestDrive::writeFile(raw, ""));
        QProcess process;
        process.setWorkingDirectory(folder);
        // the shell hands the byte 0xff over as it is, which QProcess's own arguments cannot
        process.start(QStringLiteral("/bin/sh"),
                      {QStringLiteral("-c"), QStringLiteral("exec \"$0\" remove \"$(printf 'bad\\377.txt')\""),
                       QStringLiteral(AEROVA_CTL_PATH)});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QVERIFY(!FilePath::exists(raw));
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/bad\uFFFD.txt")));
    }

    // What the stopped service left of its last sync says what waits on the server and why.
    void theStatusSaysWhatWaitsOnTheServer()
    {
        const RemoteAccount account{QUrl(QStringLiteral("http://127.0.0.1:9/")), QStringLiteral("alice")};
        QVERIFY(account.signIn());
        const QJsonObject status{
            {QStringLiteral("lastSync"), QStringLiteral("2026-11-24T12:00:00Z")},
            {QStringLiteral("waitingForRoom"), 3},
            {QStringLiteral("serverIgnoresIfMatch"), QStringLiteral("an edit made on another device can be overwritten")},
            {QStringLiteral("failures"),
             QJsonArray{QStringLiteral("\"Report.txt\": The server failed to answer. (failed 5 times in a row; tried again at 14:05)")}}};
        QVERIFY(TestDrive::writeFile(DriveLayout::syncStatusFile(), QJsonDocument(status).toJson()));
        QByteArray output;
        const int exitCode = run({QStringLiteral("status")}, &output);
        QFile::remove(DriveLayout::syncStatusFile());
        QFile::remove(DriveLayout::accountFile());
        QCOMPARE(exitCode, 0);
        QVERIFY2(output.contains("sync service: not running\n"), output.constData());
        QVERIFY2(output.contains("The server is full: 3 documents wait until it has room\n"), output.constData());
        QVERIFY2(output.contains("The server ignores If-Match: an edit made on another device can be overwritten\n"), output.constData());
        QVERIFY2(output.contains("\"Report.txt\": The server failed to answer. (failed 5 times in a row; tried again at 14:05)"), output.constData());
    }
};

QTEST_GUILESS_MAIN(tst_AerovaDriveCtl)
#include "tst_AerovaDriveCtl.moc"
