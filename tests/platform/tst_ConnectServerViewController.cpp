#include "platform/drive/DriveLayout.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/SyncServiceClient.h"
#include "platform/lists/ConnectServerViewController.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "support/TestDrive.h"
#include "support/WebDavTestServer.h"

#include <QFile>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QSignalSpy>
#include <QTest>

/// "Connect to a Server…" against a real server: each failure says what is wrong, a success
/// signs the drive in.
class tst_ConnectServerViewController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    WebDavTestServer m_server{WebDavTestServer::Kind::Apache};

    /// Fills the form, presses Connect and waits for the check's end; the error line's text.
    static QString connectWith(ConnectServerViewController &form, const QString &server, const QString &user,
                               const QString &password)
    {
        form.view();
        form.serverField()->setText(server);
        form.userField()->setText(user);
        form.passwordField()->setText(password);
        QTest::mouseClick(form.connectButton(), Qt::LeftButton);
        if (!QTest::qWaitFor([&form] { return !form.isChecking(); }, 30000)) {
            return QStringLiteral("<no end>");
        }
        return form.errorLabel()->isHidden() ? QString() : form.errorLabel()->text();
    }

    static void stopService()
    {
        QString error;
        if (const auto client = SyncServiceClient::connect(&error, false)) {
            client->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
        }
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_server.start(&error), qPrintable(error));
        QCOMPARE(m_server.put(QStringLiteral("file.txt"), "a file"), 201);
        qputenv("AEROVA_CTL", AEROVA_CTL_PATH);
        qputenv("AEROVA_SYNCD", AEROVA_SYNCD_PATH);
    }

    void cleanupTestCase() { stopService(); }

    void connectWaitsForAllThreeFields()
    {
        ConnectServerViewController form;
        form.view();
        QVERIFY(!form.connectButton()->isEnabled());
        form.serverField()->setText(m_server.url().toString());
        form.userField()->setText(QStringLiteral("alice"));
        QVERIFY(!form.connectButton()->isEnabled());
        form.passwordField()->setText(QStringLiteral("x"));
        QVERIFY(form.connectButton()->isEnabled());
        QCOMPARE(form.passwordField()->echoMode(), QLineEdit::Password);
    }

    void eachFailureSaysWhatIsWrong_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("message");
        QTest::newRow("wrong password") << QString() << QStringLiteral("wrong")
                                        << QStringLiteral("The server did not accept the user name and password. (HTTP 401 Unauthorized)");
        QTest::newRow("unreachable") << QStringLiteral("http://127.0.0.1:9/") << QString()
                                     << QStringLiteral("The server cannot be reached.");
        QTest::newRow("not a folder") << QStringLiteral("file.txt") << QString()
                                      << QStringLiteral("The address is not a WebDAV folder.");
        QTest::newRow("password in clear to another machine")
            << QStringLiteral("http://cloud.example.org/dav/") << QString()
            << QStringLiteral("The password would be sent unencrypted: use an https:// address.");
    }
    void eachFailureSaysWhatIsWrong()
    {
        QFETCH(QString, server);
        QFETCH(QString, password);
        QFETCH(QString, message);
        if (server.isEmpty()) {
            server = m_server.url().toString();
        } else if (!server.contains(QLatin1String("://"))) {
            server = m_server.url(server).toString();
        }
        ConnectServerViewController form;
        QSignalSpy connected(&form, &ConnectServerViewController::connected);
        const QString shown = connectWith(form, server, m_server.user(), password.isEmpty() ? m_server.password() : password);
        QVERIFY2(shown.startsWith(message), qPrintable(shown));
        QCOMPARE(connected.count(), 0);
        QVERIFY(!QFile::exists(DriveLayout::accountFile()) || !RemoteAccount::current());
        QVERIFY(form.passwordField()->isEnabled());
    }

    void theRightPasswordSignsTheDriveIn()
    {
        ConnectServerViewController form;
        QSignalSpy connected(&form, &ConnectServerViewController::connected);
        const QString shown = connectWith(form, m_server.url().toString(), m_server.user(), m_server.password());
        QVERIFY2(shown.isEmpty(), qPrintable(shown));
        QCOMPARE(connected.count(), 1);
        const std::optional<RemoteAccount> account = RemoteAccount::current();
        QVERIFY(account);
        QCOMPARE(account->server, m_server.url());
        QCOMPARE(account->user, m_server.user());
        // never the password in the account file
        QFile file(DriveLayout::accountFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(!file.readAll().contains(m_server.password().toUtf8()));
    }

    void theScreenGoingAwayMidCheckLetsTheSignInFinish()
    {
        // the account written by the sign-in rebuilds the app's screens before the control
        // program ends: the form goes while its check still runs
        QFile::remove(DriveLayout::accountFile());
        stopService();
        auto form = std::make_unique<ConnectServerViewController>();
        form->view();
        form->serverField()->setText(m_server.url().toString());
        form->userField()->setText(m_server.user());
        form->passwordField()->setText(m_server.password());
        QTest::mouseClick(form->connectButton(), Qt::LeftButton);
        QVERIFY(form->isChecking());
        form.reset();
        QTRY_VERIFY_WITH_TIMEOUT(RemoteAccount::current().has_value(), 30000);
        // the service got the password all the same: it syncs
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(DriveLayout::syncStatusFile()), 30000);
        QTest::qWait(500); // the control program's last steps
    }

    void theSignedOutScreenOffersToConnectAndSaysWhenThePasswordWasRefused()
    {
        QVERIFY(RemoteAccount::current());
        QSaveFile status(DriveLayout::syncStatusFile());
        QVERIFY(status.open(QIODevice::WriteOnly));
        status.write(R"({"errorKind": "unauthorized"})");
        QVERIFY(status.commit());

        DocumentPickerUnavailableViewController screen;
        QWidget *view = screen.view();
        auto *button = view->findChild<QPushButton *>(QStringLiteral("connectToServerButton"));
        QVERIFY(button);
        QCOMPARE(button->text(), QStringLiteral("Connect to a Server…"));
        auto *refused = view->findChild<QLabel *>(QStringLiteral("signInAgainMessage"));
        QVERIFY(refused);
        QCOMPARE(refused->text(), QStringLiteral("The server did not accept the password of alice. Connect again to keep "
                                                 "your documents up to date."));
        QFile::remove(DriveLayout::syncStatusFile());
    }

    void theControlProgramsPrefixIsNotShown()
    {
        QCOMPARE(ConnectServerViewController::messageFromOutput(
                     QStringLiteral("aerovadrive-ctl: sign-in: https://a.example/dav/: The server cannot be reached. (x)\n")),
                 QStringLiteral("The server cannot be reached. (x)"));
        QCOMPARE(ConnectServerViewController::messageFromOutput(QStringLiteral("aerovadrive-ctl: sign-in: Plain.\nusage: …")),
                 QStringLiteral("Plain."));
    }
};

QTEST_MAIN(tst_ConnectServerViewController)
#include "tst_ConnectServerViewController.moc"
