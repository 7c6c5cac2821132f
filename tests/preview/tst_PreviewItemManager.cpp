#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/ManualDispatchClock.h"
#include "platform/foundation/StringFormat.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/lists/DocumentTargetSelectionController.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/Toolbar.h"
#include "platform/ui/Window.h"
#include "preview/PreviewDetailsViewController.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewItemManager.h"
#include "preview/QuickLookItemController.h"
#include "support/Accessibility.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"
#include "watchers/NetworkWatcher.h"

#include <QDir>
#include <QFile>
#include <QPlainTextEdit>
#include <QProcess>
#include <QTest>


using namespace std::chrono_literals;

namespace {
/// A presenter that only takes a place in the coordinator's list.
class Bystander final : public FilePresenter
{
public:
    explicit Bystander(const QUrl &url)
        : m_url(url)
    {
    }
    QUrl presentedItemURL() const override { return m_url; }

private:
    QUrl m_url;
};
} // namespace

class tst_PreviewItemManager : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static void useNetwork(const QString &state, NetworkState expected)
    {
        QVERIFY(TestDrive::useNetwork(state, expected));
    }
    /// A promised document of `size` bytes in a fresh folder.
    QString promised(const QString &folderName, const QString &name, qint64 size)
    {
        const QString path = m_drive.freshFolder(folderName) + QLatin1Char('/') + name;
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(size)) {
            return {};
        }
        file.close();
        return DriveSetup::promise(path) ? QString() : path;
    }
    static void touch(const QString &path, int secondsAhead)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(secondsAhead), QFileDevice::FileModificationTime));
    }
    /// A phone window whose stack holds one screen, for previews to go on.
    /// A manager showing its screens in `navigation`, asked to preview the file at `path`.
    static std::shared_ptr<PreviewItemManager> previewIn(NavigationController *navigation, const QString &path)
    {
        auto manager = PreviewItemManager::create();
        manager->setNavigationController(navigation);
        manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(path)));
        return manager;
    }

    static NavigationController *stage(Window &window)
    {
        auto *navigation = new NavigationController;
        navigation->setViewControllers({new ViewController}, false);
        window.setRootViewController(navigation);
        window.show();
        return navigation;
    }
    static int count(const QString &message) { return int(LogSpy::withMessage(message).size()); }
    static bool isPresenting(PreviewItemManager *manager)
    {
        for (const auto &presenter : FileCoordinator::filePresenters()) {
            if (presenter.get() == manager) {
                return true;
            }
        }
        return false;
    }
    static int presenterIndex(const FilePresenter *presenter)
    {
        const auto all = FileCoordinator::filePresenters();
        for (int i = 0; i < all.size(); ++i) {
            if (all.at(i).get() == presenter) {
                return i;
            }
        }
        return -1;
    }

