#pragma once

#include "preview/PreviewBaseViewController.h"

class ThumbnailImageView;

/// The plainest preview screen: the item's thumbnail as large as the content area allows.
class PreviewThumbnailViewController final : public PreviewBaseViewController
{
    Q_OBJECT

public:
    explicit PreviewThumbnailViewController(QObject *parent = nullptr);

    ThumbnailImageView *thumbnailView() const { return m_thumbnailView; }
    void setupViewsAndConstraints();
    void refreshItem() override;
    void showProgress(bool show);
    /// Deliberately nothing: the pie of this screen stays at 0 while shown.
    void updateProgress(const std::shared_ptr<Progress> &progress) override;

protected:
    void viewDidLoad() override;

private:
    ThumbnailImageView *m_thumbnailView = nullptr;
};
