#pragma once

#include "preview/DownloadViewDelegate.h"
#include "preview/PreviewBaseViewController.h"

class DownloadView;
class QBoxLayout;
class ThumbnailImageView;

/// The screen of an item that is only a placeholder here: its thumbnail beside the download
/// view. Start applies the cellular rule (nothing over 100 MiB without Wi-Fi) and asks the
/// manager to download; cancel asks it to stop. Side by side in landscape, stacked upright.
class PreviewDownloadViewController final : public PreviewBaseViewController, public DownloadViewDelegate
{
    Q_OBJECT
    Q_INTERFACES(DownloadViewDelegate)

public:
    /// The largest file that downloads on a cellular connection (100 MiB).
    static constexpr quint64 CellularDownloadLimit = 104857600;

    explicit PreviewDownloadViewController(QObject *parent = nullptr);

    bool downloading() const { return m_downloading; }
    void setDownloading(bool downloading);
    QBoxLayout *mainStackView() const { return m_mainStackView; }
    DownloadView *downloadView() const { return m_downloadView; }
    ThumbnailImageView *thumbnailView() const { return m_thumbnailView; }

    void setupViewsAndConstraints();
    void adjustViewsForOrientation(PseudoOrientation orientation);
    void viewWillTransitionToSize_withTransitionCoordinator(const QSize &size);
    void viewWillAppear(bool animated) override;
    void refreshItem() override;
    void updateProgress(const std::shared_ptr<Progress> &progress) override;

    void downloadView_didPressStartDownload(DownloadView *view, const QUrl &url) override;
    void downloadView_didPressCancelDownload(DownloadView *view, const QUrl &url) override;

protected:
    void viewDidLoad() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool m_downloading = false;
    QBoxLayout *m_mainStackView = nullptr;
    DownloadView *m_downloadView = nullptr;
    ThumbnailImageView *m_thumbnailView = nullptr;
};
