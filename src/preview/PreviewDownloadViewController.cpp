#include "preview/PreviewDownloadViewController.h"

#include "browser/UIUtils.h"
#include "model/DRItem.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/LocalizedString.h"
#include "preview/DownloadView.h"
#include "preview/PreviewItemManager.h"
#include "preview/ThumbnailImageView.h"
#include "watchers/NetworkWatcher.h"

#include <QBoxLayout>
#include <QEvent>
#include <QResizeEvent>

PreviewDownloadViewController::PreviewDownloadViewController(QObject *parent)
    : PreviewBaseViewController(parent)
{
}

void PreviewDownloadViewController::viewDidLoad()
{
    PreviewBaseViewController::viewDidLoad();
    setupViewsAndConstraints();
    view()->installEventFilter(this);
}

void PreviewDownloadViewController::setupViewsAndConstraints()
{
    m_thumbnailView = new ThumbnailImageView(wrapperView());
    m_thumbnailView->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    m_downloadView = new DownloadView(wrapperView());
    m_downloadView->setDelegate(this);
    m_downloadView->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_mainStackView = new QBoxLayout(QBoxLayout::TopToBottom, wrapperView());
    m_mainStackView->setContentsMargins(0, 0, 0, 0);
    m_mainStackView->setSpacing(15);
    m_mainStackView->addWidget(m_thumbnailView, 1);
    m_mainStackView->addWidget(m_downloadView, 0, Qt::AlignCenter);
    adjustViewsForOrientation(currentPseudoOrientation());
}

void PreviewDownloadViewController::adjustViewsForOrientation(PseudoOrientation orientation)
{
    const bool landscape = orientation == PseudoOrientation::LandscapeLeft || orientation == PseudoOrientation::LandscapeRight;
    m_mainStackView->setDirection(landscape ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    // side by side the two halves share the width equally
    m_mainStackView->setStretch(0, 1);
    m_mainStackView->setStretch(1, landscape ? 1 : 0);
    m_downloadView->setSizePolicy(landscape ? QSizePolicy::Preferred : QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PreviewDownloadViewController::viewWillTransitionToSize_withTransitionCoordinator(const QSize &size)
{
    QPointer<PreviewDownloadViewController> self(this);
    DispatchQueue::main()->async([self, size] {
        if (self) {
            self->adjustViewsForOrientation(size.width() > size.height() ? PseudoOrientation::LandscapeLeft
                                                                         : PseudoOrientation::Portrait);
            self->configureMargins();
        }
    });
}

bool PreviewDownloadViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == view() && event->type() == QEvent::Resize) {
        viewWillTransitionToSize_withTransitionCoordinator(static_cast<QResizeEvent *>(event)->size());
    }
    return PreviewBaseViewController::eventFilter(watched, event);
}

void PreviewDownloadViewController::viewWillAppear(bool animated)
{
    PreviewBaseViewController::viewWillAppear(animated);
    if (m_downloading) {
        m_downloadView->setDownloading(true);
    }
}

void PreviewDownloadViewController::refreshItem()
{
    PreviewBaseViewController::refreshItem();
    view();
    const std::shared_ptr<DRItem> item = itemManager() ? itemManager()->item() : nullptr;
    m_downloadView->setItem(item);
    m_thumbnailView->setItem(item);
}

void PreviewDownloadViewController::setDownloading(bool downloading)
{
    m_downloading = downloading;
    if (isViewLoaded()) {
        m_downloadView->setDownloading(downloading);
    }
}

void PreviewDownloadViewController::updateProgress(const std::shared_ptr<Progress> &progress)
{
    m_downloadView->updateProgress(progress);
}

void PreviewDownloadViewController::downloadView_didPressStartDownload(DownloadView *view, const QUrl &url)
{
    Q_UNUSED(url)
    const std::shared_ptr<DRItem> item = itemManager() ? itemManager()->item() : nullptr;
    const quint64 size = item ? item->fileSize().value_or(0) : 0;
    if (NetworkWatcher::sharedNetworkWatcher()->networkState() == NetworkStateCellular && size > CellularDownloadLimit) {
        UIUtils::showAlert_message_parentViewController(
            LocalizedString::localizedStringWithFormat(
                QStringLiteral("This item is over %@."),
                ByteCountFormatter::stringFromByteCount(qint64(CellularDownloadLimit), ByteCountFormatter::CountStyle::Binary)),
            LocalizedString::localizedStringWithFormat(QStringLiteral("“%@” will not download until you connect to Wi-Fi."),
                                                       item->localizedName()),
            this);
        return;
    }
    view->setDownloading(true);
    if (itemManager()) {
        itemManager()->startDownload();
    }
}

void PreviewDownloadViewController::downloadView_didPressCancelDownload(DownloadView *view, const QUrl &url)
{
    Q_UNUSED(url)
    view->setDownloading(false);
    if (itemManager()) {
        itemManager()->cancelDownload();
    }
}
