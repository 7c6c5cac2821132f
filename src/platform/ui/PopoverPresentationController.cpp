#include "platform/ui/PopoverPresentationController.h"

#include "platform/ui/BarButtonItem.h"
#include "platform/ui/BarItemsView.h"

#include <QWidget>

QRect PopoverPresentationController::middleLineOf(const QRect &bounds)
{
    return QRect(bounds.x(), bounds.y() + bounds.height() / 2, bounds.width(), 0);
}

void PopoverPresentationController::setSourceViewMiddleLine(QWidget *view)
{
    setSourceView(view);
    if (view) {
        setSourceRect(middleLineOf(view->rect()));
    }
    setPermittedArrowDirections(ArrowDirection::Left | ArrowDirection::Right);
}

std::optional<QRect> PopoverPresentationController::anchorInWindow(QWidget *window) const
{
    if (m_sourceView && window) {
        const QRect rect = m_sourceRect.value_or(m_sourceView->rect());
        return QRect(m_sourceView->mapTo(window, rect.topLeft()), rect.size());
    }
    if (m_barButtonItem && window) {
        QWidget *view = m_barButtonItem->customView();
        // a bar draws a standard item as a button of its own
        const auto bars = window->findChildren<BarItemsView *>();
        for (auto it = bars.cbegin(); !view && it != bars.cend(); ++it) {
            QWidget *button = (*it)->widgetForItem(m_barButtonItem.data());
            view = button && button->isVisibleTo(window) ? button : nullptr;
        }
        if (view) {
            return QRect(view->mapTo(window, QPoint(0, 0)), view->size());
        }
    }
    return std::nullopt;
}

QRect PopoverPresentationController::frameForSize(const QSize &size, const QRect &bounds, QWidget *window) const
{
    const std::optional<QRect> anchorRect = anchorInWindow(window);
    constexpr int Gap = 10;
    QRect frame(QPoint(0, 0), size);
    const QRect anchor = anchorRect.value_or(QRect());
    const bool fromBar = !m_sourceView && m_barButtonItem;
    const bool barAtBottom = anchor.center().y() > bounds.center().y();
    if (!anchorRect) {
        frame.moveCenter(bounds.center());
    } else if (fromBar && (m_arrows & ArrowDirection::Down) && barAtBottom) {
        // a bar's button: the popover stands over the toolbar, or hangs under the navigation bar
        frame.moveTopLeft(QPoint(anchor.center().x() - size.width() / 2, anchor.top() - Gap - size.height()));
    } else if (fromBar && (m_arrows & ArrowDirection::Up) && !barAtBottom) {
        frame.moveTopLeft(QPoint(anchor.center().x() - size.width() / 2, anchor.bottom() + Gap));
    } else if (m_arrows & ArrowDirection::Left && anchor.right() + Gap + size.width() <= bounds.right()) {
        // the arrow points left: the popover sits to the right of the anchor
        frame.moveTopLeft(QPoint(anchor.right() + Gap, anchor.center().y() - size.height() / 2));
    } else if (m_arrows & ArrowDirection::Right && anchor.left() - Gap - size.width() >= bounds.left()) {
        frame.moveTopLeft(QPoint(anchor.left() - Gap - size.width(), anchor.center().y() - size.height() / 2));
    } else if (m_arrows & ArrowDirection::Up) {
        frame.moveTopLeft(QPoint(anchor.center().x() - size.width() / 2, anchor.bottom() + Gap));
    } else if (m_arrows & ArrowDirection::Down) {
        frame.moveTopLeft(QPoint(anchor.center().x() - size.width() / 2, anchor.top() - Gap - size.height()));
    } else {
        frame.moveTopLeft(QPoint(anchor.right() + Gap, anchor.center().y() - size.height() / 2));
    }
    // keep it on screen
    frame.moveLeft(std::clamp(frame.left(), bounds.left() + 8, std::max(bounds.left() + 8, bounds.right() - 8 - size.width())));
    frame.moveTop(std::clamp(frame.top(), bounds.top() + 8, std::max(bounds.top() + 8, bounds.bottom() - 8 - size.height())));
    return frame;
}
