#include "platform/ui/NetworkActivityIndicator.h"

NetworkActivityIndicator *NetworkActivityIndicator::shared()
{
    static auto *indicator = new NetworkActivityIndicator; // process-wide, lives until exit
    return indicator;
}

void NetworkActivityIndicator::setVisible(bool visible)
{
    if (m_visible.exchange(visible) != visible) {
        Q_EMIT visibleChanged(visible);
    }
}
