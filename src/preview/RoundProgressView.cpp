#include "preview/RoundProgressView.h"

#include <QGraphicsDropShadowEffect>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {
constexpr double MinimumIncreaseRate = 1.0 / 6000;
constexpr double LongestCatchUpSeconds = 0.3;
constexpr double FinishSeconds = 0.1;
constexpr double FirstReportCeiling = 0.25;
} // namespace

RoundProgressView::RoundProgressView(const QRect &frame, qint64 style, QWidget *parent)
    : QWidget(parent)
    , m_style(style)
{
    setGeometry(frame);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    m_progressTimer.setInterval(FrameMilliseconds);
    connect(&m_progressTimer, &QTimer::timeout, this, &RoundProgressView::increaseUIProgress);
    _setupSubviews();
}

QColor RoundProgressView::styleColor() const
{
    switch (m_style) {
    case 0:
        return Qt::white;
    case 1:
        return QColor(170, 170, 170);
    default:
        return Qt::transparent;
    }
}

void RoundProgressView::_setupSubviews()
{
    m_lineWidth = width() >= 40 ? 4 : 2;
    if (m_style == 0) {
        auto *shadow = new QGraphicsDropShadowEffect(this);
        shadow->setColor(QColor(0, 0, 0, 191));
        shadow->setOffset(0, 0);
        shadow->setBlurRadius(0.5);
        setGraphicsEffect(shadow);
    }
    layoutPie();
    stopProgressTimer();
    resetProgress();
}

void RoundProgressView::layoutPie()
{
    m_pieCenter = QRectF(rect()).center();
    const double half = std::min(width(), height()) / 2.0;
    m_pieRadius = m_style == 0 ? half - m_lineWidth / 2 : half;
}

void RoundProgressView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutPie();
}

void RoundProgressView::setPieRadius(double radius)
{
    const QPoint center = geometry().center();
    const int side = int(std::round(radius * 2));
    setGeometry(QRect(center.x() - side / 2, center.y() - side / 2, side, side));
    m_pieRadius = radius;
    m_pieCenter = QRectF(rect()).center();
    update();
}

void RoundProgressView::resetProgress()
{
    m_uiProgress = 0;
    m_increaseRate = 1.0 / 600;
    m_realProgress = 0;
    m_prevUpdateTime = QDateTime::currentDateTime();
    stopProgressTimer();
    drawSlice();
}

void RoundProgressView::startProgressTimer()
{
    if (m_uiProgress < 1 && !m_progressTimer.isActive()) {
        m_progressTimer.start();
    }
}

void RoundProgressView::stopProgressTimer()
{
    m_progressTimer.stop();
}

void RoundProgressView::setInitialIncreaseRatePerFrame(double rate)
{
    if (!m_progressTimer.isActive()) {
        m_increaseRate = rate;
    }
}

void RoundProgressView::recalculateIncreaseProgress_withTimeDiff(double remaining, double seconds)
{
    m_increaseRate = std::max(remaining / seconds / 60, MinimumIncreaseRate);
}

void RoundProgressView::setProgress(double progress)
{
    m_progress = progress;
    if (!m_progressTimer.isActive() && m_realProgress <= 1) {
        startProgressTimer();
    }
    if (progress > 0 && m_realProgress < 1 && m_realProgress < progress) {
        const double remaining = 1 - m_uiProgress;
        double seconds = FinishSeconds;
        if (progress < 1) {
            const QDateTime now = QDateTime::currentDateTime();
            const double elapsed = m_prevUpdateTime.msecsTo(now) / 1000.0;
            // the rest is expected at the pace of the last step, but never slower than 0.3 s
            seconds = std::min(elapsed * remaining / (progress - m_realProgress), LongestCatchUpSeconds);
            m_prevUpdateTime = now;
        }
        recalculateIncreaseProgress_withTimeDiff(remaining, seconds);
        m_realProgress = progress;
    }
}

void RoundProgressView::increaseUIProgress()
{
    if (m_realProgress == 0 || m_uiProgress < m_realProgress) {
        if (m_realProgress < 1) {
            const bool wouldComplete = m_uiProgress + 1.1 * m_increaseRate >= 1;
            const bool waitingForFirstReport = m_realProgress == 0 && m_uiProgress >= FirstReportCeiling;
            if (wouldComplete || waitingForFirstReport) {
                stopProgressTimer();
                return;
            }
            m_uiProgress += m_increaseRate;
        } else {
            m_uiProgress = std::min(m_uiProgress + m_increaseRate, 1.0);
        }
        drawSlice();
    }
    if (m_uiProgress >= 1) {
        stopProgressTimer();
    }
}

void RoundProgressView::drawSlice()
{
    update();
}

QPainterPath RoundProgressView::circleLayer() const
{
    QPainterPath circle;
    const double radius = m_pieRadius - 1;
    circle.addEllipse(m_pieCenter, radius, radius);
    return circle;
}

QPainterPath RoundProgressView::sliceLayer() const
{
    QPainterPath slice;
    slice.moveTo(m_pieCenter);
    // from twelve o'clock, clockwise (Qt counts counter-clockwise from three o'clock)
    slice.arcTo(QRectF(m_pieCenter.x() - m_pieRadius, m_pieCenter.y() - m_pieRadius, 2 * m_pieRadius, 2 * m_pieRadius),
                90, -360 * m_uiProgress);
    slice.closeSubpath();
    return slice;
}

void RoundProgressView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    const QColor color = styleColor();
    if (color.alpha() == 0) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(m_style == 1 ? 0.5 : 1.0); // the grey ring is half see-through
    painter.setPen(QPen(color, m_lineWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(circleLayer());
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPath(sliceLayer());
}
