#include "support/CuttingProxy.h"

#include <QHostAddress>
#include <QPointer>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

CuttingProxy::CuttingProxy(quint16 targetPort)
    : m_targetPort(targetPort)
{
    m_thread.setObjectName(QStringLiteral("cutting proxy"));
}

CuttingProxy::~CuttingProxy()
{
    if (m_server) {
        QMetaObject::invokeMethod(m_server, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
    }
    m_thread.quit();
    m_thread.wait();
}

bool CuttingProxy::start(QString *error)
{
    m_thread.start();
    bool listening = false;
    QObject context;
    context.moveToThread(&m_thread);
    QMetaObject::invokeMethod(
        &context,
        [this, &listening, error] {
            m_server = new QTcpServer; // deleted on this thread by the destructor
            listening = m_server->listen(QHostAddress::LocalHost, 0);
            if (!listening) {
                *error = m_server->errorString();
                return;
            }
            m_port = m_server->serverPort();
            QObject::connect(m_server, &QTcpServer::newConnection, m_server, [this] { relay(m_server); });
        },
        Qt::BlockingQueuedConnection);
    return listening;
}

void CuttingProxy::cutAfter(qint64 bytes, const QByteArray &request, int times)
{
    QMutexLocker lock(&m_mutex);
    m_holding = false;
    m_request = request;
    m_cutBytes = bytes;
    m_cutsLeft = times;
    m_cutAfter = bytes;
}

void CuttingProxy::holdAfter(qint64 bytes, const QByteArray &request)
{
    cutAfter(bytes, request);
    QMutexLocker lock(&m_mutex);
    m_holding = true;
}

void CuttingProxy::release()
{
    cutAfter(-1, {});
    QMetaObject::invokeMethod(
        m_server,
        [this] {
            for (const QPointer<QTcpSocket> &client : std::as_const(m_held)) {
                if (client && client->state() == QAbstractSocket::ConnectedState) {
                    client->setProperty("held", false);
                    client->write(client->property("heldBytes").toByteArray());
                    client->setProperty("heldBytes", QByteArray());
                }
            }
            m_held.clear();
        },
        Qt::BlockingQueuedConnection);
}

QUrl CuttingProxy::relayed(const QUrl &serverUrl) const
{
    QUrl url = serverUrl;
    url.setPort(m_port);
    return url;
}

void CuttingProxy::relay(QTcpServer *server)
{
    while (QTcpSocket *client = server->nextPendingConnection()) {
        if (m_offline) {
            client->abort(); // as a network that is down: the connection goes nowhere
            client->deleteLater();
            continue;
        }
        auto *upstream = new QTcpSocket(client); // goes with the client's side
        const auto dropBoth = [client = QPointer(client), upstream = QPointer(upstream)] {
            if (upstream) {
                upstream->abort();
            }
            if (client) {
                client->abort();
                client->deleteLater();
            }
        };
        // the request line a connection carried last tells which answer is on it
        const auto forward = [this, client, upstream] {
            if (m_offline) {
                client->abort(); // a connection kept open from before the network went down
                return;
            }
            const QByteArray bytes = client->readAll();
            static const QRegularExpression requestLine(QStringLiteral("^[A-Z]+ /"));
            if (requestLine.match(QString::fromLatin1(bytes.left(16))).hasMatch()) {
                client->setProperty("request", bytes.left(bytes.indexOf('\r')));
            }
            upstream->write(bytes);
        };
        QObject::connect(client, &QTcpSocket::readyRead, upstream, [upstream, forward] {
            if (upstream->state() == QAbstractSocket::ConnectedState) {
                forward();
            }
        });
        QObject::connect(upstream, &QTcpSocket::connected, upstream, forward);
        QObject::connect(upstream, &QTcpSocket::readyRead, client, [this, client, upstream] {
            const QByteArray bytes = upstream->readAll();
            if (client->state() != QAbstractSocket::ConnectedState) {
                return;
            }
            if (client->property("held").toBool()) {
                client->setProperty("heldBytes", QByteArray(client->property("heldBytes").toByteArray() + bytes));
                return;
            }
            qint64 cutAfter = m_cutAfter;
            if (cutAfter >= 0) {
                QMutexLocker lock(&m_mutex);
                if (!client->property("request").toByteArray().startsWith(m_request)) {
                    cutAfter = -1; // another request's answer
                }
            }
            if (cutAfter >= 0 && bytes.size() >= cutAfter) {
                bool hold;
                {
                    QMutexLocker lock(&m_mutex);
                    m_cutAfter = --m_cutsLeft > 0 ? m_cutBytes : -1;
                    hold = m_holding;
                }
                if (hold) {
                    client->write(bytes.left(cutAfter));
                    client->setProperty("held", true);
                    client->setProperty("heldBytes", bytes.mid(cutAfter));
                    m_held << client;
                    return;
                }
                ++m_cuts;
                // what came before the cut still reaches the client; then the connection ends
                upstream->abort();
                client->write(bytes.left(cutAfter));
                client->disconnectFromHost();
                return;
            }
            if (cutAfter >= 0) {
                m_cutAfter = cutAfter - bytes.size();
            }
            client->write(bytes);
        });
        QObject::connect(client, &QTcpSocket::disconnected, client, dropBoth);
        QObject::connect(upstream, &QTcpSocket::disconnected, client, [client] { client->disconnectFromHost(); });
        QObject::connect(upstream, &QTcpSocket::errorOccurred, client, [client](QAbstractSocket::SocketError error) {
            if (error != QAbstractSocket::RemoteHostClosedError) {
                client->abort();
            }
        });
        upstream->connectToHost(QHostAddress::LocalHost, m_targetPort);
    }
}
