#include "preview/PreviewItemManager.h"

#include "browser/UIUtils.h"
#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/lists/DocumentTargetSelectionController.h"
#include "platform/lists/ListPresentation.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "preview/PreviewBaseViewController.h"
#include "preview/PreviewDetailsViewController.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/QuickLookItemController.h"
#include "watchers/NetworkIndicator.h"
#include "watchers/NetworkWatcher.h"

#include <QFileInfo>

namespace {
/// Changes of the file within this time make one refresh.
constexpr int RefreshDelayMilliseconds = 1000;

QString classNameOf(const QObject *object)
{
    return object ? QString::fromUtf8(object->metaObject()->className()) : QStringLiteral("(null)");
}
} // namespace

PreviewItemManager::PreviewItemManager()
    : m_fcQueue(std::make_unique<OperationQueue>(QStringLiteral("fcQueue")))
    , m_downloadQueue(std::make_unique<DispatchQueue>(QStringLiteral("downloadQueue")))
{
}

std::shared_ptr<PreviewItemManager> PreviewItemManager::create()
{
    std::shared_ptr<PreviewItemManager> manager(new PreviewItemManager);
    const std::weak_ptr<PreviewItemManager> weak = manager;
    auto *center = NotificationCenter::defaultCenter();
    center->addObserver(manager.get(), NotificationName::ApplicationDidBecomeActive, [weak](const Notification &) {
        DispatchQueue::main()->async([weak] {
            if (const auto self = weak.lock()) {
                self->didBecomeActiveNotification();
            }
        });
    });
    center->addObserver(manager.get(), NotificationName::ApplicationWillResignActive, [weak](const Notification &) {
        DispatchQueue::main()->async([weak] {
            if (const auto self = weak.lock()) {
                self->willResignActiveNotification();
            }
        });
    });
    // the shared viewer exists before the first preview
    QuickLookItemController::defaultController();
    return manager;
}

PreviewItemManager::~PreviewItemManager()
{
    cancelDownload();
    if (filePresenterRegistered()) {
        FileCoordinator::removeFilePresenter(this);
    }
    NotificationCenter::defaultCenter()->removeObserver(this);
    // a download still blocked in its read ends before the queue goes
    m_downloadQueue.reset();
    m_fcQueue->waitUntilAllOperationsAreFinished();
}

std::shared_ptr<FileCoordinator> PreviewItemManager::downloadFC() const
{
    QMutexLocker locker(&m_lock);
    return m_downloadFC;
}

void PreviewItemManager::setDownloadFC(const std::shared_ptr<FileCoordinator> &coordinator)
{
    QMutexLocker locker(&m_lock);
    m_downloadFC = coordinator;
}

bool PreviewItemManager::filePresenterRegistered() const
{
    QMutexLocker locker(&m_lock);
    return m_filePresenterRegistered;
}

bool PreviewItemManager::refreshPending() const
{
    QMutexLocker locker(&m_lock);
    return m_refreshPending;
}

// ---- showing an item

void PreviewItemManager::previewItem(const std::shared_ptr<DRItem> &item)
{
    setItem_updatePreview(item, true);
}

bool PreviewItemManager::previewNeighbourItem(int step)
{
    if (!m_item || step == 0) {
        return false;
    }
    const QString path = FilePath::localPath(m_item->url());
    const QString folder = QFileInfo(path).path();
    // the rows of the folder's list under the viewer, as the person saw them; the folder is
    // read only when no list of it is in the stack (a document opened from the search)
    QList<DocumentListEntry> entries;
    bool listed = false;
    if (m_navigationController) {
        for (ViewController *screen : m_navigationController->viewControllers()) {
            auto *list = qobject_cast<DocumentListController *>(screen);
            if (list && FilePath::localPath(list->presentedURL()) == folder) {
                entries = list->model()->entries();
                listed = true;
            }
        }
    }
    if (!listed) {
        entries = DocumentListModel::entriesOfFolder(folder, ListPresentation::instance()->sortOrder());
    }
    QList<QString> documents;
    for (const DocumentListEntry &entry : entries) {
        if (!entry.isFolder && !entry.isAppContainer) {
            documents << entry.path();
        }
    }
    const qsizetype at = documents.indexOf(path);
    const qsizetype neighbour = at + step;
    if (at < 0 || neighbour < 0 || neighbour >= documents.size()) {
        return false;
    }
    const std::shared_ptr<DRItem> item = DRItem::initWithURL(QUrl::fromLocalFile(documents.at(neighbour)));
    if (!item) {
        return false;
    }
    DRLog(LOG_INFO, "Showing the document %d places on: %@", step, item->url());
    previewItem(item);
    return true;
}

