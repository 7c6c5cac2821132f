#include "support/ScriptedHttpServer.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <memory>

ScriptedHttpServer::ScriptedHttpServer(QObject *parent)
    : QTcpServer(parent)
{
}

bool ScriptedHttpServer::start()
{
    return listen(QHostAddress::LocalHost, 0);
}

QUrl ScriptedHttpServer::url() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(serverPort()));
}

void ScriptedHttpServer::setMultistatus(const QByteArray &body)
{
    m_answer = "HTTP/1.1 207 Multi-Status\r\nContent-Type: application/xml; charset=utf-8\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

void ScriptedHttpServer::incomingConnection(qintptr socketDescriptor)
{
    auto *socket = new QTcpSocket(this);
    socket->setSocketDescriptor(socketDescriptor);
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    // one answer per request head; bodies of requests are read and ignored
    auto buffer = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
        *buffer += socket->readAll();
        while (true) {
            const qsizetype headEnd = buffer->indexOf("\r\n\r\n");
            if (headEnd < 0) {
                return;
            }
            qint64 bodyLength = 0;
            for (const QByteArray &line : buffer->left(headEnd).split('\n')) {
                if (line.toLower().startsWith("content-length:")) {
                    bodyLength = line.mid(15).trimmed().toLongLong();
                }
            }
            if (buffer->size() < headEnd + 4 + bodyLength) {
                return;
            }
            buffer->remove(0, headEnd + 4 + bodyLength);
            ++m_requests;
            if (m_endless > 0) {
                socket->write("HTTP/1.1 207 Multi-Status\r\nContent-Type: application/xml\r\nContent-Length: "
                              + QByteArray::number(m_endless) + "\r\n\r\n");
                // a megabyte at a time as the last one leaves: the client reads meanwhile
                auto sent = std::make_shared<qint64>(0);
                const qint64 total = m_endless;
                const auto pump = [socket, sent, total] {
                    if (*sent < total && socket->bytesToWrite() == 0) {
                        const QByteArray chunk(1024 * 1024, ' ');
                        socket->write(chunk);
                        *sent += chunk.size();
                    }
                };
                connect(socket, &QTcpSocket::bytesWritten, socket, pump);
                pump();
                return;
            }
            if (m_dropAfter >= 0) {
                socket->write(m_answer.left(m_dropAfter));
                socket->flush();
                socket->abort();
                return;
            }
            socket->write(m_answer);
        }
    });
}
