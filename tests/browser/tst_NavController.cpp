#include "app/DRLogging.h"
#include "browser/NavController.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveSetup.h"
#include "platform/quota/KVQOfferManager.h"
#include "watchers/NetworkWatcher.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/foundation/ManualDispatchClock.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "platform/ui/StateCoder.h"
#include "platform/ui/Toolbar.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"
#include "watchers/QuotaFetcher.h"

#include <QDir>
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
    /// Opens the first folder of the top list, as a tap does.
    static DocumentListController *openFirstFolder(NavController *browser)
    {
        DocumentListController *top = browser->getTopDocumentListController();
        for (const DocumentListEntry &entry : top->model()->entries()) {
            if (entry.isFolder) {
                top->activateItemAtURL(entry.url);
                break;
            }
        }
        return browser->getTopDocumentListController();
    }

private Q_SLOTS:
    void initTestCase()
    {
        LogSpy::keepDebugLines();
        DocumentPickerUnavailableViewController::registerClass();
        QDir().mkpath(m_drive.root() + QStringLiteral("/Work/2026"));
        QDir().mkpath(m_drive.root() + QStringLiteral("/Photos"));
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
        QVERIFY(browser.quotaFetcher());
        QVERIFY(!browser.isToolbarHidden());

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
        QCOMPARE(browser.requestedPreviewMode(), PreviewModePreview);
        QVERIFY(!browser.presentedViewController());
        for (const SystemLogMessage &record : LogSpy::records()) {
            QVERIFY(record.value(QStringLiteral("Level")).toInt() > LOG_WARNING);
        }
        // the same state with the file present asks for the saved mode
        QVERIFY(TestDrive::writeFile(path, "back"));
        browser.decodeRestorableStateWithCoder(coder);
        QCOMPARE(browser.requestedPreviewMode(), PreviewModeDetails);
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
