#include "platform/foundation/ManualDispatchClock.h"

#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/DispatchSourceTimer.h"

#include <QList>

#include <atomic>

namespace {
std::atomic<ManualDispatchClock *> g_installed{nullptr};
}

ManualDispatchClock::ManualDispatchClock()
{
    g_installed.store(this);
}

ManualDispatchClock::~ManualDispatchClock()
{
    g_installed.store(nullptr);
}

ManualDispatchClock *ManualDispatchClock::installed()
{
    return g_installed.load();
}

ManualDispatchClock::Nanoseconds ManualDispatchClock::now() const
{
    QMutexLocker lock(&m_mutex);
    return m_now;
}

void ManualDispatchClock::advance(Nanoseconds span)
{
    QList<DispatchSourceTimer *> due;
    std::vector<DeferredBlock> dueBlocks;
    {
        QMutexLocker lock(&m_mutex);
        m_now += span;
        const auto firstLater = std::stable_partition(m_deferred.begin(), m_deferred.end(),
                                                      [this](const DeferredBlock &b) { return b.due <= m_now; });
        std::move(m_deferred.begin(), firstLater, std::back_inserter(dueBlocks));
        m_deferred.erase(m_deferred.begin(), firstLater);
        for (auto &[timer, entry] : m_timers) {
            while (entry.next <= m_now) {
                due.append(timer);
                if (entry.interval <= Nanoseconds::zero()) {
                    entry.next = Nanoseconds::max();
                    break;
                }
                entry.next += entry.interval;
            }
        }
    }
    for (DispatchSourceTimer *timer : due) {
        timer->fire();
    }
    std::stable_sort(dueBlocks.begin(), dueBlocks.end(),
                     [](const DeferredBlock &a, const DeferredBlock &b) { return a.due < b.due; });
    for (DeferredBlock &deferred : dueBlocks) {
        deferred.queue->async(std::move(deferred.block));
    }
}

void ManualDispatchClock::addDeferredBlock(DispatchQueue *queue, Nanoseconds delay, std::function<void()> block)
{
    QMutexLocker lock(&m_mutex);
    m_deferred.push_back({m_now + delay, queue, std::move(block)});
}

void ManualDispatchClock::add(DispatchSourceTimer *timer, Nanoseconds firstFire, Nanoseconds interval)
{
    bool dueNow = false;
    {
        QMutexLocker lock(&m_mutex);
        Entry entry{m_now + firstFire, interval};
        if (entry.next <= m_now) {
            dueNow = true;
            entry.next = interval > Nanoseconds::zero() ? entry.next + interval : Nanoseconds::max();
        }
        m_timers[timer] = entry;
    }
    if (dueNow) {
        timer->fire();
    }
}

void ManualDispatchClock::remove(DispatchSourceTimer *timer)
{
    QMutexLocker lock(&m_mutex);
    m_timers.erase(timer);
}