void PreviewItemManager::setItem(const std::shared_ptr<DRItem> &item)
{
    setItem_updatePreview(item, true);
}

void PreviewItemManager::setItem_updatePreview(const std::shared_ptr<DRItem> &item, bool updatePreview)
{
    DRLog(LOG_DEBUG, "Previewing %@", item ? item->url() : QUrl());
    if (item && updatePreview) {
        if (ViewController *screen = prepareToPreviewItem(item)) {
            replaceLastViewController(screen);
            finishPreviewingItem();
        }
        return;
    }
    m_item = item;
    QMutexLocker locker(&m_lock);
    m_presentedURL = item ? item->url() : QUrl();
}

ViewController *PreviewItemManager::prepareToPreviewItem(const std::shared_ptr<DRItem> &item)
{
    cancelDownload();
    if (!m_item || !item || m_item->url() != item->url()) {
        unregisterAsFilePresenter();
    }
    m_item = item;
    {
        QMutexLocker locker(&m_lock);
        m_presentedURL = item ? item->url() : QUrl();
    }
    if (!item || item->resolvedURL().path().isEmpty()) {
        DRLog(LOG_WARNING, "no preview URL, nothing to show");
        return nullptr;
    }
    m_modifiedDate = item->contentModificationDate();
    registerAsFilePresenter();
    const bool exists = FilePath::status(item->resolvedURL().toLocalFile()).has_value();
    m_downloadViewController.clear();
    m_detailsViewController.clear();
    ViewController *screen = nullptr;
    if (exists) {
        screen = m_mode != PreviewModePreview ? createDetailsViewController() : createQuickLookController();
        DRLog(LOG_DEBUG, "Preview: File exists, using %@", classNameOf(screen));
    } else {
        if (m_mode == PreviewModePreview) {
            m_autoDownload = shouldAutoDownload();
            screen = createDownloadViewController();
        } else {
            screen = createDetailsViewController();
        }
        DRLog(LOG_DEBUG, "Preview: File doesn't exist, using %@", classNameOf(screen));
    }
    return screen;
}

ViewController *PreviewItemManager::createDownloadViewController()
{
    auto *screen = new PreviewDownloadViewController;
    m_downloadViewController = screen;
    screen->setMode(m_mode);
    screen->setItemManager(this);
    return screen;
}

ViewController *PreviewItemManager::createDetailsViewController()
{
    auto *screen = new PreviewDetailsViewController;
    m_detailsViewController = screen;
    screen->setMode(m_mode);
    screen->setItemManager(this);
    return screen;
}

ViewController *PreviewItemManager::createQuickLookController()
{
    QuickLookItemController *viewer = QuickLookItemController::defaultController();
    viewer->quickLookNewItem(this);
    return viewer;
}

bool PreviewItemManager::isPreviewControllerDisplayed(ViewController *controller)
{
    return qobject_cast<PreviewBaseViewController *>(controller) || qobject_cast<QuickLookItemController *>(controller);
}

void PreviewItemManager::replaceLastViewController(ViewController *controller)
{
    NavigationController *navigation = m_navigationController.data();
    if (!navigation) {
        return;
    }
    QList<ViewController *> stack = navigation->viewControllers();
    if (!stack.isEmpty() && isPreviewControllerDisplayed(stack.last())) {
        stack.last() = controller;
        navigation->setViewControllers(stack, false);
        return;
    }
    if (qobject_cast<DocumentSearchController *>(navigation->presentedViewController())) {
        // held strongly until the search has gone
        const std::shared_ptr<PreviewItemManager> self = shared_from_this();
        QPointer<ViewController> screen(controller);
        navigation->dismissViewControllerAnimated(true, [self, screen] {
            // the push follows the dismissal once it has settled, as after its animation
            DispatchQueue::main()->async([self, screen] {
                if (screen && self->m_navigationController) {
                    self->m_navigationController->pushViewController(screen, true);
                }
            });
        });
        return;
    }
    navigation->pushViewController(controller, true);
}

void PreviewItemManager::finishPreviewingItem()
{
    if (!m_autoDownload || m_mode != PreviewModePreview || !m_navigationController) {
        return;
    }
    auto *top = qobject_cast<PreviewDownloadViewController *>(m_navigationController->topViewController());
    if (!top || !m_downloadViewController) {
        return;
    }
    m_downloadViewController->setDownloading(true);
    startDownload();
}

