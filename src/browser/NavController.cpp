#include "browser/NavController.h"

#include "browser/DocumentListControllerStatusBar.h"
#include "browser/NewFolderPrompt.h"
#include "browser/RenamePrompt.h"
#include "browser/StatusBar.h"
#include "browser/UIUtils.h"
#include "core/DRLogging.h"
#include "core/Settings.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "model/LaunchUtils.h"
#include "platform/apps/DocumentInteractionController.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/lists/DocumentTargetSelectionController.h"
#include "platform/quota/KVQOffer.h"
#include "platform/quota/KVQOfferManager.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/StateCoder.h"
#include "platform/ui/ViewControllerRegistry.h"
#include "preview/PreviewItemManager.h"
#include "watchers/QuotaFetcher.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QThread>
#include <QWidget>

namespace {
/// The contained-item count logged last: one value for every list level, so that a change of
/// folder with another count is logged too.
quint64 s_lastLoggedItemCount = 0;

/// Runs `block` on the main thread for the browser: at once there, else queued, and only while
/// the browser lives (the drive service posts its notifications from its own thread).
void onMainThread(NavController *browser, std::function<void()> block)
{
    if (QThread::currentThread() == QCoreApplication::instance()->thread()) {
        block();
        return;
    }
    QPointer<NavController> guard(browser);
    DispatchQueue::main()->async([guard, block = std::move(block)] {
        if (guard) {
            block();
        }
    });
}

QString offerLevelText(const std::shared_ptr<KVQOffer> &offer)
{
    return offer ? QString::number(offer->level()) : QStringLiteral("not set");
}
} // namespace

NavController::NavController(QObject *parent)
    : NavigationController(parent)
{
    setObjectName(QStringLiteral("NavController"));
}

NavController::~NavController()
{
    if (m_itemManager) {
        m_itemManager->unregisterAsFilePresenter(); // the coordinator holds it while it presents
    }
}

quint64 NavController::lastLoggedItemCount()
{
    return s_lastLoggedItemCount;
}

void NavController::resetLastLoggedItemCount()
{
    s_lastLoggedItemCount = 0;
}

void NavController::viewDidLoad()
{
    setDelegate(this);
    auto *center = NotificationCenter::defaultCenter();
    center->addObserver(this, NotificationName::ApplicationDidBecomeActive,
                        [this](const Notification &) { onMainThread(this, [this] { didBecomeActiveNotification(); }); });
    center->addObserver(this, NotificationName::UbiquityIdentityDidChange,
                        [this](const Notification &) {
                            onMainThread(this, [this] { AerovaAccountAvailabilityChanged(); });
                        });
    setupInitialViewController();
    NavigationController::viewDidLoad();
    center->addObserver(this, KVQCurrentOfferChangedNotification,
                        [this](const Notification &) { onMainThread(this, [this] { offerChangedNotification(); }); });
    KVQOfferManager *offers = KVQOfferManager::sharedManager();
    if (!offers->fetchOfferIfNeeded()) {
        m_upgradeOffer = offers->currentOffer();
    }
    DRLog(LOG_INFO, "Quota Offer level is %@", offerLevelText(m_upgradeOffer));
}

void NavController::viewWillDisappear(bool animated)
{
    NavigationController::viewWillDisappear(animated);
}

void NavController::setupInitialViewController()
{
    m_pickerIsAlive = false;
    if (checkAerovaState()) {
        DRLog(LOG_DEBUG, "Aerova is enabled");
        setToolbarHidden(false);
        auto *root = new DocumentListController(this);
        if (DRLogShouldLog(LOG_DEBUG)) { // the list of every item is made only for a kept line
            DRLog(LOG_DEBUG, "Contained items: %@", root->containedItems());
        }
        initNewListController(root);
        setViewControllers({root}, false);
        m_quotaFetcher = QuotaFetcher::create();
        m_quotaFetcher->setDelegate(this);
        m_quotaFetcher->runWithInterval(QuotaFetchInterval);
    } else {
        DRLog(LOG_WARNING, "Aerova is not enabled");
        ViewController *placeholder
            = ViewControllerRegistry::create(QStringLiteral("DocumentPickerUnavailableViewController"), this);
        if (placeholder) {
            setViewControllers({placeholder}, false);
        } else {
            DRLog(LOG_ERR, "DocumentPickerUnavailableViewController creation failed");
            QPointer<NavController> self(this);
            DispatchQueue::main()->async([self] {
                if (self) {
                    UIUtils::showAlert_message_parentViewController(
                        QString(), LocalizedString::localized(QStringLiteral("Aerova is not enabled")), self.data());
                }
            });
        }
        setToolbarHidden(true);
        m_quotaFetcher.reset();
        m_quotaBytes = 0;
        // lastQuotaFetch stays: the last free-space figure shows again once the drive is back
    }
    DRLog(LOG_DEBUG, "%@ viewDidLoad", QString::fromUtf8(metaObject()->className()));
}

