#include "core/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "support/LogSpy.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestDrive.h"
#include "support/WebDavTestServer.h"
#include "sync/DavClient.h"
#include "sync/LocalScanner.h"
#include "sync/RemotePropagator.h"
#include "sync/SendFailures.h"
#include "sync/ServerProbe.h"
#include "sync/SyncEngine.h"
#include "sync/SyncJournal.h"
#include "sync/SyncService.h"
#include "sync/SyncWorker.h"

#include <QBuffer>
#include <QDir>
#include <QTemporaryDir>
#include <QFile>
#include <QLocalSocket>
#include <QNetworkReply>
#include <QTest>

#include <memory>

#include <sys/stat.h>

Q_DECLARE_METATYPE(WebDavTestServer::Kind)

/// The sync engine against real servers: what the server holds arrives on the device as
/// placeholders and folders, and follows the server's changes.
class tst_SyncEngine : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    std::unique_ptr<WebDavTestServer> m_apache;
    std::unique_ptr<WebDavTestServer> m_sabre;
    std::unique_ptr<WebDavTestServer> m_rclone;

    WebDavTestServer *server(WebDavTestServer::Kind kind) const
    {
        switch (kind) {
        case WebDavTestServer::Kind::Apache: return m_apache.get();
        case WebDavTestServer::Kind::Sabre: return m_sabre.get();
        case WebDavTestServer::Kind::Rclone: return m_rclone.get();
        }
        return nullptr;
    }

    /// One sync run of a fresh drive folder against `server`'s folder `remoteFolder`.
    SyncOutcome sync(WebDavTestServer *server, const QString &remoteFolder)
    {
        DavClient client(server->url(remoteFolder + QLatin1Char('/')), server->user(), server->password());
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        if (!journal.open(&error)) {
            qWarning() << error;
            return {};
        }
        return SyncEngine(&client, &journal).run();
    }

    /// Starts from an empty drive and an empty journal, and a fresh server folder.
    QString freshStart(WebDavTestServer *server, const char *name)
    {
        const QString folder = WebDavTestServer::kindName(server->kind()) + QLatin1Char('-') + QString::fromLatin1(name);
        server->mkcol(folder);
        QDir(DriveLayout::mobileDocumentsPath()).removeRecursively(); // app containers too: they are sent
        QDir().mkpath(m_drive.root());
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(DriveLayout::syncJournalFile() + suffix);
        }
        // as if the account had synced long ago: what a test writes before its first run is new
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        if (!journal.open(&error) || !journal.setValue(QStringLiteral("sendSince"), QStringLiteral("0"))) {
            qWarning() << "journal:" << error;
        }
        return folder;
    }

    /// Starts like freshStart, but as a first sign-in: the journal has never run.
    QString firstSignIn(WebDavTestServer *server, const char *name)
    {
        const QString folder = freshStart(server, name);
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(DriveLayout::syncJournalFile() + suffix);
        }
        return folder;
    }

    /// A record at `level` whose message holds `text`.
    static bool logged(int level, const QString &text)
    {
        const auto records = LogSpy::records();
        return std::any_of(records.cbegin(), records.cend(), [&](const SystemLogMessage &record) {
            return record.value(QStringLiteral("Level")).toInt() == level
                && record.value(QStringLiteral("Message")).contains(text);
        });
    }

    static QByteArray multistatusAnswer(const QByteArray &responses)
    {
        const QByteArray body = R"(<?xml version="1.0"?><d:multistatus xmlns:d="DAV:">)" + responses + "</d:multistatus>";
        return "HTTP/1.1 207 Multi-Status\r\nContent-Type: application/xml\r\nContent-Length: "
            + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }

    static std::optional<PromisePlaceholder> placeholderAt(const QString &path)
    {
        std::optional<Error> error;
        return PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
    }

