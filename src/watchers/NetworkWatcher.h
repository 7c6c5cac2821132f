#pragma once

#include "watchers/NetworkState.h"

#include <QString>

#include <atomic>
#include <memory>

class DispatchQueue;
class NetworkReachability;

/// The host whose reachability stands for "the network": the drive service's endpoint.
inline const QString NetworkWatcherHostName = QStringLiteral("drive.aerova.service");

/// Follows the reachability of the drive's endpoint and reduces it to a network state that
/// others poll: the quota fetcher fetches only when connected, previews download by themselves
/// only on Wi-Fi. No notification is posted on a change.
class NetworkWatcher final
{
public:
    /// The watcher of the process; a separate watcher is only made by tests.
    static NetworkWatcher *sharedNetworkWatcher();

    explicit NetworkWatcher(const QString &hostName = NetworkWatcherHostName);
    ~NetworkWatcher();
    Q_DISABLE_COPY_MOVE(NetworkWatcher)

    /// Begins watching; does nothing when a reachability handle already exists. The state stays
    /// unknown until the first report.
    void start();
    void stop();

    bool isConnected() const;
    NetworkState networkState() const { return m_networkState.load(); }
    quint32 reachabilityFlags() const { return m_reachabilityFlags.load(); }
    std::shared_ptr<NetworkReachability> reachability() const { return m_reachability; }
    DispatchQueue *queue() const { return m_queue.get(); }

    static QString _descriptionForNetworkState(NetworkState state);
    void _updateState(NetworkState state);
    /// The reachability report, on the watcher's queue.
    void _reachabilityDidChange(quint32 flags);

private:
    QString m_hostName;
    std::unique_ptr<DispatchQueue> m_queue;
    std::shared_ptr<NetworkReachability> m_reachability;
    std::atomic<quint32> m_reachabilityFlags{0};
    std::atomic<NetworkState> m_networkState{NetworkStateUnknown};
    /// Lets a report that arrives after the watcher is gone do nothing.
    std::shared_ptr<NetworkWatcher *> m_alive;
};
