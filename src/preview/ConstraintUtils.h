#pragma once

#include "preview/LayoutConstraint.h"

#include <QList>

/// Layout rules shared by the preview screens.
class ConstraintUtils final
{
public:
    ConstraintUtils() = delete;

    /// The subview fills the view's height, centred, from its leading edge: top, bottom,
    /// centre X and leading equal.
    static QList<LayoutConstraint> stretchSubviewConstraints_withinView(QWidget *subview, QWidget *view);
    /// Two children one above the other, `gap` apart, centred and no wider than the parent, the
    /// first at its top and the second at its bottom.
    static QList<LayoutConstraint> verticallyStackedConstraintsInParent_topChild_bottomChild_middleGap(
        QWidget *parent, QWidget *topChild, QWidget *bottomChild, double gap);
};
