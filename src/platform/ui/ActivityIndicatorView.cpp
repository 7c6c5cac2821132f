#include "platform/ui/ActivityIndicatorView.h"

#include <QPainter>

namespace {
constexpr int Spokes = 8;
}

ActivityIndicatorView::ActivityIndicatorView(QWidget *parent)
    : QWidget(parent)
{
    m_timer.setInterval(100);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % Spokes;
        update();
    });
    hide();
}

void ActivityIndicatorView::startAnimating()
{
    m_timer.start();
    show();
}

void ActivityIndicatorView::stopAnimating()
{
    m_timer.stop();
    hide();
}

void ActivityIndicatorView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const qreal radius = std::min(width(), height()) / 2.0;
    for (int i = 0; i < Spokes; ++i) {
        QColor color(142, 142, 147);
        color.setAlphaF(0.25 + 0.75 * ((i + Spokes - m_step) % Spokes) / double(Spokes));
        painter.setPen(QPen(color, 2.0, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        painter.rotate(360.0 / Spokes);
    }
}
