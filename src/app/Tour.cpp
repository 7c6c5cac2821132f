#include "app/Tour.h"

#include "browser/FilenamePrompt.h"
#include "browser/NavController.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/drive/DriveSetup.h"
#include "preview/DownloadView.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewItemManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/KDContainer.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/lists/DocumentTargetSelectionController.h"
#include "platform/lists/ListPresentation.h"
#include "platform/quota/KVQOfferManager.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Device.h"
#include "platform/ui/Window.h"
#include "watchers/NetworkWatcher.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QPushButton>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QListView>
#include <QLineEdit>
#include <QTextStream>

namespace {
/// Lets queued work land (thumbnails, the offer, the first quota report) before a picture.
void settle(int milliseconds = 400)
{
    DRItem::getThumbnailQueue()->waitUntilAllOperationsAreFinished();
    QDeadlineTimer deadline(milliseconds);
    while (!deadline.hasExpired()) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        DRItem::getThumbnailQueue()->waitUntilAllOperationsAreFinished();
    }
}

QString orientationName(const QSize &size)
{
    return size.width() > size.height() ? QStringLiteral("landscape") : QStringLiteral("portrait");
}

bool snap(QWidget *window, const QString &directory, const QString &name)
{
    settle();
    const QString path = directory + QLatin1Char('/') + name + QStringLiteral(".png");
    const bool saved = window->grab().save(path);
    QTextStream(stdout) << (saved ? "wrote " : "could not write ") << path << '\n';
    return saved;
}

/// A folder of the default container at least two levels down, or the deepest there is.
QUrl deepFolder()
{
    const std::shared_ptr<KDContainer> container = KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID);
    if (!container) {
        return {};
    }
    const QString root = container->containerURL().toLocalFile();
    QString deepest = root;
    QDirIterator it(root, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.count(QLatin1Char('/')) > deepest.count(QLatin1Char('/'))) {
            deepest = path;
        }
    }
    return QUrl::fromLocalFile(deepest);
}

/// The folder holding the most promised items.
QUrl folderWithPromises()
{
    QHash<QString, int> counts;
    QDirIterator it(DriveLayout::mobileDocumentsPath(), {QStringLiteral(".*.promise")}, QDir::Files | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        ++counts[it.fileInfo().path()];
    }
    QString best;
    for (auto c = counts.cbegin(); c != counts.cend(); ++c) {
        if (best.isEmpty() || c.value() > counts.value(best)) {
            best = c.key();
        }
    }
    return best.isEmpty() ? QUrl() : QUrl::fromLocalFile(best);
}

/// The first app container's documents folder.
QUrl appContainerFolder()
{
    for (const auto &container : KDContainer::allContainers()) {
        if (!container->isDefaultContainer() && !container->documentsURL().isEmpty()) {
            return container->documentsURL();
        }
    }
    return {};
}

void showFolder(NavController *browser, const QUrl &folder)
{
    const QList<DocumentListController *> chain = DocumentListController::listControllerHierarchyForURL(folder, browser);
    if (chain.isEmpty()) {
        return;
    }
    for (DocumentListController *list : chain) {
        browser->initNewListController(list);
    }
    browser->setViewControllers(QList<ViewController *>(chain.begin(), chain.end()), false);
    for (DocumentListController *list : chain) {
        browser->documentListControllerItemsChanged(list);
    }
}

/// Edit mode on the drive's root with two documents selected, then what each toolbar action
/// shows first; every sheet is cancelled, so the demo drive stays as it is.
bool tourEditMode(NavController *browser, QWidget *window, const QString &directory, const QString &prefix)
{
    DocumentListController *list = browser->getTopDocumentListController();
    if (!list) {
        return true;
    }
    QList<QUrl> documents;
    for (const DocumentListEntry &entry : list->model()->entries()) {
        if (!entry.isFolder && !entry.isAppContainer && documents.size() < 2) {
            documents.append(entry.url());
        }
    }
    bool ok = true;
    browser->beginEditMode();
    list->setSelectedItems(documents);
    ok &= snap(window, directory, prefix + QStringLiteral("07-edit-selection"));

    browser->barButtonDeleteItem()->trigger();
    if (auto *sheet = qobject_cast<AlertController *>(list->presentedViewController())) {
        ok &= snap(window, directory, prefix + QStringLiteral("08-delete-sheet"));
        sheet->pressAction(sheet->actionWithTitle(LocalizedString::localized(QStringLiteral("Cancel"))));
    }

    browser->barButtonMoveItem()->trigger(); // leaves edit mode
    if (auto *picker = qobject_cast<DocumentTargetSelectionController *>(list->presentedViewController())) {
        ok &= snap(window, directory, prefix + QStringLiteral("09-folder-picker"));
        picker->cancel();
    }

    browser->showNewFolderPromptDuringMove_itemsToMove(list->presentedURL(), documents);
    if (FilenamePrompt *prompt = browser->folderPromptAlert()) {
        prompt->textField()->setText(QStringLiteral("Receipts"));
        prompt->folderPromptTextFieldChanged(prompt->textField());
        ok &= snap(window, directory, prefix + QStringLiteral("10-move-new-folder"));
        prompt->alert()->dismissViewControllerAnimated(false);
    }
    return ok;
}

