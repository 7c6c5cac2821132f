#include "preview/ThumbnailImageView.h"

#include "model/DRItem.h"
#include "preview/PieProgressIndicatorView.h"
#include "platform/types/DocumentProxy.h"
#include "platform/types/IconForResourceProxy.h"

#include <QPainter>

ThumbnailImageView::ThumbnailImageView(QWidget *parent)
    : QWidget(parent)
    , m_progressView(new PieProgressIndicatorView(this))
{
    setObjectName(QStringLiteral("thumbnailImageView"));
    m_progressView->setFixedSize(PieSide, PieSide);
    m_progressView->hide();
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
}

void ThumbnailImageView::setItem(const std::shared_ptr<DRItem> &item)
{
    m_item = item;
    if (!item) {
        return;
    }
    const QImage thumbnail = item->thumbnail();
    if (thumbnail.isNull()) {
        showGenericImage();
        return;
    }
    m_image = thumbnail;
    m_generic = false;
    updateGeometry();
    update();
}

void ThumbnailImageView::showGenericImage()
{
    if (!m_item) {
        return;
    }
    ensureIconTheme();
    const DocumentProxy proxy = DocumentProxy::documentProxyForName_type_MIMEType(m_item->resolvedURL().fileName(),
                                                                                  m_item->typeIdentifier(), QString());
    m_image = IconForResourceProxy(proxy, IconFormat::Large);
    m_generic = true;
    updateGeometry();
    update();
}

void ThumbnailImageView::showProgress(bool show)
{
    if (show) {
        m_progressView->setProgress(0);
    }
    // in the lower trailing corner, whether or not the view has been laid out yet
    m_progressView->move(width() - PieSide, height() - PieSide);
    m_progressView->setVisible(show);
    m_progressView->raise();
}

void ThumbnailImageView::updateProgress(double fraction)
{
    if (!m_progressView->isHidden()) {
        m_progressView->setProgress(fraction);
    }
}

QRect ThumbnailImageView::imageRect() const
{
    if (m_image.isNull()) {
        return {};
    }
    // scaled to fit, keeping the picture's proportions, centred
    const QSize size = m_image.size().scaled(this->size(), Qt::KeepAspectRatio);
    return QRect(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size);
}

QSize ThumbnailImageView::sizeHint() const
{
    return m_image.isNull() ? QSize(160, 160) : m_image.size().scaled(QSize(256, 256), Qt::KeepAspectRatio);
}

void ThumbnailImageView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_progressView->move(width() - PieSide, height() - PieSide);
}

void ThumbnailImageView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    if (m_image.isNull()) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(imageRect(), m_image);
}
