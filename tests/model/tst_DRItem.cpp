#include "model/DRItem.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/InvalidArgumentException.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/foundation/StringFormat.h"
#include "platform/types/UniformType.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <thread>
#include <vector>

class tst_DRItem : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    QString writeFile(const QString &relative, const QByteArray &content)
    {
        const QString path = m_drive.path(relative);
        TestDrive::writeFile(path, content);
        return path;
    }


private slots:
    void initTestCase()
    {
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Writer"), QStringLiteral("Writer"),
                                          QStringLiteral("One"), {}));
        DRLogSetLevel(LOG_DEBUG);
    }

    // The plain initialiser is a programming error and says which call to avoid.
    void plainInitRaisesDontCall()
    {
        try {
            DRItem item;
            QFAIL("DRItem() must not make a record");
        } catch (const InvalidArgumentException &exception) {
            QCOMPARE(exception.reason(), QStringLiteral("Don't call -[DRItem init]."));
        }
    }

    // The record reads the fourteen keys, in the order every caller relies on.
    void readsFourteenKeysInOrder()
    {
        const QStringList keys = DRItem::resourceKeys();
        QCOMPARE(keys.size(), 14);
        QCOMPARE(keys.first(), URLResourceKey::Name);
        QCOMPARE(keys.last(), URLResourceKey::UbiquitousItemDownloadingStatus);
        QCOMPARE(keys.at(10), URLResourceKey::ParentDirectoryURL);
    }

    // Asked by key, an item's values hold only the keys asked for and only what is known: a
    // folder has no size, an item that is not shared no role, a promise is not downloaded.
    void keyedValuesHoldOnlyWhatIsKnown()
    {
        const QString document = writeFile(QStringLiteral("Keyed/Notes.txt"), QByteArray(10, 'n'));
        std::optional<Error> error;
        const auto values = URLResourceValues::promisedItemResourceValuesForKeys(QUrl::fromLocalFile(document),
                                                                                 DRItem::resourceKeys(), &error);
        QVERIFY(values);
        QStringList expected = DRItem::resourceKeys();
        expected.removeOne(URLResourceKey::UbiquitousSharedItemRole);
        QStringList present = values->keys();
        present.sort();
        expected.sort();
        QCOMPARE(present, expected);
        QCOMPARE(values->value(URLResourceKey::FileSize).toULongLong(), 10u);
        QCOMPARE(values->value(URLResourceKey::UbiquitousItemDownloadingStatus).toString(),
                 URLResourceValue::DownloadingStatusCurrent);
        QCOMPARE(values->value(URLResourceKey::ParentDirectoryURL).toUrl(),
                 QUrl::fromLocalFile(m_drive.path(QStringLiteral("Keyed/"))));

        const auto folder = URLResourceValues::resourceValuesForKeys(m_drive.url(QStringLiteral("Keyed")),
                                                                     DRItem::resourceKeys(), &error);
        QVERIFY(folder);
        QVERIFY(!folder->contains(URLResourceKey::FileSize));
        QCOMPARE(folder->value(URLResourceKey::TypeIdentifier).toString(), QStringLiteral("inode/directory"));

        const auto one = URLResourceValues::resourceValuesForKeys(QUrl::fromLocalFile(document),
                                                                  {URLResourceKey::FileSize}, &error);
        QVERIFY(one);
        QCOMPARE(one->keys(), QStringList{URLResourceKey::FileSize});

        QVERIFY(!DriveSetup::promise(document));
        const auto promised = URLResourceValues::promisedItemResourceValuesForKeys(QUrl::fromLocalFile(document),
                                                                                   DRItem::resourceKeys(), &error);
        QVERIFY(promised);
        QCOMPARE(promised->value(URLResourceKey::UbiquitousItemDownloadingStatus).toString(),
                 URLResourceValue::DownloadingStatusNotDownloaded);
        QCOMPARE(promised->value(URLResourceKey::UbiquitousItemIsShared), QVariant(false));
        QVERIFY(!promised->contains(URLResourceKey::UbiquitousSharedItemRole));
        QCOMPARE(promised->value(URLResourceKey::FileSize).toULongLong(), 10u);
        QVERIFY(!URLResourceValues::resourceValuesForKeys(QUrl::fromLocalFile(document), {URLResourceKey::FileSize},
                                                          &error)); // a real item only
    }

    // A document's record carries its name, type, size and parent, and counts as downloaded.
    void documentRecordHasItsMetadata()
    {
        const QString path = writeFile(QStringLiteral("Docs/Report.txt"), QByteArray(1500, 'x'));
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(item);
        QCOMPARE(item->localizedName(), QStringLiteral("Report.txt"));
        QCOMPARE(item->typeIdentifier(), QStringLiteral("text/plain"));
        QVERIFY(!item->localizedTypeDescription().isEmpty());
        QCOMPARE(item->fileSize(), std::optional<quint64>(1500));
        QCOMPARE(item->friendlyFileSize(), ByteCountFormatter::stringFromByteCount(1500, ByteCountFormatter::CountStyle::File));
        QCOMPARE(item->parentDirectoryURL().toLocalFile(), m_drive.path(QStringLiteral("Docs/")));
        QVERIFY(item->contentModificationDate().isValid());
        QVERIFY(!item->isDirectory());
        QVERIFY(!item->isPackage());
        QVERIFY(!item->isContainer());
        QVERIFY(!item->isPromise());
        QVERIFY(item->isDownloaded());
        QVERIFY(item->renameable());
        QVERIFY(!item->isBookmark());
        QVERIFY(item->canPreview());
        QCOMPARE(item->resolvedURL(), item->url());
    }

    // A folder that is one document (a package) is never entered like a folder.
    void packageIsNotADirectory()
    {
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Docs/Slides.odp"))));
        QVERIFY(QFileInfo(m_drive.path(QStringLiteral("Docs/Slides.odp"))).isDir());
        const auto item = DRItem::initWithURL(m_drive.url(QStringLiteral("Docs/Slides.odp")));
        QVERIFY(item);
        QVERIFY(item->isPackage());
        QVERIFY(!item->isDirectory());

        const auto folder = DRItem::initWithURL(m_drive.url(QStringLiteral("Docs")));
        QVERIFY(folder->isDirectory());
        QVERIFY(!folder->isPackage());
    }

    // Someone invited to a shared item may not rename it; its owner may.
    void sharedParticipantIsNotRenameable()
    {
        const QString participant = writeFile(QStringLiteral("Shared/Theirs.txt"), "theirs");
        const QString owner = writeFile(QStringLiteral("Shared/Mine.txt"), "mine");
        QVERIFY(FileAttributes::setSharedRole(participant, QStringLiteral("participant")));
        QVERIFY(FileAttributes::setSharedRole(owner, QStringLiteral("owner")));
        QVERIFY(!DRItem::initWithURL(QUrl::fromLocalFile(participant))->renameable());
        QVERIFY(DRItem::initWithURL(QUrl::fromLocalFile(owner))->renameable());
    }

    // An app's container shows the app's name and can never be renamed.
    void appContainerShowsLocalizedNameAndIsNotRenameable()
    {
        const QString folder = m_drive.home() + QStringLiteral("/home/Mobile Documents/com.example.Writer");
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(folder));
        QVERIFY(item);
        QVERIFY(item->isContainer());
        QVERIFY(!item->renameable());
        QCOMPARE(item->localizedName(), QStringLiteral("Writer"));
    }

    // A promised document is known from its placeholder: the user sees its size and dates
    // before anything is downloaded.
    void promisedDocumentComesFromItsPlaceholder()
    {
        const QString path = writeFile(QStringLiteral("Cloud/Big.txt"), QByteArray(4321, 'p'));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QDateTime modified = QDateTime::fromString(QStringLiteral("2025-03-04T05:06:07Z"), Qt::ISODate);
        QVERIFY(file.setFileTime(modified, QFileDevice::FileModificationTime));
        file.close();
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(!QFileInfo::exists(path));
        std::optional<Error> error;
        const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
        QVERIFY(placeholder);

        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(item);
        QVERIFY(item->isPromise());
        QVERIFY(!item->isDownloaded());
        QCOMPARE(item->fileSize(), std::optional<quint64>(4321));
        QCOMPARE(item->contentModificationDate(), modified);
        QCOMPARE(item->contentModificationDate(), placeholder->modificationDate);
        QCOMPARE(item->creationDate(), placeholder->creationDate);
        QCOMPARE(item->promiseURL().toLocalFile(), PromisePlaceholder::placeholderPathFor(path));
        QVERIFY(!QFileInfo::exists(path)); // reading the record downloaded nothing
    }

    // Whether an item is a promise is a matter of identity: an equal URL made separately still
    // marks a promise, the very URL of the item does not.
    void isPromiseComparesIdentityNotValue()
    {
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(writeFile(QStringLiteral("Id.txt"), "id")));
        QVERIFY(!item->isPromise());
        QVERIFY(item->promiseURL().isEmpty()); // an item that is no promise has no promise URL
        item->setPromiseURL(item->resolvedURL());
        QVERIFY(!item->isPromise());
        item->setPromiseURL(QUrl(item->resolvedURL().toString()));
        QCOMPARE(item->promiseURL(), item->resolvedURL());
        QVERIFY(item->isPromise());
        item->setPromiseURL(QUrl());
        QVERIFY(!item->isPromise());
    }

    // A bookmark opens what it points to: its record describes the target.
    void bookmarkDescribesItsTarget()
    {
        const QString target = writeFile(QStringLiteral("Targets/Real Name.txt"), QByteArray(77, 't'));
        const QString link = m_drive.path(QStringLiteral("Targets/Shortcut.txt"));
        QVERIFY(QFile::link(target, link));
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(link));
        QVERIFY(item);
        QVERIFY(item->isBookmark());
        QCOMPARE(item->url().toLocalFile(), link);
        QCOMPARE(item->resolvedURL().toLocalFile(), target);
        QCOMPARE(item->localizedName(), QStringLiteral("Real Name.txt"));
        QCOMPARE(item->fileSize(), std::optional<quint64>(77));
    }

    // A bookmark that leads out of the drive is shown as what it is, an unavailable bookmark:
    // nothing of its target (size, kind, content) is read through it.
    void bookmarkOutOfTheDriveIsUnavailable()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/secret.pdf"), QByteArray(1234, 's')));
        const QString link = m_drive.path(QStringLiteral("Targets/Outside.pdf"));
        QDir().mkpath(m_drive.path(QStringLiteral("Targets")));
        QVERIFY(QFile::link(outside.path() + QStringLiteral("/secret.pdf"), link));
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(link));
        QVERIFY(item);
        QVERIFY(!item->isBookmark());
        QCOMPARE(item->resolvedURL().toLocalFile(), link);
        QCOMPARE(item->localizedName(), QStringLiteral("Outside.pdf"));
        QCOMPARE(item->typeIdentifier(), QStringLiteral("inode/symlink"));
        QCOMPARE(item->fileSize(), std::optional<quint64>());
        QVERIFY(!item->canPreview());
        QVERIFY(!item->isDirectory());
    }

    // A bookmark to a promised document resolves to the promise, which stays a promise.
    void bookmarkToPromiseIsAPromise()
    {
        const QString target = writeFile(QStringLiteral("Targets/Far.txt"), QByteArray(99, 'f'));
        QVERIFY(!DriveSetup::promise(target));
        const QString link = m_drive.path(QStringLiteral("Targets/Far link.txt"));
        QVERIFY(QFile::link(PromisePlaceholder::placeholderPathFor(target), link));
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(link));
        QVERIFY(item);
        QVERIFY(item->isBookmark());
        QCOMPARE(item->resolvedURL().toLocalFile(), target);
        QVERIFY(item->isPromise());
        QCOMPARE(item->fileSize(), std::optional<quint64>(99));
    }

    // A size that is not a number is not shown at all rather than shown wrong.
    void nonNumericSizeGivesNoSize()
    {
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(writeFile(QStringLiteral("Size.txt"), "12345")));
        QVERIFY(item->fileSize());
        item->clearValues();
        item->initFromKeysAndValues_withURL({{URLResourceKey::FileSize, QStringLiteral("5 bytes")}}, item->url());
        QVERIFY(!item->fileSize());
        QVERIFY(item->friendlyFileSize().isNull());
    }

    // A record without a creation date says nothing rather than an empty text.
    void friendlyCreationDateWithoutDateIsNil()
    {
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(writeFile(QStringLiteral("Dates.txt"), "d")));
        item->initFromKeysAndValues_withURL({{URLResourceKey::Name, QStringLiteral("Dates.txt")}}, item->url());
        QVERIFY(!item->creationDate().isValid());
        QVERIFY(item->friendlyCreationDate(DateFormatter::Style::Medium).isNull());
        QVERIFY(DRItem::friendlyDate_style(QDateTime(), DateFormatter::Style::Short).isNull());

        const QDateTime date = QDateTime::fromString(QStringLiteral("2026-01-02T03:04:05"), Qt::ISODate);
        item->setContentModificationDate(date);
        QCOMPARE(item->friendlyContentModificationDate(DateFormatter::Style::Medium),
                 DateFormatter::localizedString(date, DateFormatter::Style::Medium, DateFormatter::Style::Short));
    }

    // Setting the same URL again keeps the snapshot; a new URL re-reads.
    void settingEqualUrlDoesNotReread()
    {
        const QString path = writeFile(QStringLiteral("Snap.txt"), "12");
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QCOMPARE(item->fileSize(), std::optional<quint64>(2));
        TestDrive::writeFile(path, "123456");
        item->setUrl(QUrl::fromLocalFile(path));
        QCOMPARE(item->fileSize(), std::optional<quint64>(2));
        const QString other = writeFile(QStringLiteral("Snap 2.txt"), "1234");
        item->setUrl(QUrl::fromLocalFile(other));
        QCOMPARE(item->fileSize(), std::optional<quint64>(4));
        QCOMPARE(item->localizedName(), QStringLiteral("Snap 2.txt"));
    }

    // An item that is gone yields no record, and the failure is logged as an error.
    void missingItemYieldsNoRecord()
    {
        LogSpy::clear();
        const QUrl url = m_drive.url(QStringLiteral("Nowhere/Nothing.txt"));
        QVERIFY(!DRItem::initWithURL(url));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Failed to cache values for URL %@", url)), LOG_ERR);
        QVERIFY(!DRItem::initWithURL(QUrl()));
    }

    // A failed cache keeps the reset values: renameable, extension hidden, nothing else known.
    void failedCacheLeavesResetValues()
    {
        const QString path = writeFile(QStringLiteral("Gone.txt"), "g");
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(QFile::remove(path));
        QVERIFY(!item->cacheValues());
        QVERIFY(item->renameable());
        QVERIFY(item->hasHiddenExtension());
        QVERIFY(!item->fileSize());
        QVERIFY(item->localizedName().isNull());
        QVERIFY(!item->isDownloaded());
        QVERIFY(!item->tags());
        QCOMPARE(item->resolvedURL().toLocalFile(), path); // set before the read
    }

    // When coordination itself fails (here: a URL that is no file), the record is still made,
    // with the reset values: the item may well be there.
    void coordinationFailureStillMakesRecord()
    {
        const QUrl url(QStringLiteral("https://example.com/Report.txt"));
        const auto item = DRItem::initWithURL(url);
        QVERIFY(item);
        QCOMPARE(item->url(), url);
        QCOMPARE(item->resolvedURL(), url);
        QVERIFY(item->renameable());
        QVERIFY(item->hasHiddenExtension());
        QVERIFY(!item->fileSize());
        QVERIFY(item->localizedName().isNull());
        QVERIFY(!item->isPromise());
    }

    // Tags of the item come with its record.
    void tagsAreRead()
    {
        const QString path = writeFile(QStringLiteral("Tagged.txt"), "t");
        QVERIFY(FileAttributes::setTags(path, {QStringLiteral("Red"), QStringLiteral("Work")}));
        QCOMPARE(DRItem::initWithURL(QUrl::fromLocalFile(path))->tags(),
                 std::optional<QStringList>(QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
    }

    // Every attribute the drive keeps on one file comes with its record: tags, the creation
    // date stored for a downloaded item (its birth on the server, before the copy here) and the
    // shared role.
    void attributesOfOneFileComeTogether()
    {
        const QString path = writeFile(QStringLiteral("Downloaded/From the server.txt"), "s");
        const QDateTime born = QDateTime(QDate(2020, 2, 3), QTime(4, 5, 6), Qt::UTC);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        FileAttributes::setCreationDate(file.handle(), born);
        file.close();
        QVERIFY(FileAttributes::setTags(path, {QStringLiteral("Blue")}));
        QVERIFY(FileAttributes::setSharedRole(path, QStringLiteral("participant")));

        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(item);
        QCOMPARE(item->creationDate(), born);
        QCOMPARE(item->tags(), std::optional<QStringList>(QStringList{QStringLiteral("Blue")}));
        QVERIFY(!item->renameable());
        QVERIFY(item->isDownloaded());
    }

    // A file without any of the drive's attributes has no tags (not unknown ones), and its
    // creation date is its birth here.
    void fileWithoutAttributesHasNoTags()
    {
        const QString path = writeFile(QStringLiteral("Plain/Plain.txt"), "p");
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(item);
        QCOMPARE(item->tags(), std::optional<QStringList>(QStringList()));
        QVERIFY(item->creationDate().isValid());
        QVERIFY(qAbs(item->creationDate().secsTo(QDateTime::currentDateTimeUtc())) < 600);
    }

    // An item reached through a folder that is a link out of the drive is not of the drive:
    // its record takes nothing the drive keeps from the file there (its shared role), and it
    // does not count as downloaded.
    void itemBehindALinkOutOfTheDriveHasNoDriveValues()
    {
        QTemporaryDir outside;
        const QString theirs = outside.path() + QStringLiteral("/Theirs.txt");
        QVERIFY(TestDrive::writeFile(theirs, "theirs"));
        QVERIFY(FileAttributes::setSharedRole(theirs, QStringLiteral("participant")));
        QVERIFY(QFile::link(outside.path(), m_drive.path(QStringLiteral("Away"))));

        const auto item = DRItem::initWithURL(m_drive.url(QStringLiteral("Away/Theirs.txt")));
        QVERIFY(item);
        QVERIFY(item->renameable());
        QVERIFY(!item->isDownloaded());
    }

    // A folder link that stays in the drive leads to items of the drive, with all they keep.
    void itemBehindALinkInsideTheDriveIsOfTheDrive()
    {
        const QString path = writeFile(QStringLiteral("Inside/Held.txt"), "held");
        QVERIFY(FileAttributes::setSharedRole(path, QStringLiteral("participant")));
        QVERIFY(QFile::link(QStringLiteral("Inside"), m_drive.path(QStringLiteral("Alias"))));

        const auto item = DRItem::initWithURL(m_drive.url(QStringLiteral("Alias/Held.txt")));
        QVERIFY(item);
        QVERIFY(item->isDownloaded());
        QVERIFY(!item->renameable());
        QCOMPARE(item->fileSize(), std::optional<quint64>(4));
    }

    // A FIFO put in the drive by another program is described by what it is; making its record
    // never waits for a writer.
    void fifoInTheDriveNeverHangsItsRecord()
    {
        const QString fifo = m_drive.path(QStringLiteral("Pipes/Pipe.txt"));
        QVERIFY(QDir().mkpath(m_drive.path(QStringLiteral("Pipes"))));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(fifo));
        QVERIFY(item);
        QCOMPARE(item->typeIdentifier(), QStringLiteral("inode/fifo"));
        QVERIFY(!item->canPreview());
        QVERIFY(!item->isDirectory());
    }

    // A placeholder left beside a real file of the same name (by an interrupted download) is
    // stale: the record is the real file's.
    void realFileWinsOverAStalePlaceholder()
    {
        const QString path = writeFile(QStringLiteral("Stale/Report.txt"), QByteArray(12, 'r'));
        PromisePlaceholder placeholder;
        placeholder.size = 999999;
        placeholder.mimeType = QStringLiteral("application/pdf");
        placeholder.storeKey = PromisePlaceholder::newStoreKey();
        QVERIFY(!placeholder.write(PromisePlaceholder::placeholderPathFor(path), true));

        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(item);
        QVERIFY(!item->isPromise());
        QVERIFY(item->isDownloaded());
        QCOMPARE(item->fileSize(), std::optional<quint64>(12));
        QCOMPARE(item->typeIdentifier(), QStringLiteral("text/plain"));
    }

    // A document's type is found when first asked for; a type set before that is kept, and
    // its description and preview follow the type found.
    void typeIsFoundWhenFirstAskedFor()
    {
        const QString path = writeFile(QStringLiteral("Types/Paper.pdf"), "%PDF-1.4");
        const auto set = DRItem::initWithURL(QUrl::fromLocalFile(path));
        set->setTypeIdentifier(QStringLiteral("text/plain"));
        QCOMPARE(set->typeIdentifier(), QStringLiteral("text/plain"));

        const auto found = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(found->canPreview());
        QCOMPARE(found->typeIdentifier(), QStringLiteral("application/pdf"));
        QCOMPARE(found->localizedTypeDescription(), UniformType::localizedDescription(QStringLiteral("application/pdf")));
    }

    // Threads that ask one record for its type at once all get the same answer.
    void typeAskedFromManyThreadsAtOnceIsOneAnswer()
    {
        const QString path = writeFile(QStringLiteral("Types/Song.mp3"), "ID3");
        for (int round = 0; round < 20; ++round) {
            const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
            QStringList answers(4);
            std::vector<std::thread> threads;
            for (int i = 0; i < 4; ++i) {
                threads.emplace_back([&, i] {
                    answers[i] = item->typeIdentifier() + (item->canPreview() ? QStringLiteral(" shown") : QString());
                });
            }
            for (std::thread &thread : threads) {
                thread.join();
            }
            QCOMPARE(answers, QStringList(4, QStringLiteral("audio/mpeg shown")));
        }
    }

    // A promised item's placeholder changed by the service is read anew: its record never shows
    // what the placeholder said before.
    void changedPlaceholderIsReadAnew()
    {
        const QString path = writeFile(QStringLiteral("Cloud/Retagged.txt"), "r");
        QVERIFY(!DriveSetup::promise(path));
        QCOMPARE(DRItem::initWithURL(QUrl::fromLocalFile(path))->tags(), std::optional<QStringList>(QStringList()));
        QVERIFY(!DriveSetup::setItemTags(path, {QStringLiteral("Blue")}));
        QCOMPARE(DRItem::initWithURL(QUrl::fromLocalFile(path))->tags(),
                 std::optional<QStringList>(QStringList{QStringLiteral("Blue")}));
    }

    // The stored thumbnail is read once, lazily, from the shared cache.
    void thumbnailIsReadOnceFromTheCache()
    {
        const QString path = writeFile(QStringLiteral("Pictures/Sky.png"), TestDrive::png(600, 600));
        QVERIFY(Thumbnailer::writeThumbnails(path));
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(!item->thumbnailFetched());
        const QImage thumbnail = item->thumbnail();
        QVERIFY(item->thumbnailFetched());
        QCOMPARE(thumbnail.size(), QSize(600, 600));

        item->setThumbnail({});
        QVERIFY(item->thumbnail().isNull()); // not read again until the next re-cache
        QVERIFY(item->cacheValues());
        QVERIFY(!item->thumbnailFetched());
        QVERIFY(!item->thumbnail().isNull());
    }

    // A promised picture shows the thumbnail its placeholder carries.
    void promiseThumbnailComesFromPlaceholder()
    {
        const QString path = writeFile(QStringLiteral("Pictures/Far.png"), TestDrive::png(2048, 2048));
        QVERIFY(!DriveSetup::promise(path));
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(path));
        QVERIFY(item->isPromise());
        QCOMPARE(item->thumbnail().size(), QSize(1024, 1024));
    }

    // Only a dictionary's 1024-pixel entry that is an image becomes the thumbnail.
    void updateThumbnailImageTakesTheLargestEntry()
    {
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(writeFile(QStringLiteral("T.txt"), "t")));
        LogSpy::clear();
        item->updateThumbnailImage(QStringLiteral("not a dictionary"));
        QVERIFY(item->thumbnail().isNull());
        item->updateThumbnailImage(QVariantMap{{URLThumbnailDictionaryItem::Size1024x1024, QStringLiteral("no image")}});
        QVERIFY(item->thumbnail().isNull());
        QImage image(8, 8, QImage::Format_RGB32);
        image.fill(Qt::red);
        const QVariantMap dictionary{{URLThumbnailDictionaryItem::Size1024x1024, image}};
        item->updateThumbnailImage(dictionary);
        QCOMPARE(item->thumbnail(), image);
        QCOMPARE(LogSpy::levelOf(StringFormat::format("URL Thumbs: %@", dictionary)), LOG_DEBUG);
    }

    // Records never make thumbnails themselves: the request completes at once, empty.
    void generateThumbnailCompletesAtOnceWithNil()
    {
        const auto item = DRItem::initWithURL(QUrl::fromLocalFile(writeFile(QStringLiteral("G.txt"), "g")));
        QVERIFY(!item->canGenerateThumbnail());
        bool completed = false;
        QImage received(1, 1, QImage::Format_RGB32);
        item->generateThumbnail([&](const QImage &image) {
            completed = true;
            received = image;
        });
        QVERIFY(completed);
        QVERIFY(received.isNull());
    }

    // Thumbnail work of every view shares one background queue.
    void thumbnailQueueIsShared()
    {
        QCOMPARE(DRItem::getThumbnailQueue(), DRItem::getThumbnailQueue());
        QCOMPARE(DRItem::getThumbnailQueue()->name(), QStringLiteral("thumbnailQueue"));
    }
};

QTEST_GUILESS_MAIN(tst_DRItem)
#include "tst_DRItem.moc"
