#include "platform/foundation/DispatchSourceTimer.h"

#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/ManualDispatchClock.h"

#include <QTimer>

#include <algorithm>
#include <limits>

namespace {

int toMsec(std::chrono::nanoseconds span)
{
    using namespace std::chrono;
    const auto msec = duration_cast<milliseconds>(span).count();
    return int(std::clamp<qint64>(msec, 0, std::numeric_limits<int>::max()));
}

} // namespace

DispatchSourceTimer::DispatchSourceTimer(DispatchQueue *queue)
    : m_queue(queue)
{
}

DispatchSourceTimer::~DispatchSourceTimer()
{
    cancel();
}

void DispatchSourceTimer::schedule(Nanoseconds start, Nanoseconds interval, Nanoseconds leeway)
{
    m_start = start;
    m_interval = interval;
    m_leeway = leeway;
}

void DispatchSourceTimer::setEventHandler(std::function<void()> handler)
{
    m_handler = std::move(handler);
}

void DispatchSourceTimer::resume()
{
    if (m_active) {
        return;
    }
    m_active = true;
    if (ManualDispatchClock *clock = ManualDispatchClock::installed()) {
        clock->add(this, m_start, m_interval);
        return;
    }
    resumeOnRealTime();
}

void DispatchSourceTimer::resumeOnRealTime()
{
    const auto handler = m_handler;
    const int start = toMsec(m_start);
    const int interval = toMsec(m_interval);
    const Qt::TimerType type = m_leeway > Nanoseconds::zero() ? Qt::CoarseTimer : Qt::PreciseTimer;
    QPointer<QTimer> created;
    m_queue->sync([&] {
        auto *timer = new QTimer(m_queue->context()); // owned by the queue's context object
        timer->setTimerType(type);
        timer->setInterval(interval);
        QObject::connect(timer, &QTimer::timeout, timer, [handler] {
            if (handler) {
                handler();
            }
        });
        QTimer::singleShot(start, timer, [timer, handler] {
            // the handler may end the timer's owner, and with it the timer
            const QPointer<QTimer> guard(timer);
            if (handler) {
                handler();
            }
            if (guard) {
                guard->start();
            }
        });
        created = timer;
    });
    m_timer = created;
}

void DispatchSourceTimer::fire() const
{
    if (m_handler) {
        m_queue->async(m_handler);
    }
}

void DispatchSourceTimer::cancel()
{
    if (!m_active) {
        return;
    }
    m_active = false;
    if (ManualDispatchClock *clock = ManualDispatchClock::installed()) {
        clock->remove(this);
    }
    QPointer<QTimer> timer = m_timer;
    if (!timer) {
        return;
    }
    m_queue->sync([timer] {
        if (timer) {
            // possibly from inside the timer's own signal: it goes once that has returned
            timer->stop();
            timer->deleteLater();
        }
    });
}
