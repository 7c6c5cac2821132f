#include "credentials/Credentials.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/FetchUserQuotaOperation.h"
#include "platform/drive/Progress.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/SyncServiceClient.h"
#include "platform/foundation/CancellationToken.h"
#include "platform/foundation/FilePath.h"
#include "support/CuttingProxy.h"
#include "support/SyncServiceProcess.h"
#include "support/TestDrive.h"
#include "support/WebDavTestServer.h"
#include "sync/SyncJournal.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <thread>

/// The sync service as the app and the control program use it: a real service process, a real
/// server, downloads through the socket.
class tst_SyncService : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    WebDavTestServer m_server{WebDavTestServer::Kind::Apache};
    std::unique_ptr<CuttingProxy> m_network; // between the service and the server
    SyncServiceProcess m_service;

    bool startService() { return m_service.start(); }
    void stopService() { m_service.stop(); }
    static bool syncNow() { return SyncServiceProcess::syncNow(); }

    /// The server as the drive sees it: through the relay that can cut a connection.
    QUrl serverUrl() const { return m_network->relayed(m_server.url()); }

    static QByteArray sha(const QByteArray &bytes) { return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256); }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_server.start(&error), qPrintable(error));
        m_network = std::make_unique<CuttingProxy>(quint16(m_server.url().port()));
        QVERIFY2(m_network->start(&error), qPrintable(error));
        qputenv("AEROVA_SYNCD", "/bin/false"); // the app's own attempts to start one must not race the test's
        const RemoteAccount account{serverUrl(), m_server.user()};
        QVERIFY(account.signIn());
        QVERIFY(Credentials::store(account, m_server.password(), Credentials::Storage::File, &error));
        QCOMPARE(QFile::permissions(DriveLayout::credentialsFile()),
                 QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser | QFileDevice::WriteUser);
        QCOMPARE(m_server.put(QStringLiteral("Hello.txt"), "hello from the server"), 201);
        QVERIFY(startService());
        QVERIFY(syncNow());
    }

    void cleanupTestCase() { stopService(); }

    void aSecondServiceForTheSameDriveExits()
    {
        QProcess second;
        second.start(QStringLiteral(AEROVA_SYNCD_PATH), {});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 0);
        QVERIFY(QString::fromLocal8Bit(second.readAllStandardError()).contains(QStringLiteral("already runs")));
        QVERIFY(m_service.isRunning());
        QString error;
        QVERIFY(SyncServiceClient::connect(&error, false)); // the first one still serves
    }

    void aPromisedDocumentIsDownloadedThroughTheService()
    {
        const QString path = m_drive.path(QStringLiteral("Hello.txt"));
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QVERIFY(!PromiseStore::materialize(path, nullptr));
        QCOMPARE(TestDrive::readFile(path), QByteArray("hello from the server"));
        QVERIFY(!QFileInfo::exists(PromisePlaceholder::placeholderPathFor(path)));
        // a downloaded copy is the server's version: the next run leaves it alone
        QVERIFY(syncNow());
        QCOMPARE(TestDrive::readFile(path), QByteArray("hello from the server"));
        QVERIFY(!QFileInfo::exists(PromisePlaceholder::placeholderPathFor(path)));
    }

    void aDownloadedCopyOfADocumentChangedOnTheServerBecomesAPromiseOfTheNewVersion()
    {
        const QString path = m_drive.path(QStringLiteral("Hello.txt"));
        QCOMPARE(TestDrive::readFile(path), QByteArray("hello from the server"));
        QVERIFY(m_server.put(QStringLiteral("Hello.txt"), "a new version, longer") / 100 == 2);
        QVERIFY(syncNow());
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QCOMPARE(PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), nullptr)->size, 21);
        QVERIFY(!PromiseStore::materialize(path, nullptr));
        QCOMPARE(TestDrive::readFile(path), QByteArray("a new version, longer"));
    }

    void anEditedCopyIsNeverReplacedByTheServersVersion()
    {
        const QString path = m_drive.path(QStringLiteral("Hello.txt"));
        QVERIFY(TestDrive::writeFile(path, "edited on the device"));
        QVERIFY(m_server.put(QStringLiteral("Hello.txt"), "and changed on the server") / 100 == 2);
        // once quiet, both versions are kept: the server's under the name, the device's beside it
        QThread::msleep(2100);
        QVERIFY(syncNow());
        QTRY_VERIFY(PromisePlaceholder::isPromisedItem(path));
        const QStringList conflicts = QDir(m_drive.root()).entryList({QStringLiteral("Hello (conflict *).txt")});
        QCOMPARE(conflicts.size(), 1);
        QCOMPARE(TestDrive::readFile(m_drive.path(conflicts.first())), QByteArray("edited on the device"));
        QCOMPARE(m_server.request("GET", conflicts.first()), 200);
        QCOMPARE(m_server.lastBody(), QByteArray("edited on the device"));
    }

    void anotherUserOrServerIsAnotherIdentity()
    {
        const std::optional<UbiquityIdentityToken> current = DriveFileManager::ubiquityIdentityToken();
        QVERIFY(current);
        const RemoteAccount signedIn{serverUrl(), m_server.user()};
        const RemoteAccount otherUser{serverUrl(), QStringLiteral("bob")};
        const RemoteAccount otherServer{QUrl(QStringLiteral("https://cloud.example.org/dav/")), m_server.user()};
        QVERIFY(otherUser.identity() != signedIn.identity());
        QVERIFY(otherServer.identity() != signedIn.identity());
        QVERIFY(otherUser.signIn());
        QVERIFY(DriveFileManager::ubiquityIdentityToken() != current);
        QVERIFY(signedIn.signIn());
        QCOMPARE(DriveFileManager::ubiquityIdentityToken(), current);
    }

    void remoteChangesReachTheDeviceWithoutARestart()
    {
        QCOMPARE(m_server.put(QStringLiteral("Later.txt"), "later"), 201);
        QVERIFY(syncNow());
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Later.txt"))));
    }

    void theAppBecomingActiveBringsRemoteChangesAtOnce()
    {
        QCOMPARE(m_server.put(QStringLiteral("Active.txt"), "seen when the app opens"), 201);
        QString error;
        const auto watch = SyncServiceClient::connect(&error, false);
        QVERIFY(watch);
        QVERIFY(watch->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("watch")}}));
        QTRY_VERIFY_WITH_TIMEOUT(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Active.txt"))), 20000);
    }

    void aBigDownloadReportsProgressIsCancelledAndResumes()
    {
        QByteArray big(100 * 1024 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < big.size(); i += 4096) {
            big[i] = char(i / 4096);
        }
        QCOMPARE(m_server.put(QStringLiteral("Big.bin"), big), 201);
        QVERIFY(syncNow());
        const QString path = m_drive.path(QStringLiteral("Big.bin"));
        const QString storeKey = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), nullptr)->storeKey;
        const QString partial = DriveLayout::partialDownloadsPath() + QLatin1Char('/') + storeKey;

        // the service reports progress as the bytes arrive, rising to the whole
        {
            QString error;
            const auto client = SyncServiceClient::connect(&error, false);
            QVERIFY(client);
            QList<qint64> progress;
            QElapsedTimer took;
            took.start();
            const auto answer = client->materialize(
                storeKey, [&progress](qint64 done, qint64 total) {
                    QCOMPARE(total, qint64(100 * 1024 * 1024));
                    progress << done;
                },
                nullptr, &error);
            QVERIFY2(answer, qPrintable(error));
            QVERIFY(answer->value(QStringLiteral("done")).toBool());
            QCOMPARE(answer->value(QStringLiteral("progress")).toInteger(), 100 * 1024 * 1024);
            QVERIFY(std::is_sorted(progress.cbegin(), progress.cend()));
            // at most ten a second
            QVERIFY2(progress.size() <= took.elapsed() / 100 + 1, qPrintable(QString::number(progress.size())));
            QCOMPARE(QFileInfo(answer->value(QStringLiteral("file")).toString()).size(), 100 * 1024 * 1024);
            QFile::remove(answer->value(QStringLiteral("file")).toString());
            QVERIFY(PromisePlaceholder::isPromisedItem(path)); // only the app gives it its name
        }

        // cancelled once some of it has arrived; the rest is held back on the way, so the
        // download cannot end before the cancel reaches it
        m_network->holdAfter(4 * 1024 * 1024, "GET /Big.bin");
        CancellationToken cancel;
        std::atomic<bool> stop{false};
        std::thread watcher([&] {
            while (!stop && QFileInfo(partial).size() < 1024 * 1024) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            cancel.cancel();
        });
        const std::optional<Error> cancelled = PromiseStore::materialize(path, &cancel);
        stop = true;
        watcher.join();
        m_network->release();
        QVERIFY2(cancelled, "the download ended before the cancel reached it");
        QCOMPARE(cancelled->code(), UserCancelledError);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QVERIFY(!QFileInfo::exists(path));
        const qint64 kept = QFileInfo(partial).size();
        QVERIFY(kept > 0); // kept for the next attempt

        // the next attempt finishes it, with the content whole
        const std::optional<Error> error = PromiseStore::materialize(path, nullptr);
        QVERIFY2(!error, error ? qPrintable(error->localizedDescription()) : "");
        QCOMPARE(sha(TestDrive::readFile(path)), sha(big));
        QVERIFY(!QFileInfo::exists(partial));
        // the second attempt asked only for the rest
        const QByteArray resumed = "GET /Big.bin 206 bytes=" + QByteArray::number(kept) + "-";
        QVERIFY2(m_server.accessLog().contains(resumed), m_server.accessLog().right(400).constData());
    }

    void aDroppedConnectionKeepsWhatArrivedAndTheNextAttemptResumes()
    {
        QByteArray content(8 * 1024 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < content.size(); ++i) {
            content[i] = char(i * 7 / 4096);
        }
        QCOMPARE(m_server.put(QStringLiteral("Dropped.bin"), content), 201);
        QVERIFY(syncNow());
        const QString path = m_drive.path(QStringLiteral("Dropped.bin"));
        const QString storeKey = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), nullptr)->storeKey;
        const QString partial = DriveLayout::partialDownloadsPath() + QLatin1Char('/') + storeKey;

        // every attempt of the download is cut: the HTTP stack may try again by itself
        m_network->cutAfter(3 * 1024 * 1024, "GET /Dropped.bin", 5);
        const std::optional<Error> dropped = PromiseStore::materialize(path, nullptr);
        m_network->cutAfter(-1, {});
        QVERIFY(m_network->cuts() >= 1);
        QVERIFY(dropped);
        QCOMPARE(dropped->code(), UbiquityServerNotAvailableError);
        QVERIFY2(dropped->localizedFailureReason().contains(QStringLiteral("cannot be reached")),
                 qPrintable(dropped->localizedFailureReason()));
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QVERIFY(!QFileInfo::exists(path));
        const qint64 kept = QFileInfo(partial).size();
        QVERIFY2(kept > 0 && kept < content.size(), qPrintable(QString::number(kept)));

        const std::optional<Error> error = PromiseStore::materialize(path, nullptr);
        QVERIFY2(!error, error ? qPrintable(error->localizedDescription()) : "");
        QCOMPARE(sha(TestDrive::readFile(path)), sha(content));
        QVERIFY(!QFileInfo::exists(partial));
        const QByteArray resumed = "GET /Dropped.bin 206 bytes=" + QByteArray::number(kept) + "-";
        QVERIFY2(m_server.accessLog().contains(resumed), m_server.accessLog().right(400).constData());
    }

    void aDocumentGoneFromTheServerFailsAndItsErrorPageIsNoPartOfIt()
    {
        QCOMPARE(m_server.put(QStringLiteral("Gone.txt"), "here a moment"), 201);
        QVERIFY(syncNow());
        const QString path = m_drive.path(QStringLiteral("Gone.txt"));
        const QString storeKey = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), nullptr)->storeKey;
        QCOMPARE(m_server.remove(QStringLiteral("Gone.txt")), 204);
        const std::optional<Error> error = PromiseStore::materialize(path, nullptr);
        QVERIFY(error);
        QCOMPARE(error->code(), UbiquityFileUnavailableError);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QCOMPARE(QFileInfo(DriveLayout::partialDownloadsPath() + QLatin1Char('/') + storeKey).size(), 0);
    }

    void withoutAServiceADownloadFailsClearlyAndFast()
    {
        stopService();
        QCOMPARE(m_server.put(QStringLiteral("Orphan.txt"), "x"), 201);
        const QString path = m_drive.path(QStringLiteral("Later.txt"));
        QElapsedTimer timer;
        timer.start();
        const std::optional<Error> error = PromiseStore::materialize(path, nullptr);
        QVERIFY(error);
        QCOMPARE(error->code(), UbiquityServerNotAvailableError);
        QVERIFY(error->localizedFailureReason().contains(QStringLiteral("not running")));
        QVERIFY(timer.elapsed() < 15000);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QVERIFY(startService());
    }

    void theControlProgramSaysWhichServerAndHowTheLastSyncEnded()
    {
        QCOMPARE(m_server.put(QStringLiteral(".Sneaky.txt.promise"), "{}"), 201);
        QVERIFY(syncNow());
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("status")});
        QVERIFY(ctl.waitForFinished(20000));
        const QString out = QString::fromUtf8(ctl.readAllStandardOutput());
        QVERIFY2(out.contains(QStringLiteral("server: ") + serverUrl().toDisplayString()), qPrintable(out));
        QVERIFY(out.contains(QStringLiteral("user: alice")));
        QVERIFY(out.contains(QStringLiteral("sync service: running")));
        QVERIFY2(out.contains(QRegularExpression(QStringLiteral("last sync: \\d{4}-\\d\\d-\\d\\dT.* \\(ok\\)"))), qPrintable(out));
        QVERIFY2(out.contains(QStringLiteral("refused from the server:\n  \".Sneaky.txt.promise\": its name looks like a "
                                             "placeholder of the drive")),
                 qPrintable(out));
        QCOMPARE(m_server.remove(QStringLiteral(".Sneaky.txt.promise")), 204);
    }

    /// What `aerovadrive-ctl status` prints.
    static QString ctlStatus()
    {
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("status")});
        ctl.waitForFinished(20000);
        return QString::fromUtf8(ctl.readAllStandardOutput());
    }

    void aServerThatIgnoresIfMatchIsNamedInTheStatus()
    {
        const QString name = QStringLiteral("ifMatch ") + serverUrl().toString(QUrl::FullyEncoded);
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        QVERIFY(journal.open(&error));
        // the service asked this server at its first run
        QCOMPARE(journal.value(name), QStringLiteral("honoured"));
        QVERIFY(!ctlStatus().contains(QStringLiteral("If-Match")));
        // as a server that ignores it would have answered
        QVERIFY(journal.setValue(name, QStringLiteral("ignored")));
        QVERIFY(syncNow());
        const QString status = ctlStatus();
        QVERIFY2(status.contains(QStringLiteral("The server ignores If-Match: an edit made on another device while this one "
                                                "sends its own can be overwritten there instead of being kept as a conflict copy")),
                 qPrintable(status));
        QVERIFY(journal.setValue(name, QStringLiteral("honoured")));
        QVERIFY(syncNow());
        QVERIFY(!ctlStatus().contains(QStringLiteral("If-Match")));
    }

    void aDocumentSavedByAnotherProgramIsSentWithoutAskingForASync()
    {
        const QString path = m_drive.path(QStringLiteral("Saved by an editor.txt"));
        QProcess editor;
        editor.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("printf 'first draft' > \"$1\""), QStringLiteral("sh"), path});
        QVERIFY(editor.waitForFinished(5000));
        QCOMPARE(TestDrive::readFile(path), QByteArray("first draft"));
        // no sync asked for, no poll due: the service sees the change itself
        QTRY_COMPARE_WITH_TIMEOUT(m_server.request("GET", QStringLiteral("Saved by an editor.txt")), 200, 20000);
        QCOMPARE(m_server.lastBody(), QByteArray("first draft"));
    }

    void changesMadeOfflineAreSentOnceTheServerIsReachable()
    {
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Packing list.txt")), "socks"));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Old plan.txt")), "obsolete"));
        QTest::qWait(2100); // whole, not still being written
        QVERIFY(syncNow());
        QCOMPARE(m_server.request("GET", QStringLiteral("Packing list.txt")), 200);
        const QByteArray logBefore = m_server.accessLog();

        m_network->setOffline(true);
        // a new folder, a document in it, a document moved into it and then renamed, a delete
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Offline Trip"))));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Offline Trip/Day 1.txt")), "the coast"));
        QVERIFY(QFile::rename(m_drive.path(QStringLiteral("Packing list.txt")), m_drive.path(QStringLiteral("Offline Trip/Packing list.txt"))));
        QVERIFY(QFile::rename(m_drive.path(QStringLiteral("Offline Trip/Packing list.txt")), m_drive.path(QStringLiteral("Offline Trip/Packing.txt"))));
        QVERIFY(QFile::remove(m_drive.path(QStringLiteral("Old plan.txt"))));
        QTest::qWait(2100);
        QVERIFY(syncNow());
        const QString offlineStatus = ctlStatus();
        QVERIFY2(offlineStatus.contains(QStringLiteral("(The server cannot be reached.")), qPrintable(offlineStatus));
        // the device keeps everything while the server cannot be reached
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Offline Trip/Packing.txt"))), QByteArray("socks"));
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Offline Trip/Day 1.txt"))), QByteArray("the coast"));

        m_network->setOffline(false);
        QVERIFY(syncNow());
        QCOMPARE(m_server.request("GET", QStringLiteral("Offline Trip/Day 1.txt")), 200);
        QCOMPARE(m_server.lastBody(), QByteArray("the coast"));
        QCOMPARE(m_server.request("GET", QStringLiteral("Offline Trip/Packing.txt")), 200);
        QCOMPARE(m_server.lastBody(), QByteArray("socks"));
        QCOMPARE(m_server.request("GET", QStringLiteral("Packing list.txt")), 404);
        QCOMPARE(m_server.request("GET", QStringLiteral("Old plan.txt")), 404);
        // the move and the rename were one move, after the folder was made; nothing sent twice
        const QByteArray sent = m_server.accessLog().mid(logBefore.size());
        QCOMPARE(sent.count("MOVE /Packing list.txt 201"), 1);
        QCOMPARE(sent.count("MOVE "), 1);
        QVERIFY2(sent.indexOf("MKCOL /Offline Trip/ 201") < sent.indexOf("MOVE "), sent.constData());
        QCOMPARE(sent.count("PUT /Offline Trip/Day 1.txt 201"), 1);
    }

    void anUploadWhoseAnswerIsLostIsNotSentTwice()
    {
        // the server takes the document, then the connection drops before its answer arrives
        m_network->cutAfter(0, "PUT /Dropped%20answer.txt", 3);
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Dropped answer.txt")), "sent once"));
        QTest::qWait(2100);
        QVERIFY(syncNow());
        QVERIFY(m_network->cuts() > 0);
        m_network->cutAfter(-1, {});
        QCOMPARE(m_server.request("GET", QStringLiteral("Dropped answer.txt")), 200);
        // the next run finds the same bytes on both sides: one document, no conflict copy
        QVERIFY(syncNow());
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Dropped answer.txt"))), QByteArray("sent once"));
        QCOMPARE(QDir(m_drive.root()).entryList({QStringLiteral("Dropped answer (conflict*")}), QStringList());
        QVERIFY(!m_server.accessLog().contains("Dropped answer (conflict"));
    }

    void deletingMostOfTheDriveWaitsUntilTheControlProgramConfirmsIt()
    {
        QCOMPARE(m_server.mkcol(QStringLiteral("Many")), 201);
        for (int i = 0; i < 40; ++i) {
            QCOMPARE(m_server.put(QStringLiteral("Many/Doc %1.txt").arg(i), "content"), 201);
        }
        QVERIFY(syncNow());
        QVERIFY(QDir(m_drive.path(QStringLiteral("Many"))).removeRecursively());
        QVERIFY(syncNow());
        QCOMPARE(m_server.request("PROPFIND", QStringLiteral("Many/"), {}, {{"Depth", "0"}}), 207);
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("status")});
        QVERIFY(ctl.waitForFinished(20000));
        const QString status = QString::fromUtf8(ctl.readAllStandardOutput());
        QVERIFY2(status.contains(QRegularExpression(QStringLiteral("This sync would delete 41 of the \\d+ items it knows; it waits for "
                                                                   "`aerovadrive-ctl sync confirm-deletes`"))),
                 qPrintable(status));

        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("sync"), QStringLiteral("confirm-deletes")});
        QVERIFY(ctl.waitForFinished(20000));
        QCOMPARE(ctl.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(ctl.readAllStandardOutput()), QStringLiteral("Deletes confirmed: the next sync makes them\n"));
        QTRY_COMPARE_WITH_TIMEOUT(m_server.request("PROPFIND", QStringLiteral("Many/"), {}, {{"Depth", "0"}}), 404, 20000);
        QVERIFY(!QFileInfo::exists(m_drive.path(QStringLiteral("Many"))));
        // the confirmation was for those: the next runs go on as usual
        QVERIFY(syncNow());
        QCOMPARE(m_server.put(QStringLiteral("After.txt"), "after"), 201);
        QVERIFY(syncNow());
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("After.txt"))));
    }

    void aRefusedPasswordSignsTheDriveOut()
    {
        QVERIFY(DriveFileManager::ubiquityIdentityToken());
        stopService();
        const RemoteAccount account{serverUrl(), m_server.user()};
        QString error;
        QVERIFY(Credentials::store(account, QStringLiteral("not the password"), Credentials::Storage::File, &error));
        QVERIFY(startService());
        QVERIFY(syncNow());
        QVERIFY(!DriveFileManager::ubiquityIdentityToken());
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("status")});
        QVERIFY(ctl.waitForFinished(20000));
        const QString out = QString::fromUtf8(ctl.readAllStandardOutput());
        QVERIFY2(out.contains(QStringLiteral("The server did not accept the user name and password.")), qPrintable(out));
        // what the device holds stays
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Later.txt"))));

        // signing in again brings the drive back
        stopService();
        QProcess signIn;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("AEROVA_SYNCD"), QStringLiteral(AEROVA_SYNCD_PATH));
        signIn.setProcessEnvironment(env);
        signIn.start(QStringLiteral(AEROVA_CTL_PATH),
                     {QStringLiteral("sign-in"), QStringLiteral("--server"), serverUrl().toString(), QStringLiteral("--user"),
                      m_server.user(), QStringLiteral("--store-password-in-file")});
        signIn.write(m_server.password().toUtf8() + '\n');
        signIn.closeWriteChannel();
        QVERIFY(signIn.waitForFinished(30000));
        QVERIFY2(signIn.exitCode() == 0, signIn.readAllStandardError().constData());
        QVERIFY(DriveFileManager::ubiquityIdentityToken());
        // the control program started a service of its own: the test's next one takes over
        QString ignored;
        if (auto client = SyncServiceClient::connect(&ignored, false)) {
            client->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
        }
        QThread::msleep(500);
        QVERIFY(startService());
    }

    void aWrongPasswordAtSignInIsRefusedAndNothingIsWritten()
    {
        QProcess signIn;
        signIn.start(QStringLiteral(AEROVA_CTL_PATH),
                     {QStringLiteral("sign-in"), QStringLiteral("--server"), serverUrl().toString(), QStringLiteral("--user"),
                      QStringLiteral("mallory")});
        signIn.write("guess\n");
        signIn.closeWriteChannel();
        QVERIFY(signIn.waitForFinished(30000));
        QCOMPARE(signIn.exitCode(), 1);
        QVERIFY(QString::fromUtf8(signIn.readAllStandardError())
                    .contains(QStringLiteral("The server did not accept the user name and password.")));
        QCOMPARE(RemoteAccount::current()->user, m_server.user());
    }

    void aPasswordIsNeverSentUnencryptedToAnotherMachine()
    {
        QProcess signIn;
        signIn.start(QStringLiteral(AEROVA_CTL_PATH),
                     {QStringLiteral("sign-in"), QStringLiteral("--server"), QStringLiteral("http://cloud.example.org/dav/"),
                      QStringLiteral("--user"), QStringLiteral("alice")});
        signIn.closeWriteChannel();
        QVERIFY(signIn.waitForFinished(30000));
        QCOMPARE(signIn.exitCode(), 1);
        QVERIFY(QString::fromUtf8(signIn.readAllStandardError())
                    .contains(QStringLiteral("The password would be sent unencrypted: use an https:// address.")));
        QCOMPARE(RemoteAccount::current()->server, serverUrl());
    }

    void aFullServerIsNamedInTheStatusAndTheDocumentsGoOnceItHasRoom()
    {
        // last: the drive signs in to another server (SabreDAV, whose quota can be filled)
        WebDavTestServer sabre(WebDavTestServer::Kind::Sabre);
        QString error;
        QVERIFY2(sabre.start(&error), qPrintable(error));
        stopService();
        const RemoteAccount account{sabre.url(), sabre.user()};
        QVERIFY(account.signIn());
        QVERIFY(Credentials::store(account, sabre.password(), Credentials::Storage::File, &error));
        QVERIFY(startService());
        QVERIFY(syncNow());

        QVERIFY(sabre.setQuota(1000, 0));
        const QStringList names{QStringLiteral("Full 1.txt"), QStringLiteral("Full 2.txt"), QStringLiteral("Full 3.txt")};
        for (const QString &name : names) {
            QVERIFY(TestDrive::writeFile(m_drive.path(name), "waits for room"));
        }
        QTest::qWait(2100); // quiet long enough to be sent
        QVERIFY(syncNow());
        const auto status = [] {
            QProcess ctl;
            ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("status")});
            ctl.waitForFinished(20000);
            return QString::fromUtf8(ctl.readAllStandardOutput());
        };
        const QString full = status();
        QVERIFY2(full.contains(QStringLiteral("The server is full: 3 documents wait until it has room\n")), qPrintable(full));
        for (const QString &name : names) {
            QCOMPARE(sabre.request("GET", name), 404);
            QCOMPARE(TestDrive::readFile(m_drive.path(name)), QByteArray("waits for room")); // nothing local is removed
        }

        // room again: they go at the next sync, and the status says no more of it
        QVERIFY(sabre.clearQuota());
        QVERIFY(syncNow());
        for (const QString &name : names) {
            QCOMPARE(sabre.request("GET", name), 200);
        }
        const QString roomy = status();
        QVERIFY2(!roomy.contains(QStringLiteral("The server is full")), qPrintable(roomy));
    }

    void aServerWithoutQuotaIsAFailedFetch()
    {
        FetchUserQuotaOperation operation;
        std::optional<Error> error;
        quint64 remaining = 1;
        operation.setFetchUserQuotaCompletionBlock([&](quint64 bytes, const std::optional<Error> &e) {
            remaining = bytes;
            error = e;
        });
        operation.main();
        QVERIFY(error);
        QCOMPARE(remaining, quint64(0));
        QVERIFY(error->localizedDescription().contains(QStringLiteral("does not report its free space")));
    }
};

QTEST_GUILESS_MAIN(tst_SyncService)
#include "tst_SyncService.moc"
