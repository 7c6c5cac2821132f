#pragma once

#include <QByteArray>
#include <QTcpServer>
#include <QUrl>

/// A server on 127.0.0.1 that answers every request with the answer a test wrote, byte for
/// byte: what no real server sends (a broken multistatus, hrefs that leave the folder, an
/// endless answer) or a connection dropped half-way. Runs on the test's event loop.
class ScriptedHttpServer final : public QTcpServer
{
    Q_OBJECT
public:
    explicit ScriptedHttpServer(QObject *parent = nullptr);

    bool start();
    QUrl url() const;

    /// The answer: status line, headers and body, sent as they are.
    void setAnswer(const QByteArray &answer) { m_answer = answer; }
    /// A multistatus answer (207) with `body` and its right length.
    void setMultistatus(const QByteArray &body);
    /// Sends only the first `bytes` of the answer, then drops the connection.
    void dropAfter(qint64 bytes) { m_dropAfter = bytes; }
    /// Announces `bytes` of body and sends them, a megabyte at a time.
    void sendEndless(qint64 bytes) { m_endless = bytes; }
    int requestCount() const { return m_requests; }

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private:
    QByteArray m_answer;
    qint64 m_dropAfter = -1;
    qint64 m_endless = 0;
    int m_requests = 0;
};
