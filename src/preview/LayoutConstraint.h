#pragma once

#include <QPointer>
#include <QWidget>

/// One layout rule between two views, as the preview screens state them: first.attribute
/// relates to second.attribute + constant. The screens lay out with box layouts; a rule
/// describes what that layout yields and can be checked against the geometry on screen.
struct LayoutConstraint {
    enum class Attribute {
        Top,
        Bottom,
        Leading,
        Trailing,
        CenterX,
        CenterY,
        Width,
        Height,
    };
    enum class Relation {
        Equal,
        LessThanOrEqual,
        GreaterThanOrEqual,
    };

    QPointer<QWidget> first;
    Attribute firstAttribute = Attribute::Top;
    Relation relation = Relation::Equal;
    QPointer<QWidget> second;
    Attribute secondAttribute = Attribute::Top;
    double constant = 0;

    /// Whether the views' geometry keeps the rule, within a pixel.
    bool isSatisfied() const;
};