private slots:
    void initTestCase()
    {
        QString error;
        m_apache = std::make_unique<WebDavTestServer>(WebDavTestServer::Kind::Apache);
        QVERIFY2(m_apache->start(&error), qPrintable(error));
        m_sabre = std::make_unique<WebDavTestServer>(WebDavTestServer::Kind::Sabre);
        QVERIFY2(m_sabre->start(&error), qPrintable(error));
        m_rclone = std::make_unique<WebDavTestServer>(WebDavTestServer::Kind::Rclone);
        QVERIFY2(m_rclone->start(&error), qPrintable(error));
        LocalScanner::setSettleMs(0); // documents written by a test are whole at once
    }

    /// The content of the server's document at `path`, or "(status)" when it has none.
    static QByteArray onServer(WebDavTestServer *server, const QString &path)
    {
        const int status = server->request("GET", path);
        return status == 200 ? server->lastBody() : "(" + QByteArray::number(status) + ")";
    }

    /// The name of the one conflict copy of `name` in the drive's top folder; empty when none.
    QString conflictCopyOf(const QString &name) const
    {
        const auto [stem, suffix] = FileUtils::splitName(name);
        const QStringList found = QDir(m_drive.root()).entryList({stem + QStringLiteral(" (conflict *)") + suffix});
        return found.size() == 1 ? found.first() : QString();
    }

    /// A document written by a program of the device, with a date of its own.
    bool writeOnDevice(const QString &relativePath, const QByteArray &content, qint64 modifiedSecs = 1700000000)
    {
        const QString path = m_drive.path(relativePath);
        if (!TestDrive::writeFile(path, content)) {
            return false;
        }
        QFile file(path);
        return file.open(QIODevice::ReadWrite)
            && file.setFileTime(QDateTime::fromSecsSinceEpoch(modifiedSecs), QFileDevice::FileModificationTime);
    }

    void servers_data()
    {
        QTest::addColumn<WebDavTestServer::Kind>("kind");
        QTest::newRow("apache") << WebDavTestServer::Kind::Apache;
        QTest::newRow("sabre") << WebDavTestServer::Kind::Sabre;
        QTest::newRow("rclone") << WebDavTestServer::Kind::Rclone;
    }

    void theServersTreeArrivesAsPlaceholdersAndFolders_data() { servers_data(); }
    void theServersTreeArrivesAsPlaceholdersAndFolders()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "tree");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Q Docs")), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Q Docs/Ünïcødé 文件")), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Q Docs/Ünïcødé 文件/Deep")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Q Docs/Ünïcødé 文件/Deep/100% #1.txt"), "hello"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Q Docs/Résumé.pdf"), QByteArray(1234, 'p')), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Empty.txt"), QByteArray()), 201);

        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded, qPrintable(outcome.error));
        QCOMPARE(outcome.changes, 6);
        QVERIFY(outcome.failures.isEmpty());

        QVERIFY(QFileInfo(m_drive.path(QStringLiteral("Q Docs/Ünïcødé 文件/Deep"))).isDir());
        const auto deep = placeholderAt(m_drive.path(QStringLiteral("Q Docs/Ünïcødé 文件/Deep/100% #1.txt")));
        QVERIFY(deep);
        QCOMPARE(deep->size, 5);
        QCOMPARE(deep->mimeType, QStringLiteral("text/plain"));
        QVERIFY(PromisePlaceholder::isStoreKey(deep->storeKey));
        const auto resume = placeholderAt(m_drive.path(QStringLiteral("Q Docs/Résumé.pdf")));
        QVERIFY(resume);
        QCOMPARE(resume->size, 1234);
        QCOMPARE(resume->mimeType, QStringLiteral("application/pdf"));
        QVERIFY(resume->modificationDate.isValid());
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Empty.txt")))->size, 0);
        // nothing but placeholders: no content was fetched
        QVERIFY(!QFileInfo::exists(m_drive.path(QStringLiteral("Q Docs/Résumé.pdf"))));

        // a second run with nothing changed changes nothing
        const SyncOutcome again = sync(dav, top);
        QVERIFY(again.succeeded);
        QCOMPARE(again.changes, 0);
    }

    void remoteChangesAreFollowed_data() { servers_data(); }
    void remoteChangesAreFollowed()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "changes");
        QCOMPARE(dav->put(top + QStringLiteral("/Keep.txt"), "1"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Change.txt"), "short"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Rename.txt"), "rename me"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Delete.txt"), "delete me"), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Gone")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Gone/Inside.txt"), "x"), 201);
        QVERIFY(sync(dav, top).succeeded);
        const QString renamedKey = placeholderAt(m_drive.path(QStringLiteral("Rename.txt")))->storeKey;

        QTest::qWait(1100); // a new second: servers date changes to the second
        QCOMPARE(dav->put(top + QStringLiteral("/Added.txt"), "new"), 201);
        QVERIFY(dav->put(top + QStringLiteral("/Change.txt"), "a longer text") / 100 == 2);
        QCOMPARE(dav->move(top + QStringLiteral("/Rename.txt"), top + QStringLiteral("/Renamed.txt")), 201);
        QCOMPARE(dav->remove(top + QStringLiteral("/Delete.txt")), 204);
        QCOMPARE(dav->remove(top + QStringLiteral("/Gone")), 204);

        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded, qPrintable(outcome.error));
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(QLatin1Char('\n'))));
        QVERIFY(placeholderAt(m_drive.path(QStringLiteral("Added.txt"))));
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Change.txt")))->size, 13);
        QVERIFY(!PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Rename.txt"))));
        const auto renamed = placeholderAt(m_drive.path(QStringLiteral("Renamed.txt")));
        QVERIFY(renamed);
        QCOMPARE(renamed->storeKey, renamedKey); // moved, not deleted and made again
        QVERIFY(!PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Delete.txt"))));
        QVERIFY(!QFileInfo::exists(m_drive.path(QStringLiteral("Gone"))));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Keep.txt"))));
    }

    void tagsKeptOnTheServerReachThePlaceholder()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "tags");
        QCOMPARE(dav->put(top + QStringLiteral("/Tagged.txt"), "t"), 201);
        QCOMPARE(dav->request("PROPPATCH", top + QStringLiteral("/Tagged.txt"),
                              R"(<?xml version="1.0"?><d:propertyupdate xmlns:d="DAV:" xmlns:a="urn:x-aerova:">)"
                              "<d:set><d:prop><a:tags>Red,Work</a:tags></d:prop></d:set></d:propertyupdate>",
                              {{"Content-Type", "application/xml"}}),
                 207);
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Tagged.txt")))->tags,
                 (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
    }

    /// The tags the server keeps for `path`.
    static QStringList serverTags(WebDavTestServer *server, const QString &path)
    {
        DavClient client(server->url(), server->user(), server->password());
        DavError error;
        const auto listed = client.list(path, 0, &error, nullptr, false);
        return listed && !listed->isEmpty() ? listed->first().tags : QStringList{QStringLiteral("(%1)").arg(error.description())};
    }

    static int setServerTags(WebDavTestServer *server, const QString &path, const QByteArray &tags)
    {
        return server->request("PROPPATCH", path,
                               R"(<?xml version="1.0"?><d:propertyupdate xmlns:d="DAV:" xmlns:a="urn:x-aerova:">)"
                               "<d:set><d:prop><a:tags>" + tags + "</a:tags></d:prop></d:set></d:propertyupdate>",
                               {{"Content-Type", "application/xml"}});
    }

    void tagsFollowTheSideThatChangedThem_data()
    {
        QTest::addColumn<WebDavTestServer::Kind>("kind");
        QTest::newRow("apache") << WebDavTestServer::Kind::Apache;
        QTest::newRow("sabre") << WebDavTestServer::Kind::Sabre;
    }
    void tagsFollowTheSideThatChangedThem()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "tag-sync");
        const QString local = m_drive.path(QStringLiteral("Report.txt"));
        QVERIFY(writeOnDevice(QStringLiteral("Report.txt"), "numbers"));
        QVERIFY(sync(dav, top).succeeded);
        // set on the device, as a file manager does
        QVERIFY(FileAttributes::setTags(local, {QStringLiteral("Red"), QStringLiteral("Work")}));
        const SyncOutcome sent = sync(dav, top);
        QVERIFY2(sent.succeeded && sent.failures.isEmpty(), qPrintable(sent.failures.join(u'\n')));
        QCOMPARE(sent.changes, 1);
        QCOMPARE(serverTags(dav, top + QStringLiteral("/Report.txt")), (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
        // in step: the next run changes nothing
        QCOMPARE(sync(dav, top).changes, 0);
        // changed on the server (another device): the device follows
        QCOMPARE(setServerTags(dav, top + QStringLiteral("/Report.txt"), "Blue"), 207);
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(FileAttributes::tags(local), QStringList{QStringLiteral("Blue")});
        // the content is not touched by a tag
        QCOMPARE(TestDrive::readFile(local), QByteArray("numbers"));
        // both changed since they last agreed: neither loses a tag
        QVERIFY(FileAttributes::setTags(local, {QStringLiteral("Blue"), QStringLiteral("Green")}));
        QCOMPARE(setServerTags(dav, top + QStringLiteral("/Report.txt"), "Blue,Yellow"), 207);
        QVERIFY(sync(dav, top).succeeded);
        const QStringList both{QStringLiteral("Blue"), QStringLiteral("Green"), QStringLiteral("Yellow")};
        QCOMPARE(FileAttributes::tags(local), both);
        QCOMPARE(serverTags(dav, top + QStringLiteral("/Report.txt")), both);
        // all removed on the device: removed on the server
        QVERIFY(FileAttributes::setTags(local, {}));
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(serverTags(dav, top + QStringLiteral("/Report.txt")), QStringList());
    }

    void aFoldersTagsGoBothWays_data() { tagsFollowTheSideThatChangedThem_data(); }
    void aFoldersTagsGoBothWays()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "folder-tags");
        const QString local = m_drive.path(QStringLiteral("Projects"));
        QVERIFY(QDir().mkpath(local));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(FileAttributes::setTags(local, {QStringLiteral("Green")}));
        const SyncOutcome sent = sync(dav, top);
        QVERIFY2(sent.succeeded && sent.failures.isEmpty(), qPrintable(sent.failures.join(u'\n')));
        QCOMPARE(sent.changes, 1);
        DavClient client(dav->url(), dav->user(), dav->password());
        DavError error;
        const auto listed = client.list(top + QStringLiteral("/Projects"), 0, &error);
        QVERIFY2(listed && listed->size() == 1, qPrintable(error.description()));
        QCOMPARE(listed->first().tags, QStringList{QStringLiteral("Green")});
        QCOMPARE(sync(dav, top).changes, 0);
        // set by another device: the device's folder follows
        QCOMPARE(setServerTags(dav, top + QStringLiteral("/Projects/"), "Green,Work"), 207);
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(FileAttributes::tags(local), (QStringList{QStringLiteral("Green"), QStringLiteral("Work")}));
        QVERIFY(QFileInfo(local).isDir());
    }

    void aFolderMadeOnTheServerArrivesWithItsTags()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "folder-tags-down");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Shared")), 201);
        QCOMPARE(setServerTags(dav, top + QStringLiteral("/Shared/"), "Blue"), 207);
        QVERIFY(sync(dav, top).succeeded);
        // the folder is made by one run and takes its tags then or at the next
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(FileAttributes::tags(m_drive.path(QStringLiteral("Shared"))), QStringList{QStringLiteral("Blue")});
    }

    void aPlaceholderTakesTheServersNewTags()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "tag-promised");
        QCOMPARE(dav->put(top + QStringLiteral("/Promised.txt"), "far away"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Promised.txt")))->tags, QStringList());
        QCOMPARE(setServerTags(dav, top + QStringLiteral("/Promised.txt"), "Purple"), 207);
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY(outcome.succeeded);
        QCOMPARE(outcome.changes, 1);
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Promised.txt")))->tags, QStringList{QStringLiteral("Purple")});
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Promised.txt"))));
    }

    void aServerKeepingNoTagsLeavesThemOnTheDevice()
    {
        WebDavTestServer *dav = m_rclone.get();
        const QString top = freshStart(dav, "tag-refused");
        const QString local = m_drive.path(QStringLiteral("Kept here.txt"));
        QVERIFY(writeOnDevice(QStringLiteral("Kept here.txt"), "text"));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(FileAttributes::setTags(local, {QStringLiteral("Orange")}));
        LogSpy::clear();
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(logged(LOG_WARNING, QStringLiteral("The server keeps no tags (")));
        QVERIFY(logged(LOG_WARNING, QStringLiteral("): the tags set on this device stay on it")));
        QCOMPARE(FileAttributes::tags(local), QStringList{QStringLiteral("Orange")});
        // said once, not at every run
        LogSpy::clear();
        const SyncOutcome again = sync(dav, top);
        QVERIFY(again.succeeded && again.failures.isEmpty());
        QVERIFY(!logged(LOG_WARNING, QStringLiteral("The server keeps no tags")));
        QCOMPARE(FileAttributes::tags(local), QStringList{QStringLiteral("Orange")});
    }

    void aDocumentNewOnBothSidesUnderOneNameKeepsBoth()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "own");
        QCOMPARE(dav->put(top + QStringLiteral("/Mine.txt"), "server's"), 201);
        QVERIFY(writeOnDevice(QStringLiteral("Mine.txt"), "the device's own"));
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded && outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        const QString conflict = conflictCopyOf(QStringLiteral("Mine.txt"));
        QVERIFY(!conflict.isEmpty());
        QCOMPARE(TestDrive::readFile(m_drive.path(conflict)), QByteArray("the device's own"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Mine.txt"))));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Mine.txt")), QByteArray("server's"));
        QCOMPARE(onServer(dav, top + QLatin1Char('/') + conflict), QByteArray("the device's own"));
        QVERIFY(logged(LOG_NOTICE, QStringLiteral("\"Mine.txt\" changed on the device and on the server: the device's version is now \"%1\"").arg(conflict)));
    }

    void aDocumentSentByARunThatStoppedBeforeTheJournalKeptItIsNoConflict()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "sent-unrecorded");
        QVERIFY(writeOnDevice(QStringLiteral("Sent.txt"), "sent, then the service died"));
        QVERIFY(sync(dav, top).succeeded);
        {
            // the run was killed after the server took it, before the journal kept it
            SyncJournal journal(DriveLayout::syncJournalFile());
            QString error;
            QVERIFY(journal.open(&error));
            const auto records = journal.records();
            QVERIFY(records.contains(QStringLiteral("Sent.txt")));
            QVERIFY(journal.remove(records.value(QStringLiteral("Sent.txt")).storeKey));
        }
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded && outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(conflictCopyOf(QStringLiteral("Sent.txt")), QString());
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Sent.txt"))), QByteArray("sent, then the service died"));
        QVERIFY(logged(LOG_INFO, QStringLiteral("\"Sent.txt\" holds the same on the device and on the server: kept as one")));
        QCOMPARE(sync(dav, top).changes, 0);
        // the same size, other bytes: both are kept
        QVERIFY(writeOnDevice(QStringLiteral("Twin.txt"), "AAAA"));
        QCOMPARE(dav->put(top + QStringLiteral("/Twin.txt"), "BBBB"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(!conflictCopyOf(QStringLiteral("Twin.txt")).isEmpty());
    }

    void aDownloadedCopyIsNoConflictForAJournalStartedAfresh()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "afresh");
        QCOMPARE(dav->put(top + QStringLiteral("/Photo.jpg"), "pixels"), 201);
        QVERIFY(sync(dav, top).succeeded);
        // downloaded as the app does it: the content under the name, with the server's date
        const QString path = m_drive.path(QStringLiteral("Photo.jpg"));
        const QDateTime serverDate = placeholderAt(path)->modificationDate;
        QVERIFY(QFile::remove(PromisePlaceholder::placeholderPathFor(path)));
        QVERIFY(writeOnDevice(QStringLiteral("Photo.jpg"), "pixels", serverDate.toSecsSinceEpoch()));
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(DriveLayout::syncJournalFile() + suffix);
        }
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY(outcome.succeeded);
        QCOMPARE(conflictCopyOf(QStringLiteral("Photo.jpg")), QString());
        QCOMPARE(TestDrive::readFile(path), QByteArray("pixels"));
        QCOMPARE(sync(dav, top).changes, 0);
    }

    void aConflictNameKeepsTheExtensionAndSaysWhen()
    {
        const QDateTime when(QDate(2026, 11, 22), QTime(18, 3, 59));
        QCOMPARE(RemotePropagator::conflictName(QStringLiteral("Report.pdf"), when), QStringLiteral("Report (conflict 2026-11-22 1803).pdf"));
        QCOMPARE(RemotePropagator::conflictName(QStringLiteral("Notes"), when), QStringLiteral("Notes (conflict 2026-11-22 1803)"));
        QCOMPARE(RemotePropagator::conflictName(QStringLiteral("a.tar.gz"), when), QStringLiteral("a.tar (conflict 2026-11-22 1803).gz"));
    }

    void foldersAndDocumentsMadeOnTheDeviceReachTheServer_data() { servers_data(); }
    void foldersAndDocumentsMadeOnTheDeviceReachTheServer()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "sent");
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Trip 100% #1/Ünterwegs"))));
        QVERIFY(writeOnDevice(QStringLiteral("Trip 100% #1/Ünterwegs/Plan.txt"), "day one"));
        QVERIFY(writeOnDevice(QStringLiteral("Empty.txt"), ""));
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded && outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(outcome.changes, 4);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Trip 100% #1/Ünterwegs/Plan.txt")), QByteArray("day one"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Empty.txt")), QByteArray());
        // the device keeps its documents as they were
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Trip 100% #1/Ünterwegs/Plan.txt"))), QByteArray("day one"));
        QVERIFY(!PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Empty.txt"))));
        // in step now: the next run does nothing either way
        const SyncOutcome again = sync(dav, top);
        QVERIFY(again.succeeded);
        QCOMPARE(again.changes, 0);
    }

    void whatTheDeviceHeldBeforeTheFirstSyncIsNotSentUntilTouched()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = firstSignIn(dav, "before");
        // another account's (or the demo's) documents, left in the drive before this sign-in
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Old Folder"))));
        QVERIFY(writeOnDevice(QStringLiteral("Old Folder/Letter.txt"), "someone else's"));
        QVERIFY(writeOnDevice(QStringLiteral("Old.txt"), "old"));
        QTest::qWait(20); // the clock of file dates is coarser than the journal's
        LogSpy::clear();
        const SyncOutcome first = sync(dav, top);
        QVERIFY2(first.succeeded && first.failures.isEmpty(), qPrintable(first.failures.join(u'\n')));
        QCOMPARE(first.changes, 0);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old.txt")), QByteArray("(404)"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old Folder/Letter.txt")), QByteArray("(404)"));
        QVERIFY(logged(LOG_NOTICE, QStringLiteral("Not sending 3 items that were on the device before this account's first sync")));
        // the device keeps them as they are
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Old.txt"))), QByteArray("old"));
        // touched after the first sync, an item goes; its folder goes with it
        QTest::qWait(20);
        QVERIFY(writeOnDevice(QStringLiteral("Old.txt"), "edited since"));
        QVERIFY(writeOnDevice(QStringLiteral("Old Folder/New.txt"), "new"));
        const SyncOutcome second = sync(dav, top);
        QVERIFY2(second.succeeded && second.failures.isEmpty(), qPrintable(second.failures.join(u'\n')));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old.txt")), QByteArray("edited since"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old Folder/New.txt")), QByteArray("new"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old Folder/Letter.txt")), QByteArray("(404)"));
    }

    void aDocumentChangedOnTheDeviceIsSentOverTheVersionItStartedFrom()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "changed");
        QVERIFY(writeOnDevice(QStringLiteral("Draft.txt"), "first"));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(writeOnDevice(QStringLiteral("Draft.txt"), "second, longer", 1700000100));
        QTest::qWait(1100); // the server's entity tag of a document written this second is weak
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(outcome.changes, 1);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Draft.txt")), QByteArray("second, longer"));
        QVERIFY(dav->accessLog().contains(QByteArray("PUT /" + top.toUtf8() + "/Draft.txt 204")));
    }

    void aDocumentChangedOnBothSidesKeepsBoth()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "both");
        QVERIFY(writeOnDevice(QStringLiteral("Report.pdf"), "base"));
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(dav->put(top + QStringLiteral("/Report.pdf"), "the server's edit"), 204);
        QVERIFY(writeOnDevice(QStringLiteral("Report.pdf"), "the device's edit", 1700000100));
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        const QString conflict = conflictCopyOf(QStringLiteral("Report.pdf"));
        QVERIFY(!conflict.isEmpty());
        QCOMPARE(TestDrive::readFile(m_drive.path(conflict)), QByteArray("the device's edit"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Report.pdf"))));
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Report.pdf")))->size, qint64(17));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Report.pdf")), QByteArray("the server's edit"));
        QCOMPARE(onServer(dav, top + QLatin1Char('/') + conflict), QByteArray("the device's edit"));
    }

    // two devices sending one document at the same instant can both pass a server's If-Match
    // when it checks and writes without a lock between: the one written over must not be lost
    void aDocumentWrittenOverAsItIsSentKeepsBoth()
    {
        WebDavTestServer *dav = m_sabre.get();
        const QString top = freshStart(dav, "overwritten");
        const QString onTheServer = top + QStringLiteral("/Plan.txt");
        QVERIFY(writeOnDevice(QStringLiteral("Plan.txt"), "base"));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(writeOnDevice(QStringLiteral("Plan.txt"), "the device's plan", 1700000100));
        QVERIFY(dav->overwriteAfterNextPut(QLatin1Char('/') + onTheServer, "the other device's longer plan"));
        LogSpy::clear();
        const SyncOutcome sent = sync(dav, top);
        QVERIFY2(sent.failures.isEmpty(), qPrintable(sent.failures.join(u'\n')));
        QVERIFY(logged(LOG_NOTICE, QStringLiteral("\"Plan.txt\" was written over on the server as it was sent")));
        QCOMPARE(onServer(dav, onTheServer), QByteArray("the other device's longer plan"));

        const SyncOutcome next = sync(dav, top);
        QVERIFY2(next.failures.isEmpty(), qPrintable(next.failures.join(u'\n')));
        QCOMPARE(onServer(dav, onTheServer), QByteArray("the other device's longer plan"));
        const QString conflict = conflictCopyOf(QStringLiteral("Plan.txt"));
        QVERIFY(!conflict.isEmpty());
        QCOMPARE(TestDrive::readFile(m_drive.path(conflict)), QByteArray("the device's plan"));
        QCOMPARE(onServer(dav, top + QLatin1Char('/') + conflict), QByteArray("the device's plan"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Plan.txt"))));
    }

    void aChangeBeatsADelete()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "beats");
        QVERIFY(writeOnDevice(QStringLiteral("Kept.txt"), "v1"));
        QVERIFY(writeOnDevice(QStringLiteral("Back.txt"), "v1"));
        QVERIFY(sync(dav, top).succeeded);

        // edited here, deleted there: sent again
        QCOMPARE(dav->remove(top + QStringLiteral("/Kept.txt")), 204);
        QVERIFY(writeOnDevice(QStringLiteral("Kept.txt"), "v2 of the device", 1700000100));
        // deleted here, edited there: comes back as a placeholder
        QVERIFY(QFile::remove(m_drive.path(QStringLiteral("Back.txt"))));
        QCOMPARE(dav->put(top + QStringLiteral("/Back.txt"), "v2 of the server"), 204);

        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Kept.txt")), QByteArray("v2 of the device"));
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Kept.txt"))), QByteArray("v2 of the device"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Back.txt"))));
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Back.txt")))->size, qint64(16));
    }

    void aPlaceholderMovedAndRenamedOnTheDeviceMovesOnTheServer_data() { servers_data(); }
    void aPlaceholderMovedAndRenamedOnTheDeviceMovesOnTheServer()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "moved");
        QCOMPARE(dav->put(top + QStringLiteral("/Old.txt"), "content"), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Dest")), 201);
        QVERIFY(sync(dav, top).succeeded);
        // as the browser moves a promised item: its placeholder is renamed
        QVERIFY(QFile::rename(PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Old.txt"))),
                              PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Dest/New name.txt")))));
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(outcome.changes, 1);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Dest/New name.txt")), QByteArray("content"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old.txt")), QByteArray("(404)"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Dest/New name.txt"))));
        QVERIFY(!PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Old.txt"))));
        QCOMPARE(sync(dav, top).changes, 0);
    }

    void aDocumentMovedOnTheDeviceMovesOnTheServer()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "movedfile");
        QVERIFY(writeOnDevice(QStringLiteral("Mine.txt"), "mine"));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Sorted"))));
        QVERIFY(QFile::rename(m_drive.path(QStringLiteral("Mine.txt")), m_drive.path(QStringLiteral("Sorted/Mine.txt"))));
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Sorted/Mine.txt")), QByteArray("mine"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Mine.txt")), QByteArray("(404)"));
        QVERIFY(!dav->accessLog().contains(QByteArray("PUT /" + top.toUtf8() + "/Sorted/Mine.txt")));
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Sorted/Mine.txt"))), QByteArray("mine"));
        QCOMPARE(sync(dav, top).changes, 0);
    }

    void aMoveToANameTheServerTookMeanwhileGetsTheNextFreeNameOnBothSides()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "taken");
        QCOMPARE(dav->put(top + QStringLiteral("/Report.pdf"), "mine"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Report 2.pdf"), "an older one"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QFile::rename(PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Report.pdf"))),
                              PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Final.pdf")))));
        // another device takes the name before this one's move reaches the server
        QCOMPARE(dav->put(top + QStringLiteral("/Final.pdf"), "another device's"), 201);
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Final.pdf")), QByteArray("another device's"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Final 2.pdf")), QByteArray("mine"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Report 2.pdf")), QByteArray("an older one"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Final 2.pdf"))));
        QVERIFY(logged(LOG_NOTICE, QStringLiteral("The server has \"Final.pdf\" already: \"Report.pdf\" is \"Final 2.pdf\" on both sides")));
        // the server's own comes down at the next run, beside it
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Final.pdf"))));
        QCOMPARE(placeholderAt(m_drive.path(QStringLiteral("Final.pdf")))->size, qint64(16));
    }

    void deletesOnTheDeviceReachTheServer_data() { servers_data(); }
    void deletesOnTheDeviceReachTheServer()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "deleted");
        QCOMPARE(dav->put(top + QStringLiteral("/Promised.txt"), "only a promise here"), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Old Trip")), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Old Trip/Day 1")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Old Trip/Day 1/Photo.jpg"), "pixels"), 201);
        QVERIFY(writeOnDevice(QStringLiteral("Mine.txt"), "mine"));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(writeOnDevice(QStringLiteral("Old Trip/Notes.txt"), "notes"));
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Old Trip/Notes.txt")), QByteArray("notes"));

        // as the browser deletes: a document, a promised item's placeholder, a folder whole
        QVERIFY(QFile::remove(m_drive.path(QStringLiteral("Mine.txt"))));
        QVERIFY(QFile::remove(PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Promised.txt")))));
        QVERIFY(QDir(m_drive.path(QStringLiteral("Old Trip"))).removeRecursively());
        const qsizetype before = dav->accessLog().size();
        const SyncOutcome outcome = sync(dav, top);
        const QByteArray requests = dav->accessLog().mid(before);
        QVERIFY2(outcome.succeeded && outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n') + outcome.error));
        QCOMPARE(outcome.changes, 3);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Mine.txt")), QByteArray("(404)"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Promised.txt")), QByteArray("(404)"));
        QCOMPARE(dav->request("PROPFIND", top + QStringLiteral("/Old Trip/")), 404);
        if (kind == WebDavTestServer::Kind::Apache) { // the folder went in one request, its items with it
            QCOMPARE(requests.count("DELETE "), 3);
        }
        // and nothing comes back: the journal forgot them
        QCOMPARE(sync(dav, top).changes, 0);
        QVERIFY(!QFileInfo::exists(m_drive.path(QStringLiteral("Old Trip"))));
    }

    void aFolderDeletedHereKeepsWhatChangedOnTheServer()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "folderbeats");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Shared")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Shared/Unchanged.txt"), "same"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Shared/Edited.txt"), "v1"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QDir(m_drive.path(QStringLiteral("Shared"))).removeRecursively());
        // meanwhile another device edits one document and adds one
        QCOMPARE(dav->put(top + QStringLiteral("/Shared/Edited.txt"), "v2, edited elsewhere"), 204);
        QCOMPARE(dav->put(top + QStringLiteral("/Shared/Added.txt"), "new elsewhere"), 201);
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded && outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n') + outcome.error));
        // the folder comes back with what changed; what did not is deleted
        QCOMPARE(onServer(dav, top + QStringLiteral("/Shared/Edited.txt")), QByteArray("v2, edited elsewhere"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Shared/Added.txt")), QByteArray("new elsewhere"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Shared/Unchanged.txt")), QByteArray("(404)"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Shared/Edited.txt"))));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Shared/Added.txt"))));
        QVERIFY(!PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Shared/Unchanged.txt"))));
        QVERIFY(logged(LOG_NOTICE, QStringLiteral("\"Shared\" was deleted on the device but holds items changed or new on the server: it comes back with them")));
        QCOMPARE(sync(dav, top).changes, 0);
    }

    void aFolderHoldingWhatTheDeviceCannotShowIsNotDeletedOnTheServer()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "unheld");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Box")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Box/Seen.txt"), "seen"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Box/.hidden"), "never shown here"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QDir(m_drive.path(QStringLiteral("Box"))).removeRecursively());
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Box/.hidden")), QByteArray("never shown here"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Box/Seen.txt")), QByteArray("(404)"));
        QVERIFY(QFileInfo(m_drive.path(QStringLiteral("Box"))).isDir());
    }

    void aDeleteNeverTakesAVersionTheDeviceDidNotSee()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "ifmatch");
        QCOMPARE(dav->put(top + QStringLiteral("/Doc.txt"), "v1"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QFile::remove(PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Doc.txt")))));
        // decided against the version the run saw; the server's changes right after
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        QVERIFY(journal.open(&error));
        SyncAction action;
        action.kind = SyncAction::Kind::DeleteRemote;
        action.path = QStringLiteral("Doc.txt");
        action.base = journal.records().value(action.path);
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        DavError listError;
        const auto seen = client.list(action.path, 0, &listError, nullptr, false);
        QVERIFY(seen && seen->size() == 1);
        action.remote = seen->first();
        QTest::qWait(1100); // a change the server can tell by its date too
        QCOMPARE(dav->put(top + QStringLiteral("/Doc.txt"), "v2 from elsewhere"), 204);
        QList<SyncRecord> records;
        QString failure;
        QVERIFY2(RemotePropagator(&client).apply(action, &records, &failure), qPrintable(failure));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Doc.txt")), QByteArray("v2 from elsewhere"));
        QCOMPARE(records.size(), 1); // the journal keeps it: the next run brings the new version back
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Doc.txt"))));
    }

    void aRunThatWouldDeleteMostOfTheDriveWaitsForConfirmation()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "guard");
        for (int i = 0; i < 24; ++i) {
            QCOMPARE(dav->put(top + QStringLiteral("/Doc %1.txt").arg(i), "content"), 201);
        }
        QVERIFY(sync(dav, top).succeeded);
        // 13 of 24 deleted here: over half
        for (int i = 0; i < 13; ++i) {
            QVERIFY(QFile::remove(PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Doc %1.txt").arg(i)))));
        }
        QVERIFY(writeOnDevice(QStringLiteral("New.txt"), "new"));
        LogSpy::clear();
        const SyncOutcome held = sync(dav, top);
        QVERIFY(!held.succeeded);
        QCOMPARE(held.error, QStringLiteral("This sync would delete 13 of the 24 items it knows; it waits for `aerovadrive-ctl sync confirm-deletes`"));
        QCOMPARE(held.errorKind, QStringLiteral("deletes held"));
        QVERIFY(logged(LOG_WARNING, QStringLiteral("This sync would delete 13 of the 24 items it knows; it waits for `aerovadrive-ctl sync confirm-deletes`")));
        // nothing at all changed, on either side
        QCOMPARE(onServer(dav, top + QStringLiteral("/Doc 0.txt")), QByteArray("content"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/New.txt")), QByteArray("(404)"));
        QVERIFY(!PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Doc 0.txt"))));

        // confirmed: the deletes go
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        QVERIFY(journal.open(&error));
        SyncEngine engine(&client, &journal);
        engine.setDeletesConfirmed(true);
        const SyncOutcome confirmed = engine.run();
        QVERIFY2(confirmed.succeeded && confirmed.failures.isEmpty(), qPrintable(confirmed.error + confirmed.failures.join(u'\n')));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Doc 0.txt")), QByteArray("(404)"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Doc 13.txt")), QByteArray("content"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/New.txt")), QByteArray("new"));
    }

    void aServerEmptiedDoesNotWipeTheDevice()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "wiped");
        for (int i = 0; i < 20; ++i) {
            QVERIFY(writeOnDevice(QStringLiteral("Mine %1.txt").arg(i), "mine"));
        }
        QVERIFY(sync(dav, top).succeeded);
        // a server restored from a backup older than all of them
        for (int i = 0; i < 20; ++i) {
            QCOMPARE(dav->remove(top + QStringLiteral("/Mine %1.txt").arg(i)), 204);
        }
        const SyncOutcome held = sync(dav, top);
        QCOMPARE(held.errorKind, QStringLiteral("deletes held"));
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Mine 0.txt"))), QByteArray("mine"));
    }

    void aFewDeletesOfASmallDriveNeedNoConfirmation()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "small");
        for (int i = 0; i < 19; ++i) {
            QCOMPARE(dav->put(top + QStringLiteral("/Doc %1.txt").arg(i), "content"), 201);
        }
        QVERIFY(sync(dav, top).succeeded);
        for (int i = 0; i < 19; ++i) {
            QVERIFY(QFile::remove(PromisePlaceholder::placeholderPathFor(m_drive.path(QStringLiteral("Doc %1.txt").arg(i)))));
        }
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Doc 18.txt")), QByteArray("(404)"));
    }

    void aMissingDriveFolderDeletesNothing()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "missing");
        QCOMPARE(dav->put(top + QStringLiteral("/Doc.txt"), "content"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QDir(m_drive.root()).removeRecursively());
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY(!outcome.succeeded);
        QCOMPARE(outcome.error, QStringLiteral("The drive's folder is missing"));
        QVERIFY(logged(LOG_ERR, QStringLiteral("The drive's folder is missing: nothing is synced until it is back")));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Doc.txt")), QByteArray("content"));
        QVERIFY(QDir().mkpath(m_drive.root()));
    }

    void aFolderMovedOnTheDeviceIsOneMoveOnTheServer_data() { servers_data(); }
    void aFolderMovedOnTheDeviceIsOneMoveOnTheServer()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "foldermove");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Trip")), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Trip/Day 1")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Trip/Day 1/Photo.jpg"), "pixels"), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Archive")), 201);
        QVERIFY(writeOnDevice(QStringLiteral("Trip/Plan.txt"), "plan"));
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(sync(dav, top).succeeded);

        // moved into another folder and renamed, with a folder inside renamed too and a new
        // document in it
        QVERIFY(QFile::rename(m_drive.path(QStringLiteral("Trip")), m_drive.path(QStringLiteral("Archive/Trip 2025"))));
        QVERIFY(QFile::rename(m_drive.path(QStringLiteral("Archive/Trip 2025/Day 1")), m_drive.path(QStringLiteral("Archive/Trip 2025/Arrival"))));
        QVERIFY(writeOnDevice(QStringLiteral("Archive/Trip 2025/Arrival/Late.txt"), "late"));
        const qsizetype before = dav->accessLog().size();
        const SyncOutcome outcome = sync(dav, top);
        const QByteArray requests = dav->accessLog().mid(before);
        QVERIFY2(outcome.succeeded && outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n') + outcome.error));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Archive/Trip 2025/Plan.txt")), QByteArray("plan"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Archive/Trip 2025/Arrival/Photo.jpg")), QByteArray("pixels"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Archive/Trip 2025/Arrival/Late.txt")), QByteArray("late"));
        QCOMPARE(dav->request("PROPFIND", top + QStringLiteral("/Trip/")), 404);
        if (kind == WebDavTestServer::Kind::Apache) { // a move for each folder; nothing sent again or deleted
            QCOMPARE(requests.count("MOVE "), 2);
            QCOMPARE(requests.count("DELETE "), 0);
            QCOMPARE(requests.count("PUT "), 1);
        }
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Archive/Trip 2025/Arrival/Photo.jpg"))));
        QCOMPARE(sync(dav, top).changes, 0);
    }

    void aFolderMovedToANameTheServerTookGetsTheNextFreeName()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "foldertaken");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Drafts")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Drafts/One.txt"), "one"), 201);
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QFile::rename(m_drive.path(QStringLiteral("Drafts")), m_drive.path(QStringLiteral("Final"))));
        QCOMPARE(dav->mkcol(top + QStringLiteral("/Final")), 201); // another device's, meanwhile
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Final 2/One.txt")), QByteArray("one"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("Final 2/One.txt"))));
        // the rest settles at the next runs: the server's folder comes down beside it
        QVERIFY(sync(dav, top).succeeded);
        QVERIFY(QFileInfo(m_drive.path(QStringLiteral("Final"))).isDir());
        QCOMPARE(sync(dav, top).changes, 0);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Final 2/One.txt")), QByteArray("one"));
    }

    void theServerIsNeverWrittenOverUnseen()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "conditions");
        QCOMPARE(dav->put(top + QStringLiteral("/Theirs.txt"), "theirs"), 201);
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        QBuffer content;
        content.setData("mine");
        content.open(QIODevice::ReadOnly);
        // as new: refused, the name is taken
        std::unique_ptr<QNetworkReply> asNew(client.upload(QStringLiteral("Theirs.txt"), &content, {}));
        DavClient::waitFor(asNew.get());
        QCOMPARE(DavClient::errorOf(asNew.get()).kind, DavError::Kind::Changed);
        // over a version the server no longer has: refused
        content.seek(0);
        DavResource old;
        old.etag = QStringLiteral("1-2-3");
        std::unique_ptr<QNetworkReply> overOld(client.upload(QStringLiteral("Theirs.txt"), &content, old));
        DavClient::waitFor(overOld.get());
        QCOMPARE(DavClient::errorOf(overOld.get()).kind, DavError::Kind::Changed);
        QCOMPARE(DavClient::errorOf(overOld.get()).description(), QStringLiteral("The item changed on the server meanwhile. (HTTP 412 Precondition Failed)"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Theirs.txt")), QByteArray("theirs"));
    }

    /// How many times the server was asked to write `path`.
    static int putsOf(WebDavTestServer *server, const QString &path)
    {
        return int(server->accessLog().count(QByteArray("PUT /" + path.toUtf8() + ' ')));
    }

    static SyncFailure failureOf(const QString &path)
    {
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        return journal.open(&error) ? journal.failures().value(path) : SyncFailure();
    }

    /// As if the wait of `path`'s last failure had passed.
    static bool dueNow(const QString &path)
    {
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        if (!journal.open(&error)) {
            return false;
        }
        SyncFailure failure = journal.failures().value(path);
        failure.nextTryMs = 0;
        return journal.putFailure(failure);
    }

    void theWaitBeforeSendingAgainDoublesUpToAnHour()
    {
        QCOMPARE(SendFailures::retryDelayMs(1), 30'000);
        QCOMPARE(SendFailures::retryDelayMs(2), 60'000);
        QCOMPARE(SendFailures::retryDelayMs(3), 120'000);
        QCOMPARE(SendFailures::retryDelayMs(7), 1'920'000);
        QCOMPARE(SendFailures::retryDelayMs(8), 3'600'000);
        QCOMPARE(SendFailures::retryDelayMs(100), 3'600'000);
    }

    void aServerErrorIsSentAgainAfterAWait()
    {
        WebDavTestServer *dav = m_sabre.get();
        const QString top = freshStart(dav, "retry");
        const QString onTheServer = top + QStringLiteral("/Report.txt");
        QVERIFY(dav->setFault("PUT", QLatin1Char('/') + onTheServer, 503));
        QVERIFY(writeOnDevice(QStringLiteral("Report.txt"), "quarterly"));
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        LogSpy::clear();
        const SyncOutcome first = sync(dav, top);
        QCOMPARE(putsOf(dav, onTheServer), 1);
        QCOMPARE(first.failures.size(), 1);
        QVERIFY2(first.failures.first().contains(QStringLiteral("(failed 1 time; tried again at ")), qPrintable(first.failures.first()));
        QVERIFY(logged(LOG_ERR, QStringLiteral("Cannot send \"Report.txt\" to the server")));
        SyncFailure failure = failureOf(QStringLiteral("Report.txt"));
        QCOMPARE(failure.attempts, 1);
        QVERIFY(!failure.permanent);
        QVERIFY(failure.nextTryMs >= before + 30'000);

        // a run before the wait is over does not ask the server again
        LogSpy::clear();
        const qint64 level = DRLogGetLevel();
        DRLogSetLevel(LOG_DEBUG);
        const SyncOutcome early = sync(dav, top);
        DRLogSetLevel(int(level));
        QCOMPARE(putsOf(dav, onTheServer), 1);
        QCOMPARE(early.failures.size(), 1);
        QVERIFY(logged(LOG_DEBUG, QStringLiteral("Not sending \"Report.txt\" in this run")));
        QVERIFY(!logged(LOG_ERR, QStringLiteral("Cannot send \"Report.txt\"")));

        // each failure in a row doubles the wait; the fifth names it as failing
        for (int attempt = 2; attempt <= SendFailures::failedAfter; ++attempt) {
            QVERIFY(dueNow(QStringLiteral("Report.txt")));
            const qint64 at = QDateTime::currentMSecsSinceEpoch();
            const SyncOutcome again = sync(dav, top);
            QCOMPARE(putsOf(dav, onTheServer), attempt);
            failure = failureOf(QStringLiteral("Report.txt"));
            QCOMPARE(failure.attempts, attempt);
            QVERIFY(failure.nextTryMs >= at + SendFailures::retryDelayMs(attempt));
            QCOMPARE(again.failures.size(), 1);
            QCOMPARE(again.failures.first().contains(QStringLiteral("times in a row;")), attempt == SendFailures::failedAfter);
        }

        // the server is back: it goes at the next try, and the failure is forgotten
        QVERIFY(dav->setFault("PUT", QLatin1Char('/') + onTheServer, 0));
        QVERIFY(dueNow(QStringLiteral("Report.txt")));
        const SyncOutcome back = sync(dav, top);
        QVERIFY2(back.failures.isEmpty(), qPrintable(back.failures.join(u'\n')));
        QCOMPARE(onServer(dav, onTheServer), QByteArray("quarterly"));
        QCOMPARE(failureOf(QStringLiteral("Report.txt")).attempts, 0);
    }

    void aRefusalIsNotAskedAgainUntilTheDocumentChanges_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("forbidden") << 403;
        QTest::newRow("unsupported type") << 415;
    }
    void aRefusalIsNotAskedAgainUntilTheDocumentChanges()
    {
        QFETCH(int, status);
        WebDavTestServer *dav = m_sabre.get();
        const QString top = freshStart(dav, QTest::currentDataTag()[0] == 'f' ? "refused-403" : "refused-415");
        const QString onTheServer = top + QStringLiteral("/Movie.mkv");
        QVERIFY(dav->setFault("PUT", QLatin1Char('/') + onTheServer, status));
        QVERIFY(writeOnDevice(QStringLiteral("Movie.mkv"), "frames"));
        const SyncOutcome first = sync(dav, top);
        QCOMPARE(first.failures.size(), 1);
        QVERIFY2(first.failures.first().endsWith(QStringLiteral("(it is sent again once it changes)")), qPrintable(first.failures.first()));
        QVERIFY(failureOf(QStringLiteral("Movie.mkv")).permanent);
        // neither time nor the server's change of mind sends it again
        QVERIFY(dav->setFault("PUT", QLatin1Char('/') + onTheServer, 0));
        QVERIFY(dueNow(QStringLiteral("Movie.mkv")));
        const SyncOutcome again = sync(dav, top);
        QCOMPARE(putsOf(dav, onTheServer), 1);
        QCOMPARE(again.failures.size(), 1);
        QCOMPARE(onServer(dav, onTheServer), QByteArray("(404)"));
        // the device keeps it
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Movie.mkv"))), QByteArray("frames"));
        // changed on the device, it is sent
        QVERIFY(writeOnDevice(QStringLiteral("Movie.mkv"), "frames, cut", 1700000500));
        const SyncOutcome changed = sync(dav, top);
        QVERIFY2(changed.failures.isEmpty(), qPrintable(changed.failures.join(u'\n')));
        QCOMPARE(onServer(dav, onTheServer), QByteArray("frames, cut"));
    }

    void aFullServerKeepsEveryDocumentUntilItHasRoom()
    {
        WebDavTestServer *dav = m_sabre.get();
        const QString top = freshStart(dav, "full");
        QVERIFY(dav->setQuota(5'000'000'000, 10));
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Photos"))));
        QVERIFY(writeOnDevice(QStringLiteral("Photos/A.jpg"), QByteArray(100, 'a')));
        QVERIFY(writeOnDevice(QStringLiteral("Photos/B.jpg"), QByteArray(100, 'b')));
        QVERIFY(writeOnDevice(QStringLiteral("Photos/C.jpg"), QByteArray(100, 'c')));
        LogSpy::clear();
        const SyncOutcome full = sync(dav, top);
        QVERIFY2(full.waitingForRoom == 3, qPrintable(full.failures.join(u'\n')));
        QVERIFY(logged(LOG_WARNING, QStringLiteral("The server is full: 3 documents wait until it has room")));
        // one document asks; the others wait without asking
        QCOMPARE(int(dav->accessLog().count(QByteArray("PUT /" + top.toUtf8() + "/Photos/"))), 1);
        QVERIFY(dav->accessLog().contains(" 507 "));
        QCOMPARE(full.failures.size(), 3);
        QVERIFY(full.failures.filter(QStringLiteral("it waits until the server has room")).size() == 3);
        // a folder takes no room: it is made
        QCOMPARE(dav->request("PROPFIND", top + QStringLiteral("/Photos"), {}, {{"Depth", "0"}}), 207);
        // nothing on the device is touched
        for (const char *name : {"A", "B", "C"}) {
            QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Photos/%1.jpg").arg(QLatin1String(name)))),
                     QByteArray(100, char(name[0] + 32)));
        }
        // still full: asked again at the next run, at once
        const SyncOutcome stillFull = sync(dav, top);
        QCOMPARE(stillFull.waitingForRoom, 3);
        QCOMPARE(int(dav->accessLog().count(QByteArray("PUT /" + top.toUtf8() + "/Photos/"))), 2);
        // room again: everything goes
        QVERIFY(dav->clearQuota());
        const SyncOutcome room = sync(dav, top);
        QVERIFY2(room.failures.isEmpty(), qPrintable(room.failures.join(u'\n')));
        QCOMPARE(room.waitingForRoom, 0);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Photos/C.jpg")), QByteArray(100, 'c'));
        QVERIFY(failureOf(QStringLiteral("Photos/A.jpg")).path.isEmpty());
    }

    void theProbeFindsWhetherTheServerHonoursIfMatch_data()
    {
        QTest::addColumn<WebDavTestServer::Kind>("kind");
        QTest::addColumn<int>("answer");
        QTest::newRow("apache") << WebDavTestServer::Kind::Apache << int(ServerProbe::IfMatch::Honoured);
        QTest::newRow("sabre") << WebDavTestServer::Kind::Sabre << int(ServerProbe::IfMatch::Honoured);
        QTest::newRow("rclone") << WebDavTestServer::Kind::Rclone << int(ServerProbe::IfMatch::Ignored);
    }
    void theProbeFindsWhetherTheServerHonoursIfMatch()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        QFETCH(int, answer);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "probe");
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        DavError error;
        QCOMPARE(int(ServerProbe::ifMatch(&client, &error)), answer);
        // the test document is gone, the hidden folder stays
        QCOMPARE(dav->request("PROPFIND", top + QStringLiteral("/.aerova/"), {}, {{"Depth", "1"}}), 207);
        QVERIFY2(!dav->lastBody().contains(".probe-"), dav->lastBody().constData());
        // and nothing of it reaches the device
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.succeeded && outcome.refused.isEmpty(), qPrintable(outcome.refused.join(u'\n')));
    }

    void aServerThatIsDownIsAskedAgainLater()
    {
        DavClient client(QUrl(QStringLiteral("http://127.0.0.1:1/")), QStringLiteral("alice"), QStringLiteral("secret"));
        DavError error;
        QCOMPARE(ServerProbe::ifMatch(&client, &error), ServerProbe::IfMatch::Unknown);
        QCOMPARE(error.kind, DavError::Kind::Unreachable);
    }

    void theServiceAsksEachServerOnceAndSaysWhenItIgnoresIfMatch_data()
    {
        QTest::addColumn<WebDavTestServer::Kind>("kind");
        QTest::addColumn<bool>("ignores");
        QTest::newRow("apache") << WebDavTestServer::Kind::Apache << false;
        QTest::newRow("rclone") << WebDavTestServer::Kind::Rclone << true;
    }
    void theServiceAsksEachServerOnceAndSaysWhenItIgnoresIfMatch()
    {
        QFETCH(WebDavTestServer::Kind, kind);
        QFETCH(bool, ignores);
        WebDavTestServer *dav = server(kind);
        const QString top = freshStart(dav, "asked");
        QVERIFY(writeOnDevice(QStringLiteral("Mine.txt"), "mine"));
        const QUrl folder = dav->url(top + QLatin1Char('/'));
        SyncWorker worker(folder, dav->user(), dav->password());
        QList<SyncOutcome> outcomes;
        connect(&worker, &SyncWorker::syncFinished, this, [&outcomes](const SyncOutcome &outcome) { outcomes << outcome; });
        LogSpy::clear();
        worker.runSync();
        QCOMPARE(outcomes.size(), 1);
        QVERIFY2(outcomes.first().succeeded, qPrintable(outcomes.first().error));
        QCOMPARE(outcomes.first().serverIgnoresIfMatch, ignores);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Mine.txt")), QByteArray("mine"));
        QCOMPARE(logged(LOG_WARNING, QStringLiteral("ignores If-Match: an edit made on another device while this one sends its own")),
                 ignores);
        {
            SyncJournal journal(DriveLayout::syncJournalFile());
            QString error;
            QVERIFY(journal.open(&error));
            QCOMPARE(journal.value(QStringLiteral("ifMatch ") + folder.toString(QUrl::FullyEncoded)),
                     ignores ? QStringLiteral("ignored") : QStringLiteral("honoured"));
        }
        // asked once: the next run goes straight to the sync
        LogSpy::clear();
        const QByteArray logBefore = dav->accessLog();
        worker.runSync();
        QCOMPARE(outcomes.size(), 2);
        QCOMPARE(outcomes.last().serverIgnoresIfMatch, ignores);
        QVERIFY(!logged(LOG_WARNING, QStringLiteral("ignores If-Match")));
        if (kind == WebDavTestServer::Kind::Apache) {
            QCOMPARE(dav->accessLog().mid(logBefore.size()).count(".probe-"), 0);
            QCOMPARE(logBefore.count(QByteArray("PUT /" + top.toUtf8() + "/.aerova/.probe-")), 2);
        }
    }

    void aServerIgnoringIfMatchIsLookedAtBeforeEachWrite_data()
    {
        QTest::addColumn<bool>("looks");
        QTest::newRow("looking first") << true;
        QTest::newRow("trusting If-Match") << false;
    }
    void aServerIgnoringIfMatchIsLookedAtBeforeEachWrite()
    {
        QFETCH(bool, looks);
        WebDavTestServer *dav = m_rclone.get();
        const QString top = freshStart(dav, looks ? "looks" : "trusts");
        QVERIFY(writeOnDevice(QStringLiteral("Shared.txt"), "first"));
        QVERIFY(sync(dav, top).succeeded);
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        DavError error;
        const auto seen = client.list(QStringLiteral("Shared.txt"), 0, &error, nullptr, false);
        QVERIFY2(seen && !seen->isEmpty(), qPrintable(error.description()));
        // this device edits; the run sees the server's version; then another device writes
        QVERIFY(writeOnDevice(QStringLiteral("Shared.txt"), "mine, edited here", 1700000100));
        const QHash<QString, LocalItem> local = LocalScanner::scan(QDateTime::currentMSecsSinceEpoch());
        const int written = dav->put(top + QStringLiteral("/Shared.txt"), "theirs, written between");
        QVERIFY2(written == 201 || written == 204, qPrintable(QString::number(written)));
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString openError;
        QVERIFY(journal.open(&openError));
        SyncAction action;
        action.kind = SyncAction::Kind::UploadChange;
        action.path = QStringLiteral("Shared.txt");
        action.base = journal.records().value(action.path);
        action.local = local.value(action.path);
        action.remote = seen->first();
        QVERIFY(action.base.has_value() && !action.base->storeKey.isEmpty());
        RemotePropagator sender(&client);
        sender.setLooksBeforeWriting(looks);
        QList<SyncRecord> records;
        QString failure;
        const bool sent = sender.apply(action, &records, &failure);
        if (looks) {
            QVERIFY(!sent);
            QCOMPARE(sender.lastServerError().kind, DavError::Kind::Changed);
            QCOMPARE(onServer(dav, top + QStringLiteral("/Shared.txt")), QByteArray("theirs, written between"));
        } else {
            // what such a server does when trusted: the other device's write is lost
            QVERIFY2(sent, qPrintable(failure));
            QCOMPARE(onServer(dav, top + QStringLiteral("/Shared.txt")), QByteArray("mine, edited here"));
        }
    }

    /// A run that saw the server's documents in the second they were written (Apache gives a
    /// weak entity tag then, and holds a date condition on PUT and DELETE to the current second)
    /// still sends and deletes over them.
    void aWeakEntityTagStillLetsAWriteOrADeleteThrough()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "weak");
        QVERIFY(writeOnDevice(QStringLiteral("Edited.txt"), "before"));
        QVERIFY(writeOnDevice(QStringLiteral("Deleted.txt"), "doomed"));
        QVERIFY(sync(dav, top).succeeded);
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        DavError error;
        const auto listed = client.list({}, 1, &error);
        QVERIFY2(listed, qPrintable(error.description()));
        QHash<QString, DavResource> seen;
        for (DavResource resource : *listed) {
            resource.weakETag = true; // as seen in the second they were written
            seen.insert(resource.path, resource);
        }
        QTest::qWait(1100);
        QVERIFY(writeOnDevice(QStringLiteral("Edited.txt"), "after", 1700000100));
        QVERIFY(QFile::remove(m_drive.path(QStringLiteral("Deleted.txt"))));
        const QHash<QString, LocalItem> local = LocalScanner::scan(QDateTime::currentMSecsSinceEpoch());
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString openError;
        QVERIFY(journal.open(&openError));
        const QHash<QString, SyncRecord> byKey = journal.records();
        const auto recordAt = [&byKey](const QString &path) {
            for (const SyncRecord &record : byKey) {
                if (record.path == path) {
                    return std::optional<SyncRecord>(record);
                }
            }
            return std::optional<SyncRecord>();
        };
        RemotePropagator sender(&client);
        for (const auto &[kind, path] : {std::pair{SyncAction::Kind::UploadChange, QStringLiteral("Edited.txt")},
                                         std::pair{SyncAction::Kind::DeleteRemote, QStringLiteral("Deleted.txt")}}) {
            SyncAction action;
            action.kind = kind;
            action.path = path;
            action.base = recordAt(path);
            action.local = local.value(path);
            action.remote = seen.value(path);
            QVERIFY(action.base.has_value());
            QList<SyncRecord> records;
            QString failure;
            QVERIFY2(sender.apply(action, &records, &failure), qPrintable(failure));
        }
        QCOMPARE(onServer(dav, top + QStringLiteral("/Edited.txt")), QByteArray("after"));
        QCOMPARE(onServer(dav, top + QStringLiteral("/Deleted.txt")), QByteArray("(404)"));
    }

    void aDocumentStillBeingWrittenWaits()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "writing");
        LocalScanner::setSettleMs(60000);
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Growing.log")), "half"));
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        LocalScanner::setSettleMs(0);
        QVERIFY(outcome.succeeded);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Growing.log")), QByteArray("(404)"));
        QVERIFY(logged(LOG_NOTICE, QStringLiteral("Leaving \"Growing.log\" as it is on the device: it is still being written")));
        QVERIFY(sync(dav, top).succeeded);
        QCOMPARE(onServer(dav, top + QStringLiteral("/Growing.log")), QByteArray("half"));
    }

    void linksAndSpecialFilesAreNeverSentOrOpened()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "special");
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.filePath(QStringLiteral("secret.txt")), "not the drive's"));
        QVERIFY(QFile::link(outside.filePath(QStringLiteral("secret.txt")), m_drive.path(QStringLiteral("Link.txt"))));
        QVERIFY(QFile::link(outside.path(), m_drive.path(QStringLiteral("Elsewhere"))));
        QCOMPARE(::mkfifo(FilePath::encode(m_drive.path(QStringLiteral("Pipe"))).constData(), 0644), 0);
        const SyncOutcome outcome = sync(dav, top); // a FIFO opened for reading would block here
        QVERIFY(outcome.succeeded);
        QCOMPARE(outcome.changes, 0);
        for (const char *name : {"Link.txt", "Elsewhere", "Elsewhere/secret.txt", "Pipe"}) {
            QCOMPARE(onServer(dav, top + QLatin1Char('/') + QLatin1String(name)), QByteArray("(404)"));
        }
    }

    void anAppContainerMadeOnTheDeviceGoesToTheHiddenFolder()
    {
        WebDavTestServer *dav = m_sabre.get();
        const QString top = freshStart(dav, "newcontainer");
        const QString documents = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.Sketch/Documents");
        QVERIFY(QDir().mkpath(documents));
        QVERIFY(TestDrive::writeFile(documents + QStringLiteral("/Cat.svg"), "<svg/>"));
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(onServer(dav, top + QStringLiteral("/.aerova/com.example.Sketch/Documents/Cat.svg")), QByteArray("<svg/>"));
    }

    void namesTheDriveCannotHoldAreRefusedWithALogRecord()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "refused");
        QCOMPARE(dav->put(top + QStringLiteral("/.Fake.txt.promise"), "{}"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/") + QString(250, QLatin1Char('n')), "long"), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/Fine.txt"), "ok"), 201);
        LogSpy::clear();
        const SyncOutcome outcome = sync(dav, top);
        QVERIFY(outcome.succeeded);
        QCOMPARE(outcome.refused.size(), 2);
        QVERIFY(logged(LOG_WARNING, QStringLiteral("its name looks like a placeholder of the drive")));
        QVERIFY(logged(LOG_WARNING, QStringLiteral("its name is too long to be promised on this device")));
        QCOMPARE(QDir(m_drive.root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral(".Fine.txt.promise")});
    }

    void appContainersLiveInTheHiddenFolder()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "containers");
        QCOMPARE(dav->mkcol(top + QStringLiteral("/.aerova")), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/.aerova/com.example.Writer")), 201);
        QCOMPARE(dav->mkcol(top + QStringLiteral("/.aerova/com.example.Writer/Documents")), 201);
        QCOMPARE(dav->put(top + QStringLiteral("/.aerova/com.example.Writer/Documents/Draft.txt"), "draft"), 201);
        QVERIFY(sync(dav, top).succeeded);
        const QString draft = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.Writer/Documents/Draft.txt");
        QVERIFY(PromisePlaceholder::isPromisedItem(draft));
        QVERIFY(!QFileInfo::exists(m_drive.path(QStringLiteral(".aerova"))));
    }

    void aFolderThatCannotBeListedConcludesNothing()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "unauthorized");
        QCOMPARE(dav->put(top + QStringLiteral("/A.txt"), "a"), 201);
        QVERIFY(sync(dav, top).succeeded);
        DavClient wrong(dav->url(top + QLatin1Char('/')), dav->user(), QStringLiteral("wrong"));
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        QVERIFY(journal.open(&error));
        LogSpy::clear();
        const SyncOutcome outcome = SyncEngine(&wrong, &journal).run();
        QVERIFY(!outcome.succeeded);
        QCOMPARE(outcome.errorKind, QStringLiteral("unauthorized"));
        QVERIFY(logged(LOG_ERR, QStringLiteral("The server did not accept the user name and password.")));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("A.txt"))));
    }

    void theServersQuotaIsRead()
    {
        QVERIFY(m_sabre->setQuota(4500000000, 500000000));
        DavClient client(m_sabre->url(), m_sabre->user(), m_sabre->password());
        std::unique_ptr<QNetworkReply> reply(client.propfindQuota());
        DavClient::waitFor(reply.get());
        DavError error;
        const auto resources = client.readListing(reply.get(), &error);
        QVERIFY2(resources, qPrintable(error.description()));
        QCOMPARE(resources->first().quotaAvailable, 500000000);
        QCOMPARE(resources->first().quotaUsed, 4500000000);

        QVERIFY(m_sabre->failQuota(QStringLiteral("quota service down")));
        std::unique_ptr<QNetworkReply> failing(client.propfindQuota());
        DavClient::waitFor(failing.get());
        QVERIFY(!client.readListing(failing.get(), &error));
        QCOMPARE(error.kind, DavError::Kind::ServerError);
    }

    void anAnswerTooLargeIsRefused()
    {
        WebDavTestServer *dav = m_apache.get();
        const QString top = freshStart(dav, "large");
        // a listing over the limit: many long names
        const QString longName = QString(200, QLatin1Char('x'));
        for (int i = 0; i < 10; ++i) {
            QCOMPARE(dav->put(top + QStringLiteral("/%1-%2").arg(longName).arg(i), "x"), 201);
        }
        DavClient client(dav->url(top + QLatin1Char('/')), dav->user(), dav->password());
        client.setMaximumListingSize(2000);
        DavError error;
        QVERIFY(!client.list({}, 1, &error));
        QCOMPARE(error.kind, DavError::Kind::TooLarge);
    }

    void badAnswersFailTheRunAndChangeNothing_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<qint64>("dropAfter");
        QTest::addColumn<qint64>("endless");
        QTest::addColumn<QString>("kind");
        const QByteArray good = multistatusAnswer(
            "<d:response><d:href>/</d:href><d:propstat><d:prop><d:resourcetype><d:collection/></d:resourcetype></d:prop>"
            "<d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>"
            "<d:response><d:href>/New.txt</d:href><d:propstat><d:prop><d:getcontentlength>3</d:getcontentlength>"
            "</d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>");
        QTest::newRow("malformed") << multistatusAnswer("<d:response><d:href>/x</d:propstat>") << qint64(-1) << qint64(0)
                                   << QStringLiteral("bad answer");
        QTest::newRow("dropped half-way") << good << qint64(good.size() - 40) << qint64(0) << QStringLiteral("unreachable");
        QTest::newRow("5xx") << QByteArray("HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n") << qint64(-1)
                             << qint64(0) << QStringLiteral("server error");
        QTest::newRow("401") << QByteArray("HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n\r\n") << qint64(-1)
                             << qint64(0) << QStringLiteral("unauthorized");
        QTest::newRow("100 MB answer") << QByteArray() << qint64(-1) << qint64(100 * 1024 * 1024)
                                       << QStringLiteral("answer too large");
        QTest::newRow("not a multistatus") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello") << qint64(-1)
                                           << qint64(0) << QStringLiteral("not a WebDAV folder");
    }
    void badAnswersFailTheRunAndChangeNothing()
    {
        QFETCH(QByteArray, answer);
        QFETCH(qint64, dropAfter);
        QFETCH(qint64, endless);
        QFETCH(QString, kind);
        ScriptedHttpServer server;
        QVERIFY(server.start());
        server.setAnswer(answer);
        server.dropAfter(dropAfter);
        server.sendEndless(endless);
        freshStart(m_apache.get(), "bad");
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Mine.txt")), "mine"));
        DavClient client(server.url(), QStringLiteral("alice"), QStringLiteral("pw"));
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        QVERIFY(journal.open(&error));
        LogSpy::clear();
        const SyncOutcome outcome = SyncEngine(&client, &journal).run();
        QVERIFY(!outcome.succeeded);
        QCOMPARE(outcome.errorKind, kind);
        QVERIFY(logged(LOG_ERR, QStringLiteral("Sync with %1 failed: ").arg(server.url().toDisplayString())));
        QCOMPARE(QDir(m_drive.root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("Mine.txt")});
        QCOMPARE(TestDrive::readFile(m_drive.path(QStringLiteral("Mine.txt"))), QByteArray("mine"));
    }

    void hostileItemsAreRefusedAndTheRestArrives()
    {
        ScriptedHttpServer server;
        QVERIFY(server.start());
        const auto item = [](const QByteArray &href) -> QByteArray {
            return "<d:response><d:href>" + href + "</d:href><d:propstat><d:prop><d:getcontentlength>3</d:getcontentlength>"
                   "</d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>";
        };
        server.setAnswer(multistatusAnswer(
            "<d:response><d:href>/</d:href><d:propstat><d:prop><d:resourcetype><d:collection/></d:resourcetype></d:prop>"
            "<d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>"
            + item("/../../etc/passwd") + item("http://evil.example/x.txt") + item("/a%2Fb.txt") + item("/nul%00.txt")
            + item("/.Sneaky.txt.promise") + item("/Fine.txt")
            + "<d:response><d:href>/Huge.bin</d:href><d:propstat><d:prop><d:getcontentlength>-1</d:getcontentlength>"
              "</d:prop><d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>"));
        freshStart(m_apache.get(), "hostile");
        DavClient client(server.url(), QStringLiteral("alice"), QStringLiteral("pw"));
        SyncJournal journal(DriveLayout::syncJournalFile());
        QString error;
        QVERIFY(journal.open(&error));
        LogSpy::clear();
        const SyncOutcome outcome = SyncEngine(&client, &journal).run();
        QVERIFY2(outcome.succeeded, qPrintable(outcome.error));
        QVERIFY2(outcome.refused.size() == 6, qPrintable(outcome.refused.join(QLatin1Char('\n'))));
        QCOMPARE(outcome.changes, 1);
        QVERIFY(logged(LOG_WARNING, QStringLiteral("Refusing the server's item")));
        QCOMPARE(QDir(m_drive.root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral(".Fine.txt.promise")});
    }

    void thePollIsEveryMinuteWhileTheAppIsOpen()
    {
        freshStart(m_apache.get(), "poll");
        SyncService service(m_apache->url(), m_apache->user(), m_apache->password());
        QString error;
        QVERIFY2(service.start(&error), qPrintable(error));
        QCOMPARE(service.pollIntervalSeconds(), SyncService::idlePollSeconds);
        QLocalSocket app;
        app.connectToServer(DriveLayout::syncSocketPath());
        QVERIFY(app.waitForConnected(5000));
        app.write("{\"op\":\"watch\"}\n");
        app.flush();
        QTRY_COMPARE(service.pollIntervalSeconds(), SyncService::activePollSeconds);
        QCOMPARE(SyncService::activePollSeconds, 60);
        app.disconnectFromServer();
        QTRY_COMPARE(service.pollIntervalSeconds(), SyncService::idlePollSeconds);
        // the service goes out of scope with a sync under way: it must not wait on it
    }

    void aServerThatIsDownConcludesNothing()
    {
        WebDavTestServer down(WebDavTestServer::Kind::Apache);
        QString error;
        QVERIFY(down.start(&error));
        QCOMPARE(down.put(QStringLiteral("B.txt"), "b"), 201);
        freshStart(&down, "down");
        QVERIFY(sync(&down, {}).succeeded);
        down.stop();
        const SyncOutcome outcome = sync(&down, {});
        QVERIFY(!outcome.succeeded);
        QCOMPARE(outcome.errorKind, QStringLiteral("unreachable"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_drive.path(QStringLiteral("B.txt"))));
    }
};

QTEST_GUILESS_MAIN(tst_SyncEngine)
#include "tst_SyncEngine.moc"
