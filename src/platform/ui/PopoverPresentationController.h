#pragma once

#include <QFlags>
#include <QPointer>
#include <QRect>

#include <optional>

#include "platform/ui/BarButtonItem.h"
#include <QWidget>

/// Where a popover points on a tablet: a rectangle of a view, or a bar button, and the sides
/// its arrow may take.
class PopoverPresentationController final
{
public:
    enum class ArrowDirection {
        Up = 1,
        Down = 2,
        Left = 4,
        Right = 8,
        Any = 15,
    };
    Q_DECLARE_FLAGS(ArrowDirections, ArrowDirection)

    QWidget *sourceView() const { return m_sourceView.data(); }
    void setSourceView(QWidget *view) { m_sourceView = view; }
    /// The rectangle of the source view the popover points at; the whole view when not set.
    QRect sourceRect() const { return m_sourceRect.value_or(QRect()); }
    void setSourceRect(const QRect &rect) { m_sourceRect = rect; }
    BarButtonItem *barButtonItem() const { return m_barButtonItem.data(); }
    void setBarButtonItem(BarButtonItem *item) { m_barButtonItem = item; }
    ArrowDirections permittedArrowDirections() const { return m_arrows; }
    void setPermittedArrowDirections(ArrowDirections arrows) { m_arrows = arrows; }

    /// The line across a view's bounds at their vertical middle, as tall as nothing: where a
    /// popover about a row points.
    static QRect middleLineOf(const QRect &bounds);
    /// Points at the middle line of `view`, from its left or its right side only.
    void setSourceViewMiddleLine(QWidget *view);

    /// The anchor in the coordinates of `window`; std::nullopt when no anchor was given.
    std::optional<QRect> anchorInWindow(QWidget *window) const;
    /// The frame of a popover of `size` beside the anchor inside `bounds` of `window`, on a side
    /// its arrows allow.
    QRect frameForSize(const QSize &size, const QRect &bounds, QWidget *window) const;

private:
    QPointer<QWidget> m_sourceView;
    std::optional<QRect> m_sourceRect;
    QPointer<BarButtonItem> m_barButtonItem;
    ArrowDirections m_arrows = ArrowDirection::Any;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(PopoverPresentationController::ArrowDirections)