/// A file of the default container by its path there.
QUrl driveFile(const QString &relative)
{
    const std::shared_ptr<KDContainer> container = KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID);
    return container ? QUrl::fromLocalFile(container->containerURL().toLocalFile() + QLatin1Char('/') + relative) : QUrl();
}

/// The contents of a file of the drive service, to put back after the tour changed it.
QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void restore(const QString &path, const QByteArray &contents)
{
    if (contents.isEmpty()) {
        QFile::remove(path);
        return;
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(contents);
    }
}

/// The viewer on an image, a PDF and a text; a download before, during and after; the details
/// with tags upright and on their side; the item actions; the cellular refusal. The drive is
/// left as it was: the downloaded item goes back to the store.
bool tourPreviews(NavController *browser, QWidget *window, const QString &directory, const QString &prefix,
                  const QSize &size)
{
    bool ok = true;
    const struct {
        const char *file;
        const char *name;
    } documents[] = {{"Photos/Sunset.png", "11-quicklook-image"},
                     {"Documents/Plan.pdf", "12-quicklook-pdf"},
                     {"Shared/Team Notes.txt", "13-quicklook-text"}};
    for (const auto &document : documents) {
        const QUrl url = driveFile(QString::fromUtf8(document.file));
        if (QFileInfo::exists(url.toLocalFile()) && browser->showURLPreview_previewMode(url, PreviewModePreview)) {
            ok &= snap(window, directory, prefix + QString::fromUtf8(document.name));
        }
    }

    const QString networkFile = DriveLayout::networkFile();
    const QString rateFile = DriveLayout::storeRateFile();
    const QByteArray network = contentsOf(networkFile);
    const QByteArray rate = contentsOf(rateFile);
    DriveSetup::setNetwork(QStringLiteral("cellular")); // nothing starts by itself
    settle(300);
    const QUrl survey = driveFile(QStringLiteral("Projects/Site Survey.zip"));
    if (browser->showURLPreview_previewMode(survey, PreviewModePreview)) {
        PreviewItemManager *manager = browser->itemManager();
        auto *screen = qobject_cast<PreviewDownloadViewController *>(browser->topViewController());
        if (manager && screen) {
            ok &= snap(window, directory, prefix + QStringLiteral("14-download-before"));
            // a slowed store, so that the ring is seen part-filled
            DriveSetup::setStoreRate(4000000);
            screen->downloadView_didPressStartDownload(screen->downloadView(), survey);
            QDeadlineTimer during(1400);
            while (!during.hasExpired()) {
                QApplication::processEvents(QEventLoop::AllEvents, 20);
            }
            const QString duringPath = directory + QLatin1Char('/') + prefix + QStringLiteral("15-download-during.png");
            const bool saved = window->grab().save(duringPath);
            QTextStream(stdout) << (saved ? "wrote " : "could not write ") << duringPath << '\n';
            ok &= saved;
            QDeadlineTimer done(15000);
            while (!done.hasExpired() && qobject_cast<PreviewDownloadViewController *>(browser->topViewController())) {
                QApplication::processEvents(QEventLoop::AllEvents, 50);
            }
            ok &= snap(window, directory, prefix + QStringLiteral("16-download-after"));
            FileUtils::evictDocument(survey);
        }
    }
    restore(rateFile, rate);

    const QUrl brochure = driveFile(QStringLiteral("Projects/Brochure.pdf"));
    if (browser->showURLPreview_previewMode(brochure, PreviewModeDetails)) {
        // each picture is named by the shape it has: a tablet starts on its side
        ok &= snap(window, directory, prefix + QStringLiteral("17-details-") + orientationName(size));
        const QSize turned = size.transposed();
        window->resize(turned);
        Device::setWindowSize(turned);
        ok &= snap(window, directory, prefix + QStringLiteral("18-details-") + orientationName(turned));
        window->resize(size);
        Device::setWindowSize(size);
        settle(200);
    }

    // the cellular refusal: the same screen asked for an item over 100 MiB
    if (browser->showURLPreview_previewMode(survey, PreviewModePreview)) {
        auto *screen = qobject_cast<PreviewDownloadViewController *>(browser->topViewController());
        if (screen && browser->itemManager() && browser->itemManager()->item()) {
            // the record only, for the picture: the screen shows the size it asks about
            const std::shared_ptr<DRItem> item = browser->itemManager()->item();
            item->setFileSize(150 * 1024 * 1024);
            item->setFriendlyFileSize(ByteCountFormatter::stringFromByteCount(150 * 1024 * 1024, ByteCountFormatter::CountStyle::File));
            screen->downloadView()->setItem(item);
            screen->downloadView_didPressStartDownload(screen->downloadView(), survey);
            ok &= snap(window, directory, prefix + QStringLiteral("19-cellular-alert"));
            if (ViewController *alert = screen->presentedViewController()) {
                alert->dismissViewControllerAnimated(false);
            }
        }
    }
    restore(networkFile, network);

    showFolder(browser, driveFile(QStringLiteral("Documents")));
    if (DocumentListController *list = browser->getTopDocumentListController(); list && list->containedItemCount() > 0) {
        list->view()->resize(window->size());
        browser->showActionsMenuFromView_url_presentedURL_completion(list->listView(), list->containedItems().constLast(),
                                                                    list->presentedURL(), {});
        ok &= snap(window, directory, prefix + QStringLiteral("20-actions-menu"));
        if (ViewController *menu = browser->visibleViewController()->presentedViewController()) {
            menu->dismissViewControllerAnimated(false);
        }
    }
    return ok;
}

