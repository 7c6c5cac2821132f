#include "platform/ui/InstanceChannel.h"

#include "platform/foundation/AerovaHome.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>

namespace {
constexpr int TimeoutMilliseconds = 1000;
}

InstanceChannel::InstanceChannel(QObject *parent)
    : QObject(parent)
{
}

QString InstanceChannel::serverName()
{
    const QByteArray hash = QCryptographicHash::hash(AerovaHome::path().toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("aerovadrive-") + QString::fromLatin1(hash.left(16));
}

bool InstanceChannel::sendToRunningInstance(const QUrl &url, const QString &sourceApplication)
{
    QLocalSocket socket;
    socket.connectToServer(serverName());
    if (!socket.waitForConnected(TimeoutMilliseconds)) {
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
    if (!m_server.listen(serverName())) {
        // a socket left by an instance that crashed
        QLocalServer::removeServer(serverName());
        if (!m_server.listen(serverName())) {
            return false;
        }
    }
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                while (socket->canReadLine()) {
                    const QJsonObject message = QJsonDocument::fromJson(socket->readLine()).object();
                    const QString url = message.value(QStringLiteral("url")).toString();
                    if (m_handler) {
                        m_handler(url.isEmpty() ? QUrl() : QUrl(url),
                                  message.value(QStringLiteral("sourceApplication")).toString());
                    }
                }
            });
        }
    });
    return true;
}
