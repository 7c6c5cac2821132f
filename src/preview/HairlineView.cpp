#include "preview/HairlineView.h"

#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <cmath>

HairlineView::HairlineView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("hairlineView"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // a widget is at least one logical pixel; the line drawn is one physical pixel of it
    setFixedHeight(int(std::ceil(_hairline())));
}

double HairlineView::_hairline() const
{
    const QScreen *screen = window() && window()->windowHandle() ? window()->windowHandle()->screen()
                                                                 : QGuiApplication::primaryScreen();
    const double scale = screen ? screen->devicePixelRatio() : 1.0;
    return 1.0 / scale;
}

void HairlineView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.fillRect(QRectF(0, 0, width(), _hairline()), QColor(0, 0, 0, 77));
}
