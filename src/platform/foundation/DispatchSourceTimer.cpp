#include "platform/foundation/DispatchSourceTimer.h"

#include "platform/foundation/DispatchQueue.h"

#include <QTimer>

DispatchSourceTimer::DispatchSourceTimer(DispatchQueue *queue)
    : m_queue(queue)
{
}

DispatchSourceTimer::~DispatchSourceTimer()
{
    cancel();
}

void DispatchSourceTimer::schedule(int startMsec, int intervalMsec, int leewayMsec)
{
    m_startMsec = startMsec;
    m_intervalMsec = intervalMsec;
    m_leewayMsec = leewayMsec;
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
    const auto handler = m_handler;
    const int start = m_startMsec;
    const int interval = m_intervalMsec;
    const Qt::TimerType type = m_leewayMsec > 0 ? Qt::CoarseTimer : Qt::PreciseTimer;
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
            if (handler) {
                handler();
            }
            timer->start();
        });
        created = timer;
    });
    m_timer = created;
}

void DispatchSourceTimer::cancel()
{
    if (!m_active) {
        return;
    }
    m_active = false;
    QPointer<QTimer> timer = m_timer;
    m_queue->sync([timer] {
        if (timer) {
            timer->stop();
            delete timer;
        }
    });
}

bool DispatchSourceTimer::isActive() const
{
    return m_active;
}
