#pragma once

#include <QWidget>

/// A small pie that fills clockwise from twelve o'clock with one progress value, inside a thin
/// circle.
class PieProgressIndicatorView final : public QWidget
{
    Q_OBJECT

public:
    explicit PieProgressIndicatorView(QWidget *parent = nullptr);

    double progress() const { return m_progress; }
    /// A different value asks for a redraw.
    void setProgress(double progress);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double m_progress = 0;
};
