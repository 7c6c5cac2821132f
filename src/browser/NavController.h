#pragma once

#include "browser/DocumentListControllerStatusBarDelegate.h"
#include "browser/FilenamePrompt.h"
#include "platform/foundation/Error.h"
#include "platform/lists/DocumentListControllerDelegate.h"
#include "platform/lists/DocumentTargetSelectionControllerDelegate.h"
#include "platform/quota/KVQUpgradeFlowManager.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationControllerDelegate.h"
#include "preview/PreviewMode.h"
#include "watchers/QuotaFetcherDelegate.h"

#include <QDateTime>
#include <QPointer>

#include <functional>
#include <memory>

class BarButtonItem;
class DRItem;
class DocumentInteractionController;
class DocumentListController;
class DocumentTargetSelectionController;
class KVQOffer;
class PreviewItemManager;
class QuotaFetcher;
class UbiquityIdentityToken;

/// An enclosing split screen; the browser never has one.
class SplitViewController;

/// The root screen of the app: one folder list per level of the drive, from its root down to
/// the folder on screen, and at times a preview on top.
///
/// It decides the first screen (the drive's root, or the signed-out placeholder) and rebuilds
/// it when the account changes, fetches the free space every five minutes, follows the storage
/// offer, shares the edit mode between all levels, keeps each list's status line current, and
/// is the delegate of every list it shows. In edit mode the user selects items of the top list
/// and creates a folder, moves or deletes them from the toolbar. Main thread only.
class NavController final : public NavigationController,
                            public NavigationControllerDelegate,
                            public DocumentListControllerDelegate,
                            public DocumentTargetSelectionControllerDelegate,
                            public DocumentListControllerStatusBarDelegate,
                            public QuotaFetcherDelegate
{
    Q_OBJECT
    Q_INTERFACES(NavigationControllerDelegate DocumentListControllerDelegate DocumentTargetSelectionControllerDelegate
                     DocumentListControllerStatusBarDelegate QuotaFetcherDelegate)

public:
    /// The user-defaults key of the account token seen last.
    static inline const QString UbiquityIdentityTokenKey
        = QStringLiteral("com.quillmere.AerovaDriveApp.UbiquityIdentityToken");
    /// How often the free space is fetched, in seconds.
    static constexpr double QuotaFetchInterval = 300.0;

    explicit NavController(QObject *parent = nullptr);
    ~NavController() override;

    // state
    SplitViewController *splitViewController() const { return nullptr; }
    bool editMode() const { return m_editMode; }
    void setEditMode(bool editMode) { m_editMode = editMode; }
    QString viewTitle() const { return m_viewTitle; }
    BarButtonItem *barButtonNewFolder() const { return m_barButtonNewFolder.data(); }
    BarButtonItem *barButtonDeleteItem() const { return m_barButtonDeleteItem.data(); }
    BarButtonItem *barButtonMoveItem() const { return m_barButtonMoveItem.data(); }
    bool pickerIsAlive() const { return m_pickerIsAlive; }
    quint64 quotaBytes() const { return m_quotaBytes; }
    QDateTime lastQuotaFetch() const { return m_lastQuotaFetch; }
    QuotaFetcher *quotaFetcher() const { return m_quotaFetcher.get(); }
    DocumentInteractionController *documentInteractionController() const { return m_documentInteractionController.get(); }
    const std::function<void()> &performActionCompletionBlock() const { return m_performActionCompletionBlock; }
    FilenamePrompt *folderPromptAlert() const { return m_folderPromptAlert.get(); }
    KVQUpgradeFlowManager *upgradeFlowMgr() const { return m_upgradeFlowMgr.get(); }
    std::shared_ptr<KVQOffer> upgradeOffer() const { return m_upgradeOffer; }
    /// The contained-item count logged last, shared by every list level.
    static quint64 lastLoggedItemCount();
    static void resetLastLoggedItemCount();

    // set-up and the stack
    void viewWillDisappear(bool animated) override;
    void setupInitialViewController();
    void initNewListController(DocumentListController *list);
    DocumentListController *getTopDocumentListController();
    static bool checkAerovaState();
    void logContainerURL() const;
    void configureNavBar(DocumentListController *list);
    void configureToolbar(DocumentListController *list);

    // account
    void didBecomeActiveNotification();
    void AerovaAccountAvailabilityChanged();
    void handleAccountChanges();
    void saveAerovaToken(const std::optional<UbiquityIdentityToken> &token);

    // storage offer
    void offerChangedNotification();
    void upgradeStorageButtonPressed() override;

    // status line
    void updateStatusUI(DocumentListController *list);
    QString toolbarStatusText(quint64 count) const;
    QString quotaAvailableString() const;
    bool okToShowQuota() const;
    void quotaFetcher_didUpdateValue(QuotaFetcher *fetcher, quint64 freeBytes) override;

    // restoration and previews
    void encodeRestorableStateWithCoder(StateCoder &coder) override;
    void decodeRestorableStateWithCoder(const StateCoder &coder) override;
    void showPreview_previewMode(const std::shared_ptr<DRItem> &item, PreviewMode mode);
    void showPreview_Splitview_previewMode(const std::shared_ptr<DRItem> &item, PreviewMode mode);
    bool showURLPreview_previewMode(const QUrl &url, PreviewMode mode);
    /// Ends the current preview's file presenting and makes the manager of the next one.
    PreviewItemManager *startPreviewManager(PreviewMode mode);
    /// The manager of the preview shown last; null once a list is back on screen.
    PreviewItemManager *itemManager() const { return m_itemManager.get(); }

    // renaming
    void showRenamePrompt(const QUrl &url);

    // edit mode and selection
    void beginEditMode();
    void endEditMode();
    /// Selects every item of the top list (kept for a select-all control).
    void selectAllItems();
    void setEditModeAndUpdateUI_forViewController(bool editMode, DocumentListController *list);
    void configureVisibleControllerForMode();
    bool canShowMoveForSelectedItems(DocumentListController *list);
    bool canShowDeleteForSelectedItems(DocumentListController *list);
    static quint64 numContainersInURLArray(const QList<QUrl> &urls);
    /// 1 as soon as one URL is a folder (a directory that is not a package), else 0.
    static quint64 numFoldersInURLArray(const QList<QUrl> &urls);

    // new folders and the folder depths a container allows
    void promtForNewFolderAndCreate();
    bool canEnableNewFolderForSelectedItems(DocumentListController *list);
    bool containerSupportsAnyDepth(DocumentListController *list);
    /// Whether the container of `url` has a folder (or package) at its top; true when unknown.
    static bool containerHasSubfolders(const QUrl &url);
    /// The name prompt for a new folder in `folderURL`; with `itemsToMove`, the items then move
    /// into it.
    void showNewFolderPromptDuringMove_itemsToMove(const QUrl &folderURL, const QList<QUrl> &itemsToMove);

    // moving
    void showMoveTargetForSelectedItems();
    void showMoveTargetForItems_inFolder(const QList<QUrl> &items, const QUrl &folderURL);
    void documentTargetSelectionController_didSelectItemAtURL(DocumentTargetSelectionController *picker,
                                                              const QUrl &url) override;
    /// Moves each item into `directory` under its own name (a free one when taken); returns the
    /// errors of the items that failed, in item order.
    QList<Error> moveItemsToDirectory_toDirectory(const QList<QUrl> &items, const QUrl &directory);
    void moveItemsToDirectoryAndShowErrors_toDirectory(const QList<QUrl> &items, const QUrl &directory);

    // deleting
    void showWarningAndDeleteDocument();
    void showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(
        const QList<QUrl> &urls, QWidget *view, DocumentListController *list, std::function<void()> completion);

    // navigation controller delegate
    void navigationController_willShowViewController_animated(NavigationController *navigationController,
                                                              ViewController *viewController, bool animated) override;
    void navigationController_didShowViewController_animated(NavigationController *navigationController,
                                                             ViewController *viewController, bool animated) override;

    // list delegate
    void documentListController_didSelectItemAtURL(DocumentListController *list, const QUrl &url) override;
    void documentListController_didSelectContainerWithViewController(DocumentListController *list,
                                                                      DocumentListController *folderList) override;
    void documentListControllerItemsChanged(DocumentListController *list) override;
    void documentListController_performAction_URL_originatingView_completion(DocumentListController *list,
                                                                             qint64 action, const QUrl &url,
                                                                             QWidget *originatingView,
                                                                             std::function<void()> completion) override;
    void documentListController_performAction_URL(DocumentListController *list, qint64 action, const QUrl &url);
    /// The Add sheet's New Folder follows the New Folder button's rule and flow.
    bool documentListControllerCanCreateFolder(DocumentListController *list) override;
    void documentListControllerCreateFolder(DocumentListController *list) override;
    /// The item actions: Rename Item…, Share Item… (not for folders), Move to Folder… (where
    /// there are folders; never for an app library), Cancel.
    void showActionsMenuFromView_url_presentedURL_completion(QWidget *view, const QUrl &url, const QUrl &presentedURL,
                                                             std::function<void()> completion);
    /// The options menu (Share) of the document, anchored at the view's middle line.
    void showDIC_url_completion(QWidget *view, const QVariant &url, std::function<void()> completion);
    void documentInteractionControllerDidDismissOptionsMenu(DocumentInteractionController *controller);

protected:
    void viewDidLoad() override;

private:
    BarButtonItem *rightButtonForMode(DocumentListController *list);
    BarButtonItem *makeEditToolbarButton(DocumentListController *list, const QString &key, const QString &name,
                                         void (NavController::*action)());
    void updateEditModeControls(DocumentListController *list);
    /// Deletes the items and empties the containers; returns the failure count and the last
    /// error recorded.
    int deleteURLs(const QList<QUrl> &urls, std::optional<Error> *lastError);

    bool m_editMode = false;
    QString m_viewTitle;
    QPointer<BarButtonItem> m_barButtonNewFolder;
    QPointer<BarButtonItem> m_barButtonDeleteItem;
    QPointer<BarButtonItem> m_barButtonMoveItem;
    bool m_pickerIsAlive = false;
    quint64 m_quotaBytes = 0;
    QDateTime m_lastQuotaFetch;
    std::shared_ptr<QuotaFetcher> m_quotaFetcher;
    std::shared_ptr<DocumentInteractionController> m_documentInteractionController;
    std::function<void()> m_performActionCompletionBlock;
    std::unique_ptr<FilenamePrompt> m_folderPromptAlert;
    std::unique_ptr<KVQUpgradeFlowManager> m_upgradeFlowMgr;
    std::shared_ptr<KVQOffer> m_upgradeOffer;
    std::shared_ptr<PreviewItemManager> m_itemManager;
};
