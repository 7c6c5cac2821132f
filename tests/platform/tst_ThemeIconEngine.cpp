#include "platform/types/IconCache.h"
#include "platform/types/ThemeIconEngine.h"
#include "support/TestDrive.h"

#include <QApplication>
#include <QDir>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleOption>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <sys/stat.h>

/// A theme of the test's own: a red square at 16 and 48 pixels, and a black shape drawn in SVG.
class tst_ThemeIconEngine : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_icons;
    const QString m_theme = QStringLiteral("AerovaTest");

    QString themeFolder() const { return m_icons.path() + QLatin1Char('/') + m_theme; }

    static void writePng(const QString &path, int side, const QColor &colour)
    {
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QImage image(side, side, QImage::Format_ARGB32);
        image.fill(colour);
        QVERIFY(image.save(path, "PNG"));
    }

    /// What a new start of the app finds: the cache written, the theme looked up anew.
    void startAgain()
    {
        IconCache::shared()->flush();
        QThreadPool::globalInstance()->waitForDone();
        QIcon::setThemeName(QStringLiteral("hicolor"));
        IconCache::shared();
        QIcon::setThemeName(m_theme);
        QPixmapCache::clear();
    }

    static QImage imageOf(const QPixmap &pixmap) { return pixmap.toImage().convertToFormat(QImage::Format_ARGB32); }

    QStringList cachedPictures() const
    {
        return QDir(IconCache::defaultFolder()).entryList({QStringLiteral("*.argb")}, QDir::Files);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_icons.isValid());
        QVERIFY(TestDrive::writeFile(themeFolder() + QStringLiteral("/index.theme"),
                                     "[Icon Theme]\nName=AerovaTest\nInherits=hicolor\n"
                                     "Directories=16x16/apps,16x16@2/apps,32x32/apps,48x48/apps,scalable/apps\n\n"
                                     "[16x16/apps]\nSize=16\nType=Fixed\n\n"
                                     "[16x16@2/apps]\nSize=16\nScale=2\nType=Fixed\n\n"
                                     "[32x32/apps]\nSize=32\nType=Fixed\n\n"
                                     "[48x48/apps]\nSize=48\nType=Fixed\n\n"
                                     "[scalable/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\n"));
        writePng(themeFolder() + QStringLiteral("/16x16/apps/test-red.png"), 16, Qt::red);
        writePng(themeFolder() + QStringLiteral("/48x48/apps/test-red.png"), 48, Qt::red);
        // a picture drawn for screens of twice the density, and another for 32 pixels
        writePng(themeFolder() + QStringLiteral("/16x16@2/apps/test-dense.png"), 32, Qt::blue);
        writePng(themeFolder() + QStringLiteral("/32x32/apps/test-dense.png"), 32, Qt::green);
        QVERIFY(TestDrive::writeFile(themeFolder() + QStringLiteral("/scalable/apps/test-shape-symbolic.svg"),
                                     "<svg xmlns='http://www.w3.org/2000/svg' width='16' height='16'>"
                                     "<rect x='2' y='2' width='12' height='12' fill='#000000'/></svg>"));
        QIcon::setThemeSearchPaths(QStringList{m_icons.path()} + QIcon::themeSearchPaths());
        QIcon::setThemeName(m_theme);
    }

    // The icon is the first name the theme has, with the theme's own sizes and pictures.
    void theFirstNameTheThemeHasIsDrawnAsTheThemeDrawsIt()
    {
        const QIcon icon = ThemeIconEngine::icon({QStringLiteral("no-such-icon-anywhere"), QStringLiteral("test-red")});
        QVERIFY(!icon.isNull());
        QCOMPARE(icon.name(), QStringLiteral("test-red"));
        const QIcon theme = QIcon::fromTheme(QStringLiteral("test-red"));
        QCOMPARE(icon.availableSizes(), theme.availableSizes());
        for (const int side : {48, 32, 16}) {
            QCOMPARE(imageOf(icon.pixmap(side, side)), imageOf(theme.pixmap(side, side)));
        }
        QCOMPARE(imageOf(icon.pixmap(48, 48)).pixelColor(24, 24), QColor(Qt::red));
    }

    // On a screen of twice the density the picture is the one the theme gives for that scale,
    // of the same size and density as the theme's own icon gives it, before and after a start.
    void onADenserScreenThePictureIsTheThemesForThatScale()
    {
        for (int start = 0; start < 2; ++start) {
            for (const QString &name : {QStringLiteral("test-red"), QStringLiteral("test-dense")}) {
                const QIcon theme = QIcon::fromTheme(name);
                const QIcon icon = ThemeIconEngine::icon({name});
                for (const int side : {16, 24, 44}) {
                    const QPixmap expected = theme.pixmap(QSize(side, side), 2.0);
                    const QPixmap drawn = icon.pixmap(QSize(side, side), 2.0);
                    QCOMPARE(drawn.size(), expected.size());
                    QCOMPARE(drawn.devicePixelRatio(), expected.devicePixelRatio());
                    QCOMPARE(imageOf(drawn), imageOf(expected));
                }
            }
            // the picture made for the denser screen, not the one of as many pixels at one scale
            QCOMPARE(imageOf(ThemeIconEngine::icon({QStringLiteral("test-dense")}).pixmap(QSize(16, 16), 2.0)).pixelColor(8, 8),
                     QColor(Qt::blue));
            QCOMPARE(imageOf(ThemeIconEngine::icon({QStringLiteral("test-dense")}).pixmap(QSize(32, 32), 1.0)).pixelColor(8, 8),
                     QColor(Qt::green));
            startAgain();
        }
    }

    // A later start draws the cached pictures without the theme: here the theme no longer even
    // has the picture, and the icon still shows it.
    void aLaterStartDrawsFromTheCacheAlone()
    {
        QCOMPARE(imageOf(ThemeIconEngine::icon({QStringLiteral("test-red")}).pixmap(48, 48)).pixelColor(10, 10),
                 QColor(Qt::red));
        startAgain();
        QVERIFY(!cachedPictures().isEmpty());
        // the pictures go, the theme's folder and index stay as they were
        QVERIFY(QFile::remove(themeFolder() + QStringLiteral("/48x48/apps/test-red.png")));
        QVERIFY(QFile::remove(themeFolder() + QStringLiteral("/16x16/apps/test-red.png")));
        startAgain();
        QVERIFY(QIcon::fromTheme(QStringLiteral("test-red")).availableSizes().isEmpty());

        const QIcon icon = ThemeIconEngine::icon({QStringLiteral("test-red")});
        QVERIFY(!icon.isNull());
        QList<QSize> sizes = icon.availableSizes();
        std::sort(sizes.begin(), sizes.end(), [](const QSize &a, const QSize &b) { return a.width() < b.width(); });
        QCOMPARE(sizes, QList<QSize>({QSize(16, 16), QSize(48, 48)}));
        QCOMPARE(imageOf(icon.pixmap(48, 48)).pixelColor(10, 10), QColor(Qt::red));

        // a theme whose index changed is asked again: it has no such icon any more
        writePng(themeFolder() + QStringLiteral("/48x48/apps/test-blue.png"), 48, Qt::blue);
        const QDateTime later = QDateTime::currentDateTimeUtc().addSecs(60);
        QFile index(themeFolder() + QStringLiteral("/index.theme"));
        QVERIFY(index.open(QIODevice::ReadWrite));
        QVERIFY(index.setFileTime(later, QFileDevice::FileModificationTime));
        index.close();
        const QStringList before = cachedPictures();
        startAgain();
        QVERIFY(ThemeIconEngine::icon({QStringLiteral("test-red")}).isNull());
        QCOMPARE(imageOf(ThemeIconEngine::icon({QStringLiteral("test-blue")}).pixmap(48, 48)).pixelColor(10, 10),
                 QColor(Qt::blue));
        IconCache::shared()->flush();
        // the pictures of the theme as it was are gone with the first write
        for (const QString &name : before) {
            QVERIFY2(!cachedPictures().contains(name), qPrintable(name));
        }
        writePng(themeFolder() + QStringLiteral("/16x16/apps/test-red.png"), 16, Qt::red);
        writePng(themeFolder() + QStringLiteral("/48x48/apps/test-red.png"), 48, Qt::red);
        QVERIFY(index.open(QIODevice::ReadWrite));
        QVERIFY(index.setFileTime(later.addSecs(60), QFileDevice::FileModificationTime));
        index.close();
        startAgain();
    }

    // A template takes its shape from the theme and its colour from the tint; each tint is a
    // picture of its own in the cache, before and after a new start.
    void aTemplateIsItsShapeInTheTint()
    {
        const QColor blue(0, 122, 255);
        const QColor grey(199, 199, 204);
        for (int start = 0; start < 2; ++start) {
            const QImage inBlue = imageOf(ThemeIconEngine::icon({QStringLiteral("test-shape-symbolic")}, blue).pixmap(24, 24));
            const QImage inGrey = imageOf(ThemeIconEngine::icon({QStringLiteral("test-shape-symbolic")}, grey).pixmap(24, 24));
            QCOMPARE(inBlue.size(), QSize(24, 24));
            QCOMPARE(inBlue.pixelColor(12, 12), blue);
            QCOMPARE(inGrey.pixelColor(12, 12), grey);
            QCOMPARE(qAlpha(inBlue.pixel(0, 0)), 0);
            startAgain();
        }
    }

    // A disabled look is the style's, made from the normal picture, as for Qt's own icons.
    void aDisabledLookIsTheStyles()
    {
        const QIcon icon = ThemeIconEngine::icon({QStringLiteral("test-red")});
        QStyleOption option;
        option.palette = QApplication::palette();
        const QPixmap expected = QApplication::style()->generatedIconPixmap(QIcon::Disabled, icon.pixmap(48, 48), &option);
        QCOMPARE(imageOf(icon.pixmap(48, 48, QIcon::Disabled)), imageOf(expected));
        QVERIFY(imageOf(icon.pixmap(48, 48, QIcon::Disabled)) != imageOf(icon.pixmap(48, 48)));
    }

    // Names no theme has give a null icon, or the picture file given for that case; the answer
    // is kept like any other.
    void withoutAThemeIconTheFallbackFileOrNothing()
    {
        for (int start = 0; start < 2; ++start) {
            QVERIFY(ThemeIconEngine::icon({QStringLiteral("no-such-icon-anywhere")}).isNull());
            QVERIFY(ThemeIconEngine::icon({QStringLiteral("no-such-icon-anywhere")}).pixmap(32, 32).isNull());
            const QString file = themeFolder() + QStringLiteral("/scalable/apps/test-shape-symbolic.svg");
            const QIcon fallback = ThemeIconEngine::icon({QStringLiteral("no-such-icon-anywhere")}, QColor(), file);
            QVERIFY(!fallback.isNull());
            QCOMPARE(imageOf(fallback.pixmap(32, 32)).pixelColor(16, 16), QColor(Qt::black));
            startAgain();
        }
    }

    // A cached picture that is damaged, or is no file at all, is drawn from the theme again; a
    // FIFO in its place never makes the icon wait.
    void aDamagedCachedPictureIsDrawnAnew()
    {
        QCOMPARE(imageOf(ThemeIconEngine::icon({QStringLiteral("test-red")}).pixmap(48, 48)).pixelColor(1, 1), QColor(Qt::red));
        QCOMPARE(imageOf(ThemeIconEngine::icon({QStringLiteral("test-red")}).pixmap(16, 16)).pixelColor(1, 1), QColor(Qt::red));
        startAgain();
        const QStringList pictures = cachedPictures();
        QVERIFY(pictures.size() >= 2);
        for (qsizetype i = 0; i < pictures.size(); ++i) {
            const QString path = IconCache::defaultFolder() + QLatin1Char('/') + pictures.at(i);
            QVERIFY(QFile::remove(path));
            if (i % 2 == 0) {
                QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
            } else {
                QVERIFY(TestDrive::writeFile(path, QByteArray("AERICON1") + QByteArray(8, '\x30') + QByteArray(12, 'x')));
            }
        }
        const QIcon icon = ThemeIconEngine::icon({QStringLiteral("test-red")});
        QCOMPARE(imageOf(icon.pixmap(48, 48)).pixelColor(1, 1), QColor(Qt::red));
        QCOMPARE(imageOf(icon.pixmap(16, 16)).pixelColor(1, 1), QColor(Qt::red));
    }
};

QTEST_MAIN(tst_ThemeIconEngine)
#include "tst_ThemeIconEngine.moc"
