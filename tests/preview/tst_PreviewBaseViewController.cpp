#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/Progress.h"
#include "platform/foundation/StringFormat.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Device.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "preview/PreviewBaseViewController.h"
#include "preview/PreviewItemManager.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QPushButton>
#include <QTest>

#include <climits>

namespace {
/// A preview screen that counts the reports handed to it and may offer an open-in button.
class CountingScreen final : public PreviewBaseViewController
{
public:
    using PreviewBaseViewController::PreviewBaseViewController;
    void updateProgress(const std::shared_ptr<Progress> &) override { ++reports; }
    QAbstractButton *openInAppNavControllerButton() override { return openIn; }
    int reports = 0;
    QPushButton *openIn = nullptr;
};
} // namespace

class tst_PreviewBaseViewController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static std::shared_ptr<Progress> progressOf(qint64 completed, qint64 total)
    {
        auto progress = std::make_shared<Progress>(total);
        progress->setCompletedUnitCount(completed);
        progress->setKind(QString::fromLatin1(Progress::KindFile));
        return progress;
    }

private Q_SLOTS:
    void initTestCase() { LogSpy::keepDebugLines(); }
    void cleanup() { Device::setForcedIdiom(std::nullopt); }

    // a total of 0: the step is whatever truncation gives, and the report still reaches the screen
    void aZeroTotalIsStillPassedOn()
    {
        CountingScreen screen;
        screen.view();
        LogSpy::clear();
        screen.observeValueForKeyPath_ofObject_change_context(QStringLiteral("fractionCompleted"), progressOf(5, 0));
        QCOMPARE(screen.reports, 1);
        QCOMPARE(screen.lastProgressChunk(), INT_MIN);
        screen.observeValueForKeyPath_ofObject_change_context(QStringLiteral("fractionCompleted"), progressOf(0, 0));
        QCOMPARE(screen.reports, 2);
        QCOMPARE(PreviewBaseViewController::progressChunk(0.5), 10);
        QCOMPARE(PreviewBaseViewController::progressChunk(1.0), 20);
    }

    // the log is thinned to 5 % steps; a step back logs at info again
    void stepsLogAtInfoOnceEach()
    {
        CountingScreen screen;
        screen.view();
        LogSpy::clear();
        const auto first = progressOf(10, 100);
        screen.observeValueForKeyPath_ofObject_change_context(QStringLiteral("fractionCompleted"), first);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Progress %@%%: %@", 10.0, first->description())), LOG_INFO);
        const auto same = progressOf(12, 100);
        screen.observeValueForKeyPath_ofObject_change_context(QStringLiteral("fractionCompleted"), same);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Progress %@%%: %@", 12.0, same->description())), LOG_DEBUG);
        const auto back = progressOf(3, 100);
        screen.observeValueForKeyPath_ofObject_change_context(QStringLiteral("fractionCompleted"), back);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Progress %@%%: %@", 3.0, back->description())), LOG_INFO);
        QCOMPARE(screen.lastProgressChunk(), 0);
        QCOMPARE(screen.reports, 3);
        // other key paths are not progress
        screen.observeValueForKeyPath_ofObject_change_context(QStringLiteral("completedUnitCount"), back);
        QCOMPARE(screen.reports, 3);
    }

    void withoutAnItemURLTheActionsAreDisabled()
    {
        Device::setForcedIdiom(Device::Idiom::Phone);
        NavigationController navigation;
        auto *screen = new CountingScreen;
        auto manager = PreviewItemManager::create();
        screen->setItemManager(manager.get());
        navigation.setViewControllers({screen}, false);
        QVERIFY(screen->barButtonActionItem());
        QVERIFY(!screen->barButtonActionItem()->isEnabled());
        QVERIFY(!screen->barButtonDeleteItem()->isEnabled());
        QVERIFY(!screen->barButtonMoveItem()->isEnabled());
        // with an item they are enabled
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("doc.txt")), "d"));
        manager->setItem_updatePreview(DRItem::initWithURL(m_drive.url(QStringLiteral("doc.txt"))), false);
        screen->refreshItem();
        QVERIFY(screen->barButtonActionItem()->isEnabled());
        QVERIFY(screen->barButtonDeleteItem()->isEnabled());
        QVERIFY(screen->barButtonMoveItem()->isEnabled());
        // on a phone they are the toolbar
        QCOMPARE(screen->toolbarItems().size(), 5);
        QCOMPARE(screen->toolbarItems().first(), screen->barButtonActionItem());
        QCOMPARE(screen->toolbarItems().last(), screen->barButtonMoveItem());
        QVERIFY(!navigation.isToolbarHidden());
    }

    // a tablet shows the actions in the navigation bar and has no room for the open-in button
    void onATabletNoToolbarAndNoOpenInButton()
    {
        Device::setForcedIdiom(Device::Idiom::Pad);
        NavigationController navigation;
        auto *screen = new CountingScreen;
        QPushButton openIn(QStringLiteral("Open in “Editor”"));
        screen->openIn = &openIn;
        screen->setMode(PreviewModeDetails);
        navigation.setViewControllers({screen}, false);
        QVERIFY(navigation.isToolbarHidden());
        QVERIFY(screen->toolbarItems().isEmpty());
        const QList<BarButtonItem *> right = screen->navigationItem()->rightBarButtonItems();
        QCOMPARE(right.size(), 5);
        QCOMPARE(right.at(0), screen->barButtonActionItem());
        QCOMPARE(right.at(1)->systemItem(), BarButtonItem::SystemItem::FixedSpace);
        QCOMPARE(right.at(2), screen->barButtonDeleteItem());
        QCOMPARE(right.at(4), screen->barButtonMoveItem());
        for (BarButtonItem *item : right) {
            QVERIFY(item->customView() != &openIn);
        }
        // on a phone in the details mode the button is the navigation bar's
        Device::setForcedIdiom(Device::Idiom::Phone);
        screen->configureButtons();
        QCOMPARE(screen->navigationItem()->rightBarButtonItems().size(), 1);
        QCOMPARE(screen->navigationItem()->rightBarButtonItems().first()->customView(), &openIn);
        QVERIFY(!navigation.isToolbarHidden());
    }

    // every report of the drive service reaches the screen while it is subscribed
    void aSubscribedScreenGetsTheServicesReports()
    {
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("sub.txt")), "s"));
        auto manager = PreviewItemManager::create();
        manager->setItem_updatePreview(DRItem::initWithURL(m_drive.url(QStringLiteral("sub.txt"))), false);
        CountingScreen screen;
        screen.setItemManager(manager.get());
        screen.view();
        LogSpy::clear();
        screen.registerForProgress();
        QVERIFY(screen.subscriber() != 0);
        auto progress = std::make_shared<Progress>(100);
        progress->setKind(QString::fromLatin1(Progress::KindFile));
        progress->setFileURL(manager->item()->resolvedURL());
        progress->publish();
        QCOMPARE(LogSpy::levelOf(StringFormat::format("ignoring progress with no progress done yet %@",
                                                      progress->description())),
                 LOG_DEBUG);
        progress->setCompletedUnitCount(50);
        QTRY_COMPARE(screen.reports, 1);
        progress->unpublish();
        QTRY_COMPARE(screen.subscriber(), 0);
    }
};

QTEST_MAIN(tst_PreviewBaseViewController)
#include "tst_PreviewBaseViewController.moc"