/// An empty folder (made for the picture and removed after), and the search with hits and
/// with none.
bool tourEmptyAndSearch(NavController *browser, QWidget *window, const QString &directory, const QString &prefix)
{
    bool ok = true;
    settle(); // the drive's return above sets the screens up again
    const QString empty = driveFile(QStringLiteral("Nothing Here Yet")).toLocalFile();
    if (!QFileInfo::exists(empty) && QDir().mkdir(empty)) {
        showFolder(browser, QUrl::fromLocalFile(empty));
        ok &= snap(window, directory, prefix + QStringLiteral("23-empty-folder"));
        browser->setupInitialViewController();
        QDir().rmdir(empty);
    }
    DocumentListController *list = browser->getTopDocumentListController();
    if (!list) {
        return ok;
    }
    list->view()->resize(window->size());
    list->showSearch();
    auto *search = qobject_cast<DocumentSearchController *>(browser->presentedViewController());
    if (!search) {
        return ok;
    }
    auto *field = search->view()->findChild<QLineEdit *>(QStringLiteral("searchText"));
    const struct {
        const char *text;
        bool finds;
        const char *name;
    } searches[] = {{"re", true, "24-search-results"}, {"zzqx", false, "25-search-no-results"}};
    for (const auto &step : searches) {
        field->setText(QString::fromUtf8(step.text));
        QDeadlineTimer searched(3000);
        while (!searched.hasExpired() && search->results().isEmpty() == step.finds) {
            QApplication::processEvents(QEventLoop::AllEvents, 20);
        }
        ok &= snap(window, directory, prefix + QString::fromUtf8(step.name));
    }
    search->dismissViewControllerAnimated(false);
    return ok;
}

/// The sheet of orders and views, a folder of pictures as a grid, and the Add sheet; the
/// device's own choice of view is given back afterwards.
bool tourSortAndGrid(NavController *browser, QWidget *window, const QString &directory, const QString &prefix)
{
    bool ok = true;
    ListPresentation *presentation = ListPresentation::instance();
    const bool grid = presentation->gridMode();
    const ListSortOrder order = presentation->sortOrder();
    showFolder(browser, driveFile(QStringLiteral("Photos")));
    DocumentListController *list = browser->getTopDocumentListController();
    if (!list) {
        return ok;
    }
    list->view()->resize(window->size());
    list->showPresentationOptions();
    ok &= snap(window, directory, prefix + QStringLiteral("26-sort-and-view"));
    if (ViewController *sheet = browser->presentedViewController()) {
        sheet->dismissViewControllerAnimated(false);
    }
    presentation->setGridMode(true);
    settle(800); // thumbnails come in off the main thread
    ok &= snap(window, directory, prefix + QStringLiteral("27-grid"));
    list->showAddOptions();
    ok &= snap(window, directory, prefix + QStringLiteral("28-add-sheet"));
    if (ViewController *sheet = browser->presentedViewController()) {
        sheet->dismissViewControllerAnimated(false);
    }
    presentation->setGridMode(grid);
    presentation->setSortOrder(order);
    browser->setupInitialViewController();
    return ok;
}

