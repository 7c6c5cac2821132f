#include "app/Tour.h"

#include "browser/FilenamePrompt.h"
#include "browser/NavController.h"
#include "model/DRItem.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/KDContainer.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentTargetSelectionController.h"
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
#include <QDirIterator>
#include <QFile>
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
            documents.append(entry.url);
        }
    }
    bool ok = true;
    browser->beginEditMode();
    list->setSelectedItems(documents);
    ok &= snap(window, directory, prefix + QStringLiteral("7-edit-selection"));

    browser->barButtonDeleteItem()->trigger();
    if (auto *sheet = qobject_cast<AlertController *>(list->presentedViewController())) {
        ok &= snap(window, directory, prefix + QStringLiteral("8-delete-sheet"));
        sheet->pressAction(sheet->actionWithTitle(LocalizedString::localized(QStringLiteral("Cancel"))));
    }

    browser->barButtonMoveItem()->trigger(); // leaves edit mode
    if (auto *picker = qobject_cast<DocumentTargetSelectionController *>(list->presentedViewController())) {
        ok &= snap(window, directory, prefix + QStringLiteral("9-folder-picker"));
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
    ok &= snap(&window, directory, prefix + QStringLiteral("1-drive-root"));
    if (const QUrl container = appContainerFolder(); !container.isEmpty()) {
        showFolder(browser, container);
        ok &= snap(&window, directory, prefix + QStringLiteral("2-container"));
    }
    showFolder(browser, deepFolder());
    ok &= snap(&window, directory, prefix + QStringLiteral("3-deep-folder"));
    if (const QUrl promised = folderWithPromises(); !promised.isEmpty()) {
        showFolder(browser, promised);
        ok &= snap(&window, directory, prefix + QStringLiteral("4-promised-items"));
        DocumentListController *list = browser->getTopDocumentListController();
        if (list && list->containedItemCount() > 0) {
            browser->showRenamePrompt(list->containedItems().constLast());
            if (FilenamePrompt *prompt = browser->folderPromptAlert()) {
                prompt->textField()->setText(QStringLiteral(".hidden name"));
                prompt->folderPromptTextFieldChanged(prompt->textField());
                ok &= snap(&window, directory, prefix + QStringLiteral("5-rename-error"));
                prompt->alert()->dismissViewControllerAnimated(false);
            }
        }
    }
    browser->setupInitialViewController();
    browser->documentListControllerItemsChanged(browser->getTopDocumentListController());
    ok &= snap(&window, directory, prefix + QStringLiteral("6-status-bar-upgrade"));
    ok &= tourEditMode(browser, &window, directory, prefix);

    // the drive switched off: the same account file comes back afterwards
    QFile account(DriveLayout::accountFile());
    QByteArray accountData;
    if (account.open(QIODevice::ReadOnly)) {
        accountData = account.readAll();
        account.close();
        QFile::remove(DriveLayout::accountFile());
        browser->setupInitialViewController();
        ok &= snap(&window, directory, prefix + QStringLiteral("11-drive-disabled"));
        if (account.open(QIODevice::WriteOnly)) {
            account.write(accountData);
            account.close();
        }
    }
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
