#include "platform/ui/SystemColor.h"
#include "platform/ui/TemplateIcon.h"
#include "support/TestDrive.h"

#include <QImage>
#include <QTest>

class tst_TemplateIcon : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

private slots:
    // A bar icon is its shape in the tint alone: every pixel it covers has the tint's colour.
    void shapeIsDrawnInTheTint()
    {
        const QColor tint = SystemColor::systemBlueColor();
        const QIcon icon = TemplateIcon::named(QStringLiteral("user-trash"), tint);
        QVERIFY(!icon.isNull());
        const QImage image = icon.pixmap(24, 24).toImage().convertToFormat(QImage::Format_ARGB32);
        int covered = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() < 255) {
                    continue; // edges blend with what is behind
                }
                ++covered;
                QCOMPARE(pixel.rgb(), tint.rgb());
            }
        }
        QVERIFY(covered > 20);
    }

    // A disabled button's grey is the same shape in another colour.
    void anotherTintGivesTheSameShape()
    {
        const QImage blue = TemplateIcon::named(QStringLiteral("folder-new"), SystemColor::systemBlueColor())
                                .pixmap(24, 24)
                                .toImage()
                                .convertToFormat(QImage::Format_ARGB32);
        const QImage grey = TemplateIcon::named(QStringLiteral("folder-new"), QColor(199, 199, 204))
                                .pixmap(24, 24)
                                .toImage()
                                .convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(blue.size(), grey.size());
        for (int y = 0; y < blue.height(); ++y) {
            for (int x = 0; x < blue.width(); ++x) {
                QCOMPARE(qAlpha(blue.pixel(x, y)), qAlpha(grey.pixel(x, y)));
            }
        }
    }

    // A name no theme knows gives no icon, so the button shows its title instead.
    void unknownNameGivesNoIcon()
    {
        QVERIFY(TemplateIcon::named(QStringLiteral("no-such-icon-anywhere"), Qt::black).isNull());
    }
};

QTEST_MAIN(tst_TemplateIcon)
#include "tst_TemplateIcon.moc"
