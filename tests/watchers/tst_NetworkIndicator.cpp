#include "watchers/NetworkIndicator.h"

#include "platform/ui/NetworkActivityIndicator.h"

#include <QSignalSpy>
#include <QTest>

class tst_NetworkIndicator : public QObject
{
    Q_OBJECT

private:
    static bool visible() { return NetworkActivityIndicator::shared()->isVisible(); }

private slots:
    // One activity shown twice is one activity: a single hide ends it.
    void showTwiceHideOnceTurnsOff()
    {
        NetworkIndicator indicator;
        QSignalSpy changes(NetworkActivityIndicator::shared(), &NetworkActivityIndicator::visibleChanged);
        indicator.show(QStringLiteral("PreviewDownload"));
        indicator.show(QStringLiteral("PreviewDownload"));
        QVERIFY(visible());
        QCOMPARE(indicator.ids().size(), 1);
        indicator.hide(QStringLiteral("PreviewDownload"));
        QVERIFY(!visible());
        QCOMPARE(changes.size(), 2); // on once, off once
    }

    // Hiding what was never shown changes nothing, whether the indicator is on or off.
    void hideUnknownLeavesIndicator()
    {
        NetworkIndicator indicator;
        indicator.hide(QStringLiteral("Never"));
        QVERIFY(!visible());
        indicator.show(QStringLiteral("PreviewDownload"));
        indicator.hide(QStringLiteral("Never"));
        QVERIFY(visible());
        QCOMPARE(indicator.ids(), QSet<QString>{QStringLiteral("PreviewDownload")});
        indicator.hide(QStringLiteral("PreviewDownload"));
        QVERIFY(!visible());
    }

    // Two activities keep the indicator on until both end.
    void onWhileAnyActivityRuns()
    {
        NetworkIndicator indicator;
        indicator.show(QStringLiteral("A"));
        indicator.show(QStringLiteral("B"));
        indicator.hide(QStringLiteral("A"));
        QVERIFY(visible());
        indicator.hide(QStringLiteral("B"));
        QVERIFY(!visible());
        QCOMPARE(NetworkIndicator::sharedNetworkIndicator(), NetworkIndicator::sharedNetworkIndicator());
    }
};

QTEST_GUILESS_MAIN(tst_NetworkIndicator)
#include "tst_NetworkIndicator.moc"
