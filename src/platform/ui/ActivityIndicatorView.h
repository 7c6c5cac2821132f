#pragma once

#include <QTimer>
#include <QWidget>

/// A small spinning busy indicator, shown while it animates.
class ActivityIndicatorView final : public QWidget
{
    Q_OBJECT

public:
    explicit ActivityIndicatorView(QWidget *parent = nullptr);

    void startAnimating();
    void stopAnimating();
    bool isAnimating() const { return m_timer.isActive(); }
    QSize sizeHint() const override { return {22, 22}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};
