#include "platform/ui/AlertAction.h"

AlertAction::AlertAction(const QString &title, Style style, std::function<void(AlertAction *)> handler,
                         QObject *parent)
    : QObject(parent)
    , m_title(title)
    , m_style(style)
    , m_handler(std::move(handler))
{
}

AlertAction *AlertAction::actionWithTitle_style_handler_shouldDismissHandler(const QString &title, Style style,
                                                                            std::function<void(AlertAction *)> handler,
                                                                            std::function<bool()> shouldDismiss,
                                                                            QObject *parent)
{
    auto *action = new AlertAction(title, style, std::move(handler), parent);
    action->m_shouldDismiss = std::move(shouldDismiss);
    return action;
}

void AlertAction::setEnabled(bool enabled)
{
    if (m_enabled != enabled) {
        m_enabled = enabled;
        Q_EMIT enabledChanged(enabled);
    }
}

void AlertAction::runHandler()
{
    if (m_handler) {
        m_handler(this);
    }
}
