#include "platform/drive/SyncServiceWatch.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/SyncServiceClient.h"
#include "platform/foundation/NotificationCenter.h"

#include <QLocalSocket>
#include <QNetworkInformation>

SyncServiceWatch::SyncServiceWatch(QObject *parent)
    : QObject(parent)
    , m_socket(std::make_unique<QLocalSocket>())
{
    m_reconnect.setSingleShot(true);
    connect(&m_reconnect, &QTimer::timeout, this, &SyncServiceWatch::connectToService);
    connect(m_socket.get(), &QLocalSocket::connected, this, [this] {
        m_startedService = false;
        send(R"({"op":"watch"})");
    });
    connect(m_socket.get(), &QLocalSocket::errorOccurred, this, [this] {
        if (!RemoteAccount::current()) {
            return; // signed out: nothing to watch until the next sign-in
        }
        // not there: started once, then looked for again a little later
        if (!m_startedService) {
            m_startedService = SyncServiceClient::startService();
            m_reconnect.start(1000);
        } else {
            m_reconnect.start(reconnectMs);
        }
    });
    connect(m_socket.get(), &QLocalSocket::disconnected, this, [this] {
        if (RemoteAccount::current()) {
            m_reconnect.start(reconnectMs);
        }
    });
    auto *center = NotificationCenter::defaultCenter();
    center->addObserver(this, NotificationName::ApplicationDidBecomeActive, [this](const Notification &) {
        QMetaObject::invokeMethod(this, &SyncServiceWatch::syncNow, Qt::QueuedConnection);
    });
    // a sign-in to a server while the app runs: the service is looked for at once
    center->addObserver(this, NotificationName::UbiquityIdentityDidChange, [this](const Notification &) {
        QMetaObject::invokeMethod(this, &SyncServiceWatch::connectToService, Qt::QueuedConnection);
    });
    if (QNetworkInformation::loadDefaultBackend()) {
        connect(QNetworkInformation::instance(), &QNetworkInformation::reachabilityChanged, this,
                [this](QNetworkInformation::Reachability reachability) {
                    if (reachability == QNetworkInformation::Reachability::Online) {
                        syncNow();
                    }
                });
    }
    connectToService();
}

SyncServiceWatch::~SyncServiceWatch() = default;

void SyncServiceWatch::connectToService()
{
    if (m_socket->state() == QLocalSocket::UnconnectedState && RemoteAccount::current()) {
        m_socket->connectToServer(DriveLayout::syncSocketPath());
    }
}

void SyncServiceWatch::send(const QByteArray &line)
{
    if (m_socket->state() == QLocalSocket::ConnectedState) {
        m_socket->write(line + '\n');
    }
}

void SyncServiceWatch::syncNow()
{
    send(R"({"op":"sync"})");
}
