#include "model/FileTags.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/UbiquitousKeyValueStore.h"
#include "platform/ui/SystemColor.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QProcess>
#include <QTest>

class tst_FileTags : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static bool near(QRgb pixel, const QColor &color)
    {
        return qAbs(qRed(pixel) - color.red()) <= 2 && qAbs(qGreen(pixel) - color.green()) <= 2
            && qAbs(qBlue(pixel) - color.blue()) <= 2 && qAlpha(pixel) == 255;
    }

private slots:
    void initTestCase()
    {
        DRLogSetLevel(LOG_DEBUG);
        QVERIFY(!DriveSetup::defineTags({{QStringLiteral("Red"), 6}, {QStringLiteral("Blue"), 4}}));
    }

    // Reading the names alone does not load the dictionary: nothing before the colours are asked.
    void allTagsBeforeTagColorsByTagIsEmpty()
    {
        QVERIFY(FileTags::allTags().isEmpty());
        const auto colors = FileTags::tagColorsByTag();
        QCOMPARE(colors.value(QStringLiteral("Red")), SystemColor::systemRedColor());
        QCOMPARE(FileTags::allTags(), (QStringList{QStringLiteral("Red"), QStringLiteral("Blue")}));
    }

    // The label table: light grey for "no colour", then the seven system colours.
    void blipColorTable()
    {
        const QList<QColor> colors = FileTags::_tagBlipColors();
        QCOMPARE(colors.size(), 8);
        QCOMPARE(colors.at(0), QColor::fromRgbF(0.8f, 0.8f, 0.8f, 1.0f));
        QCOMPARE(colors.at(1), SystemColor::systemGrayColor());
        QCOMPARE(colors.at(2), SystemColor::systemGreenColor());
        QCOMPARE(colors.at(3), SystemColor::systemPurpleColor());
        QCOMPARE(colors.at(4), SystemColor::systemBlueColor());
        QCOMPARE(colors.at(5), SystemColor::systemYellowColor());
        QCOMPARE(colors.at(6), SystemColor::systemRedColor());
        QCOMPARE(colors.at(7), SystemColor::systemOrangeColor());
    }

    // A dictionary of another format version is not guessed at: no tags, and the reason logged.
    void versionOneYieldsNoTags()
    {
        QVERIFY(!DriveSetup::defineTags({{QStringLiteral("Old"), 2}}, 1));
        DriveServiceMonitor::flush(); // the store's own report of the write is out of the way
        LogSpy::clear();
        FileTags::_tagColorsDidChange();
        QVERIFY(FileTags::allTags().isEmpty());
        QVERIFY(FileTags::tagColorsByTag().isEmpty());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Trovex tag dictionary has incorrect version (1, should be 2)")), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Trovex tag dictionary is empty")), LOG_WARNING);
    }

    // No dictionary at all is only a warning.
    void missingDictionaryIsEmpty()
    {
        UbiquitousKeyValueStore::defaultStore()->removeObjectForKey(QStringLiteral("TrovexTagDict"));
        DriveServiceMonitor::flush();
        LogSpy::clear();
        FileTags::_tagColorsDidChange();
        QVERIFY(FileTags::allTags().isEmpty());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Trovex tag dictionary is empty")), LOG_WARNING);
    }

    // A label the app does not know is drawn light grey, never left out.
    void labelNineIsDrawnLightGrey()
    {
        QVERIFY(!DriveSetup::defineTags({{QStringLiteral("Nine"), 9}}));
        DriveServiceMonitor::flush();
        FileTags::_tagColorsDidChange();
        QCOMPARE(FileTags::tagColorsByTag().value(QStringLiteral("Nine")), FileTags::_tagBlipColors().first());
        const QImage blip = FileTags::blipWithTags_height_scale({QStringLiteral("Nine")}, 10, 1);
        QVERIFY(near(blip.pixel(5, 5), QColor(204, 204, 204)));
    }

    // The same name twice: the later colour wins, the name is listed twice.
    void laterDuplicateOverwritesColour()
    {
        QVERIFY(!DriveSetup::defineTags({{QStringLiteral("Dup"), 2}, {QStringLiteral("Dup"), 6}}));
        DriveServiceMonitor::flush();
        FileTags::_tagColorsDidChange();
        QCOMPARE(FileTags::allTags(), (QStringList{QStringLiteral("Dup"), QStringLiteral("Dup")}));
        QCOMPARE(FileTags::tagColorsByTag().value(QStringLiteral("Dup")), SystemColor::systemRedColor());
    }

    // Three tags of height 10: a 20 by 10 image, dots at x 0, 5 and 10, each over the one before.
    void threeTagsAtHeightTen()
    {
        QVERIFY(!DriveSetup::defineTags({{QStringLiteral("G"), 2}, {QStringLiteral("B"), 4}, {QStringLiteral("R"), 6}}));
        DriveServiceMonitor::flush();
        FileTags::_tagColorsDidChange();
        const QImage image = FileTags::blipWithTags_height_scale(
            {QStringLiteral("G"), QStringLiteral("B"), QStringLiteral("R")}, 10, 1);
        QCOMPARE(image.deviceIndependentSize(), QSizeF(20, 10));
        QCOMPARE(image.size(), QSize(20, 10));
        QVERIFY(near(image.pixel(2, 5), SystemColor::systemGreenColor()));  // only the first dot reaches here
        QVERIFY(near(image.pixel(7, 5), SystemColor::systemBlueColor()));   // the second, over the first
        QVERIFY(near(image.pixel(12, 5), SystemColor::systemRedColor()));   // the third, over the second
        QVERIFY(near(image.pixel(17, 5), SystemColor::systemRedColor()));
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(image.pixel(19, 0)), 0);

        const QImage retina = FileTags::blipWithTags_height_scale({QStringLiteral("G")}, 10, 2);
        QCOMPARE(retina.size(), QSize(20, 20));
        QCOMPARE(retina.deviceIndependentSize(), QSizeF(10, 10));
        QVERIFY(FileTags::blipWithTags_height_scale({}, 10, 1).isNull());
    }

    // A fractional height rounds the dot up to whole pixels; the row (10 + 4.75) is rounded up
    // too, so that the last dot is never clipped.
    void fractionalHeightRoundsTheDotUp()
    {
        const QImage image = FileTags::blipWithTags_height_scale({QStringLiteral("G"), QStringLiteral("B")}, 9.5, 1);
        QCOMPARE(image.size(), QSize(15, 10));
        const QImage doubled = FileTags::blipWithTags_height_scale({QStringLiteral("G"), QStringLiteral("B")}, 9.5, 2);
        QCOMPARE(doubled.size(), QSize(30, 20));
    }

    // One dot sits at its offset in an image of the given size, always at scale 1.
    void oneDotAtItsOffset()
    {
        const QImage image = FileTags::blipWithTag_imageSize_blipHeight_offset(QStringLiteral("B"), QSizeF(30, 20), 8,
                                                                               QPointF(20, 6));
        QCOMPARE(image.size(), QSize(30, 20));
        QCOMPARE(image.devicePixelRatio(), 1.0);
        QVERIFY(near(image.pixel(24, 10), SystemColor::systemBlueColor()));
        QCOMPARE(qAlpha(image.pixel(5, 10)), 0);
        QVERIFY(FileTags::blipWithTag_imageSize_blipHeight_offset(QString(), QSizeF(30, 20), 8, {}).isNull());
    }

    // Tags defined on another device (another process writing the store) reach the tables.
    void externalChangeReloadsTheTables()
    {
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH),
                  {QStringLiteral("tags"), QStringLiteral("define"), QStringLiteral("Travel=7"), QStringLiteral("Home=2")});
        QVERIFY(ctl.waitForFinished(60000));
        QCOMPARE(ctl.exitCode(), 0);
        QTRY_COMPARE(FileTags::allTags(), (QStringList{QStringLiteral("Travel"), QStringLiteral("Home")}));
        QCOMPARE(FileTags::tagColorsByTag().value(QStringLiteral("Travel")), SystemColor::systemOrangeColor());
    }
};

QTEST_GUILESS_MAIN(tst_FileTags)
#include "tst_FileTags.moc"
