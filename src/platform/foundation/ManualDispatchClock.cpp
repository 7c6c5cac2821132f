#include "platform/foundation/ManualDispatchClock.h"

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
    {
        QMutexLocker lock(&m_mutex);
        m_now += span;
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
