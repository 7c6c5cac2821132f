#include "platform/ui/PresentationOverlay.h"

#include "platform/ui/ViewController.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>

PresentationOverlay::PresentationOverlay(QWidget *window, ViewController *presented)
    : QWidget(window)
    , m_presented(presented)
{
    setObjectName(QStringLiteral("presentationOverlay"));
    setAttribute(Qt::WA_NoSystemBackground);
    m_view = presented->view();
    m_view->setParent(this);
    m_view->show();
    window->installEventFilter(this);
    // the presented screen may grow (an error line appears): follow it
    m_view->installEventFilter(this);
    relayout();
}

void PresentationOverlay::release()
{
    if (m_view && m_view->parent() == this) {
        m_view->removeEventFilter(this);
        m_view->hide();
        m_view->setParent(nullptr);
    }
    if (parentWidget()) {
        parentWidget()->removeEventFilter(this);
    }
    hide();
}

void PresentationOverlay::relayout()
{
    if (!parentWidget()) {
        return;
    }
    setGeometry(parentWidget()->rect());
    if (m_presented && m_view) {
        m_view->setGeometry(m_presented->presentedFrameInBounds(rect()));
    }
}

bool PresentationOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)) {
        relayout();
    } else if (watched == m_view && event->type() == QEvent::LayoutRequest) {
        QMetaObject::invokeMethod(this, &PresentationOverlay::relayout, Qt::QueuedConnection);
    }
    return QWidget::eventFilter(watched, event);
}

void PresentationOverlay::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    if (m_presented && m_presented->dimsWhenPresented()) {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(0, 0, 0, 90));
    }
}

void PresentationOverlay::mousePressEvent(QMouseEvent *event)
{
    if (m_view && !m_view->geometry().contains(event->position().toPoint()) && m_presented) {
        m_presented->presentationBackdropTapped();
        return;
    }
    QWidget::mousePressEvent(event);
}
