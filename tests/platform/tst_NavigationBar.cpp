#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/ViewController.h"
#include "platform/ui/Window.h"

#include <QFontMetrics>
#include <QLabel>
#include <QTest>
#include <QToolButton>

class tst_NavigationBar : public QObject
{
    Q_OBJECT

private:
    /// A screen like a folder's list: its title, and Select on the right.
    static ViewController *screenTitled(const QString &title)
    {
        auto *screen = new ViewController;
        screen->setTitle(title);
        screen->navigationItem()->setRightBarButtonItem(new BarButtonItem(QStringLiteral("Select"), BarButtonItem::Style::Plain, screen));
        return screen;
    }

private Q_SLOTS:
    // a long folder name is cut in the title and never widens a phone's window, not even
    // after going back from it
    void aLongTitleIsCutAndTheWindowKeepsItsWidth_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("18 characters") << QStringLiteral("Tax Documents 2024");
        QTest::newRow("58 characters") << QStringLiteral("Holiday Photos Summer Collection From The Mountains Trip 1");
    }
    void aLongTitleIsCutAndTheWindowKeepsItsWidth()
    {
        QFETCH(QString, title);
        Window window(QRect(0, 0, 390, 844));
        auto *navigation = new NavigationController;
        navigation->setViewControllers({screenTitled(QStringLiteral("Aerova Drive"))}, false);
        window.setRootViewController(navigation);
        window.makeKeyAndVisible();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        navigation->pushViewController(screenTitled(title), false);
        QCoreApplication::processEvents();
        QCOMPARE(window.width(), 390);
        NavigationBar *bar = navigation->navigationBar();
        QCOMPARE(bar->titleText(), title);
        auto *shown = bar->findChild<QLabel *>(QStringLiteral("navigationTitle"));
        QVERIFY(shown);
        QVERIFY(shown->width() < 390);
        if (QFontMetrics(shown->font()).horizontalAdvance(title) > shown->width()) {
            QVERIFY2(bar->shownTitle().endsWith(QChar(0x2026)), qPrintable(bar->shownTitle()));
            QVERIFY(bar->shownTitle().size() < title.size());
            QVERIFY(title.startsWith(bar->shownTitle().chopped(1)));
        } else {
            QCOMPARE(bar->shownTitle(), title);
        }
        QVERIFY(QFontMetrics(shown->font()).horizontalAdvance(bar->shownTitle()) <= shown->width());
        QCOMPARE(shown->accessibleName(), title);

        navigation->popViewControllerAnimated(false);
        QCoreApplication::processEvents();
        QCOMPARE(window.width(), 390);
        QCOMPARE(bar->shownTitle(), QStringLiteral("Aerova Drive"));
    }

    // the 58-character name does not fit a phone's title: it is cut, and the whole name is
    // one hover away
    void aTitleThatDoesNotFitEndsInAnEllipsis()
    {
        Window window(QRect(0, 0, 390, 844));
        auto *navigation = new NavigationController;
        const QString title = QStringLiteral("Holiday Photos Summer Collection From The Mountains Trip 1");
        navigation->setViewControllers({screenTitled(title)}, false);
        window.setRootViewController(navigation);
        window.makeKeyAndVisible();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCoreApplication::processEvents();
        const QString shown = navigation->navigationBar()->shownTitle();
        QVERIFY2(shown.endsWith(QChar(0x2026)) && shown.size() < title.size(), qPrintable(shown));
        auto *label = navigation->navigationBar()->findChild<QLabel *>(QStringLiteral("navigationTitle"));
        QCOMPARE(label->toolTip(), title);
        QCOMPARE(window.width(), 390);
    }

    // a longer word on a side button (a German "Abbrechen") is shown whole beside a long title;
    // the title gives way and stays centred on the bar
    void aSideButtonIsNeverCut()
    {
        Window window(QRect(0, 0, 390, 844));
        auto *navigation = new NavigationController;
        auto *screen = new ViewController;
        screen->setTitle(QStringLiteral("12 Objekte ausgewählt"));
        screen->navigationItem()->setHidesBackButton(true);
        screen->navigationItem()->setRightBarButtonItem(
            new BarButtonItem(QStringLiteral("Abbrechen"), BarButtonItem::Style::Plain, screen));
        navigation->setViewControllers({screen}, false);
        window.setRootViewController(navigation);
        window.makeKeyAndVisible();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCoreApplication::processEvents();
        NavigationBar *bar = navigation->navigationBar();
        QToolButton *button = nullptr;
        for (QToolButton *candidate : bar->findChildren<QToolButton *>(QStringLiteral("barButton"))) {
            if (candidate->isVisibleTo(bar)) {
                button = candidate;
            }
        }
        QVERIFY(button);
        QVERIFY2(button->width() >= button->sizeHint().width(), qPrintable(QStringLiteral("%1 < %2").arg(button->width()).arg(button->sizeHint().width())));
        QVERIFY(button->mapTo(bar, QPoint(button->width(), 0)).x() <= bar->width());
        auto *title = bar->findChild<QLabel *>(QStringLiteral("navigationTitle"));
        QVERIFY(title->mapTo(bar, QPoint(title->width(), 0)).x() <= button->mapTo(bar, QPoint(0, 0)).x());
        // the title does not fit centred: it takes the empty side's room and shows whole
        QCOMPARE(bar->shownTitle(), QStringLiteral("12 Objekte ausgewählt"));

        // a short title stays in the bar's middle
        screen->setTitle(QStringLiteral("Fotos"));
        QCoreApplication::processEvents();
        QVERIFY2(qAbs(title->mapTo(bar, title->rect().center()).x() - bar->width() / 2) <= 6,
                 qPrintable(QStringLiteral("title %1+%2 in %3").arg(title->mapTo(bar, QPoint()).x()).arg(title->width()).arg(bar->width())));
    }
};

QTEST_MAIN(tst_NavigationBar)
#include "tst_NavigationBar.moc"
