#pragma once

#include <QPointer>

#include <chrono>
#include <functional>

class DispatchQueue;
class QTimer;

/// A repeating timer whose handler runs on a serial queue: the first fire comes `start` after
/// `resume()`, then one every `interval`. A leeway lets the system coalesce wake-ups (a coarse
/// timer), as the queue's work is never urgent to the millisecond.
///
/// While a ManualDispatchClock is installed, timers follow that clock instead of real time, so
/// tests can run hours of a periodic job in an instant.
class DispatchSourceTimer final
{
public:
    using Nanoseconds = std::chrono::nanoseconds;

    explicit DispatchSourceTimer(DispatchQueue *queue);
    ~DispatchSourceTimer();
    Q_DISABLE_COPY_MOVE(DispatchSourceTimer)

    void schedule(Nanoseconds start, Nanoseconds interval, Nanoseconds leeway);
    void setEventHandler(std::function<void()> handler);
    void resume();
    void cancel();

    bool isActive() const { return m_active; }
    Nanoseconds interval() const { return m_interval; }
    Nanoseconds leeway() const { return m_leeway; }

    /// Runs the handler on the timer's queue (used by the manual clock).
    void fire() const;

private:
    void resumeOnRealTime();

    DispatchQueue *m_queue = nullptr;
    QPointer<QTimer> m_timer;
    std::function<void()> m_handler;
    Nanoseconds m_start{0};
    Nanoseconds m_interval{0};
    Nanoseconds m_leeway{0};
    bool m_active = false;
};