void NavController::initNewListController(DocumentListController *list)
{
    m_viewTitle = list->title();
    // what these lines show is read from the folder only when they are kept
    if (DRLogShouldLog(LOG_DEBUG)) {
        DRLog(LOG_DEBUG, "DLC title: %@", list->title());
        DRLog(LOG_DEBUG, "DLC URL: %@", list->presentedURL());
        DRLog(LOG_DEBUG, "DLC Name: %@", FileUtils::getResourceValue_forURL(URLResourceKey::LocalizedName, list->presentedURL()));
        DRLog(LOG_DEBUG, "DLC UTI: %@", FileUtils::getResourceValue_forURL(URLResourceKey::TypeIdentifier, list->presentedURL()));
        DRLog(LOG_DEBUG, "DLC Type: %@",
              FileUtils::getResourceValue_forURL(URLResourceKey::LocalizedTypeDescription, list->presentedURL()));
        const QList<QUrl> items = list->containedItems();
        DRLog(LOG_DEBUG, "DLC has %d items: %@", int(items.size()), items);
    }
    qint64 actions = Settings::quickLaunch() ? 7 : 3;
    actions |= 8;
    list->setAvailableActions(actions);
    configureNavBar(list);
    if (list->title().isEmpty()) {
        DRLog(LOG_WARNING, "Warning: newList title not set");
    }
    QPalette palette = list->view()->palette();
    palette.setColor(QPalette::Window, Settings::backgroundColor());
    list->view()->setPalette(palette);
    configureToolbar(list);
    list->setDelegate(this);
}

void NavController::configureNavBar(DocumentListController *list)
{
    NavigationItem *item = list->navigationItem();
    item->setRightBarButtonItem(rightButtonForMode(list));
    // no leaving the folder while selecting in it
    item->setHidesBackButton(m_editMode);
    item->setTitle(m_editMode ? LocalizedString::localized(QStringLiteral("Select Items")) : m_viewTitle);
}

BarButtonItem *NavController::rightButtonForMode(DocumentListController *list)
{
    // each list keeps its two buttons for its whole life
    const QString name = m_editMode ? QStringLiteral("cancelEditButton") : QStringLiteral("selectButton");
    if (auto *button = list->findChild<BarButtonItem *>(name, Qt::FindDirectChildrenOnly)) {
        return button;
    }
    BarButtonItem *button = nullptr;
    if (m_editMode) {
        button = new BarButtonItem(BarButtonItem::SystemItem::Cancel, list);
        button->setAction([this] { endEditMode(); });
    } else {
        button = new BarButtonItem(LocalizedString::localized(QStringLiteral("Select")), BarButtonItem::Style::Plain,
                                   list);
        button->setAction([this] { beginEditMode(); });
    }
    button->setObjectName(name);
    return button;
}

BarButtonItem *NavController::makeEditToolbarButton(DocumentListController *list, const QString &key,
                                                    const QString &name, void (NavController::*action)())
{
    auto *button = new BarButtonItem(LocalizedString::localized(key), BarButtonItem::Style::Plain, list);
    button->setObjectName(name);
    button->setProperty("editModeToolbarItem", true);
    button->setAction([this, action] { (this->*action)(); });
    return button;
}

void NavController::configureToolbar(DocumentListController *list)
{
    m_barButtonNewFolder.clear();
    m_barButtonMoveItem.clear();
    m_barButtonDeleteItem.clear();
    if (m_editMode) {
        // the buttons of an earlier edit mode go once the bar no longer shows them
        for (BarButtonItem *old : list->findChildren<BarButtonItem *>(QString(), Qt::FindDirectChildrenOnly)) {
            if (old->property("editModeToolbarItem").toBool()) {
                old->setProperty("editModeToolbarItem", false);
                old->setObjectName(QString());
                old->deleteLater();
            }
        }
        m_barButtonNewFolder = makeEditToolbarButton(list, QStringLiteral("New Folder"), QStringLiteral("newFolderButton"),
                                                     &NavController::promtForNewFolderAndCreate);
        m_barButtonMoveItem = makeEditToolbarButton(list, QStringLiteral("Move"), QStringLiteral("moveButton"),
                                                    &NavController::showMoveTargetForSelectedItems);
        m_barButtonDeleteItem = makeEditToolbarButton(list, QStringLiteral("Delete"), QStringLiteral("deleteButton"),
                                                      &NavController::showWarningAndDeleteDocument);
        auto *space = new BarButtonItem(BarButtonItem::SystemItem::FlexibleSpace, list);
        space->setProperty("editModeToolbarItem", true);
        list->setToolbarItems({m_barButtonNewFolder.data(), space, m_barButtonMoveItem.data(), space,
                               m_barButtonDeleteItem.data()});
        return;
    }
    if (!StatusBar::statusBar(list)) {
        StatusBar::createStatusBar_buttonPressDelegate(list, m_upgradeOffer, this);
    }
    StatusBar::displayStatusBar(list);
    updateStatusUI(list);
}

DocumentListController *NavController::getTopDocumentListController()
{
    ViewController *top = topViewController();
    if (!top) {
        DRLog(LOG_WARNING, "ERROR: topViewController is nil");
    }
    return qobject_cast<DocumentListController *>(top);
}

bool NavController::checkAerovaState()
{
    return DriveFileManager::ubiquityIdentityToken().has_value();
}

void NavController::logContainerURL() const
{
    const QUrl url = DriveFileManager::URLForUbiquityContainerIdentifier(KDUbiquitousDefaultContainerID);
    if (url.isEmpty()) {
        DRLog(LOG_DEBUG, "Aerova is not available");
    } else {
        DRLog(LOG_DEBUG, "Aerova container is at %@", url);
    }
}

void NavController::didBecomeActiveNotification()
{
    DRLog(LOG_INFO, "Got UIApplicationDidBecomeActiveNotification (nav)");
    handleAccountChanges();
}

void NavController::AerovaAccountAvailabilityChanged()
{
    DRLog(LOG_INFO, "Aerova account availability changed");
    handleAccountChanges();
}

