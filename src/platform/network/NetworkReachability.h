#pragma once

#include <QMutex>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class DispatchQueue;

/// Bits of the reachability flags.
namespace ReachabilityFlag {
constexpr quint32 Reachable = 0x2;
constexpr quint32 ConnectionRequired = 0x4;
constexpr quint32 IsWWAN = 0x40000; // over cellular
} // namespace ReachabilityFlag

/// Whether a host can be reached and how. The host is the drive service's endpoint: its local
/// store is always reachable, unless the service's network override (`Service/network`:
/// wifi | cellular | offline) says otherwise; without an override the link's medium comes from
/// the system (QNetworkInformation: cellular or not). With a server behind the drive, the
/// server's host decides: one on this machine is always reachable, another one not while the
/// system has no link to any network.
///
/// Once a callback and a queue are set, the callback runs on that queue with the current flags,
/// and again whenever they change (the override written by another process, the system's
/// medium changing).
class NetworkReachability final : public std::enable_shared_from_this<NetworkReachability>
{
public:
    using Callback = std::function<void(quint32 flags)>;

    /// A handle for a host name; null for an empty name.
    static std::shared_ptr<NetworkReachability> createWithName(const QString &hostName);
    ~NetworkReachability();
    Q_DISABLE_COPY_MOVE(NetworkReachability)

    QString hostName() const { return m_hostName; }
    /// An empty callback clears it.
    bool setCallback(Callback callback);
    /// A null queue stops the deliveries.
    bool setDispatchQueue(DispatchQueue *queue);
    /// The flags as they are now.
    quint32 currentFlags() const;

private:
    explicit NetworkReachability(const QString &hostName);
    void reevaluate();

    QString m_hostName;
    Callback m_callback;
    DispatchQueue *m_queue = nullptr;
    std::unique_ptr<QObject> m_context;
    mutable QMutex m_mutex;
    quint32 m_lastDelivered = 0;
    bool m_delivered = false;
};
