#include "credentials/Credentials.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/SyncServiceClient.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "support/TestDrive.h"
#include "support/WebDavTestServer.h"

#include <QFile>
#include <QJsonObject>
#include <QLabel>
#include <QProcess>
#include <QTest>

/// The account's password in the desktop's secret service. Runs in a private session bus with
/// an unlocked keyring of its own (see the test's command in tests/CMakeLists.txt).
class tst_Credentials : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    const RemoteAccount m_account{QUrl(QStringLiteral("https://cloud.example.org/dav/")), QStringLiteral("kim")};

    static QByteArray fileBytes(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"), "runs in its own session bus");
    }

    void aPasswordIsKeptInTheSecretServiceAndNowhereElse()
    {
        QString error;
        QVERIFY2(Credentials::store(m_account, QStringLiteral("s3cret pass"), Credentials::Storage::SecretService, &error),
                 qPrintable(error));
        QCOMPARE(Credentials::read(m_account), QStringLiteral("s3cret pass"));
        QVERIFY(!QFile::exists(DriveLayout::credentialsFile()));
        QVERIFY(m_account.signIn());
        QVERIFY(!fileBytes(DriveLayout::accountFile()).contains("s3cret"));
    }

    void anotherAccountDoesNotGetIt()
    {
        const RemoteAccount other{m_account.server, QStringLiteral("lee")};
        QVERIFY(Credentials::read(other).isNull());
    }

    void forgettingRemovesIt()
    {
        QString error;
        QVERIFY(Credentials::store(m_account, QStringLiteral("gone soon"), Credentials::Storage::SecretService, &error));
        Credentials::forget(m_account);
        QVERIFY(Credentials::read(m_account).isNull());
    }

    void aFileOnlyWhenAskedReadableByTheUserAlone()
    {
        QString error;
        QVERIFY(Credentials::store(m_account, QStringLiteral("in a file"), Credentials::Storage::File, &error));
        QCOMPARE(QFile::permissions(DriveLayout::credentialsFile()) & 0x0777,
                 QFileDevice::ReadUser | QFileDevice::WriteUser);
        QCOMPARE(Credentials::read(m_account), QStringLiteral("in a file"));
        Credentials::forget(m_account);
        QVERIFY(!QFile::exists(DriveLayout::credentialsFile()));
    }

    void withoutASecretServiceThePasswordLivesInTheServicesMemory()
    {
        WebDavTestServer server(WebDavTestServer::Kind::Apache);
        QString error;
        QVERIFY2(server.start(&error), qPrintable(error));
        QCOMPARE(server.put(QStringLiteral("Remembered.txt"), "x"), 201);
        QProcess signIn;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        env.remove(QStringLiteral("DISPLAY"));
        env.insert(QStringLiteral("AEROVA_SYNCD"), QStringLiteral(AEROVA_SYNCD_PATH));
        signIn.setProcessEnvironment(env);
        signIn.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("sign-in"), QStringLiteral("--server"),
                                                       server.url().toString(), QStringLiteral("--user"), server.user()});
        signIn.write(server.password().toUtf8() + '\n');
        signIn.closeWriteChannel();
        QVERIFY(signIn.waitForFinished(30000));
        QCOMPARE(signIn.exitCode(), 0);
        QVERIFY(QString::fromUtf8(signIn.readAllStandardError())
                    .contains(QStringLiteral("the sync service keeps it in memory until it stops")));
        QVERIFY(!QFile::exists(DriveLayout::credentialsFile()));
        // the service got it all the same, and syncs with it
        const QString item = m_drive.path(QStringLiteral(".Remembered.txt.promise"));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(item), 20000);
        // the run that wrote the placeholder says how it went when it ends: until then the
        // status may still be the one of the run before the password arrived
        QTRY_VERIFY_WITH_TIMEOUT(DriveFileManager::ubiquityIdentityToken(), 10000);

        // a service started again has no password: the drive shows as signed out until a sign-in
        if (const auto client = SyncServiceClient::connect(&error, false)) {
            client->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
        }
        QTRY_VERIFY_WITH_TIMEOUT(!SyncServiceClient::connect(&error, false), 10000);
        QProcess service;
        service.start(QStringLiteral(AEROVA_SYNCD_PATH), {});
        QTRY_VERIFY_WITH_TIMEOUT(RemoteAccount::passwordNeeded(), 10000);
        QVERIFY(!DriveFileManager::ubiquityIdentityToken());
        DocumentPickerUnavailableViewController screen;
        auto *message = screen.view()->findChild<QLabel *>(QStringLiteral("signInAgainMessage"));
        QVERIFY(message);
        QCOMPARE(message->text(), QStringLiteral("The password of alice was not kept on this device. Connect again to "
                                                 "keep your documents up to date."));
        if (const auto client = SyncServiceClient::connect(&error, false)) {
            client->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
        }
        QVERIFY(service.waitForFinished(10000));
    }
};

QTEST_MAIN(tst_Credentials)
#include "tst_Credentials.moc"