void NavController::handleAccountChanges()
{
    const std::optional<UbiquityIdentityToken> current = DriveFileManager::ubiquityIdentityToken();
    UserDefaults *defaults = UserDefaults::standardUserDefaults();
    std::optional<UbiquityIdentityToken> stored;
    const QByteArray archived = defaults->dataForKey(UbiquityIdentityTokenKey);
    if (!archived.isEmpty()) {
        const UbiquityIdentityToken token = UbiquityIdentityToken::fromArchivedData(archived);
        if (!token.isNull()) {
            stored = token;
        }
    }
    const bool changed = (current || stored) && stored != current;
    if (changed) {
        DRLog(LOG_INFO, "Aerova Token Changed, enabled=%@, reinitializing view",
              current ? QStringLiteral("YES") : QStringLiteral("NO"));
        saveAerovaToken(current);
        setupInitialViewController();
    } else {
        DRLog(LOG_DEBUG, "Aerova Token Matches");
    }
}

void NavController::saveAerovaToken(const std::optional<UbiquityIdentityToken> &token)
{
    UserDefaults *defaults = UserDefaults::standardUserDefaults();
    if (token) {
        defaults->setObject(token->archivedData(), UbiquityIdentityTokenKey);
    } else {
        defaults->removeObjectForKey(UbiquityIdentityTokenKey);
    }
    defaults->synchronize();
}

void NavController::offerChangedNotification()
{
    m_upgradeOffer = KVQOfferManager::sharedManager()->currentOffer();
    DRLog(LOG_INFO, "Quota Offer Changed, offer level is %@", offerLevelText(m_upgradeOffer));
    updateStatusUI(nullptr);
    for (ViewController *controller : viewControllers()) {
        if (auto *list = qobject_cast<DocumentListController *>(controller)) {
            if (DocumentListControllerStatusBar *bar = StatusBar::statusBar(list)) {
                bar->showUpgradeOffer(m_upgradeOffer);
            }
        }
    }
    // a changed offer usually means a changed plan: read the free space again while the
    // service settles, with whatever fetcher there is by then
    QPointer<NavController> self(this);
    for (const int seconds : {1, 5, 20}) {
        DispatchQueue::main()->asyncAfter(seconds * 1000, [self] {
            if (self && self->m_quotaFetcher) {
                self->m_quotaFetcher->fetchNow();
            }
        });
    }
}

void NavController::upgradeStorageButtonPressed()
{
    DRLog(LOG_INFO, "Upgrade Storage button pressed");
    m_upgradeFlowMgr = KVQUpgradeFlowManager::initWithOffer(m_upgradeOffer);
    if (!m_upgradeOffer) {
        DRLog(LOG_INFO, "No upgrade offer");
        return;
    }
    m_upgradeFlowMgr->beginFlowWithPresentingViewController(topViewController());
}

void NavController::updateStatusUI(DocumentListController *list)
{
    if (!m_pickerIsAlive) {
        return;
    }
    if (!list) {
        list = getTopDocumentListController();
    }
    if (!list) {
        return;
    }
    if (DocumentListControllerStatusBar *bar = StatusBar::statusBar(list)) {
        bar->setStatusText(toolbarStatusText(quint64(list->containedItemCount())));
        bar->showUpgradeOffer(m_upgradeOffer);
    }
    if (m_editMode) {
        updateEditModeControls(list);
    }
}

void NavController::updateEditModeControls(DocumentListController *list)
{
    const qsizetype selected = list->selectedItems().size();
    list->navigationItem()->setTitle(
        selected > 0 ? LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.ITEMS_SELECTED.%d"),
                                                                  int(selected), qint64(selected))
                     : LocalizedString::localized(QStringLiteral("Select Items")));
    if (m_barButtonMoveItem) {
        m_barButtonMoveItem->setEnabled(canShowMoveForSelectedItems(list));
    }
    if (m_barButtonDeleteItem) {
        m_barButtonDeleteItem->setEnabled(canShowDeleteForSelectedItems(list));
    }
}

QString NavController::toolbarStatusText(quint64 count) const
{
    const QString items = LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.ITEMS.%d"), int(count),
                                                                     qint64(count));
    if (!okToShowQuota()) {
        return items;
    }
    return LocalizedString::localizedStringWithFormat(QStringLiteral("%1$@, %2$@"), items, quotaAvailableString());
}

QString NavController::quotaAvailableString() const
{
    const QString withUnit = ByteCountFormatter::stringFromByteCount(qint64(m_quotaBytes),
                                                                     ByteCountFormatter::CountStyle::Binary);
    const QString number = ByteCountFormatter::stringFromByteCount(qint64(m_quotaBytes),
                                                                   ByteCountFormatter::CountStyle::Binary, false);
    // read as a plain number, as far as it goes: "Zero" reads 0, "1,5" reads 1
    const double value = std::strtod(number.toUtf8().constData(), nullptr);
    return LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.AVAILABLE.%g"), int(value), value, withUnit);
}

bool NavController::okToShowQuota() const
{
    return m_lastQuotaFetch.isValid();
}

void NavController::quotaFetcher_didUpdateValue(QuotaFetcher *fetcher, quint64 freeBytes)
{
    Q_UNUSED(fetcher)
    m_quotaBytes = freeBytes;
    m_lastQuotaFetch = QDateTime::currentDateTime();
    DRLog(LOG_DEBUG, "updated quota at %@: %@ bytes avail", m_lastQuotaFetch, freeBytes);
    updateStatusUI(nullptr);
}

void NavController::encodeRestorableStateWithCoder(StateCoder &coder)
{
    NavigationController::encodeRestorableStateWithCoder(coder);
    // a preview on screen is what is saved; the folder stack is rebuilt from the drive's root
    const std::shared_ptr<DRItem> item = m_itemManager ? m_itemManager->item() : nullptr;
    if (item && !item->url().isEmpty()) {
        coder.encodeObject_forKey(item->url(), QStringLiteral("url"));
        coder.encodeInteger_forKey(m_itemManager->mode(), QStringLiteral("PreviewMode"));
    }
}

