#pragma once

#include <QObject>
#include <QTimer>

#include <memory>

class QLocalSocket;

/// The app's standing connection to the sync service, while the drive is signed in to a server
/// (from a sign-in while the app runs on):
/// it tells the service the app is open (a poll every minute instead of every 15) and asks for a
/// sync run whenever the app becomes active or the network comes back. Starts the service when
/// it does not answer, and connects again when it goes away.
class SyncServiceWatch final : public QObject
{
    Q_OBJECT
public:
    /// How long to wait before connecting again to a service that went away.
    static constexpr int reconnectMs = 10000;

    explicit SyncServiceWatch(QObject *parent = nullptr);
    ~SyncServiceWatch() override;

    /// Asks for a sync run now.
    void syncNow();
    void connectToService();

private:
    void send(const QByteArray &line);

    std::unique_ptr<QLocalSocket> m_socket;
    QTimer m_reconnect;
    bool m_startedService = false;
};
