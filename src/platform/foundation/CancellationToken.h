#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

/// Lets one thread ask another's long work to stop, and lets that work sleep without missing
/// the request.
class CancellationToken final
{
public:
    void cancel()
    {
        {
            std::lock_guard lock(m_mutex);
            m_cancelled = true;
        }
        m_changed.notify_all();
    }

    bool isCancelled() const { return m_cancelled.load(); }

    /// Sleeps up to `duration`; returns false at once when cancelled.
    template <typename Duration>
    bool sleepFor(Duration duration)
    {
        std::unique_lock lock(m_mutex);
        return !m_changed.wait_for(lock, duration, [this] { return m_cancelled.load(); });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::atomic<bool> m_cancelled{false};
};
