#include "browser/DocumentListControllerStatusBar.h"
#include "browser/DriveStatusLabelView.h"
#include "browser/NavController.h"
#include "browser/StatusBar.h"
#include "core/DRLogging.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "platform/quota/KVQOffer.h"
#include "platform/quota/KVQUpgradeButton.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QLabel>
#include <QTest>

class tst_DocumentListControllerStatusBar : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QString statusText(DocumentListController *list)
    {
        return StatusBar::statusBar(list)->labelsView()->primaryLabel()->text();
    }

private Q_SLOTS:
    void initTestCase()
    {
        DocumentPickerUnavailableViewController::registerClass();
        DriveFileManager::signIn(QStringLiteral("user@example.com"));
        for (const char *name : {"A", "B", "C"}) {
            QDir().mkpath(m_drive.root() + QLatin1Char('/') + QLatin1String(name));
        }
    }

    // until the list has reported what it holds, the line shows nothing rather than a guess
    void lineStaysEmptyBeforeTheFirstContentsReport()
    {
        NavController browser;
        browser.view();
        DocumentListController *root = browser.getTopDocumentListController();
        QVERIFY(StatusBar::statusBar(root));
        QCOMPARE(statusText(root), QString());
        browser.quotaFetcher_didUpdateValue(nullptr, 1024);
        QCOMPARE(statusText(root), QString());
        browser.documentListControllerItemsChanged(root);
        QCOMPARE(statusText(root), QStringLiteral("3 Items, 1 KB available"));
    }

    // free space is shown only once it is known
    void beforeTheFirstQuotaReportTheLineIsTheCountAlone()
    {
        NavController browser;
        browser.view();
        DocumentListController *root = browser.getTopDocumentListController();
        browser.documentListControllerItemsChanged(root);
        QVERIFY(!browser.okToShowQuota());
        QCOMPARE(statusText(root), QStringLiteral("3 Items"));
        QCOMPARE(browser.toolbarStatusText(1), QStringLiteral("1 Item"));
    }

    // a full drive still says how much is free: nothing
    void zeroBytesFreeStillShowsTheFreeSpace()
    {
        NavController browser;
        browser.view();
        DocumentListController *root = browser.getTopDocumentListController();
        browser.documentListControllerItemsChanged(root);
        browser.quotaFetcher_didUpdateValue(nullptr, 0);
        QCOMPARE(statusText(root), QStringLiteral("3 Items, Zero KB available"));
        browser.quotaFetcher_didUpdateValue(nullptr, 3ULL * 1024 * 1024 * 1024 + 512ULL * 1024 * 1024);
        QCOMPARE(statusText(root), QStringLiteral("3 Items, 3.5 GB available"));
    }

    // an empty line without a button sits one pixel above the middle
    void emptyLabelWithoutButtonSitsOneAboveTheCentre()
    {
        DocumentListControllerStatusBar bar;
        bar.createStatusBar_buttonPressDelegate(nullptr, nullptr);
        DriveStatusLabelView *view = bar.labelsView();
        view->resize(300, 44);
        view->layoutSubviews();
        QCOMPARE(view->contentHeight(), 0.0);
        QCOMPARE(view->primaryLabel()->y(), 21);
        QVERIFY(view->quotaButton()->isHidden());
    }

    // with the button, the label moves up to make room and the button centres under it
    void lowQuotaMakesRoomForTheButton()
    {
        auto offer = std::make_shared<KVQOffer>(2, QStringLiteral("Upgrade"));
        DocumentListControllerStatusBar bar;
        bar.createStatusBar_buttonPressDelegate(offer, nullptr);
        DriveStatusLabelView *view = bar.labelsView();
        view->resize(300, 44);
        bar.setStatusText(QStringLiteral("3 Items"));
        QVERIFY(view->showLowQuota());
        QVERIFY(!view->quotaButton()->isHidden());
        const qreal lh = view->primaryLabel()->sizeHint().height();
        const qreal t = view->quotaButton()->titleLabelHeight();
        QCOMPARE(view->contentHeight(), 0.25 * lh + t + lh);
        QCOMPARE(view->primaryLabel()->y(), qRound((44 - view->contentHeight()) * 0.5 - 1.0));
        QCOMPARE(view->quotaButton()->geometry().center().x(), view->primaryLabel()->geometry().center().x());
        QVERIFY(view->quotaButton()->y() > view->primaryLabel()->y());
    }

    // an offer equal to the one shown is not set again, but whether to show it is decided anew
    void equalOfferIsNotSetAgainButVisibilityIsRedecided()
    {
        auto offer = std::make_shared<KVQOffer>(1, QStringLiteral("Upgrade"));
        DocumentListControllerStatusBar bar;
        bar.createStatusBar_buttonPressDelegate(offer, nullptr);
        KVQUpgradeButton *button = bar.labelsView()->quotaButton();
        const int sets = button->offerChangeCount();
        bar.labelsView()->setShowLowQuota(false);
        bar.showUpgradeOffer(std::make_shared<KVQOffer>(1, QStringLiteral("Upgrade")));
        QCOMPARE(button->offerChangeCount(), sets);
        QVERIFY(bar.labelsView()->showLowQuota());
        bar.showUpgradeOffer(std::make_shared<KVQOffer>(0, QString()));
        QCOMPARE(button->offerChangeCount(), sets + 1);
        QVERIFY(!bar.labelsView()->showLowQuota());
        QVERIFY(button->isHidden());
    }

    // the status bar is a centred item between two flexible spaces, attached to its list once
    void attachedOnceBetweenTwoFlexibleSpaces()
    {
        NavController browser;
        browser.view();
        DocumentListController *root = browser.getTopDocumentListController();
        DocumentListControllerStatusBar *bar = StatusBar::statusBar(root);
        QCOMPARE(root->property(StatusBar::AssociatedKey).value<QObject *>(), bar);
        const auto items = bar->toolbarItems();
        QCOMPARE(items.size(), 3);
        QCOMPARE(items.at(0)->systemItem(), BarButtonItem::SystemItem::FlexibleSpace);
        QCOMPARE(items.at(1)->customView(), bar->labelsView());
        QCOMPARE(items.at(2)->systemItem(), BarButtonItem::SystemItem::FlexibleSpace);
        QVERIFY(items.at(0) != items.at(2));
        QCOMPARE(root->toolbarItems(), items);
        browser.initNewListController(root);
        QCOMPARE(StatusBar::statusBar(root), bar);
    }
};

QTEST_MAIN(tst_DocumentListControllerStatusBar)
#include "tst_DocumentListControllerStatusBar.moc"