bool PreviewItemManager::shouldAutoDownload()
{
    if (NetworkWatcher::sharedNetworkWatcher()->networkState() != NetworkStateWiFi) {
        return false; // cellular, offline and unknown never download by themselves
    }
    const quint64 size = m_item ? m_item->fileSize().value_or(0) : 0;
    if ((size >> 21) > 2) {
        return false;
    }
    const bool canPreview = m_item && m_item->canPreview();
    DRLog(LOG_INFO, "CanPreview=%@ for %@", qint64(canPreview), m_item ? m_item->resolvedURL() : QUrl());
    return canPreview;
}

// ---- downloading

void PreviewItemManager::startDownload()
{
    const std::weak_ptr<PreviewItemManager> weak = weak_from_this();
    startDownloading([weak](const QUrl &oldURL, const QUrl &newURL, const std::optional<Error> &error) {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        if (error) {
            DRLog(LOG_ERR, "Error downloading %@: %@", oldURL, *error);
        } else {
            DRLog(LOG_INFO, "Showing preview of URL %@", newURL);
        }
        if (self->m_downloadViewController) {
            self->m_downloadViewController->setDownloading(false);
        }
        if (!error) {
            self->setItem_updatePreview(DRItem::initWithURL(newURL), true);
        } else {
            self->showDownloadError(error);
        }
    });
}

void PreviewItemManager::startDownloading(DownloadCompletion completion)
{
    DRLog(LOG_DEBUG, "Dispatching download...");
    // the item and its screen are taken here: the main thread may replace them while the
    // download queue is still busy with an earlier read
    const QUrl url = m_item ? m_item->resolvedURL() : QUrl();
    const QPointer<PreviewDownloadViewController> screen = m_downloadViewController;
    const std::weak_ptr<PreviewItemManager> weak = weak_from_this();
    m_downloadQueue->async([weak, url, screen, completion = std::move(completion)] {
        if (const auto self = weak.lock()) {
            self->startDownloadingNow(url, screen, completion);
        }
    });
}

void PreviewItemManager::startDownloadingNow(const QUrl &url, const QPointer<PreviewDownloadViewController> &screen,
                                             DownloadCompletion completion)
{
    DRLog(LOG_DEBUG, "Download queue: changing FilePresenter");
    cancelDownload();
    // the manager's own presenter hears nothing of its own read
    auto coordinator = std::make_shared<FileCoordinator>(this);
    setDownloadFC(coordinator);
    NetworkIndicator *indicator = NetworkIndicator::sharedNetworkIndicator();
    if (!FileUtils::exists(url)) {
        DRLog(LOG_INFO, "Dispatching download of %@", url);
        indicator->show(NetworkIndicatorToken);
    } else {
        DRLog(LOG_DEBUG, "Dispatching download -- although file is already local");
    }
    if (screen) {
        // the screen lives on the main thread; it is subscribed before the read publishes much
        QMetaObject::invokeMethod(screen, [screen] {
            if (screen) {
                screen->registerForProgress();
            }
        }, Qt::QueuedConnection);
    }
    const std::weak_ptr<PreviewItemManager> weak = weak_from_this();
    std::optional<Error> readError;
    bool accessed = false;
    coordinator->coordinateReadingItemAtURL_options_error_byAccessor(
        url, FileCoordinator::ReadingWithoutChanges | FileCoordinator::ReadingResolvesSymbolicLink, &readError,
        [&](const QUrl &newURL) {
            accessed = true;
            DRLog(LOG_DEBUG, "coordinateReadingItemAtURL finished, old URL %@, new URL %@", url, newURL);
            std::optional<Error> reachError;
            const bool reachable = URLResourceValues::checkPromisedItemIsReachableAndReturnError(newURL, &reachError);
            if (!reachable) {
                DRLog(LOG_ERR, "coordinateReadingItemAtURL: newURL does not exist, error %@",
                      reachError ? reachError->description() : QString());
            }
            indicator->hide(NetworkIndicatorToken);
            DispatchQueue::main()->async([weak, completion, url, newURL, reachable] {
                const std::optional<Error> error = reachable ? std::nullopt
                                                             : std::optional<Error>(Error::fileError(FileReadNoSuchFileError));
                completion(url, newURL, error);
                if (const auto self = weak.lock()) {
                    self->setDownloadFC(nullptr);
                }
            });
        });
    if (accessed) {
        return;
    }
    if (screen) {
        QMetaObject::invokeMethod(screen, [screen] {
            if (screen) {
                screen->unregisterProgress();
            }
        }, Qt::QueuedConnection);
    }
    indicator->hide(NetworkIndicatorToken);
    const Error error = readError.value_or(Error::fileError(FileReadUnknownError));
    if (error.code() != UserCancelledError) {
        DRLog(LOG_ERR, "coordinateReadingItemAtURL failed, URL %@: %@", url, error);
    } else {
        DRLog(LOG_DEBUG, "coordinateReadingItemAtURL was cancelled, URL %@", url);
        // a partly fetched copy goes back to the drive
        std::optional<Error> evictError;
        if (DriveFileManager::evictUbiquitousItemAtURL_error(url, &evictError)) {
            DRLog(LOG_DEBUG, "Evicted %@", url);
        } else {
            DRLog(LOG_INFO, "Failed to evict %@: %@", url, evictError);
        }
    }
    DispatchQueue::main()->async([weak, completion, url, error] {
        completion(url, QUrl(), error);
        if (const auto self = weak.lock()) {
            self->setDownloadFC(nullptr);
        }
    });
}

