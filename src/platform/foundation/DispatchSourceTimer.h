#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class DispatchQueue;
class QTimer;

/// A repeating timer whose handler runs on a serial queue: the first fire comes `startMsec`
/// after `resume()`, then one every `intervalMsec`. A leeway lets the system coalesce wake-ups
/// (a coarse timer), as the queue's work is never urgent to the millisecond.
class DispatchSourceTimer final
{
public:
    explicit DispatchSourceTimer(DispatchQueue *queue);
    ~DispatchSourceTimer();
    Q_DISABLE_COPY_MOVE(DispatchSourceTimer)

    void schedule(int startMsec, int intervalMsec, int leewayMsec);
    void setEventHandler(std::function<void()> handler);
    void resume();
    void cancel();

    bool isActive() const;
    int intervalMsec() const { return m_intervalMsec; }
    int leewayMsec() const { return m_leewayMsec; }

private:
    DispatchQueue *m_queue = nullptr;
    QPointer<QTimer> m_timer;
    std::function<void()> m_handler;
    int m_startMsec = 0;
    int m_intervalMsec = 0;
    int m_leewayMsec = 0;
    bool m_active = false;
};
