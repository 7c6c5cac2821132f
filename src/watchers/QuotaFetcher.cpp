#include "watchers/QuotaFetcher.h"

#include "core/DRLogging.h"
#include "platform/drive/CloudContainer.h"
#include "platform/drive/CloudDatabase.h"
#include "platform/drive/FetchUserQuotaOperation.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/DispatchSourceTimer.h"
#include "platform/foundation/NotificationCenter.h"
#include "watchers/NetworkWatcher.h"
#include "watchers/QuotaFetcherDelegate.h"

#include <chrono>

std::shared_ptr<QuotaFetcher> QuotaFetcher::create()
{
    auto fetcher = std::make_shared<QuotaFetcher>(PrivateTag{});
    const std::weak_ptr<QuotaFetcher> weakSelf = fetcher;
    NotificationCenter *center = NotificationCenter::defaultCenter();
    center->addObserver(fetcher->m_notificationContext.get(), NotificationName::ApplicationDidBecomeActive,
                        [weakSelf](const Notification &) {
                            if (const auto self = weakSelf.lock()) {
                                self->didBecomeActiveNotification();
                            }
                        });
    center->addObserver(fetcher->m_notificationContext.get(), NotificationName::ApplicationWillResignActive,
                        [weakSelf](const Notification &) {
                            if (const auto self = weakSelf.lock()) {
                                self->willResignActiveNotification();
                            }
                        });
    return fetcher;
}

QuotaFetcher::QuotaFetcher(PrivateTag)
    : m_queue(std::make_unique<DispatchQueue>(QStringLiteral("com.quillmere.AerovaDriveApp.quotafetcher")))
    , m_notificationContext(std::make_unique<QObject>())
{
}

// The timer goes with the fetcher; a fire already queued holds the fetcher weakly and does
// nothing. Destroying the context ends the notification registrations.
QuotaFetcher::~QuotaFetcher() = default;

void QuotaFetcher::runWithInterval(double seconds)
{
    using namespace std::chrono;
    if (m_timer) {
        m_timer->cancel();
        m_timer.reset();
    }
    m_timer = std::make_unique<DispatchSourceTimer>(m_queue.get()); // a queue's timer is always made
    const auto interval = nanoseconds(qint64(quint64(seconds * 1000000000.0)));
    m_timer->schedule(nanoseconds::zero(), interval, nanoseconds(1000000000));
    const std::weak_ptr<QuotaFetcher> weakSelf = weak_from_this();
    m_timer->setEventHandler([weakSelf] {
        if (const auto self = weakSelf.lock()) {
            self->performFetch();
        }
    });
    m_timer->resume();
}

void QuotaFetcher::fetchNow()
{
    const std::weak_ptr<QuotaFetcher> weakSelf = weak_from_this();
    m_queue->async([weakSelf] {
        if (const auto self = weakSelf.lock()) {
            self->performFetch();
        }
    });
}

void QuotaFetcher::performFetch()
{
    if (!m_canFetch.load() || !NetworkWatcher::sharedNetworkWatcher()->isConnected()) {
        DRLog(LOG_DEBUG, "Not fetching quota. Background or offline");
        return;
    }
    const auto container = CloudContainer::containerWithIdentifier(KDUbiquitousCloudKitContainerIdentifier);
    const auto database = container->privateCloudDatabase();
    auto operation = std::make_shared<FetchUserQuotaOperation>();
    operation->setQualityOfService(QThread::LowPriority); // utility work
    operation->setAllowsCellularAccess(true);
    const std::weak_ptr<QuotaFetcher> weakSelf = weak_from_this();
    operation->setFetchUserQuotaCompletionBlock([weakSelf](quint64 remainingQuotaBytes, const std::optional<Error> &error) {
        if (error) {
            DRLog(LOG_WARNING, "can't update quota: %@", *error);
            return;
        }
        DispatchQueue::main()->async([weakSelf, remainingQuotaBytes] {
            if (const auto self = weakSelf.lock()) {
                self->notify(remainingQuotaBytes);
            }
        });
    });
    database->addOperation(operation);
}

void QuotaFetcher::notify(quint64 freeBytes)
{
    m_freeBytes = freeBytes;
    if (auto *delegate = qobject_cast<QuotaFetcherDelegate *>(m_delegate.data())) {
        delegate->quotaFetcher_didUpdateValue(this, m_freeBytes);
    }
}

void QuotaFetcher::didBecomeActiveNotification()
{
    DRLog(LOG_INFO, "UIApplicationDidBecomeActiveNotification (quota)");
    m_canFetch = true;
}

void QuotaFetcher::willResignActiveNotification()
{
    DRLog(LOG_INFO, "UIApplicationWillResignActiveNotification (quota)");
    m_canFetch = false;
}
