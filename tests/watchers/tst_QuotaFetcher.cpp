#include "watchers/QuotaFetcher.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/FetchUserQuotaOperation.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/DispatchSourceTimer.h"
#include "platform/foundation/ManualDispatchClock.h"
#include "platform/foundation/NotificationCenter.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"
#include "watchers/NetworkWatcher.h"
#include "watchers/QuotaFetcherDelegate.h"

#include <QThreadPool>
#include <QTest>

using namespace std::chrono_literals;

/// A delegate that implements the optional operation.
class CountingDelegate : public QObject, public QuotaFetcherDelegate
{
    Q_OBJECT
    Q_INTERFACES(QuotaFetcherDelegate)

public:
    void quotaFetcher_didUpdateValue(QuotaFetcher *fetcher, quint64 freeBytes) override
    {
        Q_UNUSED(fetcher)
        ++calls;
        lastValue = freeBytes;
        onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
    }

    int calls = 0;
    quint64 lastValue = 0;
    bool onMainThread = false;
};

class tst_QuotaFetcher : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    /// Waits until every fire and fetch submitted so far has run its course.
    static void settle(QuotaFetcher *fetcher)
    {
        fetcher->queue()->sync([] { });
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }

    static void setConnected(bool connected)
    {
        NetworkWatcher::sharedNetworkWatcher()->_reachabilityDidChange(connected ? 0x2 : 0x0);
    }

    static int notFetchingLines() { return int(LogSpy::withMessage(QStringLiteral("Not fetching quota. Background or offline")).size()); }

