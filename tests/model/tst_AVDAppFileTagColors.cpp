#include "model/AVDAppFileTagColors.h"

#include <QTest>

using namespace AVDAppFileTagColors;

class tst_AVDAppFileTagColors : public QObject
{
    Q_OBJECT

private:
    static void compareColor(const QColor &actual, double r, double g, double b, double a)
    {
        QVERIFY2(qAbs(actual.redF() - r) < 0.002 && qAbs(actual.greenF() - g) < 0.002
                     && qAbs(actual.blueF() - b) < 0.002 && qAbs(actual.alphaF() - a) < 0.002,
                 qPrintable(QStringLiteral("got %1 %2 %3 %4, want %5 %6 %7 %8")
                                .arg(actual.redF()).arg(actual.greenF()).arg(actual.blueF()).arg(actual.alphaF())
                                .arg(r).arg(g).arg(b).arg(a)));
    }

    static QColor rgba(double r, double g, double b, double a) { return QColor::fromRgbF(float(r), float(g), float(b), float(a)); }

private slots:
    // The dots' rims: half-transparent white over the tag colour, by the source-over formula.
    void sourceOverOfHalfWhite()
    {
        compareColor(_colorBlendedWithColor(rgba(1, 0, 0, 1), rgba(1, 1, 1, 0.5)), 1, 0.5, 0.5, 1);
        // a = 0.5 + 0.5 × 0.5 = 0.75; c = (0.5 × 1 + 0.5 × 0.5 × 0) / 0.75
        compareColor(_colorBlendedWithColor(rgba(0, 0, 0, 0.5), rgba(1, 1, 1, 0.5)), 2.0 / 3, 2.0 / 3, 2.0 / 3, 0.75);
        compareColor(_colorBlendedWithColor_compositingFilter(rgba(0, 0, 1, 1), rgba(1, 0, 0, 0.25), CompositingFilter::NormalBlendMode),
                     0.25, 0, 0.75, 1);
        compareColor(_colorBlendedWithColor_compositingFilter(rgba(0, 0, 1, 1), rgba(1, 0, 0, 0.25), QString()), 0.25, 0, 0.75, 1);
    }

    // A missing or invisible top colour changes nothing.
    void nilOrTransparentTopKeepsBase()
    {
        const QColor base = rgba(0.2, 0.4, 0.6, 0.8);
        QCOMPARE(_colorBlendedWithColor(base, QColor()), base);
        QCOMPARE(_colorBlendedWithColor(base, rgba(1, 1, 1, 0)), base);
        QCOMPARE(_colorBlendedWithColor_compositingFilter(base, rgba(1, 1, 1, 0), CompositingFilter::MultiplyBlendMode), base);
    }

    // An unknown filter name leaves the base as it was.
    void unknownFilterKeepsBase()
    {
        const QColor base = rgba(0.2, 0.4, 0.6, 0.8);
        QCOMPARE(_colorBlendedWithColor_compositingFilter(base, rgba(1, 0, 0, 1), QStringLiteral("sparkle")), base);
    }

    // Each blend mode by its published formula, mixed by the top's alpha; the base's alpha stays.
    void blendModes_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<double>("expected"); // for base 0.6 and top 0.3 at top alpha 1
        QTest::newRow("multiply") << CompositingFilter::MultiplyBlendMode << 0.18;
        QTest::newRow("screen") << CompositingFilter::ScreenBlendMode << 0.72;
        QTest::newRow("overlay") << CompositingFilter::OverlayBlendMode << 0.44; // 0.3 + 0.2 − 0.3 × 0.2
        QTest::newRow("darken") << CompositingFilter::DarkenBlendMode << 0.3;
        QTest::newRow("lighten") << CompositingFilter::LightenBlendMode << 0.6;
        QTest::newRow("colour dodge") << CompositingFilter::ColorDodgeBlendMode << 0.6 / 0.7;
        QTest::newRow("colour burn") << CompositingFilter::ColorBurnBlendMode << 0.0; // 1 − min(1, 0.4 / 0.3)
        QTest::newRow("plus lighter") << CompositingFilter::PlusLighter << 0.9;
        QTest::newRow("plus darker") << CompositingFilter::PlusDarker << 0.0;
    }
    void blendModes()
    {
        QFETCH(QString, filter);
        QFETCH(double, expected);
        compareColor(_colorBlendedWithColor_compositingFilter(rgba(0.6, 0.6, 0.6, 0.7), rgba(0.3, 0.3, 0.3, 1), filter),
                     expected, expected, expected, 0.7);
    }

    // Multiply at partial alpha: c = Ct × Cb × At + Cb × (1 − At).
    void multiplyMixesByTopAlpha()
    {
        compareColor(_colorBlendedWithColor_compositingFilter(rgba(0.8, 0.5, 1.0, 1), rgba(0.5, 0.5, 0.5, 0.5),
                                                              CompositingFilter::MultiplyBlendMode),
                     0.5 * 0.8 * 0.5 + 0.8 * 0.5, 0.5 * 0.5 * 0.5 + 0.5 * 0.5, 0.5 * 1.0 * 0.5 + 1.0 * 0.5, 1);
    }

    // The edges of dodge and burn, where the formulas would divide by zero.
    void dodgeAndBurnEdges()
    {
        compareColor(_colorBlendedWithColor_compositingFilter(rgba(0.5, 0, 1, 1), rgba(1, 1, 1, 1), CompositingFilter::ColorDodgeBlendMode),
                     1, 0, 1, 1);
        compareColor(_colorBlendedWithColor_compositingFilter(rgba(0.5, 1, 0, 1), rgba(0, 0, 0, 1), CompositingFilter::ColorBurnBlendMode),
                     0, 1, 0, 1);
    }
};

QTEST_GUILESS_MAIN(tst_AVDAppFileTagColors)
#include "tst_AVDAppFileTagColors.moc"
