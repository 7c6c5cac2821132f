#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

class tst_KDContainer : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    QString appDocuments() const
    {
        return m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Writer/Documents");
    }

private slots:
    void initTestCase()
    {
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Writer"), QStringLiteral("Writer"),
                                          KDUbiquitousContainerSupportedFolderOne, {QStringLiteral("text/plain")}));
    }

    // Every item knows its container: the drive's own or an app's, with the app's rules.
    void containerForItemAtURL()
    {
        std::optional<Error> error;
        auto container = KDContainer::containerForItemAtURL_error(QUrl::fromLocalFile(appDocuments() + QStringLiteral("/a.txt")), &error);
        QVERIFY(container && !error);
        QCOMPARE(container->identifier(), QStringLiteral("com.example.Writer"));
        QCOMPARE(container->localizedName(), QStringLiteral("Writer"));
        QCOMPARE(container->supportedFolderLevels().toString(), KDUbiquitousContainerSupportedFolderOne);
        QCOMPARE(container->documentsURL(), QUrl::fromLocalFile(appDocuments()));
        QCOMPARE(container->documentsTypes().first().toMap().value(QStringLiteral("LSItemContentTypes")).toStringList(),
                 QStringList{QStringLiteral("text/plain")});

        auto drive = KDContainer::containerForItemAtURL_error(m_drive.url(QStringLiteral("x/y.txt")), &error);
        QCOMPARE(drive->identifier(), KDUbiquitousDefaultContainerID);
        QCOMPARE(drive->identifier(), QStringLiteral("com.quillmere.AerovaDrive"));
        QCOMPARE(drive->documentsURL(), QUrl::fromLocalFile(m_drive.root()));
        QCOMPARE(drive->localizedName(), QStringLiteral("Aerova Drive"));
    }

    // Outside the drive there is no container, and the caller is told.
    void noContainerOutsideTheDrive()
    {
        std::optional<Error> error;
        QVERIFY(!KDContainer::containerForItemAtURL_error(QUrl::fromLocalFile(QStringLiteral("/tmp/x")), &error));
        QVERIFY(error);
    }

    // Deleting an app's library empties it here and in the store, and keeps the container.
    void deleteAllContentsEmptiesDocumentsAndStore()
    {
        QVERIFY(TestDrive::writeFile(appDocuments() + QStringLiteral("/Draft.txt"), "draft"));
        QVERIFY(TestDrive::writeFile(appDocuments() + QStringLiteral("/Novel/Outline.txt"), "outline"));
        QVERIFY(!DriveSetup::promise(appDocuments() + QStringLiteral("/Novel/Outline.txt")));
        std::optional<Error> error;
        const QString stored = PromisePlaceholder::read(
            PromisePlaceholder::placeholderPathFor(appDocuments() + QStringLiteral("/Novel/Outline.txt")), &error)->storeFilePath();
        auto container = KDContainer::containerWithIdentifier(QStringLiteral("com.example.Writer"));
        QVERIFY(!container->deleteAllContentsOnClientAndServer());
        QVERIFY(QFileInfo(appDocuments()).isDir());
        QVERIFY(QDir(appDocuments()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
        QVERIFY(!QFileInfo::exists(stored));
    }

    // An item that cannot be removed keeps its content on the drive: only what was removed
    // loses it, and everything else is still removed.
    void deleteAllContentsKeepsTheContentOfWhatStays()
    {
        QVERIFY(TestDrive::writeFile(appDocuments() + QStringLiteral("/Loose.txt"), "loose"));
        QVERIFY(TestDrive::writeFile(appDocuments() + QStringLiteral("/Locked/Kept.txt"), "kept"));
        QVERIFY(!DriveSetup::promise(appDocuments() + QStringLiteral("/Locked/Kept.txt")));
        std::optional<Error> error;
        const QString stored = PromisePlaceholder::read(
            PromisePlaceholder::placeholderPathFor(appDocuments() + QStringLiteral("/Locked/Kept.txt")), &error)->storeFilePath();
        const QString locked = appDocuments() + QStringLiteral("/Locked");
        if (QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("+i"), locked}) != 0) {
            QSKIP("an immutable folder needs chattr and a file system that has the flag");
        }
        auto container = KDContainer::containerWithIdentifier(QStringLiteral("com.example.Writer"));
        const std::optional<Error> failed = container->deleteAllContentsOnClientAndServer();
        QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), locked});
        QVERIFY(failed);
        QVERIFY(!QFileInfo::exists(appDocuments() + QStringLiteral("/Loose.txt")));
        QVERIFY(PromisePlaceholder::isPromisedItem(appDocuments() + QStringLiteral("/Locked/Kept.txt")));
        QVERIFY(QFileInfo::exists(stored));
        QVERIFY(!container->deleteAllContentsOnClientAndServer());
        QVERIFY(!QFileInfo::exists(stored));
    }

    // The drive lists its containers, its own first.
    void allContainersListsDefaultFirst()
    {
        const auto all = KDContainer::allContainers();
        QVERIFY(all.size() >= 2);
        QCOMPARE(all.first()->identifier(), KDUbiquitousDefaultContainerID);
    }
};

QTEST_GUILESS_MAIN(tst_KDContainer)
#include "tst_KDContainer.moc"
