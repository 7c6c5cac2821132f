#include "platform/quicklook/PreviewController.h"

#include "platform/drive/DriveSetup.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QTest>

class tst_PreviewController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

private slots:
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

QTEST_GUILESS_MAIN(tst_PreviewController)
#include "tst_PreviewController.moc"
