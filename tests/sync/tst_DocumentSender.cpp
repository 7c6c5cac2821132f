#include "support/ScriptedHttpServer.h"
#include "support/TestDrive.h"
#include "support/WebDavTestServer.h"
#include "sync/DavClient.h"
#include "sync/DocumentSender.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QHostAddress>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <functional>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

Q_DECLARE_METATYPE(DavError::Kind)

/// Sending a document's bytes from an open file: what the server keeps, and every way a send
/// can end short of it, against Apache mod_dav_fs and a scripted server for what Apache never
/// answers.
class tst_DocumentSender : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_files;
    std::unique_ptr<WebDavTestServer> m_apache;
    int m_folders = 0;

    /// A client of a new, empty folder on Apache.
    std::unique_ptr<DavClient> freshFolder()
    {
        const QString folder = QStringLiteral("sent-%1").arg(++m_folders);
        m_apache->mkcol(folder);
        return std::make_unique<DavClient>(m_apache->url(folder + QLatin1Char('/')), m_apache->user(), m_apache->password());
    }

    /// A file of `size` bytes that differ along it, open for reading.
    struct OpenFile {
        QByteArray content;
        int fd = -1;
        ~OpenFile()
        {
            if (fd >= 0) {
                ::close(fd);
            }
        }
    };
    std::unique_ptr<OpenFile> openFile(qint64 size)
    {
        auto file = std::make_unique<OpenFile>();
        file->content.resize(size);
        for (qint64 i = 0; i < size; ++i) {
            file->content[i] = char((i * 31) / 7);
        }
        const QString path = m_files.filePath(QStringLiteral("file-%1").arg(size));
        if (!TestDrive::writeFile(path, file->content)) {
            return nullptr;
        }
        file->fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        return file;
    }

    /// Runs `send` on a thread of its own while this thread's event loop turns (a scripted
    /// server answers on it); a send still running after 20 s is stopped, never left behind.
    static DavError sendOnItsOwnThread(const std::function<DavError()> &send)
    {
        DavError error;
        const std::unique_ptr<QThread> thread(QThread::create([&] { error = send(); }));
        thread->start();
        const QDeadlineTimer deadline(20000);
        while (!thread->isFinished() && !deadline.hasExpired()) {
            QTest::qWait(10);
        }
        thread->requestInterruption();
        thread->wait();
        return error;
    }

    QByteArray servedBytes(const QString &path) const
    {
        QFile file(m_apache->servedFolder() + QLatin1Char('/') + path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void initTestCase()
    {
        m_apache = std::make_unique<WebDavTestServer>(WebDavTestServer::Kind::Apache);
        QString error;
        QVERIFY2(m_apache->start(&error), qPrintable(error));
    }

    void aDocumentArrivesWholeAndANameTakenMeanwhileIsRefused_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::newRow("small, sent at once") << qint64(5000);
        QTest::newRow("large, asked for first") << DocumentSender::expectContinueFrom * 3;
    }
    void aDocumentArrivesWholeAndANameTakenMeanwhileIsRefused()
    {
        QFETCH(qint64, size);
        const auto client = freshFolder();
        const auto file = openFile(size);
        QVERIFY(file && file->fd >= 0);
        QCOMPARE(client->sendDocument(QStringLiteral("Report.pdf"), file->fd, size, std::nullopt).kind, DavError::Kind::None);
        const QString served = QStringLiteral("sent-%1/Report.pdf").arg(m_folders);
        QVERIFY(servedBytes(served) == file->content);

        // sent again as new: the server's document is never overwritten unseen
        const auto other = openFile(size / 2);
        const DavError taken = client->sendDocument(QStringLiteral("Report.pdf"), other->fd, size / 2, std::nullopt);
        QCOMPARE(taken.kind, DavError::Kind::Changed);
        QCOMPARE(taken.httpStatus, 412);
        QCOMPARE(taken.description(), QStringLiteral("The item changed on the server meanwhile. (HTTP 412 Precondition Failed)"));
        QVERIFY(servedBytes(served) == file->content);
    }

    void aDocumentIsSentOnlyOverTheVersionSeen()
    {
        const auto client = freshFolder();
        const auto first = openFile(3000);
        QCOMPARE(client->sendDocument(QStringLiteral("Notes.txt"), first->fd, 3000, std::nullopt).kind, DavError::Kind::None);
        DavError error;
        const auto listing = client->list(QStringLiteral("Notes.txt"), 0, &error, nullptr, false);
        QVERIFY2(listing && listing->size() == 1, qPrintable(error.description()));
        const DavResource seen = listing->first();

        DavResource stale = seen;
        stale.etag = QStringLiteral("not-the-one");
        stale.weakETag = false;
        const auto second = openFile(4000);
        QCOMPARE(client->sendDocument(QStringLiteral("Notes.txt"), second->fd, 4000, stale).kind, DavError::Kind::Changed);
        QCOMPARE(servedBytes(QStringLiteral("sent-%1/Notes.txt").arg(m_folders)).size(), 3000);

        QCOMPARE(client->sendDocument(QStringLiteral("Notes.txt"), second->fd, 4000, seen).kind, DavError::Kind::None);
        QVERIFY(servedBytes(QStringLiteral("sent-%1/Notes.txt").arg(m_folders)) == second->content);
    }

    void aFileThatEndsEarlyIsBrokenOffAndTheServerKeepsNothing_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::newRow("small") << qint64(1000);
        QTest::newRow("large") << DocumentSender::expectContinueFrom * 2;
    }
    void aFileThatEndsEarlyIsBrokenOffAndTheServerKeepsNothing()
    {
        QFETCH(qint64, size);
        const auto client = freshFolder();
        const auto file = openFile(size);
        // announced as longer than it is: the file was cut short after it was looked at
        const DavError error = client->sendDocument(QStringLiteral("Cut.bin"), file->fd, size + 4096, std::nullopt);
        QCOMPARE(error.kind, DavError::Kind::Cancelled);
        QCOMPARE(error.description(), QStringLiteral("The request was cancelled. (the document grew shorter while it was sent)"));
        QVERIFY(!QFile::exists(m_apache->servedFolder() + QStringLiteral("/sent-%1/Cut.bin").arg(m_folders)));
    }

    void onlyTheLengthLookedAtIsSent()
    {
        // the file grew after it was looked at: the request stays as long as it announced
        const auto client = freshFolder();
        const auto file = openFile(10000);
        QCOMPARE(client->sendDocument(QStringLiteral("Grown.txt"), file->fd, 6000, std::nullopt).kind, DavError::Kind::None);
        QVERIFY(servedBytes(QStringLiteral("sent-%1/Grown.txt").arg(m_folders)) == file->content.left(6000));
    }

    void aStoppingThreadBreaksTheSendOff()
    {
        const QUrl folder = m_apache->url(QStringLiteral("sent-%1/").arg(++m_folders));
        m_apache->mkcol(QStringLiteral("sent-%1").arg(m_folders));
        const auto file = openFile(DocumentSender::expectContinueFrom * 2);
        const DavError error = sendOnItsOwnThread([&] {
            DavClient client(folder, m_apache->user(), m_apache->password());
            QThread::currentThread()->requestInterruption();
            return client.sendDocument(QStringLiteral("Stopped.bin"), file->fd, file->content.size(), std::nullopt);
        });
        QCOMPARE(error.kind, DavError::Kind::Cancelled);
        QVERIFY(!QFile::exists(m_apache->servedFolder() + QStringLiteral("/sent-%1/Stopped.bin").arg(m_folders)));
    }

    void everyEndOfASendIsNamed_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<qint64>("dropAfter");
        QTest::addColumn<qint64>("endless");
        QTest::addColumn<DavError::Kind>("kind");
        QTest::addColumn<QString>("description");
        QTest::newRow("a full server") << QByteArray("HTTP/1.1 507 Insufficient Storage\r\nContent-Length: 0\r\n\r\n") << qint64(-1)
                                       << qint64(0) << DavError::Kind::ServerFull
                                       << QStringLiteral("The server has no room left for it. (HTTP 507 Insufficient Storage)");
        QTest::newRow("a refusal") << QByteArray("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n") << qint64(-1) << qint64(0)
                                   << DavError::Kind::Refused << QStringLiteral("The server refused the request. (HTTP 403 Forbidden)");
        QTest::newRow("a server error") << QByteArray("HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n")
                                        << qint64(-1) << qint64(0) << DavError::Kind::ServerError
                                        << QStringLiteral("The server failed to answer. (HTTP 503 Service Unavailable)");
        QTest::newRow("the answer lost") << QByteArray("HTTP/1.1 201 Created\r\nContent-Length: 0\r\n\r\n") << qint64(0) << qint64(0)
                                         << DavError::Kind::Unreachable
                                         << QStringLiteral("The server cannot be reached. (Empty reply from server)");
        QTest::newRow("an endless answer") << QByteArray() << qint64(-1) << qint64(64 * 1024 * 1024)
                                           << DavError::Kind::TooLarge
                                           << QStringLiteral("The server's answer is too large. (over the 1048576 bytes it may have)");
    }
    void everyEndOfASendIsNamed()
    {
        QFETCH(QByteArray, answer);
        QFETCH(qint64, dropAfter);
        QFETCH(qint64, endless);
        QFETCH(DavError::Kind, kind);
        QFETCH(QString, description);
        ScriptedHttpServer server;
        QVERIFY(server.start());
        server.setAnswer(answer);
        server.dropAfter(dropAfter);
        server.sendEndless(endless);
        const auto file = openFile(2000);
        const DavError error = sendOnItsOwnThread([&] {
            DavClient client(server.url(), QStringLiteral("alice"), QStringLiteral("pw"));
            return client.sendDocument(QStringLiteral("Doc.txt"), file->fd, 2000, std::nullopt);
        });
        QCOMPARE(error.kind, kind);
        QCOMPARE(error.description(), description);
        QCOMPARE(server.requestCount(), 1);
    }

    void aServerThatIsGoneIsUnreachable()
    {
        // a port nothing listens on: refused at once
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        const quint16 port = closed.serverPort();
        closed.close();
        DavClient client(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port)), QStringLiteral("alice"), QStringLiteral("pw"));
        const auto file = openFile(100);
        const DavError error = client.sendDocument(QStringLiteral("Doc.txt"), file->fd, 100, std::nullopt);
        QCOMPARE(error.kind, DavError::Kind::Unreachable);
        QVERIFY2(error.description().startsWith(QStringLiteral("The server cannot be reached. (")), qPrintable(error.description()));
    }
};

QTEST_GUILESS_MAIN(tst_DocumentSender)
#include "tst_DocumentSender.moc"