void NavController::decodeRestorableStateWithCoder(const StateCoder &coder)
{
    NavigationController::decodeRestorableStateWithCoder(coder);
    QUrl url = coder.decodeObjectForKey(QStringLiteral("url")).toUrl();
    // the saved state is a file another process may have written: it is held to the drive
    // like a launch URL, and the item shown is the one checked
    const QString resolved = kd_resolvedPathInMobileDocuments(url);
    if (resolved.isNull()) {
        if (!url.isEmpty()) {
            DRLog(LOG_ERR, "Not restoring %@: it is not an item inside the drive", url);
        }
        return;
    }
    url = QUrl::fromLocalFile(resolved);
    if (!FileUtils::exists(url) || !FileUtils::isFile(url)) {
        return;
    }
    startPreviewManager(coder.decodeIntegerForKey(QStringLiteral("PreviewMode")))->previewItem(DRItem::initWithURL(url));
}

PreviewItemManager *NavController::startPreviewManager(PreviewMode mode)
{
    // at most one preview follows its file at a time
    if (m_itemManager) {
        m_itemManager->unregisterAsFilePresenter();
    }
    m_itemManager = PreviewItemManager::create();
    m_itemManager->setMode(mode);
    m_itemManager->setNavigationController(this);
    return m_itemManager.get();
}

void NavController::showPreview_previewMode(const std::shared_ptr<DRItem> &item, PreviewMode mode)
{
    if (!item) {
        return;
    }
    startPreviewManager(mode)->previewItem(item);
}

void NavController::showPreview_Splitview_previewMode(const std::shared_ptr<DRItem> &item, PreviewMode mode)
{
    if (item && !splitViewController()) {
        showPreview_previewMode(item, mode);
    }
}

bool NavController::showURLPreview_previewMode(const QUrl &requestedURL, PreviewMode mode)
{
    if (requestedURL.isEmpty()) {
        return false;
    }
    // decided on where the URL really leads, links and ".." resolved as the kernel would, and
    // from here on only that checked path is used
    const QString resolved = kd_resolvedPathInMobileDocuments(requestedURL);
    if (resolved.isNull() || !kd_isInMobileDocuments(requestedURL)) {
        DRLog(LOG_DEBUG, "Preview URL is not in the Mobile Documents dir: %@", requestedURL);
        return false;
    }
    const QUrl url = resolved == requestedURL.toLocalFile() ? requestedURL : QUrl::fromLocalFile(resolved);
    const QUrl folder = FileUtils::isDir(url) ? url : QUrl::fromLocalFile(QFileInfo(FilePath::localPath(url)).path());
    if (folder.isEmpty() || !folder.isValid()) {
        DRLog(LOG_ERR, "Can't get directory for %@. Not previewing", url);
        return false;
    }
    DRLog(LOG_DEBUG, "Building DLC stack for %@", folder);
    const QList<DocumentListController *> chain = DocumentListController::listControllerHierarchyForURL(folder, this);
    if (chain.isEmpty()) {
        DRLog(LOG_ERR, "Couldn't build DLC stack for %@. Not previewing", folder);
        return false;
    }
    QList<ViewController *> stack(chain.begin(), chain.end());
    PreviewItemManager *manager = startPreviewManager(mode);
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    if (!item) {
        qDeleteAll(chain);
        return true;
    }
    for (DocumentListController *list : chain) {
        initNewListController(list);
    }
    ViewController *screen = manager->prepareToPreviewItem(item);
    if (screen) {
        stack.append(screen);
    }
    setViewControllers(stack, true);
    if (screen) {
        manager->finishPreviewingItem();
    }
    return true;
}

void NavController::showRenamePrompt(const QUrl &url)
{
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    if (!item) {
        return;
    }
    std::unique_ptr<RenamePrompt> prompt = RenamePrompt::newWithFilename_completion(item->localizedName(),
                                                                                   RenamePrompt::renamingItemAtURL(url));
    if (item->isDirectory()) {
        prompt->selectWholeName();
    }
    m_folderPromptAlert = std::move(prompt);
    visibleViewController()->presentViewController(m_folderPromptAlert->alert(), true);
}

void NavController::navigationController_willShowViewController_animated(NavigationController *navigationController,
                                                                          ViewController *viewController, bool animated)
{
    Q_UNUSED(navigationController)
    Q_UNUSED(animated)
    Q_UNUSED(qobject_cast<DocumentListController *>(viewController))
}

void NavController::navigationController_didShowViewController_animated(NavigationController *navigationController,
                                                                         ViewController *viewController, bool animated)
{
    Q_UNUSED(navigationController)
    Q_UNUSED(animated)
    auto *list = qobject_cast<DocumentListController *>(viewController);
    if (!list) {
        return;
    }
    // leaving a preview ends its file presenting
    if (m_itemManager) {
        m_itemManager->unregisterAsFilePresenter();
        m_itemManager.reset();
    }
    if (m_editMode) {
        m_editMode = list->editing();
    }
    updateStatusUI(list);
    initNewListController(list);
    setToolbarHidden(false);
}

