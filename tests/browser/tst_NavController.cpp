#include "browser/DocumentListControllerStatusBar.h"
#include "browser/FilenamePrompt.h"
#include "browser/NavController.h"
#include "browser/SimpleTextViewController.h"
#include "browser/StatusBar.h"
#include "browser/UIUtils.h"
#include "core/DRLogging.h"
#include "core/Settings.h"
#include "model/DRItem.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/foundation/ManualDispatchClock.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/StringFormat.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/lists/DocumentTargetFolderListController.h"
#include "platform/lists/DocumentTargetSelectionController.h"
#include "platform/quota/KVQOfferManager.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/StateCoder.h"
#include "platform/ui/Toolbar.h"
#include "preview/PreviewDetailsViewController.h"
#include "preview/PreviewItemManager.h"
#include "preview/QuickLookItemController.h"
#include "support/Accessibility.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"
#include "watchers/NetworkWatcher.h"
#include "watchers/QuotaFetcher.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QScopeGuard>
#include <QListView>
#include <QTest>

using namespace std::chrono_literals;

class tst_NavController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static void activate() { NotificationCenter::defaultCenter()->post(NotificationName::ApplicationDidBecomeActive); }
    static int quotaReports()
    {
        const QStringList messages = LogSpy::messages();
        return int(std::count_if(messages.cbegin(), messages.cend(),
                                 [](const QString &m) { return m.startsWith(QStringLiteral("updated quota at")); }));
    }
    static int count(const QString &message) { return int(LogSpy::withMessage(message).size()); }
    static void forgetStoredToken()
    {
        UserDefaults::standardUserDefaults()->removeObjectForKey(NavController::UbiquityIdentityTokenKey);
        UserDefaults::standardUserDefaults()->synchronize();
    }
    static bool hasStoredToken()
    {
        UserDefaults::standardUserDefaults()->synchronize();
        return !UserDefaults::standardUserDefaults()->dataForKey(NavController::UbiquityIdentityTokenKey).isEmpty();
    }
    /// Shows the lists from the drive's root down to `path`, as the browser does for a URL.
    static DocumentListController *showFolder(NavController *browser, const QString &path)
    {
        const QList<DocumentListController *> chain
            = DocumentListController::listControllerHierarchyForURL(QUrl::fromLocalFile(path), browser);
        for (DocumentListController *list : chain) {
            browser->initNewListController(list);
        }
        browser->setViewControllers(QList<ViewController *>(chain.begin(), chain.end()), false);
        return browser->getTopDocumentListController();
    }
    /// The browser on screen in a phone's size, where keys and clicks reach it.
    static std::unique_ptr<NavController> phoneSizedBrowser()
    {
        auto browser = std::make_unique<NavController>();
        browser->view()->resize(390, 844);
        browser->view()->show();
        return browser;
    }
    static QString containerDocuments(const QString &identifier)
    {
        return DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + identifier + QStringLiteral("/Documents");
    }
    static QUrl fileURL(const QString &path) { return QUrl::fromLocalFile(path); }
    /// What the browser shows over everything: a prompt, a sheet, an alert or the picker.
    static ViewController *shownOver(NavController *browser)
    {
        if (ViewController *presented = browser->presentedViewController()) {
            return presented;
        }
        ViewController *top = browser->topViewController();
        return top ? top->presentedViewController() : nullptr;
    }
    static AlertController *shownAlert(NavController *browser)
    {
        return qobject_cast<AlertController *>(shownOver(browser));
    }
    static void dismissShown(NavController *browser)
    {
        if (ViewController *shown = shownOver(browser)) {
            shown->dismissViewControllerAnimated(false);
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    static void typeAndConfirm(FilenamePrompt *prompt, const QString &name)
    {
        prompt->textField()->setText(name);
        prompt->folderPromptTextFieldChanged(prompt->textField());
        prompt->alert()->pressAction(prompt->defaultAction());
    }
    static QString promptError(FilenamePrompt *prompt)
    {
        return prompt->errMsgViewController()->view()->isHidden() ? QString()
                                                                 : prompt->errMsgViewController()->messageLabel()->text();
    }
    static QStringList titles(const QList<BarButtonItem *> &items)
    {
        QStringList result;
        for (BarButtonItem *item : items) {
            result << (item->isSpace() ? QStringLiteral("<space>") : item->displayText());
        }
        return result;
    }

    /// Opens the first folder of the top list, as a tap does.
    static DocumentListController *openFirstFolder(NavController *browser)
    {
        DocumentListController *top = browser->getTopDocumentListController();
        for (const DocumentListEntry &entry : top->model()->entries()) {
            if (entry.isFolder) {
                top->activateItemAtURL(entry.url());
                break;
            }
        }
        return browser->getTopDocumentListController();
    }

private Q_SLOTS:
    void initTestCase()
    {
        // one app on this test's desktop: the default for CSV files, taking URLs
        m_drive.useOwnDesktop();
        QVERIFY(TestDrive::writeFile(m_drive.home() + QStringLiteral("/data/applications/com.example.Sheets.desktop"),
                                     "[Desktop Entry]\nType=Application\nName=Sheets\nExec=true %U\n"
                                     "MimeType=text/csv;\n"));
        QVERIFY(TestDrive::writeFile(m_drive.home() + QStringLiteral("/config/mimeapps.list"),
                                     "[Default Applications]\ntext/csv=com.example.Sheets.desktop\n"));
        LogSpy::keepDebugLines();
        DocumentPickerUnavailableViewController::registerClass();
        QDir().mkpath(m_drive.root() + QStringLiteral("/Work/2026"));
        QDir().mkpath(m_drive.root() + QStringLiteral("/Photos"));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.notes"), QStringLiteral("Notes"),
                                          QStringLiteral("One"), {QStringLiteral("public.plain-text")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.flat"), QStringLiteral("Flat"),
                                          QStringLiteral("None"), {QStringLiteral("public.plain-text")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.writer"), QStringLiteral("Writer"),
                                          QStringLiteral("Any"), {QStringLiteral("public.plain-text")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.sketch"), QStringLiteral("Sketch"), QString(),
                                          {QStringLiteral("public.plain-text")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.odd"), QStringLiteral("Odd"),
                                          QStringLiteral("Twice"), {QStringLiteral("public.plain-text")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.slides"), QStringLiteral("Slides"),
                                          QStringLiteral("One"), {QStringLiteral("public.plain-text")}));
        QDir().mkpath(containerDocuments(QStringLiteral("com.example.notes")) + QStringLiteral("/Trips"));
        QDir().mkpath(containerDocuments(QStringLiteral("com.example.flat")));
        QDir().mkpath(containerDocuments(QStringLiteral("com.example.writer")) + QStringLiteral("/Drafts/Old"));
        QDir().mkpath(containerDocuments(QStringLiteral("com.example.sketch")) + QStringLiteral("/A/B"));
        QDir().mkpath(containerDocuments(QStringLiteral("com.example.slides")) + QStringLiteral("/Deck.odp"));
        QVERIFY(TestDrive::writeFile(containerDocuments(QStringLiteral("com.example.notes")) + QStringLiteral("/Note.txt"), "n"));
        QVERIFY(TestDrive::writeFile(containerDocuments(QStringLiteral("com.example.flat")) + QStringLiteral("/List.txt"), "l"));
    }

    void init()
    {
        DriveFileManager::signIn(QStringLiteral("user@example.com"));
        DriveServiceMonitor::flush();
        forgetStoredToken();
        LogSpy::clear();
    }

    // the first launch after installing stores the account and sets the screen up again;
    // later activations with the same account keep what the user opened
    void firstActivationStoresTheTokenThenMatches()
    {
        NavController browser;
        browser.view();
        QCOMPARE(count(QStringLiteral("Aerova is enabled")), 1);
        QVERIFY(!hasStoredToken());

        activate();
        QVERIFY(hasStoredToken());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Aerova Token Changed, enabled=YES, reinitializing view")), LOG_INFO);
        QCOMPARE(count(QStringLiteral("Aerova is enabled")), 2);

        DocumentListController *folder = openFirstFolder(&browser);
        QCOMPARE(browser.viewControllers().size(), 2);
        LogSpy::clear();
        activate();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Aerova Token Matches")), LOG_DEBUG);
        QCOMPARE(count(QStringLiteral("Aerova is enabled")), 0);
        QCOMPARE(browser.viewControllers().size(), 2);
        QCOMPARE(browser.getTopDocumentListController(), folder);
    }

    // signing out must not leave the user's folders on screen
    void signingOutReplacesEverythingByThePlaceholder()
    {
        NavController browser;
        browser.view();
        activate();
        openFirstFolder(&browser);
        openFirstFolder(&browser);
        QVERIFY(browser.viewControllers().size() >= 2);
        QVERIFY(!browser.isToolbarHidden());
        // and a preview on top of the deep folder
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Work/2026/Minutes.txt")), "m"));
        browser.showPreview_previewMode(DRItem::initWithURL(m_drive.url(QStringLiteral("Work/2026/Minutes.txt"))),
                                        PreviewModeDetails);
        QVERIFY(qobject_cast<PreviewDetailsViewController *>(browser.topViewController()));
        QVERIFY(browser.quotaFetcher());

        DriveFileManager::signOut();
        activate();
        QCOMPARE(browser.viewControllers().size(), 1);
        QVERIFY(qobject_cast<DocumentPickerUnavailableViewController *>(browser.topViewController()));
        QVERIFY(browser.isToolbarHidden());
        QVERIFY(browser.toolbar()->isHidden());
        QVERIFY(!browser.quotaFetcher());
        QCOMPARE(browser.quotaBytes(), quint64(0));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Aerova Token Changed, enabled=NO, reinitializing view")), LOG_INFO);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Aerova is not enabled")), LOG_WARNING);
        QVERIFY(!hasStoredToken());
    }

    // nobody signed in, nobody remembered: nothing to rebuild
    void bothTokensAbsentIsNoChange()
    {
        DriveFileManager::signOut();
        NavController browser;
        browser.view();
        LogSpy::clear();
        activate();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Aerova Token Matches")), LOG_DEBUG);
        QCOMPARE(count(QStringLiteral("Aerova is not enabled")), 0);
        QVERIFY(!hasStoredToken());
    }

    // the back button leaves edit mode when the list below is not selecting
    void backToAListThatIsNotEditingEndsEditMode()
    {
        NavController browser;
        browser.view();
        openFirstFolder(&browser);
        browser.setEditMode(true);
        browser.getTopDocumentListController()->setEditing_animated(true, false);
        browser.popViewControllerAnimated(false);
        QVERIFY(!browser.getTopDocumentListController()->editing());
        QVERIFY(!browser.editMode());
    }

    // selecting must not be interrupted by walking away
    void folderTapInEditModeIsRefused()
    {
        NavController browser;
        browser.view();
        browser.setEditMode(true);
        LogSpy::clear();
        openFirstFolder(&browser);
        QCOMPARE(browser.viewControllers().size(), 1);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("DLC Navigation not allowed while in edit mode")), LOG_WARNING);
    }

    // the re-reads after an offer change must not revive a signed-out drive's fetcher
    void offerChangeWhileUnavailableFetchesNothing()
    {
        ManualDispatchClock clock;
        DriveFileManager::signOut();
        NavController browser;
        browser.view();
        LogSpy::clear();
        browser.offerChangedNotification();
        clock.advance(21s);
        QCoreApplication::processEvents();
        QVERIFY(!browser.quotaFetcher());
        QCOMPARE(browser.quotaBytes(), quint64(0));
        for (const QString &message : LogSpy::messages()) {
            QVERIFY2(!message.startsWith(QStringLiteral("updated quota at")), qPrintable(message));
        }
    }

    // the counterpart: with the drive on, each of the three re-reads reaches the fetcher
    void offerChangeReadsTheFreeSpaceAgain()
    {
        DriveSetup::setNetwork(QStringLiteral("wifi"));
        NetworkWatcher::sharedNetworkWatcher()->start();
        DriveServiceMonitor::flush();
        QTRY_COMPARE(NetworkWatcher::sharedNetworkWatcher()->networkState(), NetworkState(2));
        DriveSetup::setQuota(5000000000, 4000000000);
        DriveSetup::setOffer(2, QStringLiteral("Storage is almost full"));
        // the service's own report of the new offer is consumed before the browser starts
        DriveServiceMonitor::flush();
        QCoreApplication::sendPostedEvents();
        KVQOfferManager::sharedManager()->reset();
        ManualDispatchClock clock;
        NavController browser;
        browser.view();
        QTRY_VERIFY(browser.lastQuotaFetch().isValid());
        // the offer arrives from the service and re-reads the free space at 1, 5 and 20 seconds
        QTRY_VERIFY(browser.upgradeOffer());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Quota Offer Changed, offer level is 2")), LOG_INFO);
        LogSpy::clear();
        clock.advance(2s);
        QTRY_COMPARE(quotaReports(), 1);
        clock.advance(4s);
        QTRY_COMPARE(quotaReports(), 2);
        clock.advance(15s);
        QTRY_COMPARE(quotaReports(), 3);
    }

    // a file deleted since the state was saved is simply not shown again
    void restoringADeletedFileShowsNothing()
    {
        NavController browser;
        browser.view();
        const QString path = m_drive.root() + QStringLiteral("/Gone.txt");
        StateCoder coder;
        coder.encodeObject_forKey(QUrl::fromLocalFile(path), QStringLiteral("url"));
        coder.encodeInteger_forKey(PreviewModeDetails, QStringLiteral("PreviewMode"));
        LogSpy::clear();
        browser.decodeRestorableStateWithCoder(coder);
        QVERIFY(!browser.itemManager());
        QCOMPARE(browser.viewControllers().size(), 1);
        QVERIFY(!browser.presentedViewController());
        for (const SystemLogMessage &record : LogSpy::records()) {
            QVERIFY(record.value(QStringLiteral("Level")).toInt() > LOG_WARNING);
        }
        // the same state with the file present asks for the saved mode
        QVERIFY(TestDrive::writeFile(path, "back"));
        browser.decodeRestorableStateWithCoder(coder);
        QVERIFY(browser.itemManager());
        QCOMPARE(browser.itemManager()->mode(), PreviewModeDetails);
        QVERIFY(qobject_cast<PreviewDetailsViewController *>(browser.topViewController()));
        // and what is on screen is saved again
        StateCoder saved;
        browser.encodeRestorableStateWithCoder(saved);
        QCOMPARE(saved.decodeObjectForKey(QStringLiteral("url")).toUrl(), QUrl::fromLocalFile(path));
        QCOMPARE(saved.decodeIntegerForKey(QStringLiteral("PreviewMode")), PreviewModeDetails);
    }

    // the saved state is a file another process can write: a URL in it that leads out of the
    // drive, directly or through a link, is not shown at the next launch
    void restoringAnItemOutsideTheDriveShowsNothing()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/passwd"), "root:x:0:0"));
        const QString link = m_drive.root() + QStringLiteral("/passwd");
        QVERIFY(QFile::link(outside.path() + QStringLiteral("/passwd"), link));
        for (const QString &saved : QStringList{outside.path() + QStringLiteral("/passwd"), link}) {
            NavController browser;
            browser.view();
            StateCoder coder;
            coder.encodeObject_forKey(QUrl::fromLocalFile(saved), QStringLiteral("url"));
            coder.encodeInteger_forKey(PreviewModePreview, QStringLiteral("PreviewMode"));
            LogSpy::clear();
            browser.decodeRestorableStateWithCoder(coder);
            QVERIFY(!browser.itemManager());
            QCOMPARE(browser.viewControllers().size(), 1);
            QCOMPARE(LogSpy::levelOf(QStringLiteral("Not restoring %1: it is not an item inside the drive")
                                         .arg(QUrl::fromLocalFile(saved).toString())),
                     LOG_ERR);
        }
        QVERIFY(QFile::remove(link));
    }

    // every list the browser shows is configured the same way
    void listsAreConfiguredWhenShown()
    {
        NavController browser;
        browser.view();
        DocumentListController *root = browser.getTopDocumentListController();
        QCOMPARE(root->availableActions(), qint64(15));
        QCOMPARE(root->delegate(), &browser);
        QCOMPARE(browser.viewTitle(), QStringLiteral("Aerova Drive"));
        DocumentListController *folder = openFirstFolder(&browser);
        QCOMPARE(browser.viewTitle(), folder->title());
        QCOMPARE(folder->delegate(), &browser);
    }

    // ---- edit mode

    // the bars change with the mode, and back again
    // a screen reader names every control of the browser, in each mode and sheet, and reads
    // each row as its name and what it is
    void everyControlHasANameForScreenReaders()
    {
        const auto browser = phoneSizedBrowser();
        DocumentListController *list = showFolder(browser.get(), m_drive.root() + QStringLiteral("/Work"));
        QCoreApplication::processEvents();
        QCOMPARE(Accessibility::unnamedControls(browser->view()), QStringList());
        browser->beginEditMode();
        list->setSelectedItems({m_drive.url(QStringLiteral("Work/2026"))});
        QCOMPARE(Accessibility::unnamedControls(browser->view()), QStringList());
        browser->endEditMode();
        list->showPresentationOptions();
        QCOMPARE(Accessibility::unnamedControls(browser->view()), QStringList());
        dismissShown(browser.get());

        QAccessibleInterface *rows = QAccessible::queryAccessibleInterface(list->listView());
        QVERIFY(rows);
        QCOMPARE(rows->role(), QAccessible::List);
        QAccessibleInterface *row = rows->child(0);
        QVERIFY(row);
        QCOMPARE(row->role(), QAccessible::ListItem);
        QCOMPARE(row->text(QAccessible::Name), QStringLiteral("2026, Folder"));
    }

    void editModeSwapsTheBars()
    {
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, m_drive.root() + QStringLiteral("/Work"));
        QCOMPARE(titles(list->navigationItem()->rightBarButtonItems()), QStringList{QStringLiteral("Select")});
        QCOMPARE(list->navigationItem()->title(), QStringLiteral("Work"));
        QVERIFY(!list->navigationItem()->hidesBackButton());

        LogSpy::clear();
        list->navigationItem()->rightBarButtonItems().first()->trigger();
        QVERIFY(browser.editMode());
        QVERIFY(list->editing());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Begin Edit mode")), LOG_INFO);
        QCOMPARE(list->navigationItem()->rightBarButtonItems().first()->systemItem(), BarButtonItem::SystemItem::Cancel);
        QVERIFY(list->navigationItem()->hidesBackButton());
        QCOMPARE(titles(list->toolbarItems()), (QStringList{QStringLiteral("New Folder"), QStringLiteral("<space>"),
                                                             QStringLiteral("Move"), QStringLiteral("<space>"),
                                                             QStringLiteral("Delete")}));
        QCOMPARE(list->toolbarItems().at(1), list->toolbarItems().at(3)); // one space, used twice
        QCOMPARE(list->toolbarItems().first(), browser.barButtonNewFolder());
        QCOMPARE(list->toolbarItems().at(2), browser.barButtonMoveItem());
        QCOMPARE(list->toolbarItems().last(), browser.barButtonDeleteItem());

        list->setSelectedItems({m_drive.url(QStringLiteral("Work/2026"))});
        LogSpy::clear();
        list->navigationItem()->rightBarButtonItems().first()->trigger();
        QVERIFY(!browser.editMode());
        QVERIFY(!list->editing());
        const QString line = StringFormat::format("EndEditMode.  Selected %d items: %@", 1,
                                                  QList<QUrl>{m_drive.url(QStringLiteral("Work/2026"))});
        QCOMPARE(LogSpy::levelOf(line), LOG_DEBUG);
        QVERIFY(!browser.barButtonMoveItem());
        QCOMPARE(titles(list->navigationItem()->rightBarButtonItems()), QStringList{QStringLiteral("Select")});
        QCOMPARE(list->navigationItem()->title(), QStringLiteral("Work"));
        QVERIFY(!list->navigationItem()->hidesBackButton());
        QVERIFY(StatusBar::statusBar(list));
        QCOMPARE(list->toolbarItems(), StatusBar::statusBar(list)->toolbarItems());
    }

    void nothingSelectedDisablesMoveAndDelete()
    {
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, m_drive.root() + QStringLiteral("/Work"));
        browser.beginEditMode();
        browser.documentListControllerItemsChanged(list);
        QCOMPARE(list->navigationItem()->title(), QStringLiteral("Select Items"));
        QVERIFY(!browser.barButtonMoveItem()->isEnabled());
        QVERIFY(!browser.barButtonDeleteItem()->isEnabled());
        // selecting counts the items in the title and enables the actions
        list->setSelectedItems({m_drive.url(QStringLiteral("Work/2026"))});
        QCOMPARE(list->navigationItem()->title(), QStringLiteral("1 Item Selected"));
        QVERIFY(browser.barButtonMoveItem()->isEnabled());
        QVERIFY(browser.barButtonDeleteItem()->isEnabled());
    }

    void containersNeverMoveAndNeverMixInADelete()
    {
        NavController browser;
        browser.view();
        DocumentListController *root = browser.getTopDocumentListController();
        QVERIFY(TestDrive::writeFile(m_drive.root() + QStringLiteral("/Loose.txt"), "x"));
        root->reloadContents();
        browser.beginEditMode();
        browser.documentListControllerItemsChanged(root);
        const QUrl container = fileURL(containerDocuments(QStringLiteral("com.example.notes")));
        root->setSelectedItems({container});
        QCOMPARE(root->selectedItems().size(), 1);
        QVERIFY(!browser.barButtonMoveItem()->isEnabled());
        QVERIFY(browser.barButtonDeleteItem()->isEnabled());
        root->setSelectedItems({container, m_drive.url(QStringLiteral("Loose.txt"))});
        QCOMPARE(root->selectedItems().size(), 2);
        QVERIFY(!browser.barButtonMoveItem()->isEnabled());
        QVERIFY(!browser.barButtonDeleteItem()->isEnabled());
        QCOMPARE(NavController::numContainersInURLArray(root->selectedItems()), quint64(1));
    }

    void folderMovesOnlyWhereAnyDepthIsAllowed_data()
    {
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<bool>("movable");
        QTest::newRow("one level") << QStringLiteral("com.example.notes") << false;
        QTest::newRow("no folders") << QStringLiteral("com.example.flat") << false;
        QTest::newRow("any depth") << QStringLiteral("com.example.writer") << true;
        QTest::newRow("not declared") << QStringLiteral("com.example.sketch") << true;
    }
    void folderMovesOnlyWhereAnyDepthIsAllowed()
    {
        QFETCH(QString, identifier);
        QFETCH(bool, movable);
        const QString documents = containerDocuments(identifier);
        QDir().mkpath(documents + QStringLiteral("/Box"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, documents);
        browser.beginEditMode();
        browser.documentListControllerItemsChanged(list);
        list->setSelectedItems({fileURL(documents + QStringLiteral("/Box"))});
        QCOMPARE(NavController::numFoldersInURLArray(list->selectedItems()), quint64(1));
        QCOMPARE(browser.barButtonMoveItem()->isEnabled(), movable);
        QVERIFY(browser.barButtonDeleteItem()->isEnabled());
        QDir(documents + QStringLiteral("/Box")).removeRecursively();
    }

    // a package is one document: it moves wherever documents may
    void aPackageCountsAsADocumentForMove()
    {
        const QString documents = containerDocuments(QStringLiteral("com.example.slides"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, documents);
        browser.beginEditMode();
        browser.documentListControllerItemsChanged(list);
        // the list shows it as a document: a tap opens it, never walks into it
        const int row = list->model()->rowForURL(fileURL(documents + QStringLiteral("/Deck.odp")));
        QVERIFY(row >= 0);
        QVERIFY(!list->model()->entries().at(row).isFolder);
        list->setSelectedItems({fileURL(documents + QStringLiteral("/Deck.odp"))});
        QCOMPARE(list->selectedItems().size(), 1);
        QCOMPARE(NavController::numFoldersInURLArray(list->selectedItems()), quint64(0));
        QVERIFY(browser.barButtonMoveItem()->isEnabled());
    }

    // where a folder may be created depends on the folder, not on what is selected
    void newFolderIsDecidedOnceOnEnteringEditMode()
    {
        const QString documents = containerDocuments(QStringLiteral("com.example.notes"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, documents);
        LogSpy::clear();
        browser.beginEditMode();
        const QString decision
            = QStringLiteral("Container com.example.notes supports one folder. File is depth 0. Enabling new folder button");
        QCOMPARE(LogSpy::levelOf(decision), LOG_DEBUG);
        QVERIFY(browser.barButtonNewFolder()->isEnabled());
        browser.barButtonNewFolder()->setEnabled(false); // a stale state shows if anything decides again
        list->setSelectedItems({fileURL(documents + QStringLiteral("/Trips"))});
        list->setSelectedItems({fileURL(documents + QStringLiteral("/Trips")), fileURL(documents + QStringLiteral("/Note.txt"))});
        QCOMPARE(list->selectedItems().size(), 2);
        QVERIFY(!browser.barButtonNewFolder()->isEnabled());
        QCOMPARE(count(decision), 1);
    }

    void selectAllSelectsEveryItem()
    {
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, containerDocuments(QStringLiteral("com.example.notes")));
        browser.beginEditMode();
        LogSpy::clear();
        browser.selectAllItems();
        QCOMPARE(list->selectedItems(), list->containedItems());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Pressed SelectAll")), LOG_INFO);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("DLC has 2 contained items")), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Selected all %d: %@", 2, list->containedItems())), LOG_DEBUG);
    }

    // ---- new folders and depths

    void oneLevelAllowsNewFolderOnlyInTheDocumentsFolder()
    {
        const QString documents = containerDocuments(QStringLiteral("com.example.notes"));
        NavController browser;
        browser.view();
        DocumentListController *top = showFolder(&browser, documents);
        QVERIFY(browser.canEnableNewFolderForSelectedItems(top));
        top = showFolder(&browser, documents + QStringLiteral("/Trips"));
        LogSpy::clear();
        browser.beginEditMode();
        QVERIFY(!browser.barButtonNewFolder()->isEnabled());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Container com.example.notes supports one folder. File is depth 1. "
                                                "Disabling new folder button")),
                 LOG_DEBUG);
        QCOMPARE(top, browser.getTopDocumentListController());
    }

    void noFoldersDisablesNewFolder()
    {
        NavController browser;
        browser.view();
        DocumentListController *top = showFolder(&browser, containerDocuments(QStringLiteral("com.example.flat")));
        LogSpy::clear();
        QVERIFY(!browser.canEnableNewFolderForSelectedItems(top));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Container com.example.flat supports no folders. Disabling new folder "
                                                "button")),
                 LOG_DEBUG);
    }

    void anUndeclaredDepthAllowsFoldersEverywhere()
    {
        NavController browser;
        browser.view();
        DocumentListController *deep
            = showFolder(&browser, containerDocuments(QStringLiteral("com.example.sketch")) + QStringLiteral("/A/B"));
        LogSpy::clear();
        QVERIFY(browser.canEnableNewFolderForSelectedItems(deep));
        QVERIFY(browser.containerSupportsAnyDepth(deep));
        QCOMPARE(count(QStringLiteral("Container com.example.sketch has no depth. Enabling new folder button")), 2);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Container com.example.sketch has no depth. Enabling new folder "
                                                "button")),
                 LOG_DEBUG);
        DocumentListController *writer = showFolder(&browser, containerDocuments(QStringLiteral("com.example.writer")));
        QVERIFY(browser.canEnableNewFolderForSelectedItems(writer));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Container com.example.writer supports any folder. Enabling new folder "
                                                "button")),
                 LOG_DEBUG);
    }

    void anUnknownDepthOptionDisablesNewFolderWithAWarning()
    {
        NavController browser;
        browser.view();
        DocumentListController *top = showFolder(&browser, containerDocuments(QStringLiteral("com.example.odd")));
        LogSpy::clear();
        QVERIFY(!browser.canEnableNewFolderForSelectedItems(top));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Container com.example.odd has unknown depth option Twice. Disabling "
                                                "new folder button")),
                 LOG_WARNING);
        LogSpy::clear();
        QVERIFY(!browser.containerSupportsAnyDepth(top));
        QVERIFY(LogSpy::records().isEmpty());
    }

    void aFolderOutsideEveryContainerDisablesNewFolder()
    {
        QTemporaryDir outside;
        NavController browser;
        browser.view();
        DocumentListController list(fileURL(outside.path()), nullptr);
        std::optional<Error> lookup;
        QVERIFY(!KDContainer::containerForItemAtURL_error(fileURL(outside.path()), &lookup));
        LogSpy::clear();
        QVERIFY(!browser.canEnableNewFolderForSelectedItems(&list));
        QVERIFY(!browser.containerSupportsAnyDepth(&list));
        const QString line = StringFormat::format("Couldn't get container for URL %@: %@", fileURL(outside.path()), lookup);
        QCOMPARE(count(line), 2);
        QCOMPARE(LogSpy::levelOf(line), LOG_ERR);
    }

    void aTopLevelPackageCountsAsASubfolder()
    {
        QVERIFY(NavController::containerHasSubfolders(fileURL(containerDocuments(QStringLiteral("com.example.slides")))));
        QVERIFY(NavController::containerHasSubfolders(fileURL(containerDocuments(QStringLiteral("com.example.notes")))));
        QVERIFY(!NavController::containerHasSubfolders(fileURL(containerDocuments(QStringLiteral("com.example.flat")))));
        // a hidden folder is no target
        QDir().mkpath(containerDocuments(QStringLiteral("com.example.flat")) + QStringLiteral("/.cache"));
        QVERIFY(!NavController::containerHasSubfolders(
            fileURL(containerDocuments(QStringLiteral("com.example.flat")) + QStringLiteral("/List.txt"))));
        QVERIFY(NavController::containerHasSubfolders(QUrl::fromLocalFile(QStringLiteral("/tmp"))));
    }

    void newFolderButtonCreatesTheFolder()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Fresh"));
        NavController browser;
        browser.view();
        showFolder(&browser, folder);
        browser.beginEditMode();
        LogSpy::clear();
        browser.barButtonNewFolder()->trigger();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Pressed NewFolder")), LOG_INFO);
        FilenamePrompt *prompt = browser.folderPromptAlert();
        QVERIFY(prompt);
        QCOMPARE(shownAlert(&browser), prompt->alert());
        QCOMPARE(prompt->alert()->title(), QStringLiteral("New Folder"));
        QCOMPARE(prompt->defaultAction()->title(), QStringLiteral("Create"));
        typeAndConfirm(prompt, QStringLiteral("  Invoices  "));
        QVERIFY(QFileInfo(folder + QStringLiteral("/Invoices")).isDir());
        QVERIFY(!shownOver(&browser));
    }

    // the list's Add sheet makes a folder where the New Folder button would, and nowhere else
    void theAddSheetsNewFolderFollowsTheFolderRules()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Added Into"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, folder);
        QVERIFY(browser.documentListControllerCanCreateFolder(list));
        browser.documentListControllerCreateFolder(list);
        FilenamePrompt *prompt = browser.folderPromptAlert();
        QVERIFY(prompt);
        QCOMPARE(prompt->alert()->title(), QStringLiteral("New Folder"));
        typeAndConfirm(prompt, QStringLiteral("Receipts"));
        QVERIFY(QFileInfo(folder + QStringLiteral("/Receipts")).isDir());

        DocumentListController *flat = showFolder(&browser, containerDocuments(QStringLiteral("com.example.flat")));
        QVERIFY(!browser.documentListControllerCanCreateFolder(flat));
        browser.documentListControllerCreateFolder(flat);
        QVERIFY(!shownOver(&browser));
    }

    void anExistingNameKeepsThePromptOpen()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Exists"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Taxes"), "not a folder"));
        NavController browser;
        browser.view();
        LogSpy::clear();
        browser.showNewFolderPromptDuringMove_itemsToMove(fileURL(folder), {});
        FilenamePrompt *prompt = browser.folderPromptAlert();
        typeAndConfirm(prompt, QStringLiteral("Taxes"));
        QCOMPARE(shownAlert(&browser), prompt->alert());
        QCOMPARE(promptError(prompt), UIUtils::bestMessage(Error::fileError(FileWriteFileExistsError)));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Item exists at path: %@", fileURL(folder + QStringLiteral("/Taxes/")))),
                 LOG_INFO);
        QCOMPARE(QFile(folder + QStringLiteral("/Taxes")).size(), 12);
        dismissShown(&browser);
    }

    void aMissingFolderURLShowsNoPrompt()
    {
        NavController browser;
        browser.view();
        LogSpy::clear();
        browser.showNewFolderPromptDuringMove_itemsToMove(QUrl(), {});
        QVERIFY(!shownOver(&browser));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("dlc.presentedURL is nil")), LOG_WARNING);
    }

    // the folder stays and so does the prompt, so that the user sees what did not move
    void failedMovesIntoANewFolderKeepThePromptOpen()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("MoveInto"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Kept.txt"), "k"));
        const QList<QUrl> items{fileURL(folder + QStringLiteral("/Kept.txt")), fileURL(folder + QStringLiteral("/Gone1.txt")),
                                fileURL(folder + QStringLiteral("/Gone2.txt"))};
        NavController browser;
        browser.view();
        browser.showNewFolderPromptDuringMove_itemsToMove(fileURL(folder), items);
        FilenamePrompt *prompt = browser.folderPromptAlert();
        QCOMPARE(prompt->alert()->title(), QStringLiteral("Move 3 Items"));
        QCOMPARE(prompt->defaultAction()->title(), QStringLiteral("Move"));
        typeAndConfirm(prompt, QStringLiteral("Batch"));
        QVERIFY(QFileInfo(folder + QStringLiteral("/Batch")).isDir());
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Batch/Kept.txt")));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Kept.txt")));
        QCOMPARE(shownAlert(&browser), prompt->alert());
        QCOMPARE(promptError(prompt), QStringLiteral("2 items couldn’t be moved."));
        // confirming again finds the folder it made
        typeAndConfirm(prompt, QStringLiteral("Batch"));
        QCOMPARE(promptError(prompt), UIUtils::bestMessage(Error::fileError(FileWriteFileExistsError)));
        dismissShown(&browser);
    }

    void oneFailedMoveIntoANewFolderShowsItsError()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("MoveOne"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/A.txt"), "a"));
        NavController browser;
        browser.view();
        browser.showNewFolderPromptDuringMove_itemsToMove(
            fileURL(folder), {fileURL(folder + QStringLiteral("/A.txt")), fileURL(folder + QStringLiteral("/Gone.txt"))});
        FilenamePrompt *prompt = browser.folderPromptAlert();
        QCOMPARE(prompt->alert()->title(), QStringLiteral("Move 2 Items"));
        typeAndConfirm(prompt, QStringLiteral("Two"));
        const QList<Error> errors = browser.moveItemsToDirectory_toDirectory({fileURL(folder + QStringLiteral("/Gone.txt"))},
                                                                              fileURL(folder + QStringLiteral("/Two")));
        QCOMPARE(errors.size(), 1);
        QCOMPARE(promptError(prompt), UIUtils::bestMessage(errors.first()));
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Two/A.txt")));
        dismissShown(&browser);
    }

    // ---- moving

    void noSubfolderOffersANewFolderInsteadOfThePicker()
    {
        const QString documents = containerDocuments(QStringLiteral("com.example.flat"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, documents);
        browser.beginEditMode();
        list->setSelectedItems({fileURL(documents + QStringLiteral("/List.txt"))});
        LogSpy::clear();
        browser.barButtonMoveItem()->trigger();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Pressed Move")), LOG_INFO);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Prompting for Move Target, 1 items")), LOG_INFO);
        QVERIFY(!browser.editMode()); // Move ends edit mode before anything is shown
        QVERIFY(!list->editing());
        QVERIFY(browser.folderPromptAlert());
        QCOMPARE(shownAlert(&browser), browser.folderPromptAlert()->alert());
        QCOMPARE(browser.folderPromptAlert()->alert()->title(), QStringLiteral("Move 1 Item"));
        typeAndConfirm(browser.folderPromptAlert(), QStringLiteral("Lists"));
        QVERIFY(QFileInfo::exists(documents + QStringLiteral("/Lists/List.txt")));
        QVERIFY(TestDrive::writeFile(documents + QStringLiteral("/List.txt"), "l"));
        QDir(documents + QStringLiteral("/Lists")).removeRecursively();
    }

    void aFailedContainerLookupStillOpensThePicker()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/a.txt"), "a"));
        NavController browser;
        browser.view();
        LogSpy::clear();
        browser.showMoveTargetForItems_inFolder({fileURL(outside.path() + QStringLiteral("/a.txt"))}, fileURL(outside.path()));
        auto *picker = qobject_cast<DocumentTargetSelectionController *>(shownOver(&browser));
        QVERIFY(picker);
        QCOMPARE(picker->delegate(), &browser);
        QCOMPARE(picker->itemsToMove(), QList<QUrl>{fileURL(outside.path() + QStringLiteral("/a.txt"))});
        QCOMPARE(picker->modalPresentationStyle(), ViewController::ModalPresentationStyle::OverCurrentContext);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Presented moveTarget")), LOG_DEBUG);
        picker->cancel();
        QVERIFY(!shownOver(&browser));
        QVERIFY(QFileInfo::exists(outside.path() + QStringLiteral("/a.txt"))); // no choice, no move
    }

    void choosingAFolderInThePickerMovesTheItems()
    {
        const QString documents = containerDocuments(QStringLiteral("com.example.writer"));
        QVERIFY(TestDrive::writeFile(documents + QStringLiteral("/Chapter.txt"), "c"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, documents);
        browser.beginEditMode();
        list->setSelectedItems({fileURL(documents + QStringLiteral("/Chapter.txt"))});
        browser.barButtonMoveItem()->trigger();
        auto *picker = qobject_cast<DocumentTargetSelectionController *>(shownOver(&browser));
        QVERIFY(picker);
        picker->openFolder(fileURL(documents + QStringLiteral("/Drafts")));
        LogSpy::clear();
        picker->chooseCurrentFolder();
        QVERIFY(!shownOver(&browser));
        QVERIFY(QFileInfo::exists(documents + QStringLiteral("/Drafts/Chapter.txt")));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("MoveTarget = %@", fileURL(documents + QStringLiteral("/Drafts")))),
                 LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("ItemsToMove = %@",
                                                      QList<QUrl>{fileURL(documents + QStringLiteral("/Chapter.txt"))})),
                 LOG_DEBUG);
        QFile::remove(documents + QStringLiteral("/Drafts/Chapter.txt"));
    }

    void oneFailedMoveShowsItsErrorTwoShowTheCount()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Failures"));
        QDir().mkpath(folder + QStringLiteral("/Target"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/A.txt"), "a"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/B.txt"), "b"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/C.txt"), "c"));
        NavController browser;
        browser.view();
        showFolder(&browser, folder);
        const QUrl target = fileURL(folder + QStringLiteral("/Target"));
        const QUrl gone = fileURL(folder + QStringLiteral("/Gone.txt"));
        browser.moveItemsToDirectoryAndShowErrors_toDirectory({fileURL(folder + QStringLiteral("/A.txt")), gone,
                                                               fileURL(folder + QStringLiteral("/B.txt"))},
                                                              target);
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Target/A.txt")));
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Target/B.txt")));
        AlertController *alert = shownAlert(&browser);
        QVERIFY(alert);
        const QList<Error> expected = browser.moveItemsToDirectory_toDirectory({gone}, target);
        QCOMPARE(alert->title(), UIUtils::bestMessage(expected.first()));
        QCOMPARE(alert->message(), QString());
        dismissShown(&browser);

        browser.moveItemsToDirectoryAndShowErrors_toDirectory(
            {fileURL(folder + QStringLiteral("/C.txt")), gone, fileURL(folder + QStringLiteral("/Gone2.txt"))}, target);
        alert = shownAlert(&browser);
        QVERIFY(alert);
        QCOMPARE(alert->title(), QStringLiteral("2 items couldn’t be moved."));
        QCOMPARE(alert->message(), QString());
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Target/C.txt")));
        dismissShown(&browser);

        browser.moveItemsToDirectoryAndShowErrors_toDirectory({}, target);
        QVERIFY(!shownOver(&browser));
    }

    // a folder keeps its name in the target whatever form its URL has
    void aMovedFolderKeepsItsName()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("FolderMove"));
        QDir().mkpath(folder + QStringLiteral("/Projects/Inside"));
        QDir().mkpath(folder + QStringLiteral("/Target"));
        NavController browser;
        browser.view();
        LogSpy::clear();
        const QList<Error> errors = browser.moveItemsToDirectory_toDirectory(
            {fileURL(folder + QStringLiteral("/Projects/"))}, fileURL(folder + QStringLiteral("/Target/")));
        QVERIFY(errors.isEmpty());
        QVERIFY(QFileInfo(folder + QStringLiteral("/Target/Projects/Inside")).isDir());
        const QUrl destination = fileURL(folder + QStringLiteral("/Target/Projects"));
        QVERIFY(!destination.path().endsWith(QLatin1Char('/')));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Moving dest1: '%@'", destination)), LOG_DEBUG);
    }

    // nothing is lost and nothing overwritten, however many names clash
    void tenThousandClashingNamesAllMoveUnderFreeNames()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Many"));
        const QString target = folder + QStringLiteral("/Target");
        QDir().mkpath(target);
        QList<QUrl> items;
        for (int i = 0; i < 10000; ++i) {
            const QString name = QStringLiteral("item%1.txt").arg(i, 5, 10, QLatin1Char('0'));
            QVERIFY(TestDrive::writeFile(folder + QLatin1Char('/') + name, "moved " + QByteArray::number(i)));
            QVERIFY(TestDrive::writeFile(target + QLatin1Char('/') + name, "kept " + QByteArray::number(i)));
            items.append(fileURL(folder + QLatin1Char('/') + name));
        }
        DRLogSetLevel(LOG_WARNING); // ten thousand moves need not be told line by line
        NavController browser;
        const QList<Error> errors = browser.moveItemsToDirectory_toDirectory(items, fileURL(target));
        LogSpy::keepDebugLines();
        QVERIFY(errors.isEmpty());
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 0);
        QCOMPARE(QDir(target).entryList(QDir::Files).size(), 20000);
        for (int i = 0; i < 10000; i += 997) {
            const QString name = QStringLiteral("item%1").arg(i, 5, 10, QLatin1Char('0'));
            QFile kept(target + QLatin1Char('/') + name + QStringLiteral(".txt"));
            QVERIFY(kept.open(QIODevice::ReadOnly));
            QCOMPARE(kept.readAll(), "kept " + QByteArray::number(i));
            QFile moved(target + QLatin1Char('/') + name + QStringLiteral(" 2.txt"));
            QVERIFY(moved.open(QIODevice::ReadOnly));
            QCOMPARE(moved.readAll(), "moved " + QByteArray::number(i));
        }
        QDir(folder).removeRecursively();
    }

    // ---- deleting

    void aMixOfContainersAndItemsIsNeverDeleted()
    {
        NavController browser;
        browser.view();
        QVERIFY(TestDrive::writeFile(m_drive.root() + QStringLiteral("/Mixed.txt"), "m"));
        const QList<QUrl> urls{fileURL(containerDocuments(QStringLiteral("com.example.notes"))),
                               m_drive.url(QStringLiteral("Mixed.txt"))};
        int completions = 0;
        LogSpy::clear();
        browser.showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(
            urls, nullptr, browser.getTopDocumentListController(), [&completions] { ++completions; });
        QCOMPARE(completions, 1);
        QVERIFY(!shownOver(&browser));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Not Deleting: mix of containers and items: %@", urls)), LOG_ERR);
        QVERIFY(QFileInfo::exists(m_drive.root() + QStringLiteral("/Mixed.txt")));
        QVERIFY(QFileInfo::exists(containerDocuments(QStringLiteral("com.example.notes")) + QStringLiteral("/Note.txt")));
    }

    void cancellingTheSheetDeletesNothingAndStaysInEditMode()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Cancel"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Keep.txt"), "k"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, folder);
        browser.beginEditMode();
        list->setSelectedItems({fileURL(folder + QStringLiteral("/Keep.txt"))});
        int completions = 0;
        browser.showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(
            list->selectedItems(), nullptr, list, [&completions] { ++completions; });
        AlertController *sheet = shownAlert(&browser);
        QVERIFY(sheet);
        QCOMPARE(sheet->popoverPresentationController()->barButtonItem(), browser.barButtonDeleteItem());
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Cancel")));
        QCOMPARE(completions, 1);
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Keep.txt")));
        QVERIFY(browser.editMode());
        QVERIFY(list->editing());
        QVERIFY(!shownOver(&browser));
    }

    void deleteButtonDeletesTheSelectionAndEndsEditMode()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("DeleteMe"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/A.txt"), "a"));
        QDir().mkpath(folder + QStringLiteral("/Sub/Deeper"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, folder);
        browser.beginEditMode();
        const QList<QUrl> selected{fileURL(folder + QStringLiteral("/Sub")), fileURL(folder + QStringLiteral("/A.txt"))};
        list->setSelectedItems(selected);
        LogSpy::clear();
        browser.barButtonDeleteItem()->trigger();
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Pressed Delete after selecting %@ items: %@", qint64(2),
                                                      list->selectedItems())),
                 LOG_INFO);
        AlertController *sheet = shownAlert(&browser);
        QVERIFY(sheet);
        QCOMPARE(sheet->message(), UIUtils::messageForDeletePrompt(list->selectedItems()));
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Delete from Aerova Drive")));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/A.txt")));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Sub")));
        QVERIFY(!browser.editMode());
        QVERIFY(!list->editing());
        QVERIFY(!shownOver(&browser)); // nothing failed, nothing to tell
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Deleting item %@", fileURL(folder + QStringLiteral("/A.txt")))),
                 LOG_INFO);
    }

    // the drive's own folders are never emptied, even once the user confirmed
    void theDefaultContainerIsNeverEmptied()
    {
        const QString writer = containerDocuments(QStringLiteral("com.example.sketch"));
        QVERIFY(TestDrive::writeFile(writer + QStringLiteral("/Doodle.txt"), "d"));
        QVERIFY(TestDrive::writeFile(m_drive.root() + QStringLiteral("/Precious.txt"), "p"));
        NavController browser;
        browser.view();
        const QList<QUrl> urls{fileURL(m_drive.root()), fileURL(writer)};
        QCOMPARE(NavController::numContainersInURLArray(urls), quint64(2));
        int completions = 0;
        browser.showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(
            urls, nullptr, nullptr, [&completions] { ++completions; });
        AlertController *sheet = shownAlert(&browser);
        QVERIFY(sheet);
        LogSpy::clear();
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Delete from Aerova Drive")));
        QCOMPARE(completions, 1);
        QVERIFY(QFileInfo::exists(m_drive.root() + QStringLiteral("/Precious.txt")));
        QVERIFY(QFileInfo(m_drive.root() + QStringLiteral("/Work")).isDir());
        QVERIFY(QFileInfo(writer).isDir());        // the container stays
        QCOMPARE(QDir(writer).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 0); // its contents go
        const auto def = KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("NOT Deleting root container %@", def->description())), LOG_ERR);
        const auto sketch = KDContainer::containerWithIdentifier(QStringLiteral("com.example.sketch"));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Deleting container %@", sketch->description())), LOG_INFO);
        AlertController *alert = shownAlert(&browser);
        QVERIFY(alert);
        QCOMPARE(alert->title(), QString());
        QCOMPARE(alert->message(), QString());
        dismissShown(&browser);
        QDir().mkpath(writer + QStringLiteral("/A/B"));
    }

    void twoFailedDeletesShowTheCount()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("TwoFail"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/One.txt"), "1"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Two.txt"), "2"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Three.txt"), "3"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, folder);
        const QList<QUrl> urls{fileURL(folder + QStringLiteral("/One.txt")), fileURL(folder + QStringLiteral("/Two.txt")),
                               fileURL(folder + QStringLiteral("/Three.txt"))};
        browser.showWarningAndDeleteURLs_usingView_withDocumentListController_finishedCompletion(urls, nullptr, list, {});
        AlertController *sheet = shownAlert(&browser);
        QVERIFY(sheet);
        // two of them go some other way before the user confirms
        QFile::remove(folder + QStringLiteral("/Two.txt"));
        QFile::remove(folder + QStringLiteral("/Three.txt"));
        LogSpy::clear();
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Delete from Aerova Drive")));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/One.txt")));
        AlertController *alert = shownAlert(&browser);
        QVERIFY(alert);
        QCOMPARE(alert->title(), QStringLiteral("2 items couldn’t be deleted."));
        QCOMPARE(alert->message(), QString());
        int failureLines = 0;
        for (const SystemLogMessage &record : LogSpy::records()) {
            if (record.value(QStringLiteral("Message")).startsWith(QStringLiteral("Failed to delete URL "))) {
                QCOMPARE(record.value(QStringLiteral("Level")).toInt(), LOG_WARNING);
                ++failureLines;
            }
        }
        QCOMPARE(failureLines, 2);
        dismissShown(&browser);
    }

    // the list's own Delete action asks about one item, anchored at the item
    void theListsDeleteActionAsksAboutOneItem()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Swipe"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Old.txt"), "o"));
        NavController browser;
        browser.view()->resize(1024, 768);
        DocumentListController *list = showFolder(&browser, folder);
        int completions = 0;
        QWidget anchor(list->view());
        anchor.setGeometry(0, 100, 300, 44);
        browser.documentListController_performAction_URL_originatingView_completion(
            list, DocumentListController::DeleteAction, fileURL(folder + QStringLiteral("/Old.txt")), &anchor,
            [&completions] { ++completions; });
        QVERIFY(browser.performActionCompletionBlock());
        AlertController *sheet = shownAlert(&browser);
        QVERIFY(sheet);
        QCOMPARE(sheet->message(), QStringLiteral("\"Old.txt\" will be permanently deleted from Aerova Drive on all your "
                                                  "devices. This action cannot be undone."));
        QCOMPARE(sheet->popoverPresentationController()->sourceView(), &anchor);
        QCOMPARE(sheet->popoverPresentationController()->sourceRect(), QRect(0, 22, 300, 0));
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Delete from Aerova Drive")));
        QCOMPARE(completions, 1);
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Old.txt")));
    }

    // ---- the keyboard

    // arrows move through the list, Return opens, Backspace and Alt+Left go back, F2 renames
    // (the prompt takes the typing), Delete asks first, Ctrl+F searches, Ctrl+A selects all
    // in edit mode
    void theKeyboardWalksOpensRenamesDeletesAndGoesBack()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Keys"));
        QDir().mkpath(folder + QStringLiteral("/Inner"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Notes.txt"), "n"));
        const std::unique_ptr<NavController> browser = phoneSizedBrowser();
        QVERIFY(QTest::qWaitForWindowExposed(browser->view()));
        DocumentListController *list = showFolder(browser.get(), folder);
        const int depth = int(browser->viewControllers().size());
        QListView *rows = list->listView();
        QTRY_COMPARE(browser->view()->focusWidget(), rows);

        // the first row is the folder: Return opens it, Backspace comes back
        QTest::keyClick(rows, Qt::Key_Down);
        QTest::keyClick(rows, Qt::Key_Up);
        QCOMPARE(rows->currentIndex().row(), 0);
        QTest::keyClick(rows, Qt::Key_Return);
        QCOMPARE(int(browser->viewControllers().size()), depth + 1);
        QCOMPARE(browser->getTopDocumentListController()->presentedURL(), fileURL(folder + QStringLiteral("/Inner")));
        QTest::keyClick(browser->view()->focusWidget(), Qt::Key_Backspace);
        QCOMPARE(int(browser->viewControllers().size()), depth);
        browser->pushViewController(new DocumentListController(fileURL(folder + QStringLiteral("/Inner")), nullptr), false);
        QTest::keyClick(browser->view(), Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(int(browser->viewControllers().size()), depth);

        // F2 on the document: the rename prompt, typing replaces the name and keeps ".txt"
        list = browser->getTopDocumentListController();
        rows = list->listView();
        rows->setFocus();
        rows->setCurrentIndex(list->model()->index(1));
        QTest::keyClick(rows, Qt::Key_F2);
        FilenamePrompt *prompt = browser->folderPromptAlert();
        QVERIFY(prompt);
        QCOMPARE(shownAlert(browser.get()), prompt->alert());
        QTest::keyClicks(prompt->textField(), QStringLiteral("Ideas"));
        QTest::keyClick(prompt->textField(), Qt::Key_Return);
        QTRY_VERIFY(QFileInfo::exists(folder + QStringLiteral("/Ideas.txt")));
        dismissShown(browser.get());

        // Delete asks first; the Cancel of the question deletes nothing
        list->reloadContents();
        rows->setFocus();
        rows->setCurrentIndex(list->model()->index(list->model()->rowForURL(fileURL(folder + QStringLiteral("/Ideas.txt")))));
        QTest::keyClick(rows, Qt::Key_Delete);
        AlertController *question = shownAlert(browser.get());
        QVERIFY(question);
        QVERIFY(question->actionWithTitle(QStringLiteral("Delete from Aerova Drive")));
        QTest::keyClick(question->view(), Qt::Key_Escape);
        QVERIFY(!shownOver(browser.get()));
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Ideas.txt")));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        // Ctrl+F searches
        QTest::keyClick(rows, Qt::Key_F, Qt::ControlModifier);
        QVERIFY(qobject_cast<DocumentSearchController *>(shownOver(browser.get())));
        dismissShown(browser.get());

        // Ctrl+A selects everything in edit mode only
        QTest::keyClick(rows, Qt::Key_A, Qt::ControlModifier);
        QVERIFY(list->selectedItems().isEmpty());
        browser->beginEditMode();
        QTest::keyClick(rows, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(list->selectedItems().size(), 2);
        browser->endEditMode();
    }

    // the mouse's back button goes back like the bar's Back
    void theMouseBackButtonGoesBack()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Mouse"));
        const std::unique_ptr<NavController> browser = phoneSizedBrowser();
        QVERIFY(QTest::qWaitForWindowExposed(browser->view()));
        DocumentListController *list = showFolder(browser.get(), folder);
        const int depth = int(browser->viewControllers().size());
        QVERIFY(depth > 1);
        QTest::mouseClick(list->listView()->viewport(), Qt::BackButton);
        QCOMPARE(int(browser->viewControllers().size()), depth - 1);
    }

    // an empty folder says so instead of showing a blank list
    void anEmptyFolderSaysSo()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Nothing"));
        NavController browser;
        browser.view()->resize(390, 844);
        DocumentListController *list = showFolder(&browser, folder);
        QVERIFY(list->isShowingEmptyFolder());
        auto *label = list->view()->findChild<QLabel *>(QStringLiteral("emptyFolder"));
        QVERIFY(label);
        QCOMPARE(label->text(), QStringLiteral("This folder is empty"));
        QVERIFY(list->listView()->isHidden());
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/First.txt"), "1"));
        list->reloadContents();
        QVERIFY(!list->isShowingEmptyFolder());
        QVERIFY(label->isHidden());
        QVERIFY(!list->listView()->isHidden());
    }

    // ---- opening a picked item

    // quick launch is always on: a document no app claims goes to the preview
    void aTapPreviewsWhenNoAppClaimsTheDocument()
    {
        QVERIFY(Settings::quickLaunch());
        const QString folder = m_drive.freshFolder(QStringLiteral("Tap"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Notes.unclaimed"), "n"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, folder);
        LogSpy::clear();
        list->activateItemAtURL(fileURL(folder + QStringLiteral("/Notes.unclaimed")));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("openInDefaultApp returned NO, showing preview")), LOG_DEBUG);
        QVERIFY(!browser.itemManager()); // queued, not yet
        QTRY_VERIFY(browser.itemManager());
        QCOMPARE(browser.itemManager()->mode(), PreviewModePreview);
        QCOMPARE(browser.topViewController(), QuickLookItemController::defaultController());
        QCOMPARE(QuickLookItemController::defaultController()->currentPreviewItem(),
                 fileURL(folder + QStringLiteral("/Notes.unclaimed")));
    }

    // with quick launch off, a document an app would open is previewed all the same, and the
    // browser no longer offers Info (the way to the preview when a tap opens the app)
    void withoutQuickLaunchATapAlwaysPreviews()
    {
        const QString path = containerDocuments(QStringLiteral("com.example.notes")) + QStringLiteral("/Sums.csv");
        QVERIFY(TestDrive::writeFile(path, "a,b\n1,2\n"));
        {
            // quick launch on: the app that opens CSV files takes it
            NavController browser;
            browser.view();
            DocumentListController *list = showFolder(&browser, QFileInfo(path).absolutePath());
            QCOMPARE(list->availableActions(), qint64(15));
            LogSpy::clear();
            list->activateItemAtURL(fileURL(path));
            QCOMPARE(LogSpy::levelOf(QStringLiteral("openInDefaultApp returned YES, app launched")), LOG_DEBUG);
            QTest::qWait(50);
            QVERIFY(!browser.itemManager());
        }
        Settings::setQuickLaunchSource([] { return false; });
        const auto restore = qScopeGuard([] { Settings::setQuickLaunchSource({}); });
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, QFileInfo(path).absolutePath());
        QCOMPARE(list->availableActions(), qint64(11));
        LogSpy::clear();
        list->activateItemAtURL(fileURL(path));
        QVERIFY(LogSpy::withMessage(QStringLiteral("openInDefaultApp returned YES, app launched")).isEmpty());
        QVERIFY(LogSpy::withMessage(QStringLiteral("openInDefaultApp returned NO, showing preview")).isEmpty());
        QTRY_VERIFY(browser.itemManager());
        QCOMPARE(browser.itemManager()->mode(), PreviewModePreview);
        QCOMPARE(browser.topViewController(), QuickLookItemController::defaultController());
        QCOMPARE(QuickLookItemController::defaultController()->currentPreviewItem(), fileURL(path));
    }

    void aTapInEditModeOpensNothing()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("EditTap"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Doc.txt"), "d"));
        NavController browser;
        browser.view();
        showFolder(&browser, folder);
        browser.beginEditMode();
        LogSpy::clear();
        browser.documentListController_didSelectItemAtURL(browser.getTopDocumentListController(),
                                                          fileURL(folder + QStringLiteral("/Doc.txt")));
        QCoreApplication::processEvents();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("DLC Selection not allowed while in edit mode")), LOG_DEBUG);
        QVERIFY(!browser.itemManager());
        QVERIFY(browser.getTopDocumentListController());
    }

    void theActionsMenuFitsTheItem()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Menu"));
        QDir().mkpath(folder + QStringLiteral("/Sub"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Doc.txt"), "d"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, folder);
        auto titlesOf = [](AlertController *menu) {
            QStringList result;
            for (AlertAction *action : menu->actions()) {
                result << action->title() + (action->isEnabled() ? QString() : QStringLiteral(" (off)"));
            }
            return result;
        };
        // a document: all three, then Cancel
        int completions = 0;
        browser.documentListController_performAction_URL_originatingView_completion(
            list, DocumentListController::MoreAction, fileURL(folder + QStringLiteral("/Doc.txt")), list->view(),
            [&completions] { ++completions; });
        AlertController *menu = shownAlert(&browser);
        QVERIFY(menu);
        QCOMPARE(menu->preferredStyle(), AlertController::Style::ActionSheet);
        QCOMPARE(titlesOf(menu), (QStringList{QStringLiteral("Rename Item…"), QStringLiteral("Share Item…"),
                                              QStringLiteral("Move to Folder…"), QStringLiteral("Cancel")}));
        menu->pressAction(menu->actionWithTitle(QStringLiteral("Cancel")));
        QCOMPARE(completions, 1);
        // a folder can't be shared
        browser.showActionsMenuFromView_url_presentedURL_completion(list->view(), fileURL(folder + QStringLiteral("/Sub")),
                                                                    fileURL(folder), {});
        menu = shownAlert(&browser);
        QCOMPARE(titlesOf(menu), (QStringList{QStringLiteral("Rename Item…"), QStringLiteral("Move to Folder…"),
                                              QStringLiteral("Cancel")}));
        dismissShown(&browser);
        // an app's library: everything off but Cancel
        const QUrl container = fileURL(containerDocuments(QStringLiteral("com.example.notes")));
        browser.showActionsMenuFromView_url_presentedURL_completion(list->view(), container,
                                                                    fileURL(m_drive.root()), {});
        menu = shownAlert(&browser);
        QCOMPARE(titlesOf(menu), (QStringList{QStringLiteral("Rename Item… (off)"), QStringLiteral("Cancel")}));
        dismissShown(&browser);
    }

    void noMoveToFolderWhereThereIsNoFolder()
    {
        const QString documents = containerDocuments(QStringLiteral("com.example.flat"));
        NavController browser;
        browser.view();
        DocumentListController *list = showFolder(&browser, documents);
        browser.showActionsMenuFromView_url_presentedURL_completion(list->view(),
                                                                    fileURL(documents + QStringLiteral("/List.txt")),
                                                                    fileURL(documents), {});
        AlertController *menu = shownAlert(&browser);
        QVERIFY(menu);
        QVERIFY(!menu->actionWithTitle(QStringLiteral("Move to Folder…")));
        QVERIFY(menu->actionWithTitle(QStringLiteral("Share Item…")));
        // Share shows the document's options and completes at once
        int completions = 0;
        dismissShown(&browser);
        browser.showActionsMenuFromView_url_presentedURL_completion(
            list->view(), fileURL(documents + QStringLiteral("/List.txt")), fileURL(documents),
            [&completions] { ++completions; });
        menu = shownAlert(&browser);
        LogSpy::clear();
        menu->pressAction(menu->actionWithTitle(QStringLiteral("Share Item…")));
        QCOMPARE(completions, 1);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("showDIC: %@", fileURL(documents + QStringLiteral("/List.txt")))),
                 LOG_INFO);
        QVERIFY(browser.documentInteractionController());
        AlertController *options = shownAlert(&browser);
        QVERIFY(options);
        QVERIFY(options->actionWithTitle(QStringLiteral("Copy")));
        // this test's desktop has no file manager: nothing offers to show the folder
        QVERIFY(!options->actionWithTitle(QStringLiteral("Show in Folder")));
        dismissShown(&browser);
    }

    void anUnknownActionIsLoggedAndCompletes()
    {
        NavController browser;
        browser.view();
        int completions = 0;
        LogSpy::clear();
        browser.documentListController_performAction_URL_originatingView_completion(
            browser.getTopDocumentListController(), 7, m_drive.url(QStringLiteral("Work")), nullptr,
            [&completions] { ++completions; });
        QCOMPARE(completions, 1);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("performAction:7 -- unexpected value")), LOG_WARNING);
        browser.documentListController_performAction_URL_originatingView_completion(
            browser.getTopDocumentListController(), -1, m_drive.url(QStringLiteral("Work")), nullptr,
            [&completions] { ++completions; });
        QCOMPARE(completions, 2);
        browser.showDIC_url_completion(nullptr, QVariant(QStringLiteral("not a URL")), {});
        QCOMPARE(LogSpy::levelOf(QStringLiteral("showDIC: url is wrong class: QString")), LOG_WARNING);
    }

    // Info opens the details screen of the item
    void infoOpensTheDetails()
    {
        NavController browser;
        browser.view();
        int completions = 0;
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Info.txt")), "i"));
        browser.documentListController_performAction_URL_originatingView_completion(
            browser.getTopDocumentListController(), DocumentListController::InfoAction, m_drive.url(QStringLiteral("Info.txt")),
            nullptr, [&completions] { ++completions; });
        QCOMPARE(completions, 1);
        QVERIFY(browser.itemManager());
        QCOMPARE(browser.itemManager()->mode(), PreviewModeDetails);
        QVERIFY(qobject_cast<PreviewDetailsViewController *>(browser.topViewController()));
        // going back to the list ends the preview
        browser.popViewControllerAnimated(false);
        QVERIFY(!browser.itemManager());
    }

    // a URL outside the drive never builds a stack
    void hierarchyIsOnlyForFoldersOfTheDrive()
    {
        QVERIFY(DocumentListController::listControllerHierarchyForURL(QUrl::fromLocalFile(QStringLiteral("/etc"))).isEmpty());
        QObject owner;
        const auto chain = DocumentListController::listControllerHierarchyForURL(
            QUrl::fromLocalFile(m_drive.root() + QStringLiteral("/Work/2026")), &owner);
        QCOMPARE(chain.size(), 3);
        QVERIFY(chain.first()->isDriveRoot());
        QCOMPARE(chain.at(1)->title(), QStringLiteral("Work"));
        QCOMPARE(chain.at(2)->title(), QStringLiteral("2026"));
    }
};

QTEST_MAIN(tst_NavController)
#include "tst_NavController.moc"
