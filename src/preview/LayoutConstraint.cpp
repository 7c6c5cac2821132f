#include "preview/LayoutConstraint.h"

#include <QRect>

namespace {
/// The value of an attribute of a view, in the coordinates of the window.
double valueOf(const QWidget *view, LayoutConstraint::Attribute attribute)
{
    const QRect rect(view->mapTo(view->window(), QPoint(0, 0)), view->size());
    switch (attribute) {
    case LayoutConstraint::Attribute::Top:
        return rect.top();
    case LayoutConstraint::Attribute::Bottom:
        return rect.top() + rect.height();
    case LayoutConstraint::Attribute::Leading:
        return rect.left();
    case LayoutConstraint::Attribute::Trailing:
        return rect.left() + rect.width();
    case LayoutConstraint::Attribute::CenterX:
        return rect.left() + rect.width() / 2.0;
    case LayoutConstraint::Attribute::CenterY:
        return rect.top() + rect.height() / 2.0;
    case LayoutConstraint::Attribute::Width:
        return rect.width();
    case LayoutConstraint::Attribute::Height:
        return rect.height();
    }
    return 0;
}
} // namespace

bool LayoutConstraint::isSatisfied() const
{
    if (!first || !second) {
        return false;
    }
    constexpr double Tolerance = 1.0;
    const double left = valueOf(first, firstAttribute);
    const double right = valueOf(second, secondAttribute) + constant;
    switch (relation) {
    case Relation::Equal:
        return std::abs(left - right) <= Tolerance;
    case Relation::LessThanOrEqual:
        return left <= right + Tolerance;
    case Relation::GreaterThanOrEqual:
        return left + Tolerance >= right;
    }
    return false;
}
