#pragma once

#include <QDateTime>
#include <QPainterPath>
#include <QPointF>
#include <QTimer>
#include <QWidget>

/// The download ring: a circle that fills as a pie from twelve o'clock. The value drawn creeps
/// toward the real progress on a 1/60 s timer, so that coarse reports look like a smooth fill:
/// before the first report it fills to a quarter by itself, it never shows full before the real
/// progress is complete, and it completes about 0.1 s after that.
class RoundProgressView final : public QWidget
{
    Q_OBJECT

public:
    /// 0 white with a shadow, 1 light grey at half opacity, anything else no colour.
    explicit RoundProgressView(const QRect &frame, qint64 style, QWidget *parent = nullptr);

    qint64 style() const { return m_style; }
    double progress() const { return m_progress; }
    double realProgress() const { return m_realProgress; }
    double uiProgress() const { return m_uiProgress; }
    double increaseRate() const { return m_increaseRate; }
    QDateTime prevUpdateTime() const { return m_prevUpdateTime; }
    bool isProgressTimerRunning() const { return m_progressTimer.isActive(); }
    const QTimer &progressTimer() const { return m_progressTimer; }
    /// The ring's outline and its filled part, as drawn.
    QPainterPath circleLayer() const;
    QPainterPath sliceLayer() const;
    QPointF pieCenter() const { return m_pieCenter; }
    double pieRadius() const { return m_pieRadius; }
    double lineWidth() const { return m_lineWidth; }
    QColor styleColor() const;

    void resetProgress();
    void setProgress(double progress);
    void setPieRadius(double radius);
    void setInitialIncreaseRatePerFrame(double rate);
    /// One frame of the creep toward the real progress.
    void increaseUIProgress();

    static constexpr int FrameMilliseconds = 1000 / 60;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void _setupSubviews();
    void layoutPie();
    void startProgressTimer();
    void stopProgressTimer();
    void recalculateIncreaseProgress_withTimeDiff(double remaining, double seconds);
    void drawSlice();

    qint64 m_style = 1;
    double m_progress = 0;
    double m_realProgress = 0;
    double m_uiProgress = 0;
    double m_increaseRate = 1.0 / 600;
    QDateTime m_prevUpdateTime;
    QTimer m_progressTimer;
    QPointF m_pieCenter;
    double m_pieRadius = 0;
    double m_lineWidth = 2;
};