void PreviewItemManager::cancelDownload()
{
    if (const std::shared_ptr<FileCoordinator> coordinator = downloadFC()) {
        coordinator->cancel();
    }
    NetworkIndicator::sharedNetworkIndicator()->hide(NetworkIndicatorToken);
}

void PreviewItemManager::showDownloadError(const std::optional<Error> &error)
{
    if (!error || error->code() == UserCancelledError) {
        return;
    }
    QString message = error->localizedDescription();
    if (error->code() == UbiquityServerNotAvailableError && !NetworkWatcher::sharedNetworkWatcher()->isConnected()) {
        message = LocalizedString::localized(
            QStringLiteral("Unable to download file. You are no longer connected to the Internet."));
    }
    ViewController *top = m_navigationController ? m_navigationController->topViewController() : nullptr;
    if (!top) {
        return;
    }
    auto *alert = new AlertController(QString(), message, AlertController::Style::Alert);
    alert->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("OK")), AlertAction::Style::Default, {}));
    top->presentViewController(alert, true);
}

// ---- delete and move

void PreviewItemManager::showWarningAndDeleteDocument_barButton(ViewController *presenting, BarButtonItem *barButton)
{
    if (!m_item) {
        return;
    }
    const QUrl url = m_item->url();
    QPointer<ViewController> screen(presenting);
    // held strongly until the user has answered
    const std::shared_ptr<PreviewItemManager> self = shared_from_this();
    UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
        {url}, false, presenting, nullptr, barButton, [self, url, screen](AlertAction *, bool cancelled) {
            if (cancelled) {
                return;
            }
            if (const std::optional<Error> error = FileUtils::remove(url)) {
                UIUtils::showError_parentViewController(error, screen.data());
            }
            // the screen goes when the deletion reaches this manager as its presenter
        });
}

void PreviewItemManager::showMoveTarget(ViewController *presenting)
{
    DRLog(LOG_INFO, "Pressed Move");
    if (!m_item || m_item->url().isEmpty()) {
        return;
    }
    DocumentTargetSelectionController *picker = DocumentTargetSelectionController::initWithItemsToMove({m_item->url()});
    picker->setDelegate(this);
    picker->setModalPresentationStyle(ViewController::ModalPresentationStyle::OverCurrentContext);
    ViewController *presenter = presenting && presenting->navigationController()
        ? static_cast<ViewController *>(presenting->navigationController())
        : presenting;
    if (!presenter) {
        delete picker;
        return;
    }
    presenter->presentViewController(picker, true, [] { DRLog(LOG_DEBUG, "Presented moveTarget"); });
}

void PreviewItemManager::documentTargetSelectionController_didSelectItemAtURL(DocumentTargetSelectionController *picker,
                                                                              const QUrl &url)
{
    const QList<QUrl> items = picker->itemsToMove();
    DRLog(LOG_DEBUG, "MoveTarget = %@", url);
    DRLog(LOG_DEBUG, "ItemsToMove = %@", items);
    picker->dismissViewControllerAnimated(true);
    for (const QUrl &source : items) {
        const QUrl destination = FileUtils::destinationOfItem_inDirectory(source, url);
        // every item is attempted: one failure must not strand the rest
        if (const std::optional<Error> error = FileUtils::move_to(source, destination)) {
            UIUtils::showError_parentViewController(
                error, m_navigationController ? m_navigationController->topViewController() : nullptr);
        }
    }
}

void PreviewItemManager::viewControllerWillDisappear(ViewController *controller)
{
    if (controller && controller == m_downloadViewController) {
        cancelDownload();
        m_downloadViewController.clear();
    } else if (controller && controller == m_detailsViewController) {
        m_detailsViewController.clear();
    }
}

// ---- file presenting

void PreviewItemManager::registerAsFilePresenter()
{
    QMutexLocker locker(&m_lock);
    if (m_filePresenterRegistered) {
        return;
    }
    m_filePresenterRegistered = true;
    locker.unlock();
    FileCoordinator::addFilePresenter(shared_from_this());
}

