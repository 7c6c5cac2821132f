#include "platform/ui/BarButtonItem.h"
#include "platform/ui/BarItemsView.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/Toolbar.h"

#include <QTest>
#include <QVBoxLayout>

class tst_PopoverPresentationController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // a popover of a toolbar's button stands over the toolbar, at the button
    void aToolbarButtonsPopoverStandsOverTheToolbar()
    {
        QWidget window;
        window.resize(1024, 768);
        auto *layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addStretch(1);
        auto *toolbar = new Toolbar(&window);
        layout->addWidget(toolbar);
        BarButtonItem space(BarButtonItem::SystemItem::FlexibleSpace);
        BarButtonItem trash(QStringLiteral("Delete"));
        toolbar->setItems({&space, &trash});
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));

        PopoverPresentationController popover;
        popover.setBarButtonItem(&trash);
        QWidget *button = toolbar->itemsView()->widgetForItem(&trash);
        QVERIFY(button);
        const QRect anchor(button->mapTo(&window, QPoint(0, 0)), button->size());
        QCOMPARE(popover.anchorInWindow(&window), std::optional<QRect>(anchor));
        const QRect frame = popover.frameForSize(QSize(320, 140), window.rect(), &window);
        QCOMPARE(frame.bottom() + 1 + 10, anchor.top());
        QVERIFY(frame.right() <= window.rect().right() - 8);
        QVERIFY(frame.left() <= anchor.center().x() && anchor.center().x() <= frame.right());

        // a button no bar shows has no anchor: the popover is centred
        BarButtonItem hidden(QStringLiteral("Nowhere"));
        popover.setBarButtonItem(&hidden);
        QCOMPARE(popover.anchorInWindow(&window), std::nullopt);
        QCOMPARE(popover.frameForSize(QSize(320, 140), window.rect(), &window), QRect(352, 314, 320, 140));
    }

    // a view's anchor with arrows to the sides only puts the popover beside it
    void aViewAnchorWithSideArrowsGoesBeside()
    {
        QWidget window;
        window.resize(1024, 768);
        QWidget row(&window);
        row.setGeometry(0, 200, 300, 44);
        PopoverPresentationController popover;
        popover.setSourceView(&row);
        popover.setSourceRect(QRect(0, 22, 300, 0));
        popover.setPermittedArrowDirections(PopoverPresentationController::ArrowDirection::Left
                                            | PopoverPresentationController::ArrowDirection::Right);
        const QRect frame = popover.frameForSize(QSize(320, 140), window.rect(), &window);
        QCOMPARE(frame, QRect(309, 151, 320, 140)); // right of the row, centred on its middle line
    }
};

QTEST_MAIN(tst_PopoverPresentationController)
#include "tst_PopoverPresentationController.moc"
