#include "watchers/NetworkWatcher.h"

#include "core/DRLogging.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/StringFormat.h"
#include "platform/network/NetworkReachability.h"

NetworkWatcher *NetworkWatcher::sharedNetworkWatcher()
{
    static auto *watcher = new NetworkWatcher; // process-wide, lives until exit
    return watcher;
}

NetworkWatcher::NetworkWatcher(const QString &hostName)
    : m_hostName(hostName)
    , m_queue(std::make_unique<DispatchQueue>(QStringLiteral("com.quillmere.AerovaDriveApp.networkwatcher")))
    , m_alive(std::make_shared<NetworkWatcher *>(this))
{
}

NetworkWatcher::~NetworkWatcher()
{
    stop();
    m_alive.reset();
}

void NetworkWatcher::start()
{
    if (m_reachability) {
        return;
    }
    m_reachability = NetworkReachability::createWithName(m_hostName);
    if (!m_reachability) {
        DRLog(LOG_ERR, "Couldn't create reachability object");
    } else {
        const std::weak_ptr<NetworkWatcher *> weakSelf = m_alive;
        const bool attached = m_reachability->setCallback([weakSelf](quint32 flags) {
            if (const auto self = weakSelf.lock()) {
                (*self)->_reachabilityDidChange(flags);
            }
        }) && m_reachability->setDispatchQueue(m_queue.get());
        if (attached) {
            return;
        }
        // the handle is kept: a later start does not retry
        DRLog(LOG_ERR, "Couldn't set reachability callback or queue");
    }
    m_reachabilityFlags = 0;
    _updateState(NetworkStateNotConnected);
}

void NetworkWatcher::stop()
{
    if (!m_reachability) {
        return;
    }
    m_reachability->setCallback({});
    m_reachability->setDispatchQueue(nullptr);
    m_reachability.reset();
    m_reachabilityFlags = 0;
    m_networkState = NetworkStateUnknown;
}

bool NetworkWatcher::isConnected() const
{
    const NetworkState state = m_networkState.load();
    return state == NetworkStateCellular || state == NetworkStateWiFi;
}

QString NetworkWatcher::_descriptionForNetworkState(NetworkState state)
{
    switch (state) {
    case NetworkStateUnknown:
        return QStringLiteral("unknown");
    case NetworkStateNotConnected:
        return QStringLiteral("not connected");
    case NetworkStateWiFi:
        return QStringLiteral("connected to Wi-Fi");
    case NetworkStateCellular:
        return QStringLiteral("connected to cellular");
    }
    return StringFormat::format("??? (%lu)", quint64(state));
}

void NetworkWatcher::_updateState(NetworkState state)
{
    if (state == m_networkState.load()) {
        return;
    }
    DRLog(LOG_INFO, "Network state changed to %@", _descriptionForNetworkState(state));
    m_networkState = state;
}

void NetworkWatcher::_reachabilityDidChange(quint32 flags)
{
    DRLog(LOG_INFO, "Network reachability flags changed to 0x%x", flags);
    m_reachabilityFlags = flags;
    // only reachability and the medium count: a link that needs a connection first is connected
    NetworkState state = NetworkStateWiFi;
    if (!(flags & ReachabilityFlag::Reachable)) {
        state = NetworkStateNotConnected;
    } else if (flags & ReachabilityFlag::IsWWAN) {
        state = NetworkStateCellular;
    }
    _updateState(state);
}