void NavController::documentListController_didSelectItemAtURL(DocumentListController *list, const QUrl &url)
{
    Q_UNUSED(list)
    DRLog(LOG_DEBUG, "Picked URL: %@", url);
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    if (!item) {
        UIUtils::showError_parentViewController(Error::fileError(FileReadNoSuchFileError), topViewController());
        QPointer<NavController> self(this);
        DispatchQueue::main()->async([self] {
            if (self) {
                self->setupInitialViewController();
            }
        });
        return;
    }
    if (m_editMode) {
        DRLog(LOG_DEBUG, "DLC Selection not allowed while in edit mode");
        return;
    }
    if (Settings::quickLaunch()) {
        if (LaunchUtils::openInDefaultApp_viewController_requireOpenIn(item->url(), topViewController(), true)) {
            DRLog(LOG_DEBUG, "openInDefaultApp returned YES, app launched");
            return;
        }
        DRLog(LOG_DEBUG, "openInDefaultApp returned NO, showing preview");
    }
    QPointer<NavController> self(this);
    DispatchQueue::main()->async([self, item] {
        if (self) {
            self->showPreview_previewMode(item, PreviewModePreview);
        }
    });
}

void NavController::documentListController_didSelectContainerWithViewController(DocumentListController *list,
                                                                                  DocumentListController *folderList)
{
    Q_UNUSED(list)
    if (m_editMode) {
        DRLog(LOG_WARNING, "DLC Navigation not allowed while in edit mode");
        return;
    }
    if (qobject_cast<DocumentSearchController *>(presentedViewController())) {
        dismissViewControllerAnimated(true);
        const QUrl url = folderList->presentedURL();
        Q_UNUSED(FileUtils::getResourceValue_forURL(URLResourceKey::IsDirectory, url))
        const QList<DocumentListController *> chain = DocumentListController::listControllerHierarchyForURL(url, this);
        if (!chain.isEmpty()) {
            setViewControllers(QList<ViewController *>(chain.begin(), chain.end()), false);
            return;
        }
        DRLog(LOG_ERR, "Search folder tap: Couldn't build DLC stack for %@.", url);
    }
    initNewListController(folderList);
    pushViewController(folderList, true);
}

void NavController::documentListControllerItemsChanged(DocumentListController *list)
{
    m_pickerIsAlive = true;
    if (!list || list != getTopDocumentListController()) {
        return;
    }
    if (m_editMode) {
        DRLog(LOG_DEBUG, "DLC selected item count is %@", qint64(list->selectedItems().size()));
    } else {
        const quint64 count = quint64(list->containedItemCount());
        if (count != s_lastLoggedItemCount) {
            s_lastLoggedItemCount = count;
            DRLog(LOG_DEBUG, "DLC items changed, count is %@", count);
        }
    }
    updateStatusUI(list);
}

void NavController::documentListController_performAction_URL_originatingView_completion(
    DocumentListController *list, qint64 action, const QUrl &url, QWidget *originatingView,
    std::function<void()> completion)
{
    Q_UNUSED(list)
    switch (action) {
    case DocumentListController::DeleteAction:
        m_performActionCompletionBlock = completion;
        showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(
            {url}, originatingView, nullptr, [completion] {
                if (completion) {
                    completion();
                }
            });
        return;
    case DocumentListController::MoreAction:
        showActionsMenuFromView_url_presentedURL_completion(originatingView, url, list ? list->presentedURL() : QUrl(),
                                                            completion);
        return;
    case DocumentListController::InfoAction:
        showPreview_previewMode(DRItem::initWithURL(url), PreviewModeDetails);
        if (completion) {
            completion();
        }
        return;
    case DocumentListController::RenameAction:
        DRLog(LOG_INFO, "Rename action: %@", url);
        showRenamePrompt(url);
        return;
    default:
        DRLog(LOG_WARNING, "performAction:%@ -- unexpected value", action);
        if (completion) {
            completion();
        }
        return;
    }
}

void NavController::showActionsMenuFromView_url_presentedURL_completion(QWidget *view, const QUrl &url,
                                                                       const QUrl &presentedURL,
                                                                       std::function<void()> completion)
{
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    if (!item) {
        return;
    }
    auto *menu = new AlertController(QString(), QString(), AlertController::Style::ActionSheet);
    QPointer<NavController> self(this);
    QPointer<QWidget> anchor(view);
    auto *rename = new AlertAction(LocalizedString::localized(QStringLiteral("Rename Item…")), AlertAction::Style::Default,
                                   [self, url, completion](AlertAction *) {
                                       if (self) {
                                           self->showRenamePrompt(url);
                                       }
                                       if (completion) {
                                           completion();
                                       }
                                   });
    rename->setEnabled(item->renameable());
    menu->addAction(rename);
    if (!item->isDirectory()) {
        menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Share Item…")),
                                        AlertAction::Style::Default, [self, anchor, url, completion](AlertAction *) {
                                            if (self) {
                                                self->showDIC_url_completion(anchor.data(), url, completion);
                                            }
                                            if (completion) {
                                                completion();
                                            }
                                        }));
    }
    if (!item->isContainer() && containerHasSubfolders(url)) {
        menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Move to Folder…")),
                                        AlertAction::Style::Default,
                                        [self, url, presentedURL, completion](AlertAction *) {
                                            if (self) {
                                                self->showMoveTargetForItems_inFolder({url}, presentedURL);
                                            }
                                            if (completion) {
                                                completion();
                                            }
                                        }));
    }
    if (item->isContainer()) {
        // an app's library can be neither renamed, shared nor moved
        for (AlertAction *action : menu->actions()) {
            action->setEnabled(false);
        }
    }
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel,
                                    [completion](AlertAction *) {
                                        if (completion) {
                                            completion();
                                        }
                                    }));
    menu->popoverPresentationController()->setSourceViewMiddleLine(view);
    visibleViewController()->presentViewController(menu, true);
}

