#include "platform/drive/Thumbnailer.h"

#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/URLResourceValues.h"
#include "support/TestDrive.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QPdfWriter>
#include <QPainter>
#include <QTest>

#include <sys/stat.h>

class tst_Thumbnailer : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;


    static QVariantMap thumbnailDictionary(const QString &path)
    {
        std::optional<Error> error;
        const auto values = URLResourceValues::promisedItemResourceValuesForKeys(
            QUrl::fromLocalFile(path), {URLResourceKey::ThumbnailDictionary}, &error);
        return values ? values->value(URLResourceKey::ThumbnailDictionary).toMap() : QVariantMap();
    }

private slots:
    // Thumbnails go where every desktop looks: named by the MD5 of the file's URI, both sizes.
    void writesBothSizesInTheSharedCache()
    {
        const QString path = m_drive.path(QStringLiteral("Big Picture.png"));
        QVERIFY(TestDrive::writeFile(path, TestDrive::png(2000, 1000)));
        QVERIFY(Thumbnailer::writeThumbnails(path));
        const QByteArray uri = "file://" + QFile::encodeName(path).replace(" ", "%20");
        const QString name = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) + QStringLiteral(".png");
        const QString largest = m_drive.home() + QStringLiteral("/cache/thumbnails/xx-large/") + name;
        const QString large = m_drive.home() + QStringLiteral("/cache/thumbnails/x-large/") + name;
        QCOMPARE(Thumbnailer::cachePath(path, QStringLiteral("xx-large")), largest);
        QCOMPARE(QImage(largest).size(), QSize(1024, 512));
        QCOMPARE(QImage(large).size(), QSize(512, 256));
        QCOMPARE(QImage(largest).text(QStringLiteral("Thumb::URI")), QString::fromLatin1(uri));
        QCOMPARE(QImage(largest).text(QStringLiteral("Thumb::MTime")),
                 QString::number(QFileInfo(path).lastModified().toSecsSinceEpoch()));
        QCOMPARE(QFileInfo(largest).permissions() & (QFile::ReadOther | QFile::ReadGroup), QFile::Permissions());
        QCOMPARE(Thumbnailer::cachedThumbnail(path).size(), QSize(1024, 512));
        QCOMPARE(thumbnailDictionary(path).value(URLThumbnailDictionaryItem::Size1024x1024).value<QImage>().size(),
                 QSize(1024, 512));
    }

    // A thumbnail older than its file is not shown.
    void staleThumbnailIsIgnored()
    {
        const QString path = m_drive.path(QStringLiteral("Changing.png"));
        QVERIFY(TestDrive::writeFile(path, TestDrive::png(64, 64)));
        QVERIFY(Thumbnailer::writeThumbnails(path));
        QVERIFY(!Thumbnailer::cachedThumbnail(path).isNull());
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime));
        file.close();
        QVERIFY(Thumbnailer::cachedThumbnail(path).isNull());
        QVERIFY(thumbnailDictionary(path).isEmpty());
    }

    // PDFs get a picture of their first page; other documents get none.
    void pdfGetsItsFirstPage()
    {
        const QString path = m_drive.path(QStringLiteral("Paper.pdf"));
        {
            QPdfWriter writer(path);
            QPainter painter(&writer);
            painter.fillRect(QRect(0, 0, 2000, 2000), Qt::blue);
        }
        QVERIFY(Thumbnailer::writeThumbnails(path));
        const QImage thumbnail = Thumbnailer::cachedThumbnail(path);
        QCOMPARE(thumbnail.height(), 1024);
        QCOMPARE(QColor(thumbnail.pixel(thumbnail.width() / 10, thumbnail.height() / 10)), QColor(Qt::blue));
        const QString text = m_drive.path(QStringLiteral("Plain.txt"));
        QVERIFY(TestDrive::writeFile(text, "words"));
        QVERIFY(!Thumbnailer::writeThumbnails(text));
        QVERIFY(Thumbnailer::thumbnailPng(text).isEmpty());
    }

    // An SVG is drawn at the thumbnail's size, crisp, like any other picture.
    void svgGetsAThumbnail()
    {
        const QString path = m_drive.path(QStringLiteral("Logo.svg"));
        QVERIFY(TestDrive::writeFile(path, R"(<svg xmlns="http://www.w3.org/2000/svg" width="200" height="100">)"
                                           R"(<rect width="200" height="100" fill="#ff0000"/></svg>)"));
        QVERIFY(Thumbnailer::writeThumbnails(path));
        const QImage thumbnail = Thumbnailer::cachedThumbnail(path);
        QCOMPARE(thumbnail.size(), QSize(1024, 512));
        QCOMPARE(QColor(thumbnail.pixel(512, 256)), QColor(Qt::red));
    }

    // A FIFO named like a picture must not hang the thumbnail queue, a link must not lead it out
    // of the drive, and a huge file is not decoded: each keeps its type's icon.
    void onlyARegularFileOfASaneSizeIsRead()
    {
        const QString fifo = m_drive.path(QStringLiteral("Pipe.png"));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QVERIFY(!Thumbnailer::writeThumbnails(fifo)); // returns at once: no writer is waited for
        QVERIFY(!QFileInfo::exists(Thumbnailer::cachePath(fifo, QStringLiteral("xx-large"))));

        const QString outside = m_drive.home() + QStringLiteral("/Outside.png");
        QVERIFY(TestDrive::writeFile(outside, TestDrive::png(64, 64)));
        const QString link = m_drive.path(QStringLiteral("Link.png"));
        QVERIFY(QFile::link(outside, link));
        QVERIFY(!Thumbnailer::writeThumbnails(link));

        const QString huge = m_drive.path(QStringLiteral("Huge.png"));
        QVERIFY(TestDrive::writeFile(huge, TestDrive::png(64, 64)));
        QVERIFY(QFile::resize(huge, Thumbnailer::LargestDocument + 1)); // sparse: no disk used
        QVERIFY(!Thumbnailer::writeThumbnails(huge));
    }

    // A promised picture carries its thumbnail; downloading it writes the cache again.
    void promiseCarriesThumbnailAndDownloadWritesCache()
    {
        const QString path = m_drive.path(QStringLiteral("Far Picture.png"));
        QVERIFY(TestDrive::writeFile(path, TestDrive::png(300, 200)));
        QVERIFY(!DriveSetup::promise(path));
        std::optional<Error> error;
        const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
        QVERIFY(placeholder);
        QCOMPARE(QImage::fromData(placeholder->thumbnailPng, "PNG").size(), QSize(300, 200));
        QCOMPARE(thumbnailDictionary(path).value(URLThumbnailDictionaryItem::Size1024x1024).value<QImage>().size(),
                 QSize(300, 200));

        QFile::remove(Thumbnailer::cachePath(path, QStringLiteral("xx-large")));
        QFile::remove(Thumbnailer::cachePath(path, QStringLiteral("x-large")));
        FileCoordinator coordinator;
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(QUrl::fromLocalFile(path), 0, &error,
                                                                        [](const QUrl &) { });
        QVERIFY(!error);
        QVERIFY(QFileInfo::exists(path));
        QCOMPARE(Thumbnailer::cachedThumbnail(path).size(), QSize(300, 200));
        QVERIFY(QFileInfo::exists(Thumbnailer::cachePath(path, QStringLiteral("x-large"))));
    }
};

QTEST_MAIN(tst_Thumbnailer)
#include "tst_Thumbnailer.moc"
