#include "model/DRItem.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/Window.h"
#include "preview/PreviewItemManager.h"
#include "preview/QuickLookItemController.h"
#include "support/TestDrive.h"

#include <QTest>

class tst_QuickLookItemController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    std::shared_ptr<PreviewItemManager> managerOf(const QString &name)
    {
        const QString path = m_drive.path(name);
        TestDrive::writeFile(path, name.toUtf8());
        auto manager = PreviewItemManager::create();
        manager->setItem_updatePreview(DRItem::initWithURL(QUrl::fromLocalFile(path)), false);
        return manager;
    }

private Q_SLOTS:
    // one document at a time: a second preview replaces the first
    void aSecondItemReplacesTheFirst()
    {
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        QCOMPARE(QuickLookItemController::defaultController(), viewer);
        auto first = managerOf(QStringLiteral("first.txt"));
        viewer->quickLookNewItem(first.get());
        QCOMPARE(viewer->arrayOfDocuments(), QList<QUrl>{m_drive.url(QStringLiteral("first.txt"))});
        auto second = managerOf(QStringLiteral("second.txt"));
        viewer->quickLookNewItem(second.get());
        QCOMPARE(viewer->numberOfPreviewItemsInPreviewController(viewer), 1);
        QCOMPARE(viewer->previewController_previewItemAtIndex(viewer, 0), m_drive.url(QStringLiteral("second.txt")));
        QCOMPARE(viewer->currentPreviewItem(), m_drive.url(QStringLiteral("second.txt")));
        QCOMPARE(viewer->itemManager(), second.get());
        // Delete, then Move, at the right of the bar
        const QList<BarButtonItem *> right = viewer->navigationItem()->rightBarButtonItems();
        QCOMPARE(right, (QList<BarButtonItem *>{viewer->barButtonDeleteItem(), viewer->barButtonMoveItem()}));
        QCOMPARE(viewer->barButtonDeleteItem()->systemItem(), BarButtonItem::SystemItem::Trash);
        QCOMPARE(viewer->barButtonMoveItem()->systemItem(), BarButtonItem::SystemItem::Organize);
    }

    void aManagerWithoutAnItemOffersNothing()
    {
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        auto empty = PreviewItemManager::create();
        viewer->quickLookNewItem(empty.get());
        QCOMPARE(viewer->numberOfPreviewItemsInPreviewController(viewer), 0);
        QVERIFY(viewer->arrayOfDocuments().isEmpty());
        QCOMPARE(viewer->currentRenderer(), PreviewController::Renderer::None);
    }

    // loaded is not visible: only a viewer on screen counts
    void visibleOnlyWhileOnScreen()
    {
        QuickLookItemController *viewer = QuickLookItemController::defaultController();
        auto manager = managerOf(QStringLiteral("shown.txt"));
        viewer->quickLookNewItem(manager.get());
        QVERIFY(viewer->isViewLoaded());
        QVERIFY(!viewer->isVisible());
        {
            Window window(QRect(0, 0, 390, 844));
            auto *navigation = new NavigationController;
            navigation->setViewControllers({new ViewController, viewer}, false);
            window.setRootViewController(navigation);
            window.show();
            QVERIFY(viewer->isVisible());
            navigation->popViewControllerAnimated(false);
            QVERIFY(!viewer->isVisible());
            // the stack never owned it: it outlives the stack
            navigation->pushViewController(viewer, false);
        }
        QCOMPARE(QuickLookItemController::defaultController(), viewer);
        QVERIFY(!viewer->isVisible());
        viewer->quickLookNewItem(manager.get());
        QCOMPARE(viewer->currentPreviewItem(), m_drive.url(QStringLiteral("shown.txt")));
    }
};

QTEST_MAIN(tst_QuickLookItemController)
#include "tst_QuickLookItemController.moc"
