#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/Progress.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationController.h"
#include "preview/DownloadView.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewItemManager.h"
#include "preview/RoundProgressView.h"
#include "preview/ThumbnailImageView.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"
#include "watchers/NetworkWatcher.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTest>

class tst_PreviewDownloadViewController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static void useNetwork(const QString &state, NetworkState expected)
    {
        QVERIFY(TestDrive::useNetwork(state, expected));
    }
    QString promised(const QString &name, qint64 size)
    {
        const QString path = m_drive.freshFolder(QStringLiteral("f-") + name) + QLatin1Char('/') + name;
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.resize(size);
        file.close();
        DriveSetup::promise(path);
        return path;
    }
    /// A download screen of the item at `path` in a stack, its manager prepared.
    struct Screen {
        std::shared_ptr<PreviewItemManager> manager;
        NavigationController navigation;
        PreviewDownloadViewController *screen = nullptr;
    };
    static void open(Screen &s, const QString &path)
    {
        s.manager = PreviewItemManager::create();
        s.manager->setNavigationController(&s.navigation);
        s.navigation.setViewControllers({new ViewController}, false);
        s.manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(path)));
        s.screen = qobject_cast<PreviewDownloadViewController *>(s.navigation.topViewController());
    }

private Q_SLOTS:
    void initTestCase()
    {
        LogSpy::keepDebugLines();
        DriveFileManager::signIn(QStringLiteral("user@example.com"));
        DriveServiceMonitor::flush();
    }

    // the 100 MiB line on a cellular connection: exactly 100 MiB still downloads
    void cellularRefusesOverOneHundredMebibytes()
    {
        useNetwork(QStringLiteral("cellular"), NetworkStateCellular);
        Screen s;
        open(s, promised(QStringLiteral("big.txt"), 10));
        QVERIFY(s.screen);
        DownloadView *view = s.screen->downloadView();
        s.manager->item()->setFileSize(104857601);
        s.screen->downloadView_didPressStartDownload(view, s.manager->item()->url());
        auto *alert = qobject_cast<AlertController *>(s.screen->presentedViewController());
        QVERIFY(alert);
        QCOMPARE(alert->title(), QStringLiteral("This item is over 100 MB."));
        QCOMPARE(alert->message(), QStringLiteral("“big.txt” will not download until you connect to Wi-Fi."));
        QVERIFY(!view->downloading());
        QVERIFY(!s.manager->downloadFC());
        s.screen->dismissViewControllerAnimated(false);

        s.manager->item()->setFileSize(104857600);
        s.screen->downloadView_didPressStartDownload(view, s.manager->item()->url());
        QVERIFY(!s.screen->presentedViewController());
        QVERIFY(view->downloading());
        QTRY_VERIFY(QFileInfo::exists(s.manager->item() ? s.manager->item()->url().toLocalFile() : QString()));
        s.manager->unregisterAsFilePresenter();
    }

    void anUnknownSizeShowsLoading()
    {
        useNetwork(QStringLiteral("cellular"), NetworkStateCellular);
        Screen s;
        open(s, promised(QStringLiteral("unknown.txt"), 10));
        DownloadView *view = s.screen->downloadView();
        QCOMPARE(view->sizeLabel()->text(), QStringLiteral("10 bytes"));
        s.manager->item()->setFileSize(std::nullopt);
        view->setItem(s.manager->item());
        view->setDownloading(true);
        QCOMPARE(view->sizeLabel()->text(), QStringLiteral("Loading…"));
        s.manager->item()->setFileSize(2000);
        view->setDownloading(true);
        QCOMPARE(view->sizeLabel()->text(), QStringLiteral("Zero KB of 2 KB"));
        s.manager->unregisterAsFilePresenter();
    }

    void aReportWithoutATotalMovesNothing()
    {
        DownloadView view;
        view.setDownloading(true);
        const QString before = view.sizeLabel()->text();
        auto progress = std::make_shared<Progress>(0);
        progress->setCompletedUnitCount(5);
        view.updateProgress(progress);
        QCOMPARE(view.roundProgressView()->progress(), 0.0);
        QCOMPARE(view.sizeLabel()->text(), before);
        auto real = std::make_shared<Progress>(4000);
        real->setCompletedUnitCount(1000);
        view.updateProgress(real);
        QCOMPARE(view.roundProgressView()->progress(), 0.25);
        QCOMPARE(view.sizeLabel()->text(), QStringLiteral("1 KB of 4 KB"));
        // a report while not downloading is dropped with a warning
        view.setDownloading(false);
        LogSpy::clear();
        view.updateProgress(real);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Received progress when not downloading")), LOG_WARNING);
    }

    void theButtonsFollowTheState()
    {
        DownloadView view;
        view.setDownloading(false);
        QVERIFY(!view.cloudButton()->isHidden());
        QVERIFY(!view.downloadButton()->isHidden());
        QVERIFY(view.cancelButton()->isHidden());
        QVERIFY(view.roundProgressView()->isHidden());
        QCOMPARE(view.downloadButton()->text(), QStringLiteral("Download to View"));
        view.setDownloading(true);
        QVERIFY(view.cloudButton()->isHidden());
        QVERIFY(view.downloadButton()->isHidden());
        QVERIFY(!view.cancelButton()->isHidden());
        QVERIFY(!view.roundProgressView()->isHidden());
        QCOMPARE(view.cancelButton()->text(), QStringLiteral("Cancel Download"));
        LogSpy::clear();
        view.cancelButton()->click();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Pressed Cancel download...")), LOG_INFO);
        // a document the viewer can't show is downloaded, not viewed
        const std::shared_ptr<DRItem> binary = DRItem::initWithURL(QUrl::fromLocalFile(promised(QStringLiteral("tool.bin"), 4)));
        view.setItem(binary);
        QCOMPARE(view.downloadButton()->text(), QStringLiteral("Download"));
        QCOMPARE(view.filenameLabel()->text(), QStringLiteral("tool.bin"));
    }

    void landscapePutsThePartsSideBySide()
    {
        useNetwork(QStringLiteral("cellular"), NetworkStateCellular);
        Screen s;
        open(s, promised(QStringLiteral("turn.txt"), 10));
        s.screen->adjustViewsForOrientation(PseudoOrientation::LandscapeLeft);
        QCOMPARE(s.screen->mainStackView()->direction(), QBoxLayout::LeftToRight);
        QCOMPARE(s.screen->mainStackView()->stretch(0), s.screen->mainStackView()->stretch(1));
        s.screen->adjustViewsForOrientation(PseudoOrientation::Portrait);
        QCOMPARE(s.screen->mainStackView()->direction(), QBoxLayout::TopToBottom);
        s.manager->unregisterAsFilePresenter();
    }
};

QTEST_MAIN(tst_PreviewDownloadViewController)
#include "tst_PreviewDownloadViewController.moc"
