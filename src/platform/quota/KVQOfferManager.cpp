#include "platform/quota/KVQOfferManager.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/quota/KVQOffer.h"

#include <QCoreApplication>
#include <QPointer>

KVQOfferManager *KVQOfferManager::sharedManager()
{
    static KVQOfferManager *manager = new KVQOfferManager; // lives until exit by design
    return manager;
}

KVQOfferManager::KVQOfferManager()
{
    DriveServiceMonitor::ensureStarted();
    NotificationCenter::defaultCenter()->addObserver(this, NotificationName::DriveServiceOfferDidChange,
                                                     [this](const Notification &) {
                                                         DispatchQueue::main()->async([this] { fetch(); });
                                                     });
}

bool KVQOfferManager::fetchOfferIfNeeded()
{
    if (m_fetched || m_fetching) {
        return false;
    }
    fetch();
    return true;
}

void KVQOfferManager::reset()
{
    ++m_generation;
    m_currentOffer.reset();
    m_fetched = false;
    m_fetching = false;
}

void KVQOfferManager::fetch()
{
    m_fetching = true;
    const quint64 generation = m_generation;
    const QString path = DriveLayout::offerFile();
    // reading the service's file may wait on the disk: never on the main thread
    DispatchQueue::globalAsync([this, generation, path] {
        std::shared_ptr<KVQOffer> offer = KVQOffer::offerFromServiceFile(path);
        DispatchQueue::main()->async([this, generation, offer] {
            if (generation != m_generation) {
                return;
            }
            m_fetching = false;
            m_fetched = true;
            m_currentOffer = offer;
            NotificationCenter::defaultCenter()->post(KVQCurrentOfferChangedNotification, this);
        });
    });
}
