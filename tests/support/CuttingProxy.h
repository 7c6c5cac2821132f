#pragma once

#include <QList>
#include <QMutex>
#include <QPointer>
#include <QTcpSocket>
#include <QThread>
#include <QUrl>

#include <atomic>

class QTcpServer;

/// A TCP relay on 127.0.0.1 in front of a test server that cuts a connection half-way when a
/// test asks it to: the network dropping under a download. It runs on a thread of its own, so it
/// goes on relaying while the test waits in a blocking call.
class CuttingProxy final
{
public:
    explicit CuttingProxy(quint16 targetPort);
    ~CuttingProxy();
    CuttingProxy(const CuttingProxy &) = delete;
    CuttingProxy &operator=(const CuttingProxy &) = delete;

    bool start(QString *error);
    /// `serverUrl` with the relay's port in place of the server's.
    QUrl relayed(const QUrl &serverUrl) const;
    /// After `bytes` more have gone from the server to a client on a connection whose last
    /// request began with `request` ("GET /Big.bin"), that connection is dropped; so `times`
    /// times (an HTTP client may send the request again by itself), then the relay passes
    /// everything again. Other connections are not counted.
    void cutAfter(qint64 bytes, const QByteArray &request, int times = 1);
    /// As cutAfter(), but the connection stays open and the rest of the answer waits in the
    /// relay until release(): a transfer that stalls half-way, as long as a test needs.
    void holdAfter(qint64 bytes, const QByteArray &request);
    /// Passes on what holdAfter() kept back, and relays everything again.
    void release();
    int cuts() const { return m_cuts; }
    /// While offline, every connection, new or kept open, ends as soon as it is used.
    void setOffline(bool offline) { m_offline = offline; }

private:
    void relay(QTcpServer *server);

    quint16 m_targetPort;
    quint16 m_port = 0;
    QThread m_thread;
    QTcpServer *m_server = nullptr; // lives on m_thread
    QMutex m_mutex;
    QByteArray m_request; // guarded by m_mutex
    std::atomic<qint64> m_cutAfter{-1};
    qint64 m_cutBytes = 0; // guarded by m_mutex
    int m_cutsLeft = 0;    // guarded by m_mutex
    bool m_holding = false; // guarded by m_mutex
    QList<QPointer<QTcpSocket>> m_held; // on m_thread
    std::atomic<int> m_cuts{0};
    std::atomic<bool> m_offline{false};
};
