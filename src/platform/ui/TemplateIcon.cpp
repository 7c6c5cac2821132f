#include "platform/ui/TemplateIcon.h"

#include "platform/types/IconForResourceProxy.h"

#include <QPainter>
#include <QPixmap>

QIcon TemplateIcon::named(const QString &iconName, const QColor &tint)
{
    ensureIconTheme();
    const QIcon source = QIcon::fromTheme(iconName + QStringLiteral("-symbolic"), QIcon::fromTheme(iconName));
    if (source.isNull()) {
        return {};
    }
    QIcon icon;
    // the sizes bar buttons and fields draw at, on standard and double-density screens
    for (const int side : {16, 24, 32, 48}) {
        QPixmap shape = source.pixmap(side, side);
        if (shape.isNull()) {
            continue;
        }
        QPainter painter(&shape);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(shape.rect(), tint);
        painter.end();
        icon.addPixmap(shape);
    }
    return icon;
}
