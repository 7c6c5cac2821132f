#include "core/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/StringFormat.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>


class tst_FileUtils : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QString m_folder;

    QString file(const QString &name, const QByteArray &content = "content")
    {
        const QString path = m_folder + QLatin1Char('/') + name;
        TestDrive::writeFile(path, content);
        return path;
    }
    static QUrl url(const QString &path) { return QUrl::fromLocalFile(path); }
    static QByteArray read(const QString &path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    static int keptAboveDebug()
    {
        int count = 0;
        for (const auto &record : LogSpy::records()) {
            count += record.value(QStringLiteral("Level")).toInt() < LOG_DEBUG ? 1 : 0;
        }
        return count;
    }

private slots:
    void initTestCase()
    {
        DRLogSetLevel(LOG_DEBUG);
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Pages"), QStringLiteral("Pages"),
                                          KDUbiquitousContainerSupportedFolderAny, {QStringLiteral("text/plain")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Anything"), QStringLiteral("Anything"), {},
                                          {QStringLiteral("public.data")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Open"), QStringLiteral("Open"), {}, {}));
    }

    void init()
    {
        m_folder = m_drive.freshFolder(QString::fromLatin1(QTest::currentTestFunction()));
        LogSpy::clear();
    }

    // A moved document never replaces one of the same name: it takes the next free number.
    void moveIntoTakenNameTakesNextFreeNumber()
    {
        const QString source = file(QStringLiteral("in/Report.pdf"), "new report");
        file(QStringLiteral("out/Report.pdf"), "old report");
        file(QStringLiteral("out/Report 2.pdf"), "second report");
        QVERIFY(!FileUtils::move_to(url(source), url(m_folder + QStringLiteral("/out/Report.pdf"))));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Report 3.pdf")), QByteArray("new report"));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Report.pdf")), QByteArray("old report"));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Report 2.pdf")), QByteArray("second report"));
        QVERIFY(!QFileInfo::exists(source));
        QVERIFY(LogSpy::messages().contains(
            StringFormat::format("Avail  dest1: '%@'", url(m_folder + QStringLiteral("/out/Report 3.pdf")))));
    }

    // Folders follow the same rule, without an extension.
    void moveFolderIntoTakenNameBecomesNumberTwo()
    {
        file(QStringLiteral("in/Photos/a.png"), "a");
        file(QStringLiteral("out/Photos/b.png"), "b");
        QVERIFY(!FileUtils::move_to(url(m_folder + QStringLiteral("/in/Photos")), url(m_folder + QStringLiteral("/out/Photos"))));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Photos 2/a.png")), QByteArray("a"));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Photos/b.png")), QByteArray("b"));
    }

    // Only the last extension counts when numbering.
    void severalDotsNumberBeforeLastExtension()
    {
        file(QStringLiteral("a.tar.gz"));
        QCOMPARE(FileUtils::stringByUniquingPathInsideDirectory_forBasename(m_folder, QStringLiteral("a.tar.gz")),
                 QStringLiteral("a.tar 2.gz"));
        QCOMPARE(FileUtils::generateUniquePath(url(m_folder + QStringLiteral("/a.tar.gz"))),
                 url(m_folder + QStringLiteral("/a.tar 2.gz")));
        file(QStringLiteral("Notes"));
        QCOMPARE(FileUtils::stringByUniquingPathInsideDirectory_forBasename(m_folder, QStringLiteral("Notes")),
                 QStringLiteral("Notes 2"));
        QVERIFY(FileUtils::stringByUniquingPathInsideDirectory_forBasename(m_folder, QStringLiteral("Free.txt")).isNull());
    }

    // A promised item holds its name: a real file moved there takes the next one.
    void promisedItemHoldsItsName()
    {
        const QString promised = file(QStringLiteral("out/Report.pdf"), "promised");
        QVERIFY(!DriveSetup::promise(promised));
        const QString source = file(QStringLiteral("Report.pdf"), "real");
        QVERIFY(!FileUtils::move_to(url(source), url(promised)));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Report 2.pdf")), QByteArray("real"));
        QVERIFY(PromisePlaceholder::isPromisedItem(promised));
    }

    // A file cannot land on a folder nor a folder on a file; nothing moves.
    void fileOntoFolderAndFolderOntoFileAreRefused()
    {
        const QString source = file(QStringLiteral("doc.txt"), "doc");
        QDir().mkpath(m_folder + QStringLiteral("/Folder"));
        std::optional<Error> error = FileUtils::move_to(url(source), url(m_folder + QStringLiteral("/Folder")));
        QVERIFY(error);
        QCOMPARE(error->code(), 3328);
        QVERIFY(error->isFileError(FeatureUnsupportedError));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Move: must move a file to a file (dest is a dir)")), LOG_ERR);
        QCOMPARE(read(source), QByteArray("doc"));

        error = FileUtils::move_to(url(m_folder + QStringLiteral("/Folder")), url(source));
        QVERIFY(error);
        QCOMPARE(error->code(), 3328);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Move: must move a dir to a dir (dest is a file)")), LOG_ERR);
        QVERIFY(QFileInfo(m_folder + QStringLiteral("/Folder")).isDir());
    }

    // Moving an item onto itself is a quiet success.
    void samePathIsQuietSuccess()
    {
        const QString source = file(QStringLiteral("same.txt"), "same");
        QVERIFY(!FileUtils::move_to(url(source), url(source)));
        QCOMPARE(read(source), QByteArray("same"));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Move: src and dest are the same")), LOG_DEBUG);
        QCOMPARE(keptAboveDebug(), 0);
    }

    // The move's log lines are exactly those a support engineer greps for.
    void moveLogsEachStep()
    {
        const QString source = file(QStringLiteral("a.txt"));
        const QUrl destination = url(m_folder + QStringLiteral("/b.txt"));
        QVERIFY(!FileUtils::move_to(url(source), destination));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Moving src1:  '%@'", url(source))), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Moving dest1: '%@'", destination)), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Moving src2:  '%@'", url(source))), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Moving dest2: '%@'", destination)), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Move successful")), LOG_INFO);
        QVERIFY(QFileInfo::exists(destination.toLocalFile()));
    }

    // A promised item moves without being downloaded.
    void promisedItemMovesAsPromise()
    {
        const QString source = file(QStringLiteral("Big.zip"), QByteArray(4096, 'z'));
        QVERIFY(!DriveSetup::promise(source));
        QDir().mkpath(m_folder + QStringLiteral("/Archive"));
        const QString target = m_folder + QStringLiteral("/Archive/Big.zip");
        QVERIFY(!FileUtils::move_to(url(source), url(target)));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Move: source filename does not exist, must be a fault.")), LOG_INFO);
        QVERIFY(PromisePlaceholder::isPromisedItem(target));
        QVERIFY(!QFileInfo::exists(PromisePlaceholder::placeholderPathFor(source)));
        std::optional<Error> error;
        QCOMPARE(PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(target), &error)->name,
                 QStringLiteral("Big.zip"));
    }

    // A missing source fails the move and says why.
    void missingSourceFailsWithWarning()
    {
        const std::optional<Error> error = FileUtils::move_to(url(m_folder + QStringLiteral("/ghost")),
                                                              url(m_folder + QStringLiteral("/other")));
        QVERIFY(error);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Move failed: %@", error)), LOG_WARNING);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("KD Move failed: %@", error)), LOG_WARNING);
    }

    // New folders appear with their parents; the log tells what was asked and what came of it.
    void mkdirCreatesIntermediateFolders()
    {
        const QUrl target = url(m_folder + QStringLiteral("/a/b/c"));
        QVERIFY(!FileUtils::mkdir(target));
        QVERIFY(FileUtils::isDir(target));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Creating directory: '%@'", target)), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Created directory: '%@'", target)), LOG_INFO);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Coordinated Write returned (null)")), LOG_DEBUG);
    }

    // A folder cannot be made where a file stands.
    void mkdirOverFileFails()
    {
        const QString existing = file(QStringLiteral("taken"));
        const std::optional<Error> error = FileUtils::mkdir(url(existing));
        QVERIFY(error);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("failed to create directory:'%@': %@", url(existing), error)), LOG_ERR);
        QCOMPARE(read(existing), QByteArray("content"));
    }

    // A document only on the drive holds its name: a folder of that name would hide it, and
    // a download would then have nowhere to go.
    void mkdirOverPromisedDocumentFails()
    {
        const QString promised = file(QStringLiteral("Cloud Only.pdf"));
        QVERIFY(!DriveSetup::promise(promised));
        const std::optional<Error> error = FileUtils::mkdir(url(promised));
        QVERIFY(error);
        QCOMPARE(error->code(), qint64(FileWriteFileExistsError));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("failed to create directory:'%@': %@", url(promised), error)), LOG_ERR);
        QVERIFY(!QFileInfo::exists(promised));
        QVERIFY(PromisePlaceholder::isPromisedItem(promised));
    }

    // A name another program wrote in bytes that are not UTF-8 is an item like any other: it is
    // moved, renamed and deleted as itself, never as a look-alike whose name only shows the same.
    void itemWhoseNameIsNotUtf8IsMovedRenamedAndDeletedByItsBytes()
    {
        const QString raw = m_folder + QLatin1Char('/') + FilePath::decode("bad\xff\xfename.txt");
        const QString lookAlike = file(QStringLiteral("bad\uFFFD\uFFFDname.txt"), "look-alike");
        QVERIFY(TestDrive::writeFile(raw, "raw bytes"));
        QVERIFY(FileUtils::exists(url(raw)));
        QVERIFY(FileUtils::isFile(url(raw)));
        QCOMPARE(FileUtils::stringByUniquingPathInsideDirectory_forBasename(m_folder, FilePath::decode("bad\xff\xfename.txt")),
                 FilePath::decode("bad\xff\xfename 2.txt"));

        QVERIFY(QDir().mkpath(m_folder + QStringLiteral("/out")));
        const QUrl moved = FileUtils::destinationOfItem_inDirectory(url(raw), url(m_folder + QStringLiteral("/out")));
        QVERIFY(!FileUtils::move_to(url(raw), moved));
        QVERIFY(!FilePath::exists(raw));
        QCOMPARE(FilePath::encode(moved.toLocalFile()), FilePath::encode(m_folder) + "/out/bad\xff\xfename.txt");
        QCOMPARE(FilePath::status(moved.toLocalFile())->st_size, off_t(9));
        QCOMPARE(read(lookAlike), QByteArray("look-alike"));

        const QUrl renamed = url(m_folder + QStringLiteral("/out/Renamed.txt"));
        QVERIFY(!FileUtils::move_to(moved, renamed));
        QCOMPARE(read(renamed.toLocalFile()), QByteArray("raw bytes"));

        const QString second = m_folder + QLatin1Char('/') + FilePath::decode("gone\xff.txt");
        QVERIFY(TestDrive::writeFile(second, "second"));
        QVERIFY(!FileUtils::remove(url(second)));
        QVERIFY(!FilePath::exists(second));
        QCOMPARE(read(lookAlike), QByteArray("look-alike"));
    }

    // Nothing outside the drive is made, changed or deleted, even when asked by path.
    void changesOutsideTheDriveAreRefused()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/keep.txt"), "keep"));
        QVERIFY(FileUtils::mkdir(QUrl::fromLocalFile(outside.path() + QStringLiteral("/made"))));
        QVERIFY(!QFileInfo::exists(outside.path() + QStringLiteral("/made")));
        QVERIFY(FileUtils::remove(QUrl::fromLocalFile(outside.path() + QStringLiteral("/keep.txt"))));
        QVERIFY(FileUtils::move_to(QUrl::fromLocalFile(outside.path() + QStringLiteral("/keep.txt")),
                                   url(m_folder + QStringLiteral("/stolen.txt"))));
        QCOMPARE(read(outside.path() + QStringLiteral("/keep.txt")), QByteArray("keep"));
        const QString mine = file(QStringLiteral("mine.txt"));
        QVERIFY(FileUtils::move_to(url(mine), QUrl::fromLocalFile(outside.path() + QStringLiteral("/mine.txt"))));
        QCOMPARE(read(mine), QByteArray("content"));
    }

    // Items moved together into a folder each land under a free name, whether few (looked up
    // name by name) or many (the folders read once): a promised item as its placeholder, a
    // document never onto a folder's name, nothing replaced.
    void itemsMovedTogetherLandUnderFreeNames_data()
    {
        QTest::addColumn<int>("count");
        QTest::newRow("a few") << 3;
        QTest::newRow("many") << 100;
    }
    void itemsMovedTogetherLandUnderFreeNames()
    {
        QFETCH(int, count);
        QList<QUrl> items;
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("Doc %1.txt").arg(i);
            items << url(file(QStringLiteral("in/") + name, "new " + QByteArray::number(i)));
            file(QStringLiteral("out/") + name, "old " + QByteArray::number(i));
        }
        file(QStringLiteral("out/Doc 0 2.txt"), "second"); // the first free name of Doc 0 is its third
        const QString promised = file(QStringLiteral("in/Cloud.pdf"), "cloud");
        QVERIFY(!DriveSetup::promise(promised));
        file(QStringLiteral("out/Cloud.pdf"), "local");
        items << url(promised);
        file(QStringLiteral("in/Shelf"), "a document");
        QVERIFY(QDir().mkpath(m_folder + QStringLiteral("/out/Shelf")));
        items << url(m_folder + QStringLiteral("/in/Shelf"));
        QVERIFY(QDir().mkpath(m_folder + QStringLiteral("/in/Box/inner")));
        file(QStringLiteral("out/.Box.promise"), "{}"); // a promised item holds the name Box
        items << url(m_folder + QStringLiteral("/in/Box/"));

        const QList<Error> errors = FileUtils::moveItems_toDirectory(items, url(m_folder + QStringLiteral("/out/")));

        QCOMPARE(errors.size(), 1); // the document named as the folder there
        QCOMPARE(errors.first().code(), FeatureUnsupportedError);
        QCOMPARE(read(m_folder + QStringLiteral("/in/Shelf")), QByteArray("a document"));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Doc 0.txt")), QByteArray("old 0"));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Doc 0 2.txt")), QByteArray("second"));
        QCOMPARE(read(m_folder + QStringLiteral("/out/Doc 0 3.txt")), QByteArray("new 0"));
        for (int i = 1; i < count; ++i) {
            QCOMPARE(read(m_folder + QStringLiteral("/out/Doc %1.txt").arg(i)), "old " + QByteArray::number(i));
            QCOMPARE(read(m_folder + QStringLiteral("/out/Doc %1 2.txt").arg(i)), "new " + QByteArray::number(i));
            QVERIFY(!QFileInfo::exists(m_folder + QStringLiteral("/in/Doc %1.txt").arg(i)));
        }
        QCOMPARE(read(m_folder + QStringLiteral("/out/Cloud.pdf")), QByteArray("local"));
        QVERIFY(PromisePlaceholder::isPromisedItem(m_folder + QStringLiteral("/out/Cloud 2.pdf")));
        QVERIFY(!PromisePlaceholder::isPromisedItem(promised));
        QVERIFY(QFileInfo(m_folder + QStringLiteral("/out/Box 2/inner")).isDir());
        QVERIFY(QFileInfo::exists(m_folder + QStringLiteral("/out/.Box.promise")));
    }

    // Items moved into the folder they are in stay as they are, quietly.
    void itemsMovedIntoTheirOwnFolderStay()
    {
        const QString kept = file(QStringLiteral("Kept.txt"), "kept");
        QVERIFY(FileUtils::moveItems_toDirectory({url(kept)}, url(m_folder + QLatin1Char('/'))).isEmpty());
        QCOMPARE(read(kept), QByteArray("kept"));
        QVERIFY(!QFileInfo::exists(m_folder + QStringLiteral("/Kept 2.txt")));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Move: src and dest are the same")), LOG_DEBUG);
    }

    // Neither end of a move may lead out of the drive, through a link or otherwise: every item
    // is refused and nothing outside is read or changed.
    void itemsMovedTogetherNeverLeaveTheDrive()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/keep.txt"), "keep"));
        QVERIFY(QFile::link(outside.path(), m_folder + QStringLiteral("/way out")));
        const QString mine = file(QStringLiteral("mine.txt"));
        const QList<Error> intoOutside = FileUtils::moveItems_toDirectory({url(mine)}, url(m_folder + QStringLiteral("/way out")));
        QCOMPARE(intoOutside.size(), 1);
        QCOMPARE(read(mine), QByteArray("content"));
        QCOMPARE(QDir(outside.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{QStringLiteral("keep.txt")});
        QList<QUrl> fromOutside{url(m_folder + QStringLiteral("/way out/keep.txt"))};
        for (int i = 0; i < 70; ++i) { // enough to read the folders
            fromOutside << url(m_folder + QStringLiteral("/way out/missing %1.txt").arg(i));
        }
        QVERIFY(QDir().mkpath(m_folder + QStringLiteral("/inside")));
        QCOMPARE(FileUtils::moveItems_toDirectory(fromOutside, url(m_folder + QStringLiteral("/inside"))).size(), fromOutside.size());
        QCOMPARE(read(outside.path() + QStringLiteral("/keep.txt")), QByteArray("keep"));
        QVERIFY(QDir(m_folder + QStringLiteral("/inside")).isEmpty());
    }

    // Deleting removes the item (folders with their contents) and reports at info level.
    void removeDeletesItem()
    {
        file(QStringLiteral("gone/inner.txt"));
        const QUrl target = url(m_folder + QStringLiteral("/gone"));
        QVERIFY(!FileUtils::remove(target));
        QVERIFY(!FileUtils::exists(target));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Removing item: '%@'", target)), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Deleted item: '%@'", target)), LOG_INFO);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Coordinated Write returned (null)")), LOG_INFO);

        const std::optional<Error> error = FileUtils::remove(target);
        QVERIFY(error);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("failed to delete item:'%@': %@", target, error)), LOG_ERR);
    }

    // Deleting a promised item deletes it from the drive's store too.
    void removePromisedItemRemovesStoredContent()
    {
        const QString path = file(QStringLiteral("cloud.txt"), "in the cloud");
        QVERIFY(!DriveSetup::promise(path));
        std::optional<Error> error;
        const QString stored = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error)->storeFilePath();
        QVERIFY(QFileInfo::exists(stored));
        QVERIFY(!FileUtils::remove(url(path)));
        QVERIFY(!QFileInfo::exists(PromisePlaceholder::placeholderPathFor(path)));
        QVERIFY(!QFileInfo::exists(stored));
    }

    // Names the drive cannot hold are refused before anything is written.
    void isValidFilenameRefusesBadNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("valid");
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("hidden") << QStringLiteral(".hidden") << false;
        QTest::newRow("slash") << QStringLiteral("a/b") << false;
        QTest::newRow("colon") << QStringLiteral("a:b") << false;
        QTest::newRow("line break") << QStringLiteral("a\nb") << false;
        QTest::newRow("carriage return") << QStringLiteral("a\rb") << false;
        QTest::newRow("line separator") << QStringLiteral("a\u2028b") << false;
        QTest::newRow("control") << QStringLiteral("a\u0007b") << false;
        QTest::newRow("format") << QStringLiteral("a\u200Eb") << false;
        QTest::newRow("non-character") << QString(QChar(0xFFFF)) << false;
        QTest::newRow("dot and space") << QStringLiteral("a.b c") << true;
        QTest::newRow("accents") << QStringLiteral("Café Menü.txt") << true;
        QTest::newRow("emoji") << QStringLiteral("Trip 🏖.jpg") << true;
        // a lone surrogate cannot be written as a file name; it would land as U+FFFD
        QTest::newRow("lone high surrogate") << (QString(QChar(0xD800)) + QStringLiteral(".pdf")) << false;
        QTest::newRow("lone low surrogate") << (QStringLiteral("a") + QChar(0xDC00) + QStringLiteral(".pdf")) << false;
        QTest::newRow("swapped surrogates") << (QString(QChar(0xDE00)) + QChar(0xD83D)) << false;
    }
    void isValidFilenameRefusesBadNames()
    {
        QFETCH(QString, name);
        QFETCH(bool, valid);
        QCOMPARE(FileUtils::isValidFilename(name), valid);
    }

    // Any container takes an item without an extension.
    void extensionlessNameIsAcceptedAnywhere()
    {
        const QString writer = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Pages/Documents/");
        QVERIFY(FileUtils::isValidExtensionForContainer(url(writer + QStringLiteral("README"))));
        QVERIFY(FileUtils::isValidExtensionForContainer(m_drive.url(QStringLiteral("README"))));
        QVERIFY(FileUtils::isValidExtensionForContainer(url(writer + QStringLiteral("file.zzqqunknown"))));
    }

    // An app's container takes only its declared document types; the drive's own takes all.
    void containerAcceptsItsDeclaredTypes()
    {
        const QString pages = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Pages/Documents/");
        QVERIFY(FileUtils::isValidExtensionForContainer(url(pages + QStringLiteral("notes.txt"))));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Extension txt conforms to UTI text/plain")), LOG_INFO);
        QVERIFY(!FileUtils::isValidExtensionForContainer(url(pages + QStringLiteral("photo.png"))));
        QVERIFY(FileUtils::isValidExtensionForContainer(m_drive.url(QStringLiteral("photo.png"))));
        const QString anything = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Anything/Documents/");
        QVERIFY(FileUtils::isValidExtensionForContainer(url(anything + QStringLiteral("photo.png"))));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Container supports all UTIs")), LOG_INFO);
        const QString open = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Open/Documents/");
        QVERIFY(FileUtils::isValidExtensionForContainer(url(open + QStringLiteral("photo.png"))));
        QVERIFY(!FileUtils::isValidExtensionForContainer(url(m_drive.home() + QStringLiteral("/elsewhere/photo.png"))));
    }

    // Pictures, films, sound and PDFs are recognised by their extension.
    void audioVideoImageAndPdfAreRecognised()
    {
        QVERIFY(FileUtils::isAudioVideoImageFile(QStringLiteral("photo.JPG")));
        QVERIFY(FileUtils::isAudioVideoImageFile(QStringLiteral("film.mp4")));
        QVERIFY(FileUtils::isAudioVideoImageFile(QStringLiteral("song.mp3")));
        QVERIFY(FileUtils::isAudioVideoImageFile(url(QStringLiteral("/x/doc.pdf"))));
        QCOMPARE(LogSpy::levelOf(QStringLiteral(
                     "isAudioVideoImageFile: Extension pdf is application/pdf which conforms to UTI com.adobe.pdf")),
                 LOG_DEBUG);
        QVERIFY(!FileUtils::isAudioVideoImageFile(QStringLiteral("notes.txt")));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("isAudioVideoImageFile: Extension txt is text/plain which is not.")),
                 LOG_DEBUG);
        QVERIFY(!FileUtils::isAudioVideoImageFile(QStringLiteral("noextension")));
        QVERIFY(!FileUtils::isAudioVideoImageFile(QStringLiteral("odd.zzqqunknown")));
    }

    // The path bar names the drive, the app and the folders, but not the item itself.
    void displayableLocationNamesContainerAndFolders()
    {
        const QString pages = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Pages/Documents/");
        QCOMPARE(FileUtils::displayableLocationForURL(url(pages + QStringLiteral("Work/2016/Plan.pages"))),
                 QStringLiteral("Aerova Drive ▸ Pages ▸ Work ▸ 2016"));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("PathBar: Aerova Drive ▸ Pages ▸ Work ▸ 2016")), LOG_DEBUG);
        QCOMPARE(FileUtils::displayableLocationForURL(m_drive.url(QStringLiteral("Plan.pdf"))), QStringLiteral("Aerova Drive"));
        QCOMPARE(FileUtils::displayableLocationForURL(m_drive.url(QStringLiteral("A/Plan.pdf"))),
                 QStringLiteral("Aerova Drive ▸ A"));
        QVERIFY(FileUtils::displayableLocationForURL(url(QStringLiteral("/tmp/elsewhere.txt"))).isNull());
    }

    // An item's place is its container and the folders below the container's documents.
    void containerAndRelativePathComponents()
    {
        const QString pages = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Pages/Documents/");
        std::shared_ptr<KDContainer> container;
        QStringList components;
        QVERIFY(!FileUtils::containerAndRelativePathforURL_container_relativePathComponents(
            url(pages + QStringLiteral("Work/Plan.txt")), &container, &components));
        QCOMPARE(container->identifier(), QStringLiteral("com.example.Pages"));
        QCOMPARE(components, (QStringList{QStringLiteral("Work"), QStringLiteral("Plan.txt")}));
        components = {QStringLiteral("unset")};
        QVERIFY(!FileUtils::containerAndRelativePathforURL_container_relativePathComponents(url(pages), nullptr, &components));
        QVERIFY(components.isEmpty());
        QCOMPARE(FileUtils::containerIdForURL(url(pages + QStringLiteral("x.txt"))), QStringLiteral("com.example.Pages"));
        QVERIFY(FileUtils::containerIdForURL(url(QStringLiteral("/tmp/x.txt"))).isNull());
        QVERIFY(FileUtils::containerAndRelativePathforURL_container_relativePathComponents(
            url(QStringLiteral("/tmp/x.txt")), &container, &components));
    }

    // The questions about what is at a path tell files and folders apart.
    void existsIsFileIsDir()
    {
        const QString path = file(QStringLiteral("f.txt"));
        QVERIFY(FileUtils::exists(url(path)) && FileUtils::isFile(url(path)) && !FileUtils::isDir(url(path)));
        QVERIFY(FileUtils::exists(url(m_folder)) && FileUtils::isDir(url(m_folder)) && !FileUtils::isFile(url(m_folder)));
        QVERIFY(!FileUtils::exists(url(m_folder + QStringLiteral("/none"))));
    }

    // Evicting gives the content back to the store and leaves a promise; a failure is only logged.
    void evictDocumentLeavesPromise()
    {
        const QString path = file(QStringLiteral("evict.txt"), "evict me");
        FileUtils::evictDocument(url(path));
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        FileUtils::evictDocument(url(QStringLiteral("/tmp/not-on-the-drive.txt")));
        QVERIFY(LogSpy::messages().filter(QStringLiteral("Evict error: ")).size() == 1);
    }

    // Metadata of a promise comes from its placeholder, never from downloading.
    void resourceValueOfPromiseComesFromPlaceholder()
    {
        const QString path = file(QStringLiteral("sized.bin"), QByteArray(1234, 'x'));
        QVERIFY(!DriveSetup::promise(path));
        QCOMPARE(FileUtils::getResourceValue_forURL(QStringLiteral("fileSize"), url(path)).toULongLong(), 1234u);
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(!FileUtils::getResourceValue_forURL(QStringLiteral("fileSize"), QUrl()).isValid());
    }

    // File dates and size are written to the debug log, and a missing file says so.
    void logFileAttributesWritesDatesAndSize()
    {
        const QString path = file(QStringLiteral("attrs.txt"), "12345");
        FileUtils::logFileAttributes(path);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Size: 5 bytes")), LOG_DEBUG);
        QCOMPARE(LogSpy::messages().filter(QStringLiteral("Date Modified: ")).size(), 1);
        QCOMPARE(LogSpy::messages().filter(QStringLiteral("Date Created: ")).size(), 1);
        FileUtils::logFileAttributes(m_folder + QStringLiteral("/missing"));
        QCOMPARE(LogSpy::messages().filter(QStringLiteral("Cannot get attributes of ")).size(), 1);
    }

    // The app's own documents folder is in its data container.
    void docDirIsInAppContainer()
    {
        QCOMPARE(FileUtils::docDir(), url(m_drive.home() + QStringLiteral("/home/App/Documents/")));
    }
};

QTEST_GUILESS_MAIN(tst_FileUtils)
#include "tst_FileUtils.moc"
