#pragma once

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAccessible>
#include <QLineEdit>
#include <QStringList>
#include <QWidget>

/// What a screen reader finds on screen.
namespace Accessibility {

/// The name a screen reader says for `widget`.
inline QString nameOf(QWidget *widget)
{
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
    return accessible ? accessible->text(QAccessible::Name) : QString();
}

/// The controls shown under `root` (buttons, sliders, text fields) that a screen reader could
/// not name, each as "class objectName".
inline QStringList unnamedControls(QWidget *root)
{
    QStringList unnamed;
    for (QWidget *widget : root->findChildren<QWidget *>()) {
        const bool control = qobject_cast<QAbstractButton *>(widget)
            || (qobject_cast<QAbstractSlider *>(widget) && !widget->inherits("QScrollBar"))
            || qobject_cast<QLineEdit *>(widget);
        if (control && widget->isVisibleTo(root) && nameOf(widget).trimmed().isEmpty()) {
            unnamed << QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') + widget->objectName();
        }
    }
    return unnamed;
}

} // namespace Accessibility