private slots:
    void initTestCase()
    {
        DRLogSetLevel(LOG_DEBUG);
        QVERIFY(!DriveSetup::setQuota(5000000000, 4820000000));
    }

    void init() { LogSpy::clear(); }

    // Before the network watcher has heard anything, no request is made: each fire only logs.
    void unknownNetworkDoesNotFetch()
    {
        QCOMPARE(NetworkWatcher::sharedNetworkWatcher()->networkState(), NetworkStateUnknown);
        ManualDispatchClock clock;
        const auto fetcher = QuotaFetcher::create();
        const int before = FetchUserQuotaOperation::createdCount();
        fetcher->runWithInterval(300);
        settle(fetcher.get());
        clock.advance(300s);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before);
        QCOMPARE(notFetchingLines(), 2);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Not fetching quota. Background or offline")), LOG_DEBUG);
    }

    // Offline likewise: no operation, the line each time.
    void offlineDoesNotFetch()
    {
        setConnected(false);
        const auto fetcher = QuotaFetcher::create();
        const int before = FetchUserQuotaOperation::createdCount();
        fetcher->fetchNow();
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before);
        QCOMPARE(notFetchingLines(), 1);
    }

    // Every 300 seconds: once at once, then each interval (with a leeway of one second).
    void fetchesAtOnceThenEveryInterval()
    {
        setConnected(true);
        ManualDispatchClock clock;
        CountingDelegate delegate;
        const auto fetcher = QuotaFetcher::create();
        fetcher->setDelegate(&delegate);
        const int before = FetchUserQuotaOperation::createdCount();
        fetcher->runWithInterval(300);
        QCOMPARE(fetcher->timer()->interval(), std::chrono::nanoseconds(300000000000));
        QCOMPARE(fetcher->timer()->leeway(), std::chrono::nanoseconds(1000000000));
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before + 1);
        QTRY_COMPARE(delegate.calls, 1);
        QCOMPARE(delegate.lastValue, quint64(180000000));
        QCOMPARE(fetcher->freeBytes(), quint64(180000000));
        QVERIFY(delegate.onMainThread);

        clock.advance(299s);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before + 1);
        clock.advance(1s);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before + 2);
        clock.advance(300s);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before + 3);
        QTRY_COMPARE(delegate.calls, 3); // told every time, also when the value did not change
    }

    // Restarting replaces the timer: one timer fires, never two.
    void runTwiceLeavesOneTimer()
    {
        setConnected(true);
        ManualDispatchClock clock;
        const auto fetcher = QuotaFetcher::create();
        fetcher->runWithInterval(300);
        settle(fetcher.get());
        const int afterFirst = FetchUserQuotaOperation::createdCount();
        fetcher->runWithInterval(300);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), afterFirst + 1); // the new timer fires at once
        clock.advance(300s);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), afterFirst + 2);
    }

    // In the background nothing is fetched, until the app is active again.
    void resignActiveStopsFetchesUntilActive()
    {
        setConnected(true);
        const auto fetcher = QuotaFetcher::create();
        QVERIFY(fetcher->canFetch());
        NotificationCenter::defaultCenter()->post(NotificationName::ApplicationWillResignActive);
        QVERIFY(!fetcher->canFetch());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("UIApplicationWillResignActiveNotification (quota)")), LOG_INFO);
        const int before = FetchUserQuotaOperation::createdCount();
        fetcher->fetchNow();
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before);
        QCOMPARE(notFetchingLines(), 1);

        NotificationCenter::defaultCenter()->post(NotificationName::ApplicationDidBecomeActive);
        QVERIFY(fetcher->canFetch());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("UIApplicationDidBecomeActiveNotification (quota)")), LOG_INFO);
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before); // becoming active does not fetch by itself
        fetcher->fetchNow();
        settle(fetcher.get());
        QCOMPARE(FetchUserQuotaOperation::createdCount(), before + 1);
    }

    // A delegate without the operation is not called; the value is still kept.
    void delegateWithoutOperationIsNotCalled()
    {
        setConnected(true);
        QObject plainDelegate;
        const auto fetcher = QuotaFetcher::create();
        fetcher->setDelegate(&plainDelegate);
        QVERIFY(!DriveSetup::setQuota(1000, 400));
        fetcher->fetchNow();
        QTRY_COMPARE(fetcher->freeBytes(), quint64(600));
        QCOMPARE(fetcher->delegate(), &plainDelegate);
        QVERIFY(!DriveSetup::setQuota(5000000000, 4820000000));
    }

    // A failed request is logged and changes nothing; the next one works again.
    void serviceErrorKeepsPreviousValue()
    {
        setConnected(true);
        CountingDelegate delegate;
        const auto fetcher = QuotaFetcher::create();
        fetcher->setDelegate(&delegate);
        fetcher->fetchNow();
        QTRY_COMPARE(delegate.calls, 1);
        QVERIFY(!DriveSetup::failNextQuotaFetch(QStringLiteral("Storage is resting")));
        LogSpy::clear();
        fetcher->fetchNow();
        settle(fetcher.get());
        QTRY_COMPARE(LogSpy::levelOf(QStringLiteral(
                         "can't update quota: Error Domain=AerovaCloudErrorDomain Code=6 \"Storage is resting\" "
                         "UserInfo={LocalizedDescription=Storage is resting}")),
                     LOG_WARNING);
        settle(fetcher.get());
        QCOMPARE(delegate.calls, 1);
        QCOMPARE(fetcher->freeBytes(), quint64(180000000));
        fetcher->fetchNow();
        QTRY_COMPARE(delegate.calls, 2);
    }

    // Pending work holds the fetcher weakly: a released fetcher is never kept alive or told.
    void releasedFetcherIsNotKeptAlive()
    {
        setConnected(true);
        ManualDispatchClock clock;
        CountingDelegate delegate;
        auto fetcher = QuotaFetcher::create();
        fetcher->setDelegate(&delegate);
        const std::weak_ptr<QuotaFetcher> weak = fetcher;
        fetcher->runWithInterval(300);
        fetcher->fetchNow();
        fetcher.reset();
        QVERIFY(weak.expired());
        clock.advance(600s);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(delegate.calls, 0);
    }
};

QTEST_GUILESS_MAIN(tst_QuotaFetcher)
#include "tst_QuotaFetcher.moc"
