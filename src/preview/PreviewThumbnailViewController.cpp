#include "preview/PreviewThumbnailViewController.h"

#include "preview/PreviewItemManager.h"
#include "preview/ThumbnailImageView.h"

#include <QVBoxLayout>

PreviewThumbnailViewController::PreviewThumbnailViewController(QObject *parent)
    : PreviewBaseViewController(parent)
{
}

void PreviewThumbnailViewController::viewDidLoad()
{
    PreviewBaseViewController::viewDidLoad();
    setupViewsAndConstraints();
}

void PreviewThumbnailViewController::setupViewsAndConstraints()
{
    // centred, no wider than the content area, as tall as it
    auto *layout = new QVBoxLayout(wrapperView());
    layout->setContentsMargins(0, 0, 0, 0);
    m_thumbnailView = new ThumbnailImageView(wrapperView());
    layout->addWidget(m_thumbnailView, 1);
}

void PreviewThumbnailViewController::refreshItem()
{
    PreviewBaseViewController::refreshItem();
    view();
    m_thumbnailView->setItem(itemManager() ? itemManager()->item() : nullptr);
}

void PreviewThumbnailViewController::showProgress(bool show)
{
    view();
    m_thumbnailView->showProgress(show);
}

void PreviewThumbnailViewController::updateProgress(const std::shared_ptr<Progress> &progress)
{
    Q_UNUSED(progress)
}
