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
