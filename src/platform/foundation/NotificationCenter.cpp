#include "platform/foundation/NotificationCenter.h"

#include <algorithm>

NotificationCenter *NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return &center;
}

void NotificationCenter::addObserver(const QObject *context, const QString &name, Handler handler)
{
    QMutexLocker locker(&m_mutex);
    m_observers.push_back(Observer{QPointer<const QObject>(context), context, name, std::move(handler)});
}

void NotificationCenter::removeObserver(const QObject *context, const QString &name)
{
    QMutexLocker locker(&m_mutex);
    std::erase_if(m_observers, [&](const Observer &o) {
        return o.key == context && (name.isEmpty() || o.name == name);
    });
}

void NotificationCenter::post(const QString &name, const void *object, const QVariantMap &userInfo)
{
    std::vector<Handler> handlers;
    {
        QMutexLocker locker(&m_mutex);
        std::erase_if(m_observers, [](const Observer &o) { return o.context.isNull(); });
        for (const Observer &o : m_observers) {
            if (o.name == name) {
                handlers.push_back(o.handler);
            }
        }
    }
    // handlers run outside the lock: an observer may post or (un)register in turn
    const Notification notification{name, object, userInfo};
    for (const Handler &handler : handlers) {
        handler(notification);
    }
}