void NavController::showDIC_url_completion(QWidget *view, const QVariant &url, std::function<void()> completion)
{
    if (!url.canConvert<QUrl>() || url.typeId() != QMetaType::QUrl) {
        DRLog(LOG_WARNING, "showDIC: url is wrong class: %@", QString::fromUtf8(url.typeName()));
        return;
    }
    const QUrl documentURL = url.toUrl();
    DRLog(LOG_INFO, "showDIC: %@", documentURL);
    m_performActionCompletionBlock = std::move(completion);
    // the anchor is taken before the fallback view: with no view it is empty
    const QRect rect = view ? PopoverPresentationController::middleLineOf(view->rect()) : QRect();
    m_documentInteractionController = DocumentInteractionController::interactionControllerWithURL(documentURL);
    m_documentInteractionController->presentOptionsMenuFromRect_inView_inViewController_animated(
        rect, view ? view : this->view(), visibleViewController(), true);
}

void NavController::documentInteractionControllerDidDismissOptionsMenu(DocumentInteractionController *controller)
{
    Q_UNUSED(controller)
}

void NavController::documentListController_performAction_URL(DocumentListController *list, qint64 action,
                                                             const QUrl &url)
{
    documentListController_performAction_URL_originatingView_completion(list, action, url, view(), [] {});
}

// ---- edit mode and selection

void NavController::beginEditMode()
{
    DRLog(LOG_INFO, "Begin Edit mode");
    setEditModeAndUpdateUI_forViewController(true, getTopDocumentListController());
}

void NavController::endEditMode()
{
    DocumentListController *list = getTopDocumentListController();
    const QList<QUrl> selected = list ? list->selectedItems() : QList<QUrl>();
    DRLog(LOG_DEBUG, "EndEditMode.  Selected %d items: %@", int(selected.size()), selected);
    setEditModeAndUpdateUI_forViewController(false, list);
}

void NavController::selectAllItems()
{
    DRLog(LOG_INFO, "Pressed SelectAll");
    DocumentListController *list = getTopDocumentListController();
    if (!list) {
        return;
    }
    DRLog(LOG_DEBUG, "DLC has %d contained items", int(list->containedItemCount()));
    list->selectAll();
    const QList<QUrl> selected = list->selectedItems();
    DRLog(LOG_DEBUG, "Selected all %d: %@", int(selected.size()), selected);
}

void NavController::setEditModeAndUpdateUI_forViewController(bool editMode, DocumentListController *list)
{
    m_editMode = editMode;
    if (list) {
        list->setEditing_animated(editMode, true);
    }
    if (getTopDocumentListController()) {
        configureVisibleControllerForMode();
    }
    if (editMode && list && m_barButtonNewFolder) {
        // decided once per edit mode: the selection does not change where a folder may go
        m_barButtonNewFolder->setEnabled(canEnableNewFolderForSelectedItems(list));
    }
}

void NavController::configureVisibleControllerForMode()
{
    DocumentListController *list = getTopDocumentListController();
    if (!list) {
        return;
    }
    configureNavBar(list);
    configureToolbar(list);
    updateStatusUI(list);
}

bool NavController::canShowMoveForSelectedItems(DocumentListController *list)
{
    const QList<QUrl> selected = list->selectedItems();
    if (selected.isEmpty() || numContainersInURLArray(selected) > 0) {
        return false; // containers never move
    }
    return containerSupportsAnyDepth(list) || numFoldersInURLArray(selected) == 0;
}

bool NavController::canShowDeleteForSelectedItems(DocumentListController *list)
{
    const QList<QUrl> selected = list->selectedItems();
    const quint64 containers = numContainersInURLArray(selected);
    return !selected.isEmpty() && (containers == 0 || containers == quint64(selected.size()));
}

quint64 NavController::numContainersInURLArray(const QList<QUrl> &urls)
{
    return quint64(std::count_if(urls.cbegin(), urls.cend(), [](const QUrl &url) { return kd_isDocumentsContainer(url); }));
}

quint64 NavController::numFoldersInURLArray(const QList<QUrl> &urls)
{
    for (const QUrl &url : urls) {
        const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
        if (item && item->isDirectory() && !item->isPackage()) {
            return 1;
        }
    }
    return 0;
}

// ---- new folders and folder depths

namespace {
/// The container of a list's folder and the folder's depth in it (0 for its documents folder);
/// null, logged, when the folder is in no container.
std::shared_ptr<KDContainer> containerOfList(DocumentListController *list, uint *depth)
{
    const QUrl url = list->presentedURL();
    std::shared_ptr<KDContainer> container;
    QStringList components;
    const std::optional<Error> error
        = FileUtils::containerAndRelativePathforURL_container_relativePathComponents(url, &container, &components);
    if (error || !container) {
        DRLog(LOG_ERR, "Couldn't get container for URL %@: %@", url, error);
        return nullptr;
    }
    *depth = uint(components.size());
    return container;
}
} // namespace

bool NavController::canEnableNewFolderForSelectedItems(DocumentListController *list)
{
    uint depth = 0;
    const std::shared_ptr<KDContainer> container = containerOfList(list, &depth);
    if (!container) {
        return false;
    }
    const QVariant levels = container->supportedFolderLevels();
    const QString identifier = container->identifier();
    if (!levels.isValid() || levels.isNull()) {
        DRLog(LOG_DEBUG, "Container %@ has no depth. Enabling new folder button", identifier);
        return true;
    }
    const QString option = levels.toString();
    if (option == KDUbiquitousContainerSupportedFolderNone) {
        DRLog(LOG_DEBUG, "Container %@ supports no folders. Disabling new folder button", identifier);
        return false;
    }
    if (option == KDUbiquitousContainerSupportedFolderAny) {
        DRLog(LOG_DEBUG, "Container %@ supports any folder. Enabling new folder button", identifier);
        return true;
    }
    if (option == KDUbiquitousContainerSupportedFolderOne) {
        if (depth == 0) {
            DRLog(LOG_DEBUG, "Container %@ supports one folder. File is depth 0. Enabling new folder button", identifier);
            return true;
        }
        DRLog(LOG_DEBUG, "Container %@ supports one folder. File is depth %u. Disabling new folder button", identifier,
              depth);
        return false;
    }
    DRLog(LOG_WARNING, "Container %@ has unknown depth option %@. Disabling new folder button", identifier, option);
    return false;
}

