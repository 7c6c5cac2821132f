#include "watchers/NetworkIndicator.h"

#include "platform/ui/NetworkActivityIndicator.h"

NetworkIndicator *NetworkIndicator::sharedNetworkIndicator()
{
    static auto *indicator = new NetworkIndicator; // process-wide, lives until exit
    return indicator;
}

void NetworkIndicator::show(const QString &identifier)
{
    QMutexLocker lock(&m_mutex);
    if (m_ids.contains(identifier)) {
        return;
    }
    if (m_ids.isEmpty()) {
        NetworkActivityIndicator::shared()->setVisible(true);
    }
    m_ids.insert(identifier);
}

void NetworkIndicator::hide(const QString &identifier)
{
    QMutexLocker lock(&m_mutex);
    if (!m_ids.remove(identifier)) {
        return;
    }
    if (m_ids.isEmpty()) {
        NetworkActivityIndicator::shared()->setVisible(false);
    }
}

QSet<QString> NetworkIndicator::ids() const
{
    QMutexLocker lock(&m_mutex);
    return m_ids;
}