private Q_SLOTS:
    void initTestCase()
    {
        LogSpy::keepDebugLines();
        DriveFileManager::signIn(QStringLiteral("user@example.com"));
        DriveServiceMonitor::flush();
    }

    void init() { useNetwork(QStringLiteral("wifi"), NetworkStateWiFi); }

    // the 6 MiB line: one byte less still downloads by itself on Wi-Fi
    void sixMebibytesIsTheAutomaticLimit()
    {
        auto manager = PreviewItemManager::create();
        const QString atLimit = promised(QStringLiteral("limit"), QStringLiteral("at.txt"), 6291456);
        QVERIFY(!atLimit.isEmpty());
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(atLimit)));
        QVERIFY(!manager->autoDownload());
        const QString below = promised(QStringLiteral("below"), QStringLiteral("below.txt"), 6291455);
        LogSpy::clear();
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(below)));
        QVERIFY(manager->autoDownload());
        QCOMPARE(LogSpy::levelOf(StringFormat::format("CanPreview=%@ for %@", qint64(1), QUrl::fromLocalFile(below))),
                 LOG_INFO);
        // a kind the viewer can't show waits for a tap
        const QString binary = promised(QStringLiteral("binary"), QStringLiteral("tool.bin"), 10);
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(binary)));
        QVERIFY(!manager->autoDownload());
        manager->unregisterAsFilePresenter();
    }

    void cellularNeverDownloadsByItself()
    {
        useNetwork(QStringLiteral("cellular"), NetworkStateCellular);
        auto manager = PreviewItemManager::create();
        const QString tiny = promised(QStringLiteral("cell"), QStringLiteral("tiny.txt"), 3);
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(tiny)));
        QVERIFY(!manager->autoDownload());
        manager->unregisterAsFilePresenter();
    }

    void anUnknownSizeCountsAsZero()
    {
        auto manager = PreviewItemManager::create();
        const QString path = promised(QStringLiteral("unknown"), QStringLiteral("notes.txt"), 100);
        const std::shared_ptr<DRItem> item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        item->setFileSize(std::nullopt);
        manager->prepareToPreviewItem(item);
        QVERIFY(manager->autoDownload());
        manager->unregisterAsFilePresenter();
    }

    // Left and Right in the viewer page through the folder's documents in the list's order,
    // passing folders over and stopping at the ends
    void leftAndRightPageThroughTheFolder()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("paging"));
        for (const char *name : {"a.txt", "b.txt", "c.txt"}) {
            QVERIFY(TestDrive::writeFile(folder + QLatin1Char('/') + QLatin1String(name), name));
        }
        QVERIFY(QDir().mkpath(folder + QStringLiteral("/Sub")));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto manager = PreviewItemManager::create();
        manager->setNavigationController(navigation);
        manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/a.txt"))));
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        QTRY_COMPARE(navigation->topViewController(), viewer);
        const int depth = int(navigation->viewControllers().size());

        QTest::keyClick(viewer->view(), Qt::Key_Right);
        QTRY_COMPARE(viewer->currentPreviewItem(), QUrl::fromLocalFile(folder + QStringLiteral("/b.txt")));
        QTest::keyClick(viewer->view(), Qt::Key_Right);
        QTRY_COMPARE(viewer->currentPreviewItem(), QUrl::fromLocalFile(folder + QStringLiteral("/c.txt")));
        QVERIFY(!manager->previewNeighbourItem(1)); // the last one: nothing after it
        QTest::keyClick(viewer->view(), Qt::Key_Left);
        QTRY_COMPARE(viewer->currentPreviewItem(), QUrl::fromLocalFile(folder + QStringLiteral("/b.txt")));
        QCOMPARE(manager->item()->url(), QUrl::fromLocalFile(folder + QStringLiteral("/b.txt")));
        // the viewer takes the place of the one before: Back still leads to the folder
        QCOMPARE(int(navigation->viewControllers().size()), depth);
        manager->unregisterAsFilePresenter();

        // over the folder's list, the pages follow the rows that list shows
        auto *list = new DocumentListController(QUrl::fromLocalFile(folder), nullptr);
        navigation->setViewControllers({list}, false);
        auto overList = PreviewItemManager::create();
        overList->setNavigationController(navigation);
        overList->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/c.txt"))));
        QTRY_COMPARE(navigation->topViewController(), viewer);
        QVERIFY(overList->previewNeighbourItem(-2));
        QTRY_COMPARE(viewer->currentPreviewItem(), QUrl::fromLocalFile(folder + QStringLiteral("/a.txt")));
        QVERIFY(!overList->previewNeighbourItem(-1));
        QCOMPARE(navigation->viewControllers().first(), list);
        overList->unregisterAsFilePresenter();
    }

    // a screen reader names every control of the download screen and of the viewer
    void everyControlHasANameForScreenReaders()
    {
        const QString path = promised(QStringLiteral("spoken"), QStringLiteral("tool.bin"), 10);
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = PreviewItemManager::create();
        manager->setNavigationController(navigation);
        manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(path)));
        QVERIFY(manager->downloadViewController());
        QCOMPARE(navigation->topViewController(), manager->downloadViewController());
        QCoreApplication::processEvents();
        QCOMPARE(Accessibility::unnamedControls(navigation->view()), QStringList());
        manager->unregisterAsFilePresenter();

        const QString text = m_drive.path(QStringLiteral("spoken/Words.txt"));
        QVERIFY(TestDrive::writeFile(text, "words"));
        auto viewerManager = PreviewItemManager::create();
        viewerManager->setNavigationController(navigation);
        viewerManager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(text)));
        QTRY_COMPARE(navigation->topViewController(), QuickLookItemController::defaultController());
        QCoreApplication::processEvents();
        QCOMPARE(Accessibility::unnamedControls(navigation->view()), QStringList());
        viewerManager->unregisterAsFilePresenter();
    }

    // an automatic download ends in the viewer; the download screen's leaving cancels nothing
    void aFinishedDownloadReplacesTheDownloadScreen()
    {
        const QString path = promised(QStringLiteral("auto"), QStringLiteral("auto.txt"), 20);
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = PreviewItemManager::create();
        manager->setNavigationController(navigation);
        LogSpy::clear();
        manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(path)));
        QVERIFY(manager->autoDownload());
        QTRY_COMPARE(navigation->topViewController(), QuickLookItemController::defaultController());
        QCOMPARE(navigation->viewControllers().size(), 2);
        QVERIFY(!PromisePlaceholder::isPromisedItem(path));
        QCOMPARE(QFileInfo(path).size(), 20);
        QCOMPARE(count(StringFormat::format("coordinateReadingItemAtURL was cancelled, URL %@", QUrl::fromLocalFile(path))), 0);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Showing preview of URL %@", QUrl::fromLocalFile(path))), LOG_INFO);
        QVERIFY(!manager->downloadViewController());
        QCOMPARE(QuickLookItemController::defaultController()->arrayOfDocuments(), QList<QUrl>{QUrl::fromLocalFile(path)});
        // the download screen's toolbar goes with it: the viewer has nothing for one, and the
        // document takes the whole height instead of an empty bar
        QVERIFY(!navigation->isToolbarHidden());
        QVERIFY(navigation->toolbar()->isHidden());
        manager->unregisterAsFilePresenter();
    }

    void preparingTheSameItemKeepsTheRegistration()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("same"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/a.txt"), "a"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/b.txt"), "b"));
        auto manager = PreviewItemManager::create();
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/a.txt"))));
        QVERIFY(isPresenting(manager.get()));
        // a presenter registered later shows whether the manager registered again
        auto bystander = std::make_shared<Bystander>(QUrl::fromLocalFile(folder));
        FileCoordinator::addFilePresenter(bystander);
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/a.txt"))));
        QVERIFY(presenterIndex(manager.get()) < presenterIndex(bystander.get()));
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/b.txt"))));
        QVERIFY(presenterIndex(manager.get()) > presenterIndex(bystander.get()));
        QCOMPARE(manager->presentedItemURL(), QUrl::fromLocalFile(folder + QStringLiteral("/b.txt")));
        FileCoordinator::removeFilePresenter(bystander.get());
        manager->unregisterAsFilePresenter();
        QVERIFY(!isPresenting(manager.get()));
    }

    void changesWithinASecondMakeOneRefresh()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("changes"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/c.txt"), "c"));
        ManualDispatchClock clock;
        auto manager = PreviewItemManager::create();
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/c.txt"))));
        LogSpy::clear();
        manager->presentedItemDidChange();
        manager->presentedItemDidChange();
        manager->presentedItemDidChange();
        QVERIFY(manager->refreshPending());
        QCOMPARE(count(StringFormat::format("%@ changed", QUrl::fromLocalFile(folder + QStringLiteral("/c.txt")))), 3);
        clock.advance(999ms);
        QCoreApplication::processEvents();
        QCOMPARE(count(StringFormat::format("Refreshing %@", QUrl::fromLocalFile(folder + QStringLiteral("/c.txt")))), 0);
        clock.advance(1ms);
        QTRY_VERIFY(!manager->refreshPending());
        QCOMPARE(count(StringFormat::format("Refreshing %@", QUrl::fromLocalFile(folder + QStringLiteral("/c.txt")))), 1);
        manager->unregisterAsFilePresenter();
    }

    // leaving the download screen stops the download, gives the partial copy back, says nothing
    void leavingTheDownloadScreenCancelsQuietly()
    {
        const QString path = promised(QStringLiteral("slow"), QStringLiteral("slow.txt"), 400000);
        QVERIFY(!DriveSetup::setStoreRate(100000));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        useNetwork(QStringLiteral("cellular"), NetworkStateCellular); // no automatic start
        auto manager = previewIn(navigation, path);
        auto *screen = qobject_cast<PreviewDownloadViewController *>(navigation->topViewController());
        QVERIFY(screen);
        LogSpy::clear();
        manager->startDownload();
        QTRY_VERIFY(manager->downloadFC());
        QTest::qWait(150);
        navigation->popViewControllerAnimated(false);
        QTRY_VERIFY(count(StringFormat::format("coordinateReadingItemAtURL was cancelled, URL %@", QUrl::fromLocalFile(path))) == 1);
        QTRY_VERIFY(!manager->downloadFC());
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Evicted %@", QUrl::fromLocalFile(path))), LOG_DEBUG);
        DriveSetup::setStoreRate(0);
        QVERIFY(PromisePlaceholder::isPromisedItem(path)); // the placeholder is as it was
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(!navigation->presentedViewController());
        QVERIFY(!navigation->topViewController()->presentedViewController());
        manager->unregisterAsFilePresenter();
    }

    // A downloaded document whose name is not UTF-8 is on the device: a tap shows it as such
    // (its name, no offer to download what is already here), never the download screen.
    void aDocumentNamedInBytesThatAreNotUtf8IsNotOfferedForDownload()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("bytes"));
        const QString path = folder + QLatin1Char('/') + FilePath::decode("bad\xff.txt");
        QVERIFY(TestDrive::writeFile(path, ""));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = previewIn(navigation, path);
        QCOMPARE(navigation->topViewController(), QuickLookItemController::defaultController());
        QVERIFY(!qobject_cast<PreviewDownloadViewController *>(navigation->topViewController()));
        manager->unregisterAsFilePresenter();
    }

    void aRefreshWithoutAStoredDateLeavesTheViewerAlone()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("dates"));
        const QString path = folder + QStringLiteral("/d.txt");
        QVERIFY(TestDrive::writeFile(path, "first"));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = previewIn(navigation, path);
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        QCOMPARE(navigation->topViewController(), viewer);
        QVERIFY(viewer->isVisible());
        QWidget *before = viewer->rendererWidget();
        // a newer file with an earlier stored date refreshes the viewer
        touch(path, 60);
        manager->refreshItem(QUrl::fromLocalFile(path));
        QVERIFY(viewer->rendererWidget() != before);
        // with no stored date it never does
        auto fresh = PreviewItemManager::create();
        fresh->setNavigationController(navigation);
        fresh->setItem_updatePreview(DRItem::initWithURL(QUrl::fromLocalFile(path)), false); // stored, not prepared
        QVERIFY(!fresh->modifiedDate().isValid());
        before = viewer->rendererWidget();
        touch(path, 120);
        fresh->refreshItem(QUrl::fromLocalFile(path));
        QCOMPARE(viewer->rendererWidget(), before);
        manager->unregisterAsFilePresenter();
        fresh->unregisterAsFilePresenter();
    }

    void serverUnavailableSaysOfflineOnlyWhenOffline()
    {
        Window window(QRect(0, 0, 390, 844));
        auto *navigation = new NavigationController;
        auto *root = new ViewController;
        navigation->setViewControllers({root}, false);
        window.setRootViewController(navigation);
        window.show();
        auto manager = PreviewItemManager::create();
        manager->setNavigationController(navigation);
        const Error unavailable = Error::fileError(UbiquityServerNotAvailableError);
        manager->showDownloadError(unavailable);
        auto *alert = qobject_cast<AlertController *>(root->presentedViewController());
        QVERIFY(alert);
        QCOMPARE(alert->title(), QString());
        QCOMPARE(alert->message(), unavailable.localizedDescription());
        QCOMPARE(alert->actions().size(), 1);
        QCOMPARE(alert->actions().first()->title(), QStringLiteral("OK"));
        root->dismissViewControllerAnimated(false);
        useNetwork(QStringLiteral("offline"), NetworkStateNotConnected);
        manager->showDownloadError(unavailable);
        alert = qobject_cast<AlertController *>(root->presentedViewController());
        QVERIFY(alert);
        QCOMPARE(alert->message(), QStringLiteral("Unable to download file. You are no longer connected to the Internet."));
        root->dismissViewControllerAnimated(false);
        // a cancelled download is never reported
        manager->showDownloadError(Error::fileError(UserCancelledError));
        QVERIFY(!root->presentedViewController());
    }

    // another process writes the file: the viewer shows the new content about a second later
    void aWriteByAnotherProcessRefreshesThePreview()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("external"));
        const QString path = folder + QStringLiteral("/shared.txt");
        QVERIFY(TestDrive::writeFile(path, "before"));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = previewIn(navigation, path);
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        QCOMPARE(navigation->topViewController(), viewer);
        auto *text = qobject_cast<QPlainTextEdit *>(viewer->rendererWidget());
        QVERIFY(text);
        QCOMPARE(text->toPlainText(), QStringLiteral("before"));
        LogSpy::clear();
        QTest::qWait(1100); // a newer modification time than the one the preview read
        QCOMPARE(QProcess::execute(QStringLiteral("/bin/sh"),
                                   {QStringLiteral("-c"), QStringLiteral("printf after > \"$0\""), path}),
                 0);
        QTRY_VERIFY_WITH_TIMEOUT(manager->refreshPending(), 5000);
        QTRY_VERIFY_WITH_TIMEOUT(!manager->refreshPending(), 5000);
        text = qobject_cast<QPlainTextEdit *>(viewer->rendererWidget());
        QVERIFY(text);
        QCOMPARE(text->toPlainText(), QStringLiteral("after"));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("%@ changed", QUrl::fromLocalFile(path))), LOG_INFO);
        manager->unregisterAsFilePresenter();
    }

    // the app moves the item: the preview follows it to its new place
    void aMoveIsFollowed()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("moving"));
        QDir().mkpath(folder + QStringLiteral("/Target"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/m.txt"), "m"));
        auto manager = PreviewItemManager::create();
        manager->prepareToPreviewItem(DRItem::initWithURL(QUrl::fromLocalFile(folder + QStringLiteral("/m.txt"))));
        LogSpy::clear();
        QVERIFY(!FileUtils::move_to(QUrl::fromLocalFile(folder + QStringLiteral("/m.txt")),
                                    QUrl::fromLocalFile(folder + QStringLiteral("/Target/m.txt"))));
        QTRY_COMPARE(manager->item()->url(), QUrl::fromLocalFile(folder + QStringLiteral("/Target/m.txt")));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("presentedItemDidMoveToURL: %@ changed to %@",
                                                      QUrl::fromLocalFile(folder + QStringLiteral("/m.txt")),
                                                      QUrl::fromLocalFile(folder + QStringLiteral("/Target/m.txt")))),
                 LOG_INFO);
        manager->unregisterAsFilePresenter();
    }

    // Delete from the preview: asked first, then the screen goes as the file does
    void deletingFromThePreviewLeavesIt()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("deleting"));
        const QString path = folder + QStringLiteral("/gone.txt");
        QVERIFY(TestDrive::writeFile(path, "g"));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = previewIn(navigation, path);
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        QCOMPARE(navigation->topViewController(), viewer);
        viewer->barButtonDeleteItem()->trigger();
        auto *sheet = qobject_cast<AlertController *>(viewer->presentedViewController());
        QVERIFY(sheet);
        QCOMPARE(sheet->popoverPresentationController()->barButtonItem(), viewer->barButtonDeleteItem());
        LogSpy::clear();
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Delete from Aerova Drive")));
        QVERIFY(!QFileInfo::exists(path));
        QTRY_COMPARE(navigation->viewControllers().size(), 1);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("%@ accommodate deletion", QUrl::fromLocalFile(path))), LOG_INFO);
        QVERIFY(!manager->filePresenterRegistered());
    }

    // Move from the preview: the picker, then the item in the chosen folder
    void movingFromThePreview()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("pickmove"));
        QDir().mkpath(folder + QStringLiteral("/Into"));
        const QString path = folder + QStringLiteral("/doc.txt");
        QVERIFY(TestDrive::writeFile(path, "d"));
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = previewIn(navigation, path);
        LogSpy::clear();
        QuickLookItemController::defaultController()->barButtonMoveItem()->trigger();
        auto *picker = qobject_cast<DocumentTargetSelectionController *>(navigation->presentedViewController());
        QVERIFY(picker);
        QCOMPARE(picker->delegate(), manager.get());
        QCOMPARE(picker->modalPresentationStyle(), ViewController::ModalPresentationStyle::OverCurrentContext);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Presented moveTarget")), LOG_DEBUG);
        manager->documentTargetSelectionController_didSelectItemAtURL(picker, QUrl::fromLocalFile(folder + QStringLiteral("/Into")));
        QVERIFY(!navigation->presentedViewController());
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Into/doc.txt")));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("MoveTarget = %@", QUrl::fromLocalFile(folder + QStringLiteral("/Into")))),
                 LOG_DEBUG);
        manager->unregisterAsFilePresenter();
    }

    // a download killed in the middle leaves the placeholder as it was and nothing under the name
    void aKilledDownloadLeavesThePlaceholderWhole()
    {
        const QString path = promised(QStringLiteral("killed"), QStringLiteral("movie.bin"), 2000000);
        const QString placeholderPath = PromisePlaceholder::placeholderPathFor(path);
        const QByteArray placeholderBefore = [&] {
            QFile file(placeholderPath);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        }();
        QVERIFY(!placeholderBefore.isEmpty());
        QVERIFY(!DriveSetup::setStoreRate(500000));
        QProcess download;
        download.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("download"), path});
        QVERIFY(download.waitForStarted());
        // killed once it has written some of the content
        QByteArray output;
        QTRY_VERIFY2_WITH_TIMEOUT((output += download.readAllStandardOutput()).contains("progress"),
                                  QByteArray(output + download.readAllStandardError()).constData(), 10000);
        QTest::qWait(300);
        download.kill();
        QVERIFY(download.waitForFinished());
        DriveSetup::setStoreRate(0);
        QVERIFY(!QFileInfo::exists(path));
        QFile placeholder(placeholderPath);
        QVERIFY(placeholder.open(QIODevice::ReadOnly));
        QCOMPARE(placeholder.readAll(), placeholderBefore);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        // and the item still downloads whole afterwards
        std::optional<Error> error;
        FileCoordinator coordinator;
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(QUrl::fromLocalFile(path),
                                                                        FileCoordinator::ReadingWithoutChanges, &error,
                                                                        [](const QUrl &) {});
        QVERIFY(!error);
        QCOMPARE(QFileInfo(path).size(), 2000000);
    }

    // a download finished by someone else replaces the download screen by the document
    void aDownloadByAnotherProcessShowsTheDocument()
    {
        const QString path = promised(QStringLiteral("elsewhere"), QStringLiteral("report.txt"), 64);
        useNetwork(QStringLiteral("cellular"), NetworkStateCellular); // nothing starts here
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        auto manager = previewIn(navigation, path);
        QVERIFY(qobject_cast<PreviewDownloadViewController *>(navigation->topViewController()));
        QCOMPARE(QProcess::execute(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("download"), path}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(navigation->topViewController(), QuickLookItemController::defaultController(), 5000);
        QCOMPARE(navigation->viewControllers().size(), 2);
        QCOMPARE(QuickLookItemController::defaultController()->currentPreviewItem(), QUrl::fromLocalFile(path));
        manager->unregisterAsFilePresenter();
    }

    // a search on screen goes first; the preview it leaves for starts no download by itself
    void aSearchIsDismissedBeforeThePreviewIsPushed()
    {
        const QString path = promised(QStringLiteral("search"), QStringLiteral("found.txt"), 12);
        Window window(QRect(0, 0, 390, 844));
        NavigationController *navigation = stage(window);
        navigation->presentViewController(new DocumentSearchController(nullptr), false);
        QVERIFY(qobject_cast<DocumentSearchController *>(navigation->presentedViewController()));
        auto manager = PreviewItemManager::create();
        manager->setNavigationController(navigation);
        LogSpy::clear();
        manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(path)));
        QVERIFY(manager->autoDownload());
        QVERIFY(!navigation->presentedViewController());
        QCOMPARE(navigation->viewControllers().size(), 1); // not yet pushed
        QTRY_VERIFY(qobject_cast<PreviewDownloadViewController *>(navigation->topViewController()));
        QTest::qWait(100);
        QVERIFY(!manager->downloadFC());
        QCOMPARE(count(QStringLiteral("Dispatching download...")), 0);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        manager->unregisterAsFilePresenter();
    }
};

QTEST_MAIN(tst_PreviewItemManager)
#include "tst_PreviewItemManager.moc"
