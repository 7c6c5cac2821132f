#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/Progress.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/foundation/CancellationToken.h"
#include "platform/foundation/FilePath.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDURL.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>
#include <sys/stat.h>
#include <utime.h>

class tst_PromiseStore : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QByteArray read(const QString &path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    static QStringList visibleAndHidden(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    /// Points the placeholder of the promised item at `path` to another store key.
    static bool setStoreKey(const QString &path, const QString &storeKey)
    {
        const QString placeholder = PromisePlaceholder::placeholderPathFor(path);
        QJsonObject json = QJsonDocument::fromJson(read(placeholder)).object();
        json.insert(QStringLiteral("storeKey"), storeKey);
        return TestDrive::writeFile(placeholder, QJsonDocument(json).toJson());
    }
    /// The store's content of the promised item at `path`.
    static QString storedContentOf(const QString &path)
    {
        std::optional<Error> error;
        const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
        return placeholder ? placeholder->storeFilePath() : QString();
    }
    static bool makeOld(const QString &path)
    {
        const utimbuf old{0, 0};
        return ::utime(QFile::encodeName(path).constData(), &old) == 0;
    }

private slots:
    void cleanup()
    {
        DriveSetup::setStoreRate(0);
        DriveSetup::setNetwork({});
    }

    // Eviction keeps every byte in the store and leaves a placeholder that knows the item.
    void evictThenMaterializeRestoresContentAndMetadata()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("roundtrip"));
        const QString path = folder + QStringLiteral("/Report.pdf");
        const QByteArray content(300000, 'r');
        QVERIFY(TestDrive::writeFile(path, content));
        FileAttributes::setTags(path, {QStringLiteral("Red"), QStringLiteral("Work")});
        QVERIFY(!PromiseStore::evict(path));
        QVERIFY(!QFileInfo::exists(path));
        std::optional<Error> error;
        const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
        QVERIFY(placeholder);
        QCOMPARE(placeholder->size, content.size());
        QCOMPARE(placeholder->tags, (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
        QCOMPARE(placeholder->mimeType, QStringLiteral("application/pdf"));

        QVERIFY(!PromiseStore::materialize(path, nullptr));
        QCOMPARE(read(path), content);
        QVERIFY(!QFileInfo::exists(PromisePlaceholder::placeholderPathFor(path)));
        QCOMPARE(FileAttributes::tags(path), (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
        QCOMPARE(QFileInfo(path).lastModified().toSecsSinceEpoch(), placeholder->modificationDate.toSecsSinceEpoch());
        QCOMPARE(visibleAndHidden(folder), QStringList{QStringLiteral("Report.pdf")});
    }

    // A download shows its progress as a file progress, ending complete.
    void materializePublishesFileProgress()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("progress"));
        const QString path = folder + QStringLiteral("/Big.bin");
        QVERIFY(TestDrive::writeFile(path, QByteArray(200000, 'b')));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(!DriveSetup::setStoreRate(500000)); // steps of 25,000 bytes: eight of them
        QList<double> fractions;
        QString kind;
        bool unpublished = false;
        const int token = Progress::addSubscriberForFileURL(QUrl::fromLocalFile(path), [&](std::shared_ptr<Progress> p) {
            kind = p->kind();
            p->addObserver(QStringLiteral("fractionCompleted"), [&fractions](const Progress &q) { fractions << q.fractionCompleted(); });
            return std::function<void()>([&unpublished] { unpublished = true; });
        });
        QVERIFY(!PromiseStore::materialize(path, nullptr));
        Progress::removeSubscriber(token);
        QCOMPARE(kind, QStringLiteral("NSProgressKindFile"));
        QVERIFY2(fractions.size() >= 5, qPrintable(QString::number(fractions.size())));
        QVERIFY(fractions.first() > 0.0 && fractions.first() < 1.0);
        QCOMPARE(fractions.last(), 1.0);
        QVERIFY(std::is_sorted(fractions.begin(), fractions.end()));
        QVERIFY(unpublished);
    }

    // A cancelled download leaves the placeholder as it was and nothing under the item's name.
    void cancelLeavesPlaceholderWhole()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("cancel"));
        const QString path = folder + QStringLiteral("/Movie.mp4");
        QVERIFY(TestDrive::writeFile(path, QByteArray(400000, 'm')));
        QVERIFY(!DriveSetup::promise(path));
        const QByteArray placeholderBefore = read(PromisePlaceholder::placeholderPathFor(path));
        QVERIFY(!DriveSetup::setStoreRate(100000));
        CancellationToken cancel;
        const int token = Progress::addSubscriberForFileURL(QUrl::fromLocalFile(path), [&cancel](std::shared_ptr<Progress> p) {
            p->addObserver(QStringLiteral("fractionCompleted"), [&cancel](const Progress &q) {
                if (q.fractionCompleted() > 0.1) {
                    cancel.cancel();
                }
            });
            return std::function<void()>();
        });
        const std::optional<Error> error = PromiseStore::materialize(path, &cancel);
        Progress::removeSubscriber(token);
        QVERIFY(error);
        QCOMPARE(error->code(), 3072);
        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(read(PromisePlaceholder::placeholderPathFor(path)), placeholderBefore);
        QCOMPARE(visibleAndHidden(folder), QStringList{QStringLiteral(".Movie.mp4.promise")});
    }

    // Offline, the store cannot be reached: the item stays a promise and says why.
    void offlineDownloadFailsWithServerUnavailable()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("offline"));
        const QString path = folder + QStringLiteral("/a.txt");
        QVERIFY(TestDrive::writeFile(path, "a"));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(!DriveSetup::setNetwork(QStringLiteral("offline")));
        const std::optional<Error> error = PromiseStore::materialize(path, nullptr);
        QVERIFY(error);
        QCOMPARE(error->code(), 4355);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
    }

    // A download never replaces an item that appeared under the same name meanwhile.
    void materializeNeverReplacesExistingItem()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("clash"));
        const QString path = folder + QStringLiteral("/c.txt");
        QVERIFY(TestDrive::writeFile(path, "from the store"));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(TestDrive::writeFile(path, "made here"));
        QVERIFY(!PromiseStore::materialize(path, nullptr)); // the real file wins: nothing to do
        QCOMPARE(read(path), QByteArray("made here"));
    }

    // Killing a process in the middle of a download leaves the placeholder whole and no file
    // under the item's name.
    void killDuringDownloadLeavesPlaceholderWhole()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("kill"));
        const QString path = folder + QStringLiteral("/Backup.zip");
        QVERIFY(TestDrive::writeFile(path, QByteArray(2000000, 'k')));
        QVERIFY(!DriveSetup::promise(path));
        const QByteArray placeholderBefore = read(PromisePlaceholder::placeholderPathFor(path));
        QVERIFY(!DriveSetup::setStoreRate(200000));

        QProcess child;
        child.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("download"), path});
        QVERIFY(child.waitForStarted());
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((output += child.readAllStandardOutput()).contains("progress "), 20000);
        QVERIFY(!output.contains("progress 100%"));
        ::kill(pid_t(child.processId()), SIGKILL);
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitStatus(), QProcess::CrashExit);

        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(read(PromisePlaceholder::placeholderPathFor(path)), placeholderBefore);
        QCOMPARE(visibleAndHidden(folder), QStringList{QStringLiteral(".Backup.zip.promise")});
    }

    // Deleting a promised item deletes its content from the store.
    void removeItemDeletesStoreContent()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("remove"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/sub/x.txt"), "x"));
        QVERIFY(!DriveSetup::promise(folder + QStringLiteral("/sub/x.txt")));
        std::optional<Error> error;
        const QString stored = PromisePlaceholder::read(
            PromisePlaceholder::placeholderPathFor(folder + QStringLiteral("/sub/x.txt")), &error)->storeFilePath();
        QVERIFY(QFileInfo::exists(stored));
        QVERIFY(!PromiseStore::removeItem(folder + QStringLiteral("/sub")));
        QVERIFY(!QFileInfo::exists(stored));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/sub")));
    }

    // A placeholder's store key comes from outside the app: one that climbs out of the store
    // must never make a download read, a delete remove or an evict replace a file elsewhere.
    void storeKeyLeadingOutOfTheStoreIsRefused()
    {
        QTemporaryDir outside;
        const QString victim = outside.path() + QStringLiteral("/victim.key");
        QVERIFY(TestDrive::writeFile(victim, "secret"));
        const QString climbing = QDir(DriveLayout::storePath()).relativeFilePath(victim);
        QVERIFY(climbing.startsWith(QStringLiteral("../")));

        const QString folder = m_drive.freshFolder(QStringLiteral("storekey"));
        const QString path = folder + QStringLiteral("/Stolen.txt");
        QVERIFY(TestDrive::writeFile(path, "mine"));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(setStoreKey(path, climbing));
        LogSpy::clear();

        const std::optional<Error> download = PromiseStore::materialize(path, nullptr);
        QVERIFY(download);
        QCOMPARE(download->code(), qint64(UbiquityFileUnavailableError));
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(PromisePlaceholder::isPromisedItem(path)); // still listed, its content unavailable
        const QString refusal = QStringLiteral("Refusing the store key \"%1\" of %2: a store key is one name of "
                                               "letters, digits, '-' and '_'")
                                    .arg(climbing, PromisePlaceholder::placeholderPathFor(path));
        QCOMPARE(LogSpy::levelOf(refusal), LOG_ERR);

        QVERIFY(!PromiseStore::removeItem(path));
        QVERIFY(!PromisePlaceholder::isPromisedItem(path));
        QCOMPARE(read(victim), QByteArray("secret"));

        // a downloaded file whose store-key attribute climbs out is not evicted over the victim
        const QString real = folder + QStringLiteral("/Real.txt");
        QVERIFY(TestDrive::writeFile(real, "real content"));
        {
            QFile file(real);
            QVERIFY(file.open(QIODevice::ReadWrite));
            FileAttributes::setStoreKey(file.handle(), climbing);
        }
        const std::optional<Error> eviction = PromiseStore::evict(real);
        QVERIFY(eviction);
        QCOMPARE(read(real), QByteArray("real content"));
        QVERIFY(!PromisePlaceholder::isPromisedItem(real));
        QCOMPARE(read(victim), QByteArray("secret"));

        for (const QString &bad : {QStringLiteral(".."), QStringLiteral("a/b"), QStringLiteral("a.b"),
                                   QStringLiteral(""), QString(129, QLatin1Char('a')), QStringLiteral("caf\u00e9")}) {
            QVERIFY2(!PromisePlaceholder::isStoreKey(bad), qPrintable(bad));
            QVERIFY(PromisePlaceholder::storeFilePathForKey(bad).isEmpty());
        }
        QVERIFY(PromisePlaceholder::isStoreKey(PromisePlaceholder::newStoreKey()));
    }

    // A size or a date from a server is checked: 1e300 bytes is no size (converting it would be
    // undefined), and the item shows with its size unknown.
    void absurdSizeInPlaceholderIsRefused()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("size"));
        const QString path = folder + QStringLiteral("/Huge.bin");
        QVERIFY(TestDrive::writeFile(path, "x"));
        QVERIFY(!DriveSetup::promise(path));
        for (const QByteArray &size : {QByteArray("1e300"), QByteArray("-5"), QByteArray("2.5"), QByteArray("\"12\"")}) {
            QJsonObject json = QJsonDocument::fromJson(read(PromisePlaceholder::placeholderPathFor(path))).object();
            json.remove(QStringLiteral("size"));
            QByteArray bytes = QJsonDocument(json).toJson(QJsonDocument::Compact);
            bytes.insert(1, "\"size\":" + size + ",");
            QVERIFY(TestDrive::writeFile(PromisePlaceholder::placeholderPathFor(path), bytes));
            std::optional<Error> error;
            const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
            QVERIFY2(placeholder, size.constData());
            QCOMPARE(placeholder->size, qint64(-1));
        }
    }

    // A placeholder that is a FIFO or a device is never opened for reading in a way that
    // blocks, and never read without end: the item is simply not a usable promise.
    void placeholderThatIsAFifoOrDeviceDoesNotHang()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("fifo"));
        const QString fifo = PromisePlaceholder::placeholderPathFor(folder + QStringLiteral("/Pipe.txt"));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0644), 0);
        const QString zero = PromisePlaceholder::placeholderPathFor(folder + QStringLiteral("/Zero.txt"));
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), zero));
        std::optional<Error> error;
        QVERIFY(!PromisePlaceholder::read(fifo, &error));
        QCOMPARE(error->code(), qint64(FileReadCorruptFileError));
        QVERIFY(!PromisePlaceholder::read(zero, &error));
        QVERIFY(PromiseStore::materialize(folder + QStringLiteral("/Pipe.txt"), nullptr));
    }

    // Deleting a folder is all or nothing for the user even when the process is killed at any
    // instant: the folder is either whole in its place or gone, and the next start removes what
    // was left, the store content of its promised items included.
    void folderDeleteKilledAtAnyInstantIsWholeOrGone()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("killdelete"));
        QStringList names;
        for (int i = 0; i < 400; ++i) {
            names << QStringLiteral("doc %1.txt").arg(i, 3, 10, QLatin1Char('0'));
        }
        QRandomGenerator random(20261122);
        int goneCount = 0;
        for (int round = 0; round < 12; ++round) {
            const QString target = folder + QStringLiteral("/Folder");
            QStringList stored;
            for (int i = 0; i < names.size(); ++i) {
                const QString item = target + QStringLiteral("/sub %1/").arg(i % 4) + names.at(i);
                QVERIFY(TestDrive::writeFile(item, "content"));
                if (i % 2 == 0) {
                    QVERIFY(!DriveSetup::promise(item));
                    stored << storedContentOf(item);
                }
            }
            QProcess child;
            child.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("remove"), target});
            QVERIFY(child.waitForStarted());
            if (round > 0) {
                // from the process's start to about its end (it takes some 200 ms); the first
                // round runs to its end
                QThread::usleep(random.bounded(0, 300000));
                ::kill(pid_t(child.processId()), SIGKILL);
            }
            QVERIFY(child.waitForFinished());

            const bool whole = QFileInfo(target).isDir();
            if (whole) {
                for (int i = 0; i < names.size(); ++i) {
                    const QString item = target + QStringLiteral("/sub %1/").arg(i % 4) + names.at(i);
                    QVERIFY2(QFileInfo::exists(item) || PromisePlaceholder::isPromisedItem(item), qPrintable(item));
                }
                for (const QString &content : std::as_const(stored)) {
                    QVERIFY(QFileInfo::exists(content));
                }
                QVERIFY(!PromiseStore::removeItem(target));
            } else {
                ++goneCount;
                PromiseStore::finishInterruptedWork(std::chrono::seconds(0)); // the next start
            }
            QVERIFY(!QFileInfo::exists(target));
            for (const QString &content : std::as_const(stored)) {
                QVERIFY2(!QFileInfo::exists(content), qPrintable(content));
            }
            QVERIFY(visibleAndHidden(DriveLayout::mobileDocumentsPath() + QStringLiteral("/.pending-deletions")).isEmpty());
        }
        QVERIFY(goneCount > 0);
    }

    // What a killed writer left behind is cleaned at the next start: a half-written placeholder,
    // a half-received download, a deletion out of sight; nothing young (another process may be
    // writing it now) and no real item is touched.
    void leftOversOfKilledWritersAreCleanedAtStart()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("leftovers"));
        const QString oldTemp = folder + QStringLiteral("/.promise-Ab12Cd");
        const QString youngTemp = folder + QStringLiteral("/.promise-Zz99Yy");
        const QString oldDownload = folder + QStringLiteral("/.Movie.mp4.download-x1Y2z3");
        QVERIFY(TestDrive::writeFile(oldTemp, "{"));
        QVERIFY(TestDrive::writeFile(youngTemp, "{"));
        QVERIFY(TestDrive::writeFile(oldDownload, "partial"));
        QVERIFY(makeOld(oldTemp));
        QVERIFY(makeOld(oldDownload));
        // an item named like a temporary file is still an item
        const QString promised = folder + QStringLiteral("/promise-Ab12Cd");
        QVERIFY(TestDrive::writeFile(promised, "kept"));
        QVERIFY(!DriveSetup::promise(promised));
        QVERIFY(makeOld(PromisePlaceholder::placeholderPathFor(promised)));
        // a deletion taken out of sight by a process that was then killed
        const QString doomed = folder + QStringLiteral("/Doomed/a.txt");
        QVERIFY(TestDrive::writeFile(doomed, "a"));
        QVERIFY(!DriveSetup::promise(doomed));
        const QString doomedContent = storedContentOf(doomed);
        const QString pending = DriveLayout::mobileDocumentsPath() + QStringLiteral("/.pending-deletions");
        QVERIFY(QDir().mkpath(pending));
        QVERIFY(QDir().rename(folder + QStringLiteral("/Doomed"), pending + QStringLiteral("/0123456789abcdef0123456789abcdef")));

        PromiseStore::finishInterruptedWork();
        QVERIFY(!QFileInfo::exists(oldTemp));
        QVERIFY(!QFileInfo::exists(oldDownload));
        QVERIFY(QFileInfo::exists(youngTemp));
        QVERIFY(PromisePlaceholder::isPromisedItem(promised));
        QVERIFY(!QFileInfo::exists(doomedContent));
        QVERIFY(visibleAndHidden(pending).isEmpty());
    }

    // Moving a promised item is one rename of its placeholder: nothing half-written is left in
    // the destination whenever the process dies, and the item is named after its new name.
    void promisedItemMovesInOneRename()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("moveone"));
        const QString from = folder + QStringLiteral("/Old.txt");
        QVERIFY(TestDrive::writeFile(from, "moving"));
        QVERIFY(!DriveSetup::promise(from));
        QVERIFY(QDir().mkpath(folder + QStringLiteral("/Target")));
        const QString to = folder + QStringLiteral("/Target/New.txt");
        std::optional<Error> error;
        QVERIFY(kd_movePromisedItemAtURL_toURL_error(QUrl::fromLocalFile(from), QUrl::fromLocalFile(to), &error));
        QCOMPARE(visibleAndHidden(folder + QStringLiteral("/Target")), QStringList{QStringLiteral(".New.txt.promise")});
        QCOMPARE(PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(to), &error)->name, QStringLiteral("New.txt"));
        QVERIFY(!PromiseStore::materialize(to, nullptr));
        QCOMPARE(read(to), QByteArray("moving"));
    }

    // A deletion through a linked folder would remove what the link leads to: it is refused.
    void deleteThroughLinkedFolderIsRefused()
    {
        QTemporaryDir outside;
        const QString victim = outside.path() + QStringLiteral("/passwd");
        QVERIFY(TestDrive::writeFile(victim, "root:x:0:0"));
        const QString folder = m_drive.freshFolder(QStringLiteral("linkdelete"));
        QVERIFY(QFile::link(outside.path(), folder + QStringLiteral("/etc")));
        const std::optional<Error> error = PromiseStore::removeItem(folder + QStringLiteral("/etc/passwd"));
        QVERIFY(error);
        QCOMPARE(error->code(), qint64(FileWriteNoPermissionError));
        QCOMPARE(read(victim), QByteArray("root:x:0:0"));
        // the link itself goes, and only the link
        QVERIFY(!PromiseStore::removeItem(folder + QStringLiteral("/etc")));
        QVERIFY(!QFileInfo(folder + QStringLiteral("/etc")).isSymLink());
        QCOMPARE(read(victim), QByteArray("root:x:0:0"));
    }

    // Another program may name a document in bytes that are not UTF-8, beside a look-alike whose
    // name shows the same: giving it back to the drive, downloading it again and deleting its
    // folder reach that document alone, and its content is never lost or mixed up.
    void itemWhoseNameIsNotUtf8IsEvictedDownloadedAndDeletedByItsBytes()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("bytes"));
        const QByteArray odd = FilePath::encode(folder) + "/odd\xfe";
        QVERIFY(::mkdir(odd.constData(), 0755) == 0);
        const QString oddFolder = FilePath::decode(odd);
        const QString raw = oddFolder + QLatin1Char('/') + FilePath::decode("bad\xff.txt");
        const QString lookAlike = oddFolder + QStringLiteral("/bad\uFFFD.txt");
        QVERIFY(TestDrive::writeFile(lookAlike, "look-alike"));
        QVERIFY(TestDrive::writeFile(raw, "raw bytes"));

        QVERIFY(!PromiseStore::evict(raw));
        QVERIFY(!FilePath::exists(raw));
        QVERIFY(PromisePlaceholder::isPromisedItem(raw));
        const QString stored = storedContentOf(raw);
        QCOMPARE(read(stored), QByteArray("raw bytes"));
        QCOMPARE(TestDrive::readFile(lookAlike), QByteArray("look-alike"));

        QVERIFY(!PromiseStore::materialize(raw, nullptr));
        QVERIFY(!PromisePlaceholder::isPromisedItem(raw));
        QCOMPARE(FilePath::status(raw)->st_size, off_t(9));
        QCOMPARE(TestDrive::readFile(lookAlike), QByteArray("look-alike"));

        QVERIFY(!PromiseStore::evict(raw));
        QVERIFY(!PromiseStore::removeItem(oddFolder));
        QVERIFY(!FilePath::exists(oddFolder));
        QVERIFY(!QFileInfo::exists(stored)); // the drive forgets the content of what was deleted
    }
};

QTEST_GUILESS_MAIN(tst_PromiseStore)
#include "tst_PromiseStore.moc"
