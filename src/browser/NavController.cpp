#include "browser/NavController.h"

#include "app/DRLogging.h"
#include "app/Settings.h"
#include "browser/DocumentListControllerStatusBar.h"
#include "browser/RenamePrompt.h"
#include "browser/StatusBar.h"
#include "browser/UIUtils.h"
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
#include "platform/foundation/LocalizedString.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/quota/KVQOffer.h"
#include "platform/quota/KVQOfferManager.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/StateCoder.h"
#include "platform/ui/ViewControllerRegistry.h"
#include "watchers/QuotaFetcher.h"

#include <QCoreApplication>
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

NavController::~NavController() = default;

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
        DRLog(LOG_DEBUG, "Contained items: %@", root->containedItems());
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
    DRLog(LOG_DEBUG, "DLC title: %@", list->title());
    DRLog(LOG_DEBUG, "DLC URL: %@", list->presentedURL());
    DRLog(LOG_DEBUG, "DLC Name: %@", FileUtils::getResourceValue_forURL(URLResourceKey::LocalizedName, list->presentedURL()));
    DRLog(LOG_DEBUG, "DLC UTI: %@", FileUtils::getResourceValue_forURL(URLResourceKey::TypeIdentifier, list->presentedURL()));
    DRLog(LOG_DEBUG, "DLC Type: %@",
          FileUtils::getResourceValue_forURL(URLResourceKey::LocalizedTypeDescription, list->presentedURL()));
    const QList<QUrl> items = list->containedItems();
    DRLog(LOG_DEBUG, "DLC has %d items: %@", int(items.size()), items);
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
    // the selection controls of edit mode join this bar with the editing actions
    list->navigationItem()->setHidesBackButton(m_editMode);
    list->navigationItem()->setTitle(m_viewTitle);
}

void NavController::configureToolbar(DocumentListController *list)
{
    m_barButtonNewFolder.clear();
    m_barButtonMoveItem.clear();
    m_barButtonDeleteItem.clear();
    if (m_editMode) {
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
}

void NavController::decodeRestorableStateWithCoder(const StateCoder &coder)
{
    NavigationController::decodeRestorableStateWithCoder(coder);
    const QUrl url = coder.decodeObjectForKey(QStringLiteral("url")).toUrl();
    if (url.isEmpty() || !FileUtils::exists(url) || !FileUtils::isFile(url)) {
        return;
    }
    showPreview_previewMode(DRItem::initWithURL(url), coder.decodeIntegerForKey(QStringLiteral("PreviewMode")));
}

void NavController::showPreview_previewMode(const std::shared_ptr<DRItem> &item, PreviewMode mode)
{
    if (!item) {
        return;
    }
    m_requestedPreviewMode = mode;
}

void NavController::showPreview_Splitview_previewMode(const std::shared_ptr<DRItem> &item, PreviewMode mode)
{
    if (item && !splitViewController()) {
        showPreview_previewMode(item, mode);
    }
}

bool NavController::showURLPreview_previewMode(const QUrl &url, PreviewMode mode)
{
    if (url.isEmpty()) {
        return false;
    }
    if (!kd_isInMobileDocuments(url)) {
        DRLog(LOG_DEBUG, "Preview URL is not in the Mobile Documents dir: %@", url);
        return false;
    }
    const QUrl folder = FileUtils::isDir(url) ? url : url.adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash);
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
    m_requestedPreviewMode = mode;
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    if (!item) {
        qDeleteAll(chain);
        return true;
    }
    for (DocumentListController *list : chain) {
        initNewListController(list);
    }
    setViewControllers(stack, true);
    return true;
}

void NavController::showRenamePrompt(const QUrl &url)
{
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(url);
    if (!item) {
        return;
    }
    m_folderPromptAlert = RenamePrompt::newWithFilename_completion(
        item->localizedName(), [url](const QString &name, bool *accepted) -> QString {
            if (name.isEmpty()) {
                *accepted = false;
                return QString();
            }
            const std::optional<Error> error = UIUtils::renameItemAtURL_toName(url, name);
            *accepted = !error.has_value();
            return UIUtils::bestMessage(error);
        });
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
    Q_UNUSED(originatingView)
    switch (action) {
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

void NavController::documentListController_performAction_URL(DocumentListController *list, qint64 action,
                                                             const QUrl &url)
{
    documentListController_performAction_URL_originatingView_completion(list, action, url, view(), [] {});
}
