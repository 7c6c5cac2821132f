#include "platform/foundation/ManualDispatchClock.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/DispatchSourceTimer.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <atomic>
#include <mutex>

class tst_DispatchQueue : public QObject
{
    Q_OBJECT

private slots:
    // A timer's handler may drop the last reference to the timer's owner (queue and timer
    // together): the timer is not started again once it is gone.
    void aTimerWhoseHandlerEndsItsOwner()
    {
        struct Owner {
            DispatchQueue queue{QStringLiteral("com.quillmere.test.ownedtimer")};
            std::unique_ptr<DispatchSourceTimer> timer;
        };
        auto owner = std::make_shared<Owner>();
        owner->timer = std::make_unique<DispatchSourceTimer>(&owner->queue);
        owner->timer->schedule(std::chrono::milliseconds(10), std::chrono::milliseconds(10), std::chrono::nanoseconds(0));
        std::shared_ptr<Owner> held = owner; // the one reference the first firing drops
        std::atomic<int> firings = 0;
        std::mutex lock;
        owner->timer->setEventHandler([&held, &firings, &lock] {
            ++firings;
            std::shared_ptr<Owner> last;
            {
                std::lock_guard<std::mutex> guard(lock);
                last.swap(held);
            }
            last.reset(); // the owner, its timer and its queue end here, on the queue's thread
        });
        owner->timer->resume();
        const std::weak_ptr<Owner> weak = owner;
        owner.reset();
        QTRY_VERIFY(weak.expired());
        QTest::qWait(50);
        QCOMPARE(firings.load(), 1);
    }

    // An object that owns a queue may lose its last reference inside one of that queue's
    // blocks (a timer's handler that locked a weak reference): the queue ends without waiting
    // for itself.
    void aQueueFreedInsideItsOwnBlockEndsCleanly()
    {
        struct Owner {
            DispatchQueue queue{QStringLiteral("com.quillmere.test.selffreed")};
        };
        auto owner = std::make_shared<Owner>();
        const std::weak_ptr<Owner> weak = owner;
        QSemaphore started;
        QSemaphore released;
        std::atomic<bool> freedOnQueue = false;
        owner->queue.async([keep = owner, &started, &released, &freedOnQueue]() mutable {
            started.release();
            released.acquire();
            keep.reset();
            freedOnQueue = true;
        });
        started.acquire();
        owner.reset();
        released.release();
        QTRY_VERIFY(freedOnQueue.load());
        QVERIFY(weak.expired());
    }

    // Blocks of a queue run one after another in the order they were submitted.
    void asyncRunsInOrderOnQueueThread()
    {
        DispatchQueue queue(QStringLiteral("com.quillmere.test.serial"));
        QList<int> order;
        QString label;
        for (int i = 0; i < 100; ++i) {
            queue.async([&order, i] { order << i; });
        }
        queue.sync([&label] { label = DispatchQueue::currentLabel(); });
        QCOMPARE(order.size(), 100);
        QVERIFY(std::is_sorted(order.begin(), order.end()));
        QCOMPARE(label, QStringLiteral("com.quillmere.test.serial"));
    }

    // A sync from the queue itself runs at once instead of waiting for itself.
    void nestedSyncDoesNotDeadlock()
    {
        DispatchQueue queue(QStringLiteral("com.quillmere.test.nested"));
        bool ran = false;
        queue.sync([&] { queue.sync([&] { ran = true; }); });
        QVERIFY(ran);
    }

    // Results come back to the main queue.
    void mainQueueRunsOnGuiThread()
    {
        DispatchQueue queue(QStringLiteral("com.quillmere.test.worker"));
        std::atomic<bool> onMain{false};
        queue.async([&onMain] {
            DispatchQueue::main()->async([&onMain] { onMain = DispatchQueue::main()->isCurrent(); });
        });
        QTRY_VERIFY(onMain.load());
        QCOMPARE(DispatchQueue::currentLabel(), QStringLiteral("com.quillmere.main-thread"));
    }

    // Delayed blocks wait their time.
    void asyncAfterWaits()
    {
        DispatchQueue queue(QStringLiteral("com.quillmere.test.after"));
        std::atomic<bool> ran{false};
        QElapsedTimer clock;
        clock.start();
        queue.asyncAfter(100, [&ran] { ran = true; });
        QTRY_VERIFY(ran.load());
        QVERIFY(clock.elapsed() >= 90);
    }

    // A timer fires at once, then every interval, on its queue, until cancelled.
    void timerFiresFirstAtOnceThenRepeats()
    {
        DispatchQueue queue(QStringLiteral("com.quillmere.test.timer"));
        std::atomic<int> fired{0};
        QString label;
        DispatchSourceTimer timer(&queue);
        using namespace std::chrono_literals;
        timer.schedule(0ms, 20ms, 1ms);
        timer.setEventHandler([&] {
            label = DispatchQueue::currentLabel();
            ++fired;
        });
        timer.resume();
        QTRY_VERIFY(fired.load() >= 3);
        timer.cancel();
        const int after = fired.load();
        queue.sync([] { });
        QTest::qWait(60);
        QCOMPARE(fired.load(), after);
        QCOMPARE(label, QStringLiteral("com.quillmere.test.timer"));
    }

    // Blocks already submitted run before the queue goes away.
    void destructionDrainsQueue()
    {
        std::atomic<int> count{0};
        {
            DispatchQueue queue(QStringLiteral("com.quillmere.test.drain"));
            for (int i = 0; i < 10; ++i) {
                queue.async([&count] { ++count; });
            }
        }
        QCOMPARE(count.load(), 10);
    }

    // Under a manual clock a timer fires at once, then once per interval the clock moves on,
    // on its own queue, and a cancelled timer no longer fires.
    void manualClockDrivesTimers()
    {
        using namespace std::chrono_literals;
        ManualDispatchClock clock;
        DispatchQueue queue(QStringLiteral("com.quillmere.test.manual"));
        std::atomic<int> fired{0};
        QString label;
        DispatchSourceTimer timer(&queue);
        timer.schedule(0s, 300s, 1s);
        timer.setEventHandler([&] {
            label = DispatchQueue::currentLabel();
            ++fired;
        });
        timer.resume();
        queue.sync([] { });
        QCOMPARE(fired.load(), 1);
        clock.advance(299s);
        queue.sync([] { });
        QCOMPARE(fired.load(), 1);
        clock.advance(601s);
        queue.sync([] { });
        QCOMPARE(fired.load(), 4); // 300, 600 and 900 seconds
        QCOMPARE(label, QStringLiteral("com.quillmere.test.manual"));
        timer.cancel();
        clock.advance(3000s);
        queue.sync([] { });
        QCOMPARE(fired.load(), 4);
        QCOMPARE(clock.now(), std::chrono::nanoseconds(3900s));
    }
};

QTEST_GUILESS_MAIN(tst_DispatchQueue)
#include "tst_DispatchQueue.moc"
