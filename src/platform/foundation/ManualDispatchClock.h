#pragma once

#include <QMutex>

#include <chrono>
#include <functional>
#include <map>
#include <vector>

class DispatchQueue;
class DispatchSourceTimer;

/// A clock that moves only when told to. While one is installed, every timer resumed afterwards
/// counts its fires on this clock: `advance` fires each due timer on its own queue as many times
/// as it would have fired in that span. Made for tests of periodic work.
class ManualDispatchClock final
{
public:
    using Nanoseconds = std::chrono::nanoseconds;

    ManualDispatchClock();
    /// Uninstalls the clock; timers resumed under it stop firing.
    ~ManualDispatchClock();
    Q_DISABLE_COPY_MOVE(ManualDispatchClock)

    /// The installed clock, or null when timers follow real time.
    static ManualDispatchClock *installed();

    Nanoseconds now() const;
    /// Moves time forward, firing the timers that fall due on the way. Call it from the thread
    /// that owns the timers: a timer cancelled meanwhile on another thread may still be fired.
    void advance(Nanoseconds span);

    void add(DispatchSourceTimer *timer, Nanoseconds firstFire, Nanoseconds interval);
    void remove(DispatchSourceTimer *timer);
    /// A block that `DispatchQueue::asyncAfter` deferred while this clock is installed: it runs
    /// on `queue` once the clock has moved `delay` past now.
    void addDeferredBlock(DispatchQueue *queue, Nanoseconds delay, std::function<void()> block);

private:
    struct Entry {
        Nanoseconds next;
        Nanoseconds interval;
    };

    mutable QMutex m_mutex;
    Nanoseconds m_now{0};
    std::map<DispatchSourceTimer *, Entry> m_timers;
    struct DeferredBlock {
        Nanoseconds due;
        DispatchQueue *queue;
        std::function<void()> block;
    };
    std::vector<DeferredBlock> m_deferred;
};