bool NavController::containerSupportsAnyDepth(DocumentListController *list)
{
    uint depth = 0;
    const std::shared_ptr<KDContainer> container = containerOfList(list, &depth);
    if (!container) {
        return false;
    }
    const QVariant levels = container->supportedFolderLevels();
    if (!levels.isValid() || levels.isNull()) {
        DRLog(LOG_DEBUG, "Container %@ has no depth. Enabling new folder button", container->identifier());
        return true;
    }
    if (levels.toString() == KDUbiquitousContainerSupportedFolderAny) {
        DRLog(LOG_DEBUG, "Container %@ supports any folder. Enabling new folder button", container->identifier());
        return true;
    }
    return false;
}

bool NavController::containerHasSubfolders(const QUrl &url)
{
    std::optional<Error> error;
    const std::shared_ptr<KDContainer> container = KDContainer::containerForItemAtURL_error(url, &error);
    if (error || !container) {
        return true; // unknown: offer the picker rather than hide a possible target
    }
    const QUrl documents = container->documentsURL();
    if (documents.isEmpty()) {
        return false; // no documents folder yet, so nothing in it
    }
    // one level only: what lies inside folders and packages is not read
    for (const FilePath::Entry &entry : FilePath::entries(documents.toLocalFile())) {
        if (entry.name.startsWith(QLatin1Char('.'))) {
            continue;
        }
        const QString path = FilePath::localPath(documents) + QLatin1Char('/') + entry.name;
        const std::optional<struct stat> st = FilePath::status(path);
        if (!st) {
            // gone since it was listed, or a link to nothing: its kind can't be read
            const Error entryError = Error::fromErrno(ENOENT, path);
            DRLog(LOG_INFO, "Error enumerating %@: %@", QUrl::fromLocalFile(path), entryError);
            continue;
        }
        if (S_ISDIR(st->st_mode)) {
            return true; // a package too: it is a directory on disk
        }
    }
    return false;
}

void NavController::promtForNewFolderAndCreate()
{
    DRLog(LOG_INFO, "Pressed NewFolder");
    if (DocumentListController *list = getTopDocumentListController()) {
        showNewFolderPromptDuringMove_itemsToMove(list->presentedURL(), {});
    }
}

bool NavController::documentListControllerCanCreateFolder(DocumentListController *list)
{
    return !m_editMode && canEnableNewFolderForSelectedItems(list);
}

void NavController::documentListControllerCreateFolder(DocumentListController *list)
{
    // the sheet belongs to the list on top: that is where the prompt makes the folder
    if (list == getTopDocumentListController() && documentListControllerCanCreateFolder(list)) {
        promtForNewFolderAndCreate();
    }
}

void NavController::showNewFolderPromptDuringMove_itemsToMove(const QUrl &folderURL, const QList<QUrl> &itemsToMove)
{
    if (folderURL.isEmpty()) {
        DRLog(LOG_WARNING, "dlc.presentedURL is nil");
        return;
    }
    const bool moving = !itemsToMove.isEmpty();
    const QString title = moving ? LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.MOVE_ITEMS.%d"),
                                                                              int(itemsToMove.size()),
                                                                              qint64(itemsToMove.size()))
                                 : LocalizedString::localized(QStringLiteral("New Folder"));
    const QString doneText = LocalizedString::localized(moving ? QStringLiteral("Move") : QStringLiteral("Create"));
    QPointer<NavController> self(this);
    m_folderPromptAlert = NewFolderPrompt::newWithTitle_doneButtonText_completion(
        title, doneText, [self, folderURL, itemsToMove](const QString &name, bool *accepted) -> QString {
            *accepted = false;
            if (name.isEmpty()) {
                return QString();
            }
            const QUrl folder
                = QUrl::fromLocalFile(FilePath::localPath(folderURL) + QLatin1Char('/') + name + QLatin1Char('/'));
            if (FileUtils::exists(folder)) {
                DRLog(LOG_INFO, "Item exists at path: %@", folder);
                return UIUtils::bestMessage(Error::fileError(FileWriteFileExistsError));
            }
            if (const std::optional<Error> error = FileUtils::mkdir(folder)) {
                return UIUtils::bestMessage(error);
            }
            if (itemsToMove.isEmpty() || !self) {
                *accepted = true;
                return QString();
            }
            const QList<Error> errors = self->moveItemsToDirectory_toDirectory(itemsToMove, folder);
            if (errors.isEmpty()) {
                *accepted = true;
                return QString();
            }
            // the prompt stays open over the folder that now exists, showing what went wrong
            if (errors.size() == 1) {
                return UIUtils::bestMessage(errors.first());
            }
            return LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.CANNOT_MOVE_ITEMS.%d"),
                                                              int(errors.size()), qint64(errors.size()));
        });
    presentViewController(m_folderPromptAlert->alert(), true);
}

// ---- moving

