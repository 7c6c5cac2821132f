#include "preview/PieProgressIndicatorView.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

PieProgressIndicatorView::PieProgressIndicatorView(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void PieProgressIndicatorView::setProgress(double progress)
{
    if (progress != m_progress) {
        m_progress = progress;
        update();
    }
}

void PieProgressIndicatorView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // never quite empty or quite full: the wedge always reads as progress
    const double value = std::clamp(m_progress, 0.005, 0.995);
    const QColor grey(Qt::lightGray);
    painter.setPen(QPen(grey, 1));
    painter.setBrush(grey);
    const QPointF center = QRectF(rect()).center();
    const double radius = std::ceil(height() / 2.0);
    QPainterPath wedge;
    wedge.moveTo(center);
    // Qt's angles run counter-clockwise from three o'clock: start at twelve, sweep clockwise
    wedge.arcTo(QRectF(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius), 90, -360 * value);
    wedge.closeSubpath();
    painter.drawPath(wedge);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}
