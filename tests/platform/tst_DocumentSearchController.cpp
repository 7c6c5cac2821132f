#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/foundation/FilePath.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentSearchController.h"
#include "support/TestDrive.h"

#include <QTest>

class tst_DocumentSearchController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QStringList names(const QList<DocumentSearchController::Result> &results)
    {
        QStringList found;
        for (const DocumentSearchController::Result &result : results) {
            found << result.name;
        }
        found.sort();
        return found;
    }

private slots:
    // A name another program wrote in bytes that are not UTF-8 is found by what people see of
    // it, and the hit leads to that very file.
    void nameThatIsNotUtf8IsFoundAndLeadsToItsBytes()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Food"));
        const QString raw = folder + QLatin1Char('/') + FilePath::decode("caf\xe9 menu.txt");
        QVERIFY(TestDrive::writeFile(raw, "soup"));
        const QList<DocumentSearchController::Result> results = DocumentSearchController::searchDrive(
            QStringLiteral("menu"), DocumentSearchController::ResultLimit);
        QCOMPARE(names(results), QStringList{QStringLiteral("caf\uFFFD menu.txt")});
        QCOMPARE(FilePath::encode(results.first().url.toLocalFile()), FilePath::encode(folder) + "/caf\xe9 menu.txt");
        QVERIFY(!results.first().isFolder);
    }

    // What is deleted is gone from search at once, also while its removal waits to finish in
    // the drive's hidden folder; a promised document is found by its own name.
    void deletedItemsAreNotFoundPromisedOnesAre()
    {
        const QString pending = DriveLayout::mobileDocumentsPath() + QStringLiteral("/.pending-deletions/0123/Invoice.pdf");
        QVERIFY(TestDrive::writeFile(pending, "deleted"));
        const QString promised = m_drive.freshFolder(QStringLiteral("Bills")) + QStringLiteral("/Invoice 2.pdf");
        QVERIFY(TestDrive::writeFile(promised, "kept"));
        QVERIFY(!DriveSetup::promise(promised));
        const QList<DocumentSearchController::Result> results = DocumentSearchController::searchDrive(
            QStringLiteral("invoice"), DocumentSearchController::ResultLimit);
        QCOMPARE(names(results), QStringList{QStringLiteral("Invoice 2.pdf")});
        QCOMPARE(results.first().url, QUrl::fromLocalFile(promised));
    }

    // A search stops at its limit, however many items match.
    void searchStopsAtItsLimit()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Many"));
        for (int i = 0; i < 5; ++i) {
            QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/note %1.txt").arg(i), "n"));
        }
        QCOMPARE(DocumentSearchController::searchDrive(QStringLiteral("note"), 3).size(), 3);
    }
};

QTEST_MAIN(tst_DocumentSearchController)
#include "tst_DocumentSearchController.moc"