void PreviewItemManager::unregisterAsFilePresenter()
{
    QMutexLocker locker(&m_lock);
    if (!m_filePresenterRegistered) {
        return;
    }
    m_filePresenterRegistered = false;
    locker.unlock();
    FileCoordinator::removeFilePresenter(this);
}

QUrl PreviewItemManager::presentedItemURL() const
{
    QMutexLocker locker(&m_lock);
    return m_presentedURL;
}

void PreviewItemManager::presentedItemDidChange()
{
    const QUrl url = presentedItemURL();
    DRLog(LOG_INFO, "%@ changed", url);
    {
        QMutexLocker locker(&m_lock);
        if (m_refreshPending) {
            return; // changes are coalesced
        }
        m_refreshPending = true;
    }
    const std::weak_ptr<PreviewItemManager> weak = weak_from_this();
    DispatchQueue::main()->asyncAfter(RefreshDelayMilliseconds, [weak] {
        if (const auto self = weak.lock()) {
            self->refreshItem(self->presentedItemURL());
            QMutexLocker locker(&self->m_lock);
            self->m_refreshPending = false;
        }
    });
}

void PreviewItemManager::presentedItemDidMoveToURL(const QUrl &newURL)
{
    DRLog(LOG_INFO, "presentedItemDidMoveToURL: %@ changed to %@", presentedItemURL(), newURL);
    const std::weak_ptr<PreviewItemManager> weak = weak_from_this();
    DispatchQueue::main()->async([weak, newURL] {
        if (const auto self = weak.lock()) {
            self->refreshItem(newURL);
        }
    });
}

void PreviewItemManager::accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completion)
{
    DRLog(LOG_INFO, "%@ accommodate deletion", presentedItemURL());
    completion(std::nullopt);
    // held strongly until the screen is gone
    const std::shared_ptr<PreviewItemManager> self = shared_from_this();
    unregisterAsFilePresenter();
    DispatchQueue::main()->async([self] {
        if (self->m_navigationController) {
            self->m_navigationController->popViewControllerAnimated(true);
        }
    });
}

void PreviewItemManager::accommodatePresentedSubitemDeletionAtURL_completionHandler(const QUrl &url,
                                                                                    CompletionHandler completion)
{
    DRLog(LOG_INFO, "%@ accommodate subitem deletion at %@", presentedItemURL(), url);
    completion(std::nullopt);
    unregisterAsFilePresenter();
    const std::weak_ptr<PreviewItemManager> weak = weak_from_this();
    DispatchQueue::main()->asyncAfter(RefreshDelayMilliseconds, [weak] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        DRLog(LOG_INFO, "Refreshing %@", self->presentedItemURL());
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        if (viewer->isVisible()) {
            viewer->refreshCurrentPreviewItem();
        }
        QMutexLocker locker(&self->m_lock);
        self->m_refreshPending = false;
    });
}

void PreviewItemManager::refreshItem(const QUrl &url)
{
    const std::shared_ptr<DRItem> fresh = DRItem::initWithURL(url);
    if (!fresh) {
        return;
    }
    const QDateTime newDate = fresh->contentModificationDate();
    DRLog(LOG_DEBUG, "%@: %@ vs %@", fresh->url(), m_modifiedDate, newDate);
    const QDateTime stored = m_modifiedDate;
    m_modifiedDate = newDate;
    bool rebuild = false;
    if (m_item && m_item->isDownloaded()) {
        rebuild = false;
    } else if (fresh->isDownloaded()) {
        // a download finished by other means replaces the download screen; a visible details
        // screen stays
        rebuild = !m_detailsViewController || m_detailsViewController->view()->isHidden();
    }
    setItem_updatePreview(fresh, rebuild);
    DRLog(LOG_INFO, "Refreshing %@", m_item ? m_item->url() : QUrl());
    QuickLookItemController *viewer = QuickLookItemController::defaultController();
    if (stored.isValid() && newDate.isValid() && stored < newDate && viewer->isVisible()) {
        viewer->refreshCurrentPreviewItem();
    }
    if (m_detailsViewController) {
        m_detailsViewController->refreshItem();
    }
}

void PreviewItemManager::didBecomeActiveNotification()
{
    DRLog(LOG_DEBUG, "Becoming active for %@", m_item ? m_item->url() : QUrl());
    registerAsFilePresenter();
}

void PreviewItemManager::willResignActiveNotification()
{
    DRLog(LOG_DEBUG, "Resigning active for %@", m_item ? m_item->url() : QUrl());
    unregisterAsFilePresenter();
}
