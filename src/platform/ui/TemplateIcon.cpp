#include "platform/ui/TemplateIcon.h"

#include "platform/types/ThemeIconEngine.h"

QIcon TemplateIcon::named(const QString &iconName, const QColor &tint)
{
    // each size is drawn in the tint when a button first shows it, and kept in the icon cache
    const QIcon icon = ThemeIconEngine::icon({iconName + QStringLiteral("-symbolic"), iconName}, tint);
    return icon.isNull() ? QIcon() : icon;
}