void NavController::showMoveTargetForSelectedItems()
{
    DRLog(LOG_INFO, "Pressed Move");
    DocumentListController *list = getTopDocumentListController();
    if (!list) {
        return;
    }
    const QList<QUrl> items = list->selectedItems();
    setEditModeAndUpdateUI_forViewController(false, list);
    showMoveTargetForItems_inFolder(items, list->presentedURL());
}

void NavController::showMoveTargetForItems_inFolder(const QList<QUrl> &items, const QUrl &folderURL)
{
    DRLog(LOG_INFO, "Prompting for Move Target, %d items", int(items.size()));
    if (!containerHasSubfolders(folderURL)) {
        showNewFolderPromptDuringMove_itemsToMove(folderURL, items);
        return;
    }
    DocumentTargetSelectionController *picker = DocumentTargetSelectionController::initWithItemsToMove(items);
    picker->setDelegate(this);
    picker->setModalPresentationStyle(ViewController::ModalPresentationStyle::OverCurrentContext);
    visibleViewController()->presentViewController(picker, true, [] { DRLog(LOG_DEBUG, "Presented moveTarget"); });
}

void NavController::documentTargetSelectionController_didSelectItemAtURL(DocumentTargetSelectionController *picker,
                                                                         const QUrl &url)
{
    const QList<QUrl> items = picker->itemsToMove();
    picker->dismissViewControllerAnimated(true);
    moveItemsToDirectoryAndShowErrors_toDirectory(items, url);
}

QList<Error> NavController::moveItemsToDirectory_toDirectory(const QList<QUrl> &items, const QUrl &directory)
{
    return FileUtils::moveItems_toDirectory(items, directory);
}

void NavController::moveItemsToDirectoryAndShowErrors_toDirectory(const QList<QUrl> &items, const QUrl &directory)
{
    const QList<Error> errors = moveItemsToDirectory_toDirectory(items, directory);
    if (errors.size() == 1) {
        UIUtils::showError_parentViewController(errors.first(), topViewController());
    } else if (errors.size() >= 2) {
        UIUtils::showAlert_message_parentViewController(
            LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.CANNOT_MOVE_ITEMS.%d"), int(errors.size()),
                                                       qint64(errors.size())),
            QString(), topViewController());
    }
}

// ---- deleting

void NavController::showWarningAndDeleteDocument()
{
    DocumentListController *list = getTopDocumentListController();
    const QList<QUrl> selected = list ? list->selectedItems() : QList<QUrl>();
    DRLog(LOG_INFO, "Pressed Delete after selecting %@ items: %@", qint64(selected.size()), selected);
    showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(selected, nullptr, list, {});
}

void NavController::showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(
    const QList<QUrl> &urls, QWidget *view, DocumentListController *list, std::function<void()> completion)
{
    const quint64 containers = numContainersInURLArray(urls);
    if (containers > 0 && containers != quint64(urls.size())) {
        DRLog(LOG_ERR, "Not Deleting: mix of containers and items: %@", urls);
        if (completion) {
            completion();
        }
        return;
    }
    QPointer<NavController> self(this);
    QPointer<DocumentListController> guardedList(list);
    UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
        urls, containers > 0, visibleViewController(), view, m_barButtonDeleteItem.data(),
        [self, guardedList, hadList = list != nullptr, urls, completion](AlertAction *, bool cancelled) {
            if (!self) {
                return;
            }
            int failures = 0;
            std::optional<Error> lastError;
            if (!cancelled) {
                if (hadList && guardedList) {
                    self->setEditModeAndUpdateUI_forViewController(false, guardedList.data());
                }
                failures = self->deleteURLs(urls, &lastError);
            }
            if (completion) {
                completion();
            }
            if (failures == 1) {
                // a refused or missing container records no error: the alert then says nothing
                UIUtils::showError_parentViewController(lastError, self->topViewController());
            } else if (failures >= 2) {
                UIUtils::showAlert_message_parentViewController(
                    LocalizedString::localizedPluralWithFormat(QStringLiteral(".DICT.CANNOT_DELETE_ITEMS.%d"), failures,
                                                               qint64(failures)),
                    QString(), self->topViewController());
            }
        });
}

int NavController::deleteURLs(const QList<QUrl> &urls, std::optional<Error> *lastError)
{
    int failures = 0;
    // every item is attempted: one failure must not strand the rest
    for (const QUrl &url : urls) {
        if (!kd_isDocumentsContainer(url)) {
            DRLog(LOG_INFO, "Deleting item %@", url);
            if (std::optional<Error> error = FileUtils::remove(url)) {
                ++failures;
                DRLog(LOG_WARNING, "Failed to delete URL %@: %@", url, error->description());
                *lastError = std::move(error);
            }
            continue;
        }
        std::optional<Error> lookupError;
        const std::shared_ptr<KDContainer> container = KDContainer::containerForItemAtURL_error(url, &lookupError);
        if (lookupError || !container || container->identifier().isEmpty()) {
            ++failures;
            DRLog(LOG_WARNING, "No container for URL %@: %@", url, lookupError);
            continue;
        }
        if (container->identifier() == KDUbiquitousDefaultContainerID) {
            // the drive's own folders are never emptied, even after the user confirmed
            ++failures;
            DRLog(LOG_ERR, "NOT Deleting root container %@", container->description());
            continue;
        }
        DRLog(LOG_INFO, "Deleting container %@", container->description());
        if (std::optional<Error> error = container->deleteAllContentsOnClientAndServer()) {
            ++failures;
            DRLog(LOG_WARNING, "Failed to delete container %@: %@", container->description(), error->description());
            *lastError = std::move(error);
        }
    }
    return failures;
}
