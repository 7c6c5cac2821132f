#include "platform/network/NetworkReachability.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/ServiceFile.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/NotificationCenter.h"

#include <QCoreApplication>
#include <QFile>
#include <QHostAddress>
#include <QNetworkInformation>

namespace {

/// The service's override, or empty when it has none.
QByteArray networkOverride()
{
    return ServiceFile::read(DriveLayout::networkFile()).value_or(QByteArray()).trimmed();
}

/// Qt 6.4's default backend is NetworkManager only; GLib's network monitor knows less (not the
/// medium) but works on more systems. Without either, the link counts as not cellular.
QNetworkInformation *systemNetworkInformation()
{
    if (!QNetworkInformation::instance()) {
        if (!QNetworkInformation::loadDefaultBackend()) {
            QNetworkInformation::loadBackendByName(QStringLiteral("glib"));
        }
    }
    return QNetworkInformation::instance();
}

bool systemLinkIsCellular()
{
    const QNetworkInformation *information = QNetworkInformation::instance();
    return information && information->supports(QNetworkInformation::Feature::TransportMedium)
        && information->transportMedium() == QNetworkInformation::TransportMedium::Cellular;
}

bool isOnThisMachine(const QString &host)
{
    return host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 || QHostAddress(host).isLoopback();
}

} // namespace

std::shared_ptr<NetworkReachability> NetworkReachability::createWithName(const QString &hostName)
{
    if (hostName.isEmpty()) {
        return nullptr;
    }
    return std::shared_ptr<NetworkReachability>(new NetworkReachability(hostName));
}

NetworkReachability::NetworkReachability(const QString &hostName)
    : m_hostName(hostName)
{
}

NetworkReachability::~NetworkReachability() = default;

bool NetworkReachability::setCallback(Callback callback)
{
    QMutexLocker lock(&m_mutex);
    m_callback = std::move(callback);
    return true;
}

bool NetworkReachability::setDispatchQueue(DispatchQueue *queue)
{
    {
        QMutexLocker lock(&m_mutex);
        m_queue = queue;
        m_delivered = false;
    }
    m_context.reset();
    if (!queue) {
        return true;
    }
    m_context = std::make_unique<QObject>();
    DriveServiceMonitor::ensureStarted();
    const std::weak_ptr<NetworkReachability> weakSelf = weak_from_this();
    NotificationCenter::defaultCenter()->addObserver(m_context.get(), NotificationName::DriveServiceNetworkDidChange,
                                                     [weakSelf](const Notification &) {
                                                         if (const auto self = weakSelf.lock()) {
                                                             self->reevaluate();
                                                         }
                                                     });
    if (QCoreApplication::instance()) {
        // the system's network information lives on the GUI thread
        QPointer<QObject> context = m_context.get();
        DispatchQueue::main()->async([weakSelf, context] {
            QNetworkInformation *information = systemNetworkInformation();
            if (!information || !context) {
                return;
            }
            const auto again = [weakSelf] {
                if (const auto self = weakSelf.lock()) {
                    self->reevaluate();
                }
            };
            QObject::connect(information, &QNetworkInformation::transportMediumChanged, context, again);
            QObject::connect(information, &QNetworkInformation::reachabilityChanged, context, again);
            if (const auto self = weakSelf.lock()) {
                self->reevaluate();
            }
        });
    }
    reevaluate();
    return true;
}

quint32 NetworkReachability::currentFlags() const
{
    const QByteArray override = networkOverride();
    if (override == "offline") {
        return 0;
    }
    if (override == "cellular") {
        return ReachabilityFlag::Reachable | ReachabilityFlag::IsWWAN;
    }
    if (override == "wifi") {
        return ReachabilityFlag::Reachable;
    }
    // with a server behind the drive, it is the server's host that must be reached: one on this
    // machine always is, another one needs a link to the network
    if (const std::optional<RemoteAccount> account = RemoteAccount::current(); account && !isOnThisMachine(account->server.host())) {
        const QNetworkInformation *information = QNetworkInformation::instance();
        if (information && information->supports(QNetworkInformation::Feature::Reachability)
            && information->reachability() == QNetworkInformation::Reachability::Disconnected) {
            return 0;
        }
    }
    // the drive's endpoint is its local store: always reachable
    return ReachabilityFlag::Reachable | (systemLinkIsCellular() ? ReachabilityFlag::IsWWAN : 0);
}

void NetworkReachability::reevaluate()
{
    const quint32 flags = currentFlags();
    QMutexLocker lock(&m_mutex);
    if (!m_queue || !m_callback || (m_delivered && flags == m_lastDelivered)) {
        return;
    }
    m_delivered = true;
    m_lastDelivered = flags;
    m_queue->async([callback = m_callback, flags] { callback(flags); });
}