bool tourInSize(const QString &directory, const QString &sizeName, const QSize &size, Device::Idiom idiom)
{
    Device::setForcedIdiom(idiom);
    bool ok = true;
    Window window(QRect(QPoint(0, 0), size));
    auto *browser = new NavController;
    window.setRootViewController(browser);
    window.show();
    // a quota report as the fetcher brings it, so that the status line shows the free space
    browser->documentListControllerItemsChanged(browser->getTopDocumentListController());
    settle(800);
    const QString prefix = sizeName + QLatin1Char('-');
    ok &= snap(&window, directory, prefix + QStringLiteral("01-drive-root"));
    if (const QUrl container = appContainerFolder(); !container.isEmpty()) {
        showFolder(browser, container);
        ok &= snap(&window, directory, prefix + QStringLiteral("02-container"));
    }
    showFolder(browser, deepFolder());
    ok &= snap(&window, directory, prefix + QStringLiteral("03-deep-folder"));
    if (const QUrl promised = folderWithPromises(); !promised.isEmpty()) {
        showFolder(browser, promised);
        ok &= snap(&window, directory, prefix + QStringLiteral("04-promised-items"));
        DocumentListController *list = browser->getTopDocumentListController();
        if (list && list->containedItemCount() > 0) {
            browser->showRenamePrompt(list->containedItems().constLast());
            if (FilenamePrompt *prompt = browser->folderPromptAlert()) {
                prompt->textField()->setText(QStringLiteral(".hidden name"));
                prompt->folderPromptTextFieldChanged(prompt->textField());
                ok &= snap(&window, directory, prefix + QStringLiteral("05-rename-error"));
                prompt->alert()->dismissViewControllerAnimated(false);
            }
        }
    }
    browser->setupInitialViewController();
    browser->documentListControllerItemsChanged(browser->getTopDocumentListController());
    ok &= snap(&window, directory, prefix + QStringLiteral("06-status-bar-upgrade"));
    ok &= tourEditMode(browser, &window, directory, prefix);
    ok &= tourPreviews(browser, &window, directory, prefix, size);
    browser->setupInitialViewController();

    // the drive switched off: the same account file comes back afterwards
    QFile account(DriveLayout::accountFile());
    QByteArray accountData;
    if (account.open(QIODevice::ReadOnly)) {
        accountData = account.readAll();
        account.close();
        QFile::remove(DriveLayout::accountFile());
        browser->setupInitialViewController();
        ok &= snap(&window, directory, prefix + QStringLiteral("21-drive-disabled"));
        // the way to a server of one's own, from the signed-out screen
        if (auto *connectButton = window.findChild<QPushButton *>(QStringLiteral("connectToServerButton"))) {
            connectButton->click();
            settle();
            if (QWidget *form = window.findChild<QWidget *>(QStringLiteral("connectServer"))) {
                form->findChild<QLineEdit *>(QStringLiteral("serverField"))
                    ->setText(QStringLiteral("https://cloud.example.org/remote.php/dav/files/alice/"));
                form->findChild<QLineEdit *>(QStringLiteral("userField"))->setText(QStringLiteral("alice"));
                ok &= snap(&window, directory, prefix + QStringLiteral("22-connect-to-server"));
                form->findChild<QPushButton *>(QStringLiteral("cancelButton"))->click();
                settle();
            }
        }
        if (account.open(QIODevice::WriteOnly)) {
            account.write(accountData);
            account.close();
        }
    }
    browser->setupInitialViewController();
    ok &= tourEmptyAndSearch(browser, &window, directory, prefix);
    ok &= tourSortAndGrid(browser, &window, directory, prefix);
    return ok;
}
} // namespace

int Tour::run(const QString &directory)
{
    if (!QDir().mkpath(directory)) {
        QTextStream(stderr) << "cannot make " << directory << '\n';
        return 1;
    }
    DriveServiceMonitor::ensureStarted();
    NetworkWatcher::sharedNetworkWatcher()->start();
    KVQOfferManager::sharedManager()->fetchOfferIfNeeded();
    bool ok = tourInSize(directory, QStringLiteral("phone"), PhoneSize, Device::Idiom::Phone);
    ok &= tourInSize(directory, QStringLiteral("tablet"), TabletSize, Device::Idiom::Pad);
    return ok ? 0 : 1;
}
