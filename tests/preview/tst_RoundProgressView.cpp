#include "preview/PieProgressIndicatorView.h"
#include "preview/RoundProgressView.h"

#include <QTest>

class tst_RoundProgressView : public QObject
{
    Q_OBJECT

private:
    /// Runs frames until the timer stops (at most `limit`); returns how many ran.
    static int runFrames(RoundProgressView &view, int limit = 10000)
    {
        int frames = 0;
        while (view.isProgressTimerRunning() && frames < limit) {
            view.increaseUIProgress();
            ++frames;
        }
        return frames;
    }

private Q_SLOTS:
    // before any report the ring fills a quarter by itself, then waits
    void withoutReportsTheRingStopsAtAQuarter()
    {
        RoundProgressView view(QRect(0, 0, 32, 32), 1);
        view.setProgress(0);
        QVERIFY(view.isProgressTimerRunning());
        runFrames(view);
        QVERIFY(!view.isProgressTimerRunning());
        QVERIFY(qAbs(view.uiProgress() - 0.25) <= 1.0 / 600);
        QCOMPARE(view.realProgress(), 0.0);
    }

    void repeatedReportsKeepTheSpeed()
    {
        RoundProgressView view(QRect(0, 0, 32, 32), 1);
        QTest::qWait(20);
        view.setProgress(0.5);
        const double rate = view.increaseRate();
        QVERIFY(rate >= 1.0 / 6000);
        QCOMPARE(view.realProgress(), 0.5);
        view.setProgress(0.5);
        view.setProgress(0.5);
        QCOMPARE(view.increaseRate(), rate);
        QCOMPARE(view.progress(), 0.5);
        // a smaller value changes nothing but the value set
        view.setProgress(0.3);
        QCOMPARE(view.increaseRate(), rate);
        QCOMPARE(view.realProgress(), 0.5);
        QCOMPARE(view.progress(), 0.3);
    }

    // the ring never shows full before the real progress is complete, then completes quickly
    void theRingCompletesOnlyWithTheRealProgress()
    {
        RoundProgressView view(QRect(0, 0, 32, 32), 1);
        QTest::qWait(20);
        view.setProgress(0.9);
        runFrames(view);
        QVERIFY(view.uiProgress() < 1);
        view.setProgress(1.0);
        QVERIFY(view.isProgressTimerRunning());
        const int frames = runFrames(view);
        QCOMPARE(view.uiProgress(), 1.0);
        QVERIFY2(frames <= 7, qPrintable(QString::number(frames))); // 0.1 s at 60 frames a second
    }

    void theLineIsThickerOnLargerRings()
    {
        RoundProgressView small(QRect(0, 0, 32, 32), 1);
        QCOMPARE(small.lineWidth(), 2.0);
        QCOMPARE(small.pieRadius(), 16.0);
        RoundProgressView large(QRect(0, 0, 48, 48), 0);
        QCOMPARE(large.lineWidth(), 4.0);
        QCOMPARE(large.pieRadius(), 22.0); // white rings keep the line inside
        QCOMPARE(large.styleColor(), QColor(Qt::white));
        large.setPieRadius(10);
        QCOMPARE(large.size(), QSize(20, 20));
    }

    void resetEmptiesTheRing()
    {
        RoundProgressView view(QRect(0, 0, 32, 32), 1);
        view.setProgress(0.4);
        view.increaseUIProgress();
        view.resetProgress();
        QCOMPARE(view.uiProgress(), 0.0);
        QCOMPARE(view.realProgress(), 0.0);
        QCOMPARE(view.increaseRate(), 1.0 / 600);
        QVERIFY(!view.isProgressTimerRunning());
        view.setInitialIncreaseRatePerFrame(0.01);
        QCOMPARE(view.increaseRate(), 0.01);
    }

    void thePieRedrawsOnlyOnChange()
    {
        PieProgressIndicatorView pie;
        pie.resize(22, 22);
        pie.setProgress(0.5);
        QCOMPARE(pie.progress(), 0.5);
        const QImage half = pie.grab().toImage();
        pie.setProgress(0.75);
        QVERIFY(pie.grab().toImage() != half);
    }
};

QTEST_MAIN(tst_RoundProgressView)
#include "tst_RoundProgressView.moc"
