#include "platform/ui/InstanceChannel.h"

#include "platform/foundation/AerovaHome.h"
#include "platform/foundation/FilePath.h"
#include "platform/syslog/SystemLog.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>

#include <cerrno>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int TimeoutMilliseconds = 1000;
/// A message is one URL and a source id: anything longer is not from this app.
constexpr qint64 MaximumMessageBytes = 64 * 1024;

/// A folder only this user can enter: it is a real folder (not a link), owned by the user and
/// closed to everyone else.
bool isPrivateFolder(const QString &path)
{
    struct stat st;
    return ::lstat(FilePath::encode(path).constData(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::getuid()
        && (st.st_mode & 077) == 0;
}

} // namespace

InstanceChannel::InstanceChannel(QObject *parent)
    : QObject(parent)
{
}

QString InstanceChannel::runtimeFolder()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && isPrivateFolder(runtime)) {
        return runtime;
    }
    // no session runtime folder: one of our own in the temporary folder, made private, and
    // refused if someone else made it first
    const QString own = QDir::tempPath() + QStringLiteral("/aerovadrive-") + QString::number(::getuid());
    ::mkdir(FilePath::encode(own).constData(), 0700);
    return isPrivateFolder(own) ? own : QString();
}

QString InstanceChannel::serverName()
{
    const QString folder = runtimeFolder();
    if (folder.isEmpty()) {
        return {};
    }
    const QByteArray hash = QCryptographicHash::hash(AerovaHome::path().toUtf8(), QCryptographicHash::Sha1).toHex();
    return folder + QStringLiteral("/aerovadrive-") + QString::fromLatin1(hash.left(16)) + QStringLiteral(".socket");
}

bool InstanceChannel::isSameUser(const QLocalSocket &socket)
{
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    const int fd = int(socket.socketDescriptor());
    return fd >= 0 && ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0
        && credentials.uid == ::getuid();
}

bool InstanceChannel::sendToRunningInstance(const QUrl &url, const QString &sourceApplication)
{
    const QString name = serverName();
    if (name.isEmpty()) {
        return false;
    }
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(TimeoutMilliseconds)) {
        return false;
    }
    if (!isSameUser(socket)) {
        // whoever listens there is not this user's app: it gets nothing
        SystemLog::plainLog(QStringLiteral("The app's socket %1 belongs to another user; not handing it the URL.").arg(name));
        return false;
    }
    const QJsonObject message{{QStringLiteral("url"), url.toString()},
                              {QStringLiteral("sourceApplication"), sourceApplication}};
    socket.write(QJsonDocument(message).toJson(QJsonDocument::Compact) + '\n');
    socket.waitForBytesWritten(TimeoutMilliseconds);
    socket.disconnectFromServer();
    return true;
}

bool InstanceChannel::listen(URLHandler handler)
{
    m_handler = std::move(handler);
    const QString name = serverName();
    if (name.isEmpty()) {
        SystemLog::plainLog(QStringLiteral("No private folder for the app's socket; running without one."));
        return false;
    }
    // a live instance answers and keeps its socket; one left by a killed instance answers no
    // one and is replaced. (No socket options: Qt would then bind elsewhere and rename over
    // the name, taking a live instance's socket; the private folder already keeps others out.)
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(TimeoutMilliseconds)) {
        return false;
    }
    QLocalServer::removeServer(name);
    if (!m_server.listen(name)) {
        return false;
    }
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            if (!isSameUser(*socket)) {
                socket->abort();
                socket->deleteLater();
                continue;
            }
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readMessages(socket); });
        }
    });
    return true;
}

void InstanceChannel::readMessages(QLocalSocket *socket)
{
    while (socket->canReadLine()) {
        const QJsonObject message = QJsonDocument::fromJson(socket->readLine(MaximumMessageBytes)).object();
        const QString url = message.value(QStringLiteral("url")).toString();
        if (m_handler) {
            m_handler(url.isEmpty() ? QUrl() : QUrl(url), message.value(QStringLiteral("sourceApplication")).toString());
        }
    }
    if (socket->bytesAvailable() > MaximumMessageBytes) {
        socket->abort(); // no line in sight: not a message of this app
    }
}
