#include "platform/ui/ElidedLabel.h"

#include <QEvent>
#include <QFontMetrics>

ElidedLabel::ElidedLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(false);
    // the layout may give it any width: what does not fit is cut, the window never grows
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setFullText(const QString &text)
{
    if (text == m_fullText) {
        return;
    }
    m_fullText = text;
    setAccessibleName(text);
    updateGeometry();
    showWhatFits();
}

void ElidedLabel::setElideMode(Qt::TextElideMode mode)
{
    m_elideMode = mode;
    showWhatFits();
}

QSize ElidedLabel::sizeHint() const
{
    const QFontMetrics metrics(font());
    const QMargins margins = contentsMargins();
    return {metrics.horizontalAdvance(m_fullText) + margins.left() + margins.right() + 2 * margin(),
            QLabel::sizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    showWhatFits();
}

void ElidedLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        showWhatFits();
    }
}

void ElidedLabel::showWhatFits()
{
    const int room = contentsRect().width() - 2 * margin();
    const QString shown = QFontMetrics(font()).elidedText(m_fullText, m_elideMode, std::max(room, 0));
    QLabel::setText(shown);
    // the whole name stays one hover away when it is cut
    setToolTip(shown == m_fullText ? QString() : m_fullText);
}
