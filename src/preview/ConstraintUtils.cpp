#include "preview/ConstraintUtils.h"

using Attribute = LayoutConstraint::Attribute;
using Relation = LayoutConstraint::Relation;

QList<LayoutConstraint> ConstraintUtils::stretchSubviewConstraints_withinView(QWidget *subview, QWidget *view)
{
    return {
        {subview, Attribute::Top, Relation::Equal, view, Attribute::Top, 0},
        {subview, Attribute::Bottom, Relation::Equal, view, Attribute::Bottom, 0},
        {subview, Attribute::CenterX, Relation::Equal, view, Attribute::CenterX, 0},
        {subview, Attribute::Leading, Relation::Equal, view, Attribute::Leading, 0},
    };
}

QList<LayoutConstraint> ConstraintUtils::verticallyStackedConstraintsInParent_topChild_bottomChild_middleGap(
    QWidget *parent, QWidget *topChild, QWidget *bottomChild, double gap)
{
    return {
        {topChild, Attribute::CenterX, Relation::Equal, parent, Attribute::CenterX, 0},
        {topChild, Attribute::Width, Relation::LessThanOrEqual, parent, Attribute::Width, 0},
        {bottomChild, Attribute::CenterX, Relation::Equal, parent, Attribute::CenterX, 0},
        {bottomChild, Attribute::Width, Relation::LessThanOrEqual, parent, Attribute::Width, 0},
        {topChild, Attribute::Top, Relation::Equal, parent, Attribute::Top, 0},
        {bottomChild, Attribute::Top, Relation::Equal, topChild, Attribute::Bottom, gap},
        {bottomChild, Attribute::Bottom, Relation::Equal, parent, Attribute::Bottom, 0},
    };
}
