#include "model/DRItem.h"
#include "platform/drive/Progress.h"
#include "platform/ui/NavigationController.h"
#include "preview/PieProgressIndicatorView.h"
#include "preview/PreviewItemManager.h"
#include "preview/PreviewThumbnailViewController.h"
#include "preview/ThumbnailImageView.h"
#include "support/TestDrive.h"

#include <QTest>

class tst_ThumbnailImageView : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    std::shared_ptr<DRItem> document(const QString &name)
    {
        const QString path = m_drive.path(name);
        TestDrive::writeFile(path, "content");
        return DRItem::initWithURL(QUrl::fromLocalFile(path));
    }

private Q_SLOTS:
    // a stored thumbnail keeps its proportions in a view of another shape
    void aThumbnailIsLetterBoxed()
    {
        const std::shared_ptr<DRItem> item = document(QStringLiteral("wide.txt"));
        QImage wide(400, 100, QImage::Format_RGB32);
        wide.fill(Qt::red);
        item->setThumbnailFetched(true);
        item->setThumbnail(wide);
        ThumbnailImageView view;
        view.resize(200, 200);
        view.setItem(item);
        QVERIFY(!view.showsGenericImage());
        QCOMPARE(view.image(), wide);
        QCOMPARE(view.imageRect(), QRect(0, 75, 200, 50));
        const QImage shot = view.grab().toImage();
        QCOMPARE(shot.pixelColor(100, 100), QColor(Qt::red));
        QVERIFY(shot.pixelColor(100, 10) != QColor(Qt::red));
    }

    void withoutAThumbnailTheTypesIconShows()
    {
        const std::shared_ptr<DRItem> item = document(QStringLiteral("plain.txt"));
        item->setThumbnailFetched(true);
        ThumbnailImageView view;
        view.resize(200, 200);
        view.setItem(item);
        QVERIFY(view.showsGenericImage());
        QVERIFY(!view.image().isNull());
        // no item changes nothing on screen
        const QImage before = view.image();
        view.setItem(nullptr);
        QCOMPARE(view.image(), before);
    }

    void thePieMovesOnlyWhileShown()
    {
        ThumbnailImageView view;
        view.resize(100, 100);
        view.updateProgress(0.5);
        QVERIFY(view.progressView()->isHidden());
        QCOMPARE(view.progressView()->progress(), 0.0);
        view.showProgress(true);
        QVERIFY(!view.progressView()->isHidden());
        QCOMPARE(view.progressView()->progress(), 0.0);
        QCOMPARE(view.progressView()->size(), QSize(22, 22));
        QCOMPARE(view.progressView()->geometry().bottomRight(), QPoint(99, 99));
        view.updateProgress(0.5);
        QCOMPARE(view.progressView()->progress(), 0.5);
        view.showProgress(false);
        QVERIFY(view.progressView()->isHidden());
    }

    // the thumbnail screen keeps its pie at 0 whatever is reported
    void theThumbnailScreenIgnoresProgress()
    {
        auto manager = PreviewItemManager::create();
        manager->setItem_updatePreview(document(QStringLiteral("screen.txt")), false);
        NavigationController navigation;
        auto *screen = new PreviewThumbnailViewController;
        screen->setItemManager(manager.get());
        navigation.setViewControllers({screen}, false);
        QCOMPARE(screen->thumbnailView()->item(), manager->item());
        screen->showProgress(true);
        auto progress = std::make_shared<Progress>(10);
        progress->setCompletedUnitCount(5);
        screen->updateProgress(progress);
        QVERIFY(!screen->thumbnailView()->progressView()->isHidden());
        QCOMPARE(screen->thumbnailView()->progressView()->progress(), 0.0);
    }
};

QTEST_MAIN(tst_ThumbnailImageView)
#include "tst_ThumbnailImageView.moc"
