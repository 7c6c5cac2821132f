#include "platform/ui/InstanceChannel.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

class tst_InstanceChannel : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_runtime;

    /// A socket file nobody listens on, as a killed instance leaves it.
    static bool leaveStaleSocket(const QString &path)
    {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray bytes = QFile::encodeName(path);
        std::memcpy(address.sun_path, bytes.constData(), size_t(bytes.size()));
        const bool bound = ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0;
        ::close(fd);
        return bound;
    }

private slots:
    void init()
    {
        ::chmod(QFile::encodeName(m_runtime.path()).constData(), 0700);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
    }

    // The socket lies in the session's private runtime folder, never under a name in /tmp that
    // anyone could take first.
    void socketLiesInThePrivateRuntimeFolder()
    {
        QVERIFY(InstanceChannel::serverName().startsWith(m_runtime.path() + QStringLiteral("/aerovadrive-")));
    }

    // Without a usable runtime folder the app makes one of its own, private, and refuses one
    // that someone else could enter.
    void withoutRuntimeFolderAPrivateOneIsMade()
    {
        QTemporaryDir temp;
        qputenv("TMPDIR", QFile::encodeName(temp.path()));
        QVERIFY(::chmod(QFile::encodeName(m_runtime.path()).constData(), 0755) == 0); // not private: not used
        const QString own = temp.path() + QStringLiteral("/aerovadrive-") + QString::number(::getuid());
        QVERIFY(InstanceChannel::serverName().startsWith(own + QLatin1Char('/')));
        struct stat st;
        QCOMPARE(::lstat(QFile::encodeName(own).constData(), &st), 0);
        QCOMPARE(int(st.st_mode & 0777), 0700);
        // one made open to others first is refused
        QVERIFY(::chmod(QFile::encodeName(own).constData(), 0777) == 0);
        QVERIFY(InstanceChannel::serverName().isEmpty());
        InstanceChannel channel;
        QVERIFY(!channel.listen({}));
        QVERIFY(!InstanceChannel::sendToRunningInstance(QUrl(), {}));
        qunsetenv("TMPDIR");
    }

    // A socket left behind by a killed instance does not keep the next one from starting.
    void staleSocketIsReplaced()
    {
        QVERIFY(leaveStaleSocket(InstanceChannel::serverName()));
        QVERIFY(QFileInfo::exists(InstanceChannel::serverName()));
        InstanceChannel channel;
        QVERIFY(channel.listen({}));
    }

    // A live instance keeps its socket, and a later invocation's URL reaches it.
    void liveInstanceKeepsItsSocketAndGetsTheURL()
    {
        QUrl received;
        QString source;
        InstanceChannel first;
        QVERIFY(first.listen([&](const QUrl &url, const QString &from) {
            received = url;
            source = from;
        }));
        InstanceChannel second;
        QVERIFY(!second.listen({}));
        const QUrl url(QStringLiteral("aerovadriveapp:///x?mode=info"));
        QVERIFY(InstanceChannel::sendToRunningInstance(url, QStringLiteral("com.quillmere.GuiTest")));
        QTRY_COMPARE(received, url);
        QCOMPARE(source, QStringLiteral("com.quillmere.GuiTest"));
    }

    // Whoever listens on the socket must be this user: another user's listener gets no URL.
    void listenerOfAnotherUserGetsNothing()
    {
        if (::getuid() != 0) {
            QSKIP("becoming another user needs root");
        }
        const QString path = InstanceChannel::serverName();
        QFile::remove(path);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray bytes = QFile::encodeName(path);
        std::memcpy(address.sun_path, bytes.constData(), size_t(bytes.size()));
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        int ready[2];
        QCOMPARE(::pipe(ready), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            // the listener's credentials are taken when it starts listening
            if (::setgid(65534) != 0 || ::setuid(65534) != 0 || ::listen(fd, 4) != 0) {
                ::_exit(1);
            }
            (void)::write(ready[1], "r", 1);
            while (true) {
                const int peer = ::accept(fd, nullptr, nullptr);
                char buffer[256];
                if (peer >= 0 && ::read(peer, buffer, sizeof(buffer)) > 0) {
                    ::_exit(3); // it was handed something
                }
                ::close(peer);
            }
        }
        ::close(fd);
        char byte = 0;
        QCOMPARE(::read(ready[0], &byte, 1), ssize_t(1));
        const bool sent = InstanceChannel::sendToRunningInstance(QUrl(QStringLiteral("aerovadriveapp:///secret")),
                                                                 QStringLiteral("com.quillmere.GuiTest"));
        QThread::msleep(100);
        int status = 0;
        const pid_t ended = ::waitpid(child, &status, WNOHANG);
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
        QVERIFY(!sent);
        QCOMPARE(ended, pid_t(0)); // still waiting: it never read a message
        QFile::remove(path);
    }
};

QTEST_GUILESS_MAIN(tst_InstanceChannel)
#include "tst_InstanceChannel.moc"
