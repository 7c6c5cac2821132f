#pragma once

#include <QPointer>
#include <QWidget>

class ViewController;

/// The layer that shows a presented screen over a window: it covers the window, dims it when the
/// screen asks for that, places the screen's view where the screen wants it and follows the
/// window's size. A tap beside the view is reported to the screen.
class PresentationOverlay final : public QWidget
{
    Q_OBJECT

public:
    PresentationOverlay(QWidget *window, ViewController *presented);

    /// Gives the presented view back to its screen before the layer goes away.
    void release();
    /// Places the presented view again (after the window or the view's content changed).
    void relayout();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    QPointer<ViewController> m_presented;
    QPointer<QWidget> m_view;
};
