#include "platform/quicklook/PreviewController.h"
#include "platform/quicklook/PreviewText.h"
#include "platform/quicklook/PreviewControllerDataSource.h"

#include "platform/drive/DriveSetup.h"
#include "platform/foundation/FilePath.h"
#include "support/Accessibility.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QLabel>
#include <QMovie>
#include <QPdfDocument>
#include <QPdfView>
#include <QPlainTextEdit>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>
#include <QScrollArea>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextBrowser>


namespace {
/// Offers the viewer one document.
class OneDocument final : public QObject, public PreviewControllerDataSource
{
    Q_OBJECT
    Q_INTERFACES(PreviewControllerDataSource)

public:
    qint64 numberOfPreviewItemsInPreviewController(PreviewController *) override { return url.isEmpty() ? 0 : 1; }
    QUrl previewController_previewItemAtIndex(PreviewController *, qint64) override { return url; }
    QUrl url;
};

/// The smallest PDF of one page.
QByteArray onePagePdf()
{
    return QByteArrayLiteral("%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                             "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
                             "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 200 200]>>endobj\n"
                             "trailer<</Root 1 0 R>>\n%%EOF\n");
}

/// A looping GIF of one pixel in two frames, black then white, a tenth of a second each.
QByteArray twoFrameGif()
{
    return QByteArray::fromHex("474946383961" // GIF89a
                               "010001008000 00" // 1 x 1, a colour table of two
                               "000000 ffffff"
                               "21ff0b 4e45545343415045322e30 03010000 00" // loop for ever
                               "21f904 000a0000 00 2c 0000 0000 0100 0100 00 02 02 4401 00" // black
                               "21f904 000a0000 00 2c 0000 0000 0100 0100 00 02 02 4c01 00" // white
                               "3b");
}
} // namespace

class tst_PreviewController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    /// A viewer showing the one document at `path` in a phone-sized view.
    struct Shown {
        OneDocument source;
        PreviewController viewer;
    };
    static std::unique_ptr<Shown> show(const QString &path)
    {
        auto shown = std::make_unique<Shown>();
        shown->source.url = QUrl::fromLocalFile(path);
        shown->viewer.setDataSource(&shown->source);
        shown->viewer.view()->resize(390, 700);
        shown->viewer.reloadData();
        return shown;
    }

