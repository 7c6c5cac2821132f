#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseURL.h"
#include "support/TestDrive.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

class tst_KDURL : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    QString mobileDocuments() const { return m_drive.home() + QStringLiteral("/home/Mobile Documents"); }

private slots:
    void initTestCase()
    {
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Writer"), QStringLiteral("Writer"), {}, {}));
    }

    // Paths that climb out of the drive, by ".." or through a link, are not in it.
    void isInMobileDocumentsRefusesEscapes()
    {
        QVERIFY(kd_isInMobileDocuments(m_drive.url(QStringLiteral("a/b.txt"))));
        QVERIFY(kd_isInMobileDocuments(QUrl::fromLocalFile(mobileDocuments())));
        QVERIFY(!kd_isInMobileDocuments(QUrl::fromLocalFile(mobileDocuments() + QStringLiteral("/../defaults.ini"))));
        QVERIFY(!kd_isInMobileDocuments(QUrl::fromLocalFile(QStringLiteral("/etc/passwd"))));
        QVERIFY(QFile::link(QStringLiteral("/etc"), m_drive.path(QStringLiteral("escape"))));
        QVERIFY(!kd_isInMobileDocuments(m_drive.url(QStringLiteral("escape/passwd"))));
        QVERIFY(kd_isInMobileDocuments(m_drive.url(QStringLiteral("escape")))); // the link itself is on the drive
    }

    // Paths below the root are given without a leading slash.
    // The string test takes what lies below the root, never the root itself nor a sibling
    // whose name merely starts like it.
    void pathBelowTheRootIsTestedByItsString()
    {
        QVERIFY(kd_pathIsBelowMobileDocumentsRoot(mobileDocuments() + QStringLiteral("/a/b.txt")));
        QVERIFY(!kd_pathIsBelowMobileDocumentsRoot(mobileDocuments()));
        QVERIFY(!kd_pathIsBelowMobileDocumentsRoot(mobileDocuments() + QStringLiteral(" 2/a.txt")));
        QVERIFY(!kd_pathIsBelowMobileDocumentsRoot(QStringLiteral("/etc/passwd")));
    }

    void pathRelativeToMobileDocuments()
    {
        QCOMPARE(kd_pathRelativeToMobileDocuments(m_drive.url(QStringLiteral("A/b.txt"))),
                 QStringLiteral("com.quillmere.AerovaDrive/A/b.txt"));
        QVERIFY(kd_pathRelativeToMobileDocuments(QUrl::fromLocalFile(QStringLiteral("/tmp"))).isNull());
        QCOMPARE(kd_pathRelativeToMobileDocuments(QUrl::fromLocalFile(mobileDocuments())), QStringLiteral(""));
    }

    // App containers are containers; their contents are not.
    void isDocumentsContainer()
    {
        QVERIFY(kd_isDocumentsContainer(QUrl::fromLocalFile(mobileDocuments() + QStringLiteral("/com.example.Writer"))));
        QVERIFY(kd_isDocumentsContainer(QUrl::fromLocalFile(mobileDocuments() + QStringLiteral("/com.example.Writer/Documents"))));
        QVERIFY(!kd_isDocumentsContainer(QUrl::fromLocalFile(mobileDocuments() + QStringLiteral("/com.example.Writer/Documents/a"))));
        QVERIFY(!kd_isDocumentsContainer(m_drive.url(QStringLiteral("Folder"))));
        QVERIFY(!kd_isDocumentsContainer(QUrl::fromLocalFile(mobileDocuments())));
    }

    // Moves never replace an item, real or promised.
    void moveNeverReplaces()
    {
        const QString a = m_drive.path(QStringLiteral("mv/a.txt"));
        const QString b = m_drive.path(QStringLiteral("mv/b.txt"));
        QVERIFY(TestDrive::writeFile(a, "a"));
        QVERIFY(TestDrive::writeFile(b, "b"));
        std::optional<Error> error;
        QVERIFY(!kd_movePromisedItemAtURL_toURL_error(QUrl::fromLocalFile(a), QUrl::fromLocalFile(b), &error));
        QVERIFY(error);
        QVERIFY(QFileInfo::exists(a));
        QVERIFY(!DriveSetup::promise(b));
        error.reset();
        QVERIFY(!kd_movePromisedItemAtURL_toURL_error(QUrl::fromLocalFile(a), QUrl::fromLocalFile(b), &error));
        QVERIFY(error);
    }

    // Tags come from the file's attribute, or from the placeholder of a promise.
    void tagNamesOfFilesAndPromises()
    {
        const QString path = m_drive.path(QStringLiteral("tags/t.txt"));
        QVERIFY(TestDrive::writeFile(path, "t"));
        QVERIFY(FileAttributes::setTags(path, {QStringLiteral(" Red "), QString(), QStringLiteral("Work")}));
        std::optional<Error> error;
        QCOMPARE(kd_getTagNames_error(QUrl::fromLocalFile(path), &error), (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
        QVERIFY(!DriveSetup::promise(path));
        QCOMPARE(kd_getTagNames_error(QUrl::fromLocalFile(path), &error), (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
        QVERIFY(kd_getTagNames_error(m_drive.url(QStringLiteral("tags/none")), &error).isEmpty());
        QVERIFY(error);
    }

    // A promised item's logical and physical URLs lead to each other.
    void promiseURLs()
    {
        const QString path = m_drive.path(QStringLiteral("promise/p.pdf"));
        QVERIFY(TestDrive::writeFile(path, "p"));
        const QUrl logical = QUrl::fromLocalFile(path);
        QCOMPARE(PromiseCopyPhysicalURL(logical), logical);
        QVERIFY(!IsItemPromiseAtURL(logical));
        QVERIFY(!DriveSetup::promise(path));
        const QUrl physical = PromiseCopyPhysicalURL(logical);
        QCOMPARE(physical, QUrl::fromLocalFile(m_drive.path(QStringLiteral("promise/.p.pdf.promise"))));
        QVERIFY(IsItemPromiseAtURL(logical));
        QVERIFY(IsItemPromiseAtURL(physical));
        QCOMPARE(CopyLogicalURLOfPromiseAtURL(physical), logical);
        QVERIFY(PromiseSetPhysicalURL(logical, physical));
    }

    // A bookmark is a symbolic link on the drive; it stands for its target, promised or not.
    void bookmarksAreSymbolicLinks()
    {
        const QString target = m_drive.path(QStringLiteral("Marks/Target.txt"));
        QVERIFY(TestDrive::writeFile(target, "t"));
        const QString link = m_drive.path(QStringLiteral("Marks/Link.txt"));
        QVERIFY(QFile::link(target, link));
        QVERIFY(kd_isExternalDocumentReference(QUrl::fromLocalFile(link)));
        QVERIFY(!kd_isExternalDocumentReference(QUrl::fromLocalFile(target)));
        QVERIFY(!kd_isExternalDocumentReference(m_drive.url(QStringLiteral("Marks/Nothing.txt"))));
        std::optional<Error> error;
        QCOMPARE(kd_URLByResolvingExternalDocumentReferenceWithError(QUrl::fromLocalFile(link), &error).toLocalFile(), target);
        QVERIFY(!error);

        QVERIFY(!DriveSetup::promise(target)); // a link to a promised item still resolves
        QCOMPARE(kd_URLByResolvingExternalDocumentReferenceWithError(QUrl::fromLocalFile(link), &error).toLocalFile(), target);
        QVERIFY(!error);
    }

    // A bookmark whose target is gone resolves to nothing, with a missing-file error.
    void danglingBookmarkDoesNotResolve()
    {
        const QString link = m_drive.path(QStringLiteral("Marks/Dangling.txt"));
        QVERIFY(QFile::link(m_drive.path(QStringLiteral("Marks/Gone.txt")), link));
        std::optional<Error> error;
        QVERIFY(kd_URLByResolvingExternalDocumentReferenceWithError(QUrl::fromLocalFile(link), &error).isEmpty());
        QVERIFY(error && error->isFileError(FileReadNoSuchFileError));
        error.reset();
        QVERIFY(kd_URLByResolvingExternalDocumentReferenceWithError(m_drive.url(QStringLiteral("Marks")), &error).isEmpty());
        QVERIFY(error);
    }
};

QTEST_GUILESS_MAIN(tst_KDURL)
#include "tst_KDURL.moc"
