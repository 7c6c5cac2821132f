#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/foundation/FilePath.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/ui/Window.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTest>

class tst_DocumentSearchController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QStringList inOrder(const QList<DocumentSearchController::Result> &results)
    {
        QStringList found;
        for (const DocumentSearchController::Result &result : results) {
            found << result.name;
        }
        return found;
    }

    /// A search presented over a folder list in a phone-sized window, as a tap on Search does.
    struct ShownSearch {
        std::unique_ptr<Window> window;
        DocumentListController *list = nullptr;
        DocumentSearchController *search = nullptr;
        QLineEdit *field = nullptr;
    };
    ShownSearch showSearch()
    {
        ShownSearch shown;
        shown.window = std::make_unique<Window>(QRect(0, 0, 390, 844));
        shown.list = new DocumentListController(QUrl::fromLocalFile(m_drive.root()), nullptr);
        shown.window->setRootViewController(shown.list);
        shown.window->makeKeyAndVisible();
        shown.search = new DocumentSearchController(shown.list);
        shown.list->presentViewController(shown.search, false);
        shown.field = shown.search->view()->findChild<QLineEdit *>(QStringLiteral("searchText"));
        return shown;
    }

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
    void initTestCase()
    {
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Writer"), QStringLiteral("Writer"),
                                          KDUbiquitousContainerSupportedFolderOne, {QStringLiteral("text/plain")}));
    }

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

    // a hit says where it is: the folders down to its own, not one above
    void aHitsLocationEndsWithItsOwnFolder()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Photos")) + QStringLiteral("/2025");
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Mountains.png"), TestDrive::png(4, 4)));
        const QList<DocumentSearchController::Result> results = DocumentSearchController::searchDrive(
            QStringLiteral("mountains"), DocumentSearchController::ResultLimit);
        QCOMPARE(results.size(), 1);
        const QString drive = KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID)->localizedName();
        QCOMPARE(results.first().location, drive + QStringLiteral(" \u25B8 Photos \u25B8 2025"));
    }

    // an app folder's own "Documents" folder is the app folder, never a hit; a folder of the
    // drive named so is one
    void anAppsDocumentsFolderIsNoHit()
    {
        const auto writer = KDContainer::containerWithIdentifier(QStringLiteral("com.example.Writer"));
        QVERIFY(writer && !writer->documentsURL().isEmpty());
        QVERIFY(TestDrive::writeFile(writer->documentsURL().toLocalFile() + QStringLiteral("/Documentary.txt"), "film"));
        const QString own = m_drive.freshFolder(QStringLiteral("Papers")) + QStringLiteral("/Documents");
        QVERIFY(QDir().mkpath(own));
        const QList<DocumentSearchController::Result> results = DocumentSearchController::searchDrive(
            QStringLiteral("documents"), DocumentSearchController::ResultLimit);
        QCOMPARE(results.size(), 1);
        QCOMPARE(results.first().url, QUrl::fromLocalFile(own));
        QCOMPARE(names(DocumentSearchController::searchDrive(QStringLiteral("documentary"), 10)),
                 QStringList{QStringLiteral("Documentary.txt")});
    }

    // hits come by name as people sort them (numbers by value, case ignored), then by place
    void hitsAreSortedByNameThenPlace()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Sorted"));
        for (const QString &name : {QStringLiteral("zeta report 10.txt"), QStringLiteral("Zeta report 9.txt"),
                                    QStringLiteral("b/zeta report 9.txt"), QStringLiteral("alpha zeta.txt")}) {
            QVERIFY(TestDrive::writeFile(folder + QLatin1Char('/') + name, "z"));
        }
        const QList<DocumentSearchController::Result> results = DocumentSearchController::searchDrive(
            QStringLiteral("zeta"), DocumentSearchController::ResultLimit);
        QCOMPARE(inOrder(results), (QStringList{QStringLiteral("alpha zeta.txt"), QStringLiteral("Zeta report 9.txt"),
                                                QStringLiteral("zeta report 9.txt"), QStringLiteral("zeta report 10.txt")}));
        QVERIFY(results.at(1).location < results.at(2).location);
    }

    // the search takes the keyboard as it opens; each hit shows its own type's icon; a search
    // that finds nothing says so; Escape closes it
    void theSearchTakesTypingShowsTypeIconsAndClosesOnEscape()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Typed"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/quokka.pdf"), "%PDF-1.4"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/quokka.txt"), "text"));
        ShownSearch shown = showSearch();
        QVERIFY(QTest::qWaitForWindowExposed(shown.window.get()));
        QVERIFY(shown.field);
        QCOMPARE(shown.window->focusWidget(), shown.field);

        QTest::keyClicks(shown.window->focusWidget(), QStringLiteral("quokka"));
        QCOMPARE(shown.field->text(), QStringLiteral("quokka"));
        auto *hits = shown.search->view()->findChild<QListWidget *>(QStringLiteral("searchResults"));
        QTRY_COMPARE(hits->count(), 2);
        for (int row = 0; row < 2; ++row) {
            const DocumentSearchController::Result result = shown.search->results().at(row);
            const QIcon expected = DocumentListModel::iconForEntry({result.name, {}, false, false, false});
            QCOMPARE(hits->item(row)->icon().cacheKey(), expected.cacheKey());
        }
        QVERIFY(hits->item(0)->icon().cacheKey() != hits->item(1)->icon().cacheKey());
        auto *none = shown.search->view()->findChild<QLabel *>(QStringLiteral("searchNoResults"));
        QVERIFY(none && none->isHidden());

        QTest::keyClicks(shown.field, QStringLiteral("xyz"));
        QTRY_VERIFY(shown.search->results().isEmpty());
        QTRY_VERIFY(none->isVisible());
        QCOMPARE(none->text(), QStringLiteral("No Results"));
        QVERIFY(!hits->isVisible());

        QTest::keyClick(shown.field, Qt::Key_Escape);
        QTRY_VERIFY(!shown.list->presentedViewController());
    }
};

QTEST_MAIN(tst_DocumentSearchController)
#include "tst_DocumentSearchController.moc"
