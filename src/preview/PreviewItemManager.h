#pragma once

#include "platform/drive/FilePresenter.h"
#include "platform/foundation/Error.h"
#include "platform/lists/DocumentTargetSelectionControllerDelegate.h"
#include "platform/ui/NavigationController.h"
#include "preview/PreviewDetailsViewController.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewMode.h"

#include <QDateTime>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <memory>

class BarButtonItem;
class DRItem;
class DispatchQueue;
class DocumentInteractionController;
class FileCoordinator;
class OperationQueue;
class ViewController;

/// The preview of one item opened from the browser: it chooses the screen (the shared viewer,
/// the download screen or the details screen), places it on the browser's stack, downloads a
/// promised item on demand under a coordinated read, follows the file as its presenter
/// (changes, moves and deletions, whoever makes them) and moves or deletes the item for the
/// preview screens.
///
/// Made with `create` (it registers itself as a file presenter, which holds it strongly while
/// registered). Screens and blocks that outlive a call hold it weakly.
class PreviewItemManager final : public QObject,
                                 public FilePresenter,
                                 public DocumentTargetSelectionControllerDelegate,
                                 public std::enable_shared_from_this<PreviewItemManager>
{
    Q_OBJECT
    Q_INTERFACES(DocumentTargetSelectionControllerDelegate)

public:
    /// Told the old URL, the downloaded item's URL (empty on failure) and the error.
    using DownloadCompletion = std::function<void(const QUrl &oldURL, const QUrl &newURL, const std::optional<Error> &error)>;

    /// The token under which the network-activity indicator shows a download.
    static inline const QString NetworkIndicatorToken = QStringLiteral("PreviewDownload");
    /// Files from this size on are never downloaded by themselves (6 MiB).
    static constexpr quint64 AutoDownloadLimit = 6291456;

    static std::shared_ptr<PreviewItemManager> create();
    ~PreviewItemManager() override;

    std::shared_ptr<DRItem> item() const { return m_item; }
    PreviewMode mode() const { return m_mode; }
    void setMode(PreviewMode mode) { m_mode = mode; }
    NavigationController *navigationController() const { return m_navigationController.data(); }
    void setNavigationController(NavigationController *controller) { m_navigationController = controller; }
    std::shared_ptr<DocumentInteractionController> documentInteractionController() const { return m_documentInteractionController; }
    void setDocumentInteractionController(const std::shared_ptr<DocumentInteractionController> &controller)
    {
        m_documentInteractionController = controller;
    }
    std::shared_ptr<FileCoordinator> downloadFC() const;
    OperationQueue *fcQueue() const { return m_fcQueue.get(); }
    bool filePresenterRegistered() const;
    QDateTime modifiedDate() const { return m_modifiedDate; }
    bool refreshPending() const;
    DispatchQueue *downloadQueue() const { return m_downloadQueue.get(); }
    PreviewDownloadViewController *downloadViewController() const { return m_downloadViewController.data(); }
    PreviewDetailsViewController *detailsViewController() const { return m_detailsViewController.data(); }
    bool autoDownload() const { return m_autoDownload; }

    void previewItem(const std::shared_ptr<DRItem> &item);
    /// Shows the document `step` places after the one on screen (before it when negative), in
    /// the order its folder's list shows them, folders passed over; false at the folder's ends.
    bool previewNeighbourItem(int step);
    void setItem(const std::shared_ptr<DRItem> &item);
    void setItem_updatePreview(const std::shared_ptr<DRItem> &item, bool updatePreview);
    /// The screen for the item, not yet placed; null when there is nothing to show.
    ViewController *prepareToPreviewItem(const std::shared_ptr<DRItem> &item);
    void finishPreviewingItem();
    bool shouldAutoDownload();

    void startDownload();
    void startDownloading(DownloadCompletion completion);
    void startDownloadingNow(const QUrl &url, const QPointer<PreviewDownloadViewController> &screen,
                             DownloadCompletion completion);
    void cancelDownload();
    void showDownloadError(const std::optional<Error> &error);

    void showWarningAndDeleteDocument_barButton(ViewController *presenting, BarButtonItem *barButton);
    void showMoveTarget(ViewController *presenting);
    void documentTargetSelectionController_didSelectItemAtURL(DocumentTargetSelectionController *picker,
                                                              const QUrl &url) override;
    void viewControllerWillDisappear(ViewController *controller);

    void registerAsFilePresenter();
    void unregisterAsFilePresenter();

    QUrl presentedItemURL() const override;
    OperationQueue *presentedItemOperationQueue() const override { return m_fcQueue.get(); }
    void presentedItemDidChange() override;
    void presentedItemDidMoveToURL(const QUrl &newURL) override;
    void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completion) override;
    void accommodatePresentedSubitemDeletionAtURL_completionHandler(const QUrl &url, CompletionHandler completion) override;

    void refreshItem(const QUrl &url);
    void didBecomeActiveNotification();
    void willResignActiveNotification();

    ViewController *createDownloadViewController();
    ViewController *createDetailsViewController();
    ViewController *createQuickLookController();
    void replaceLastViewController(ViewController *controller);
    static bool isPreviewControllerDisplayed(ViewController *controller);

private:
    PreviewItemManager();
    void setDownloadFC(const std::shared_ptr<FileCoordinator> &coordinator);

    std::shared_ptr<DRItem> m_item;
    PreviewMode m_mode = PreviewModePreview;
    QPointer<NavigationController> m_navigationController;
    std::shared_ptr<DocumentInteractionController> m_documentInteractionController;
    mutable QMutex m_lock;
    std::shared_ptr<FileCoordinator> m_downloadFC;
    std::unique_ptr<OperationQueue> m_fcQueue;
    bool m_filePresenterRegistered = false;
    QDateTime m_modifiedDate;
    bool m_refreshPending = false;
    std::unique_ptr<DispatchQueue> m_downloadQueue;
    QPointer<PreviewDownloadViewController> m_downloadViewController;
    QPointer<PreviewDetailsViewController> m_detailsViewController;
    bool m_autoDownload = false;
    /// The item's URL for presenter questions from other threads.
    QUrl m_presentedURL;
};
