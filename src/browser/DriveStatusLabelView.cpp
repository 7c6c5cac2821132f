#include "browser/DriveStatusLabelView.h"

#include "platform/quota/KVQUpgradeButton.h"

#include <QEvent>
#include <QtMath>

DriveStatusLabelView::DriveStatusLabelView(const QRect &frame, QWidget *parent)
    : QWidget(parent)
{
    initWithFrame(frame);
}

void DriveStatusLabelView::initWithFrame(const QRect &frame)
{
    setObjectName(QStringLiteral("driveStatusLabelView"));
    setGeometry(frame);
    // flexible width and height: the toolbar decides the size
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    setAttribute(Qt::WA_TranslucentBackground);
    setAutoFillBackground(false);
    m_showLowQuota = false;
}

void DriveStatusLabelView::setPrimaryLabel(QLabel *label)
{
    m_primaryLabel = label;
    label->setParent(this);
    label->show();
}

void DriveStatusLabelView::setQuotaButton(KVQUpgradeButton *button)
{
    m_quotaButton = button;
    button->setParent(this);
}

void DriveStatusLabelView::setPrimaryLabelText(const QString &text)
{
    if (!m_primaryLabel) {
        return;
    }
    m_primaryLabel->setText(text);
    m_primaryLabel->adjustSize();
    updateGeometry();
    layoutSubviews();
}

void DriveStatusLabelView::setShowLowQuota(bool show)
{
    m_showLowQuota = show;
    if (m_quotaButton) {
        m_quotaButton->setHidden(!show);
    }
    updateGeometry();
    layoutSubviews();
}

QSize DriveStatusLabelView::sizeHint() const
{
    int width = m_primaryLabel ? m_primaryLabel->sizeHint().width() : 0;
    if (m_showLowQuota && m_quotaButton) {
        width = std::max(width, m_quotaButton->sizeHint().width());
    }
    return {width + 16, 44};
}

void DriveStatusLabelView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutSubviews();
}

bool DriveStatusLabelView::event(QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest) {
        layoutSubviews();
    }
    return QWidget::event(event);
}

void DriveStatusLabelView::layoutSubviews()
{
    if (!m_primaryLabel || !m_quotaButton) {
        return;
    }
    const qreal W = width();
    const qreal H = height();
    const auto roundToPixels = [this](qreal value) {
        const qreal scale = devicePixelRatioF() > 0 ? devicePixelRatioF() : 1.0;
        return qRound(value * scale) / scale;
    };

    // 1. both fit their content
    const bool hasText = !m_primaryLabel->text().isEmpty();
    const QSize labelSize = hasText ? m_primaryLabel->sizeHint() : QSize(0, 0);
    const qreal lw = labelSize.width();
    const qreal lh = labelSize.height();
    const QSize buttonSize = m_quotaButton->sizeHint();
    const qreal th = m_quotaButton->titleLabelHeight();

    // 2. a button that has no height yet borrows the label's size
    QSizeF R = buttonSize;
    if (R.height() < 1.0) {
        R = labelSize;
    }
    // 3. the title's height, or the label's
    const qreal t = th < 1.0 ? lh : th;
    // 4. the height of what is shown
    qreal contentHeight = hasText ? lh : 0.0;
    if (m_showLowQuota) {
        contentHeight = 0.25 * lh + t + (hasText ? lh : 0.0);
    }
    m_contentHeight = contentHeight;

    // 5. the label, centred one pixel above the middle
    const qreal labelX = roundToPixels((W - lw) * 0.5);
    const qreal labelY = roundToPixels((H - contentHeight) * 0.5 - 1.0);
    m_primaryLabel->setGeometry(QRectF(labelX, labelY, lw, lh).toRect());

    // 6. the button under it, without its frame's padding around the title
    const qreal labelBottom = labelY + lh;
    const qreal buttonX = roundToPixels((W - R.width()) * 0.5);
    const qreal buttonY = roundToPixels((m_showLowQuota ? 0.25 * lh : 0.0) + labelBottom - (R.height() - t) * 0.5);
    m_quotaButton->setGeometry(QRectF(buttonX, buttonY, R.width(), R.height()).toRect());
}