private slots:
    // A text without line breaks (6 MiB downloads by itself on Wi-Fi) is shown in lines the
    // viewer can lay out piece by piece, so the screen never freezes; its words are all there.
    void textWithoutLineBreaksIsShownInPieces()
    {
        const QString path = m_drive.freshFolder(QStringLiteral("oneline")) + QStringLiteral("/minified.txt");
        QByteArray line(6 * 1024 * 1024, 'w');
        line[0] = 'B';
        line[line.size() - 1] = 'E';
        QVERIFY(TestDrive::writeFile(path, line));
        const auto shown = show(path);
        PreviewController &viewer = shown->viewer;
        QCOMPARE(viewer.currentRenderer(), PreviewController::Renderer::Text);
        auto *text = qobject_cast<QPlainTextEdit *>(viewer.rendererWidget());
        QVERIFY(text);
        const QTextDocument *document = text->document();
        QVERIFY(document->blockCount() >= line.size() / PreviewText::MaximumLineLength);
        for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
            QVERIFY(block.length() <= PreviewText::MaximumLineLength + 1);
        }
        const QString plain = text->toPlainText();
        QCOMPARE(plain.size() - plain.count(QLatin1Char('\n')), line.size());
        QVERIFY(plain.startsWith(QLatin1Char('B')));
        QVERIFY(plain.endsWith(QLatin1Char('E')));
        viewer.view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(viewer.view()));
    }

    // Text beyond what the viewer reads ends by saying so; mark-up over a text cut into pieces
    // is not applied (it would lay out for minutes), the words are shown plainly.
    void tooLongTextSaysTheRestIsLeftOut()
    {
        const QByteArray bytes = QByteArray("# Title\n") + QByteArray(PreviewText::MaximumTextBytes, 'm');
        const PreviewText text = PreviewText::fromUtf8(bytes.left(PreviewText::MaximumTextBytes), true);
        QVERIFY(text.isShortened());
        QVERIFY(text.text().endsWith(QStringLiteral("\n\nThe rest is too long to preview.")));
        const QString path = m_drive.freshFolder(QStringLiteral("longmd")) + QStringLiteral("/huge.md");
        QVERIFY(TestDrive::writeFile(path, QByteArray("# Title\n") + QByteArray(300000, 'm')));
        const auto shown = show(path);
        PreviewController &viewer = shown->viewer;
        QCOMPARE(viewer.currentRenderer(), PreviewController::Renderer::Markdown);
        QVERIFY(qobject_cast<QPlainTextEdit *>(viewer.rendererWidget()));
        const PreviewText small = PreviewText::fromUtf8("short\nlines\n", false);
        QVERIFY(!small.isShortened());
        QCOMPARE(small.text(), QStringLiteral("short\nlines\n"));
    }

    // A text whose name is not UTF-8 shows its name, and never the text of a look-alike whose
    // name only shows the same (Qt's readers would open that one).
    void nameThatIsNotUtf8ShowsItsNameAndNoLookAlike()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("bytes"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/bad\uFFFD.txt"), "look-alike"));
        const QString raw = folder + QLatin1Char('/') + FilePath::decode("bad\xff.txt");
        QVERIFY(TestDrive::writeFile(raw, ""));
        const auto shown = show(raw);
        PreviewController &viewer = shown->viewer;
        QCOMPARE(viewer.currentRenderer(), PreviewController::Renderer::Generic);
        QCOMPARE(viewer.rendererWidget()->findChild<QLabel *>(QStringLiteral("genericName"))->text(),
                 QStringLiteral("bad\uFFFD.txt"));
        QVERIFY(!viewer.rendererWidget()->findChild<QPlainTextEdit *>());
        QVERIFY(!PreviewController::canPreviewItem(shown->source.url));
    }

    // A link out of the drive shows its name and nothing of what it leads to.
    void linkOutOfTheDriveShowsNothingOfItsTarget()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/passwd.txt"), "root:x:0:0"));
        const QString link = m_drive.freshFolder(QStringLiteral("outlink")) + QStringLiteral("/passwd.txt");
        QVERIFY(QFile::link(outside.path() + QStringLiteral("/passwd.txt"), link));
        const auto shown = show(link);
        PreviewController &viewer = shown->viewer;
        const OneDocument &source = shown->source;
        QCOMPARE(viewer.currentRenderer(), PreviewController::Renderer::Generic);
        QCOMPARE(viewer.rendererWidget()->findChild<QLabel *>(QStringLiteral("genericName"))->text(),
                 QStringLiteral("passwd.txt"));
        QVERIFY(!PreviewController::canPreviewItem(source.url));
    }

    // each kind of document gets its renderer; anything else its icon, name and kind
    void eachKindGetsItsRenderer_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("renderer");
        QTest::newRow("png") << QStringLiteral("photo.png") << TestDrive::png(40, 20) << int(PreviewController::Renderer::Image);
        QTest::newRow("animated gif") << QStringLiteral("wave.gif") << twoFrameGif()
                                      << int(PreviewController::Renderer::Animation);
        QTest::newRow("svg") << QStringLiteral("shape.svg")
                             << QByteArrayLiteral("<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'>"
                                                  "<rect width='10' height='10'/></svg>")
                             << int(PreviewController::Renderer::Svg);
        QTest::newRow("pdf") << QStringLiteral("paper.pdf") << onePagePdf() << int(PreviewController::Renderer::Pdf);
        QTest::newRow("text") << QStringLiteral("notes.txt") << QByteArrayLiteral("plain words")
                              << int(PreviewController::Renderer::Text);
        QTest::newRow("markdown") << QStringLiteral("read.md") << QByteArrayLiteral("# Title\n\nwords")
                                  << int(PreviewController::Renderer::Markdown);
        QTest::newRow("video") << QStringLiteral("clip.mp4") << QByteArrayLiteral("\x00\x00\x00\x18" "ftypmp42")
                               << int(PreviewController::Renderer::Media);
        QTest::newRow("other") << QStringLiteral("tool.bin") << QByteArrayLiteral("\x01\x02\x03")
                               << int(PreviewController::Renderer::Generic);
    }
    void eachKindGetsItsRenderer()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, content);
        QFETCH(int, renderer);
        const QString path = m_drive.freshFolder(QStringLiteral("render")) + QLatin1Char('/') + name;
        QVERIFY(TestDrive::writeFile(path, content));
        const auto shown = show(path);
        PreviewController &viewer = shown->viewer;
        const OneDocument &source = shown->source;
        QCOMPARE(int(viewer.currentRenderer()), renderer);
        QCOMPARE(viewer.currentPreviewItem(), source.url);
        QCOMPARE(viewer.title(), name);
        QVERIFY(viewer.rendererWidget());
        switch (PreviewController::Renderer(renderer)) {
        case PreviewController::Renderer::Text:
            QCOMPARE(qobject_cast<QPlainTextEdit *>(viewer.rendererWidget())->toPlainText(), QStringLiteral("plain words"));
            // words keep a reading margin from the screen's edge
            QCOMPARE(qobject_cast<QPlainTextEdit *>(viewer.rendererWidget())->document()->documentMargin(), 16.0);
            break;
        case PreviewController::Renderer::Markdown:
            QVERIFY(qobject_cast<QTextBrowser *>(viewer.rendererWidget())->toPlainText().startsWith(QStringLiteral("Title")));
            QCOMPARE(qobject_cast<QTextBrowser *>(viewer.rendererWidget())->document()->documentMargin(), 16.0);
            break;
        case PreviewController::Renderer::Media:
            // the full player: a play button and a position, both named for a screen reader
            QVERIFY(viewer.rendererWidget()->findChild<QWidget *>(QStringLiteral("playButton")));
            QVERIFY(viewer.rendererWidget()->findChild<QWidget *>(QStringLiteral("positionSlider")));
            QCOMPARE(Accessibility::unnamedControls(viewer.rendererWidget()), QStringList());
            break;
        case PreviewController::Renderer::Animation: {
            // it plays: both frames are shown in turn
            QMovie *movie = qobject_cast<QLabel *>(viewer.rendererWidget())->movie();
            QVERIFY(movie);
            // as large as the screen allows, in its own shape (a square)
            viewer.view()->show();
            QTRY_VERIFY(viewer.rendererWidget()->width() > 100);
            QTRY_COMPARE(movie->scaledSize(), QSize(1, 1).scaled(viewer.rendererWidget()->size(), Qt::KeepAspectRatio));
            QCOMPARE(movie->frameCount(), 2);
            QCOMPARE(movie->state(), QMovie::Running);
            const int first = movie->currentFrameNumber();
            QTRY_VERIFY(movie->currentFrameNumber() != first);
            break;
        }
        case PreviewController::Renderer::Pdf:
            QVERIFY(viewer.rendererWidget()->findChild<QPdfView *>());
            QCOMPARE(viewer.rendererWidget()->findChild<QPdfView *>()->document()->pageCount(), 1);
            break;
        case PreviewController::Renderer::Generic:
            QCOMPARE(viewer.rendererWidget()->findChild<QLabel *>(QStringLiteral("genericName"))->text(), name);
            QVERIFY(!viewer.rendererWidget()->findChild<QLabel *>(QStringLiteral("genericKind"))->text().isEmpty());
            break;
        default:
            break;
        }
        // nothing offered, nothing shown
        shown->source.url = QUrl();
        viewer.reloadData();
        QCOMPARE(viewer.currentRenderer(), PreviewController::Renderer::None);
    }

    // a picture keeps its proportions inside any frame
    void aPictureIsLetterBoxed()
    {
        const QString path = m_drive.freshFolder(QStringLiteral("wide")) + QStringLiteral("/wide.png");
        QVERIFY(TestDrive::writeFile(path, TestDrive::png(400, 100)));
        OneDocument source;
        source.url = QUrl::fromLocalFile(path);
        PreviewController viewer;
        viewer.setDataSource(&source);
        viewer.view()->resize(200, 400);
        viewer.view()->show();
        viewer.reloadData();
        auto *label = viewer.rendererWidget()->findChild<QLabel *>(QStringLiteral("picture"));
        QVERIFY(label);
        QTRY_VERIFY(!label->pixmap().isNull());
        const QSize shown = label->pixmap().deviceIndependentSize().toSize();
        QCOMPARE(shown.width(), label->width());
        QCOMPARE(shown.height(), label->width() / 4);
        QVERIFY(PreviewController::wantsDefaultMediaPlayer(source.url));
    }

    // a picture looks closer with Ctrl+plus, Ctrl+wheel and a double-click, and Ctrl+0 fits it
    // again; it never shrinks below the screen's fit
    void aPictureZooms()
    {
        const QString path = m_drive.freshFolder(QStringLiteral("zoom")) + QStringLiteral("/wide.png");
        QVERIFY(TestDrive::writeFile(path, TestDrive::png(400, 100)));
        const auto shown = show(path);
        PreviewController &viewer = shown->viewer;
        viewer.view()->resize(200, 400);
        viewer.view()->show();
        viewer.view()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(viewer.view()));
        auto *area = qobject_cast<QScrollArea *>(viewer.rendererWidget());
        QVERIFY(area);
        auto *label = area->findChild<QLabel *>(QStringLiteral("picture"));
        QTRY_VERIFY(!label->pixmap().isNull());
        const int fitted = label->width();
        QCOMPARE(fitted, 200);
        QCOMPARE(viewer.zoomFactor(), 1.0);

        QTest::keyClick(viewer.view(), Qt::Key_Plus, Qt::ControlModifier);
        QCOMPARE(viewer.zoomFactor(), 1.25);
        QCOMPARE(label->width(), 250);
        QWheelEvent wheel(QPointF(100, 200), area->viewport()->mapToGlobal(QPointF(100, 200)), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(area->viewport(), &wheel);
        QCOMPARE(viewer.zoomFactor(), 1.25 * 1.25);
        QTest::keyClick(viewer.view(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(viewer.zoomFactor(), 1.0);
        QCOMPARE(label->width(), fitted);
        QTest::keyClick(viewer.view(), Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(viewer.zoomFactor(), 1.0);

        QTest::mouseDClick(area->viewport(), Qt::LeftButton, {}, QPoint(100, 200));
        QCOMPARE(viewer.zoomFactor(), 2.5);
        QCOMPARE(label->width(), 500);
        QTest::mouseDClick(area->viewport(), Qt::LeftButton, {}, QPoint(100, 200));
        QCOMPARE(viewer.zoomFactor(), 1.0);
    }

    // the pages of a PDF zoom from the keyboard too, and fit the width again
    void aPdfZoomsFromTheKeyboard()
    {
        const QString path = m_drive.freshFolder(QStringLiteral("pdfzoom")) + QStringLiteral("/paper.pdf");
        QVERIFY(TestDrive::writeFile(path, onePagePdf()));
        const auto shown = show(path);
        PreviewController &viewer = shown->viewer;
        viewer.view()->show();
        viewer.view()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(viewer.view()));
        auto *pdf = viewer.rendererWidget()->findChild<QPdfView *>(QStringLiteral("pdfView"));
        QVERIFY(pdf);
        QTest::keyClick(viewer.view(), Qt::Key_Plus, Qt::ControlModifier);
        QCOMPARE(pdf->zoomMode(), QPdfView::ZoomMode::Custom);
        QCOMPARE(pdf->zoomFactor(), 1.25);
        QTest::keyClick(viewer.view(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(pdf->zoomMode(), QPdfView::ZoomMode::FitToWidth);
    }

    // The viewer previews the kinds it has renderers for, and nothing else.
    void previewableTypes_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<bool>("previewable");
        QTest::newRow("png") << QStringLiteral("image/png") << true;
        QTest::newRow("gif") << QStringLiteral("image/gif") << true;
        QTest::newRow("svg") << QStringLiteral("image/svg+xml") << true;
        QTest::newRow("pdf") << QStringLiteral("application/pdf") << true;
        QTest::newRow("text") << QStringLiteral("text/plain") << true;
        QTest::newRow("csv") << QStringLiteral("text/csv") << true;
        QTest::newRow("markdown") << QStringLiteral("text/markdown") << true;
        QTest::newRow("audio") << QStringLiteral("audio/mpeg") << true;
        QTest::newRow("video") << QStringLiteral("video/mp4") << true;
        QTest::newRow("zip") << QStringLiteral("application/zip") << false;
        QTest::newRow("folder") << QStringLiteral("inode/directory") << false;
        QTest::newRow("none") << QString() << false;
    }
    void previewableTypes()
    {
        QFETCH(QString, type);
        QFETCH(bool, previewable);
        QCOMPARE(PreviewController::canPreviewType(type), previewable);
    }

    // Items are judged by type, promised ones too; folders never.
    void itemsByType()
    {
        const QString text = m_drive.path(QStringLiteral("a.txt"));
        QVERIFY(TestDrive::writeFile(text, "a"));
        QVERIFY(PreviewController::canPreviewItem(QUrl::fromLocalFile(text)));
        QVERIFY(!DriveSetup::promise(text));
        QVERIFY(PreviewController::canPreviewItem(QUrl::fromLocalFile(text)));
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Folder"))));
        QVERIFY(!PreviewController::canPreviewItem(m_drive.url(QStringLiteral("Folder"))));
        QVERIFY(!PreviewController::canPreviewItem(m_drive.url(QStringLiteral("missing.txt"))));
    }
};

QTEST_MAIN(tst_PreviewController)
#include "tst_PreviewController.moc"
