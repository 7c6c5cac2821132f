#include "model/FileUtils.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/FilePresenter.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/DispatchQueue.h"
#include "support/TestDrive.h"

#include <QFileInfo>
#include <QMutex>
#include <QProcess>
#include <QTest>

#include <atomic>
#include <thread>

/// A presenter that writes down what it was told.
class RecordingPresenter final : public FilePresenter
{
public:
    explicit RecordingPresenter(const QUrl &url)
        : m_url(url)
    {
    }
    QUrl presentedItemURL() const override
    {
        QMutexLocker locker(&m_mutex);
        return m_url;
    }
    void presentedItemDidChange() override { ++changes; }
    void presentedItemDidMoveToURL(const QUrl &newURL) override
    {
        QMutexLocker locker(&m_mutex);
        m_url = newURL;
        movedTo = newURL;
        ++moves;
    }
    void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completion) override
    {
        ++deletions;
        completion(std::nullopt);
    }

    std::atomic<int> changes{0};
    std::atomic<int> moves{0};
    std::atomic<int> deletions{0};
    QUrl movedTo;

private:
    mutable QMutex m_mutex;
    QUrl m_url;
};

class tst_FileCoordinator : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    std::shared_ptr<RecordingPresenter> presenterFor(const QString &path)
    {
        auto presenter = std::make_shared<RecordingPresenter>(QUrl::fromLocalFile(path));
        FileCoordinator::addFilePresenter(presenter);
        return presenter;
    }

private slots:
    // A screen showing an item follows it when the app moves it.
    void presenterFollowsMove()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("move"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/a.txt"), "a"));
        auto presenter = presenterFor(folder + QStringLiteral("/a.txt"));
        QVERIFY(!FileUtils::move_to(QUrl::fromLocalFile(folder + QStringLiteral("/a.txt")),
                                    QUrl::fromLocalFile(folder + QStringLiteral("/b.txt"))));
        QTRY_COMPARE(presenter->moves.load(), 1);
        QCOMPARE(presenter->movedTo, QUrl::fromLocalFile(folder + QStringLiteral("/b.txt")));
        QTest::qWait(300); // the file system's echo of the move must not be told again
        QCOMPARE(presenter->deletions.load(), 0);
        QCOMPARE(presenter->changes.load(), 0);
        FileCoordinator::removeFilePresenter(presenter.get());
    }

    // A screen showing an item makes way before the app deletes it.
    void presenterAccommodatesDeletionBeforeIt()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("delete"));
        const QString path = folder + QStringLiteral("/gone.txt");
        QVERIFY(TestDrive::writeFile(path, "x"));
        auto presenter = presenterFor(path);
        QVERIFY(!FileUtils::remove(QUrl::fromLocalFile(path)));
        QCOMPARE(presenter->deletions.load(), 1); // the deletion waited for it
        QTest::qWait(300);
        QCOMPARE(presenter->deletions.load(), 1);
        FileCoordinator::removeFilePresenter(presenter.get());
    }

    // A change made by another process reaches the screen showing the item.
    void externalChangeReachesPresenter()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("external"));
        const QString path = folder + QStringLiteral("/notes.txt");
        QVERIFY(TestDrive::writeFile(path, "first"));
        auto presenter = presenterFor(path);
        QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("echo more >> \"$1\""), QStringLiteral("sh"), path});
        QTRY_VERIFY(presenter->changes.load() >= 1);
        QProcess::execute(QStringLiteral("rm"), {path});
        QTRY_COMPARE(presenter->deletions.load(), 1);
        FileCoordinator::removeFilePresenter(presenter.get());
    }

    // Reading a promised item downloads it; its own presenter's coordinator hears nothing of it,
    // others hear of the change.
    void readDownloadsPromiseAndTellsOtherPresenters()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("download"));
        const QString path = folder + QStringLiteral("/doc.txt");
        QVERIFY(TestDrive::writeFile(path, "downloaded content"));
        QVERIFY(!DriveSetup::promise(path));
        auto own = presenterFor(path);
        auto other = presenterFor(path);
        std::optional<Error> error;
        QUrl readURL;
        FileCoordinator coordinator(own.get());
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
            QUrl::fromLocalFile(path), FileCoordinator::ReadingWithoutChanges | FileCoordinator::ReadingResolvesSymbolicLink,
            &error, [&readURL](const QUrl &url) { readURL = url; });
        QVERIFY(!error);
        QCOMPARE(readURL, QUrl::fromLocalFile(path));
        QVERIFY(QFileInfo::exists(path));
        QTRY_COMPARE(other->changes.load(), 1);
        QTest::qWait(300);
        QCOMPARE(own->changes.load(), 0);
        FileCoordinator::removeFilePresenter(own.get());
        FileCoordinator::removeFilePresenter(other.get());
    }

    // Browsing reads metadata only and never downloads.
    void metadataOnlyReadDoesNotDownload()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("metadata"));
        const QString path = folder + QStringLiteral("/big.bin");
        QVERIFY(TestDrive::writeFile(path, QByteArray(1000, 'x')));
        QVERIFY(!DriveSetup::promise(path));
        std::optional<Error> error;
        bool ran = false;
        FileCoordinator coordinator;
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
            QUrl::fromLocalFile(path), FileCoordinator::ReadingImmediatelyAvailableMetadataOnly, &error,
            [&ran](const QUrl &) { ran = true; });
        QVERIFY(ran && !error);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
    }

    // Cancelling a download ends the read with "cancelled" and the reader never runs.
    void cancelEndsReadWith3072()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("cancel"));
        const QString path = folder + QStringLiteral("/slow.bin");
        QVERIFY(TestDrive::writeFile(path, QByteArray(500000, 's')));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(!DriveSetup::setStoreRate(100000));
        FileCoordinator coordinator;
        std::thread canceller([&coordinator] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            coordinator.cancel();
        });
        std::optional<Error> error;
        bool ran = false;
        coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
            QUrl::fromLocalFile(path), FileCoordinator::ReadingWithoutChanges, &error, [&ran](const QUrl &) { ran = true; });
        canceller.join();
        DriveSetup::setStoreRate(0);
        QVERIFY(error);
        QCOMPARE(error->code(), 3072);
        QVERIFY(!ran);
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
    }

    // A writer waits until a reader of the same item is done.
    void writerWaitsForReader()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("locking"));
        const QUrl url = QUrl::fromLocalFile(folder + QStringLiteral("/item"));
        std::atomic<bool> readerDone{false};
        std::atomic<bool> writerSawReaderDone{false};
        std::atomic<bool> readerStarted{false};
        std::thread reader([&] {
            FileCoordinator coordinator;
            std::optional<Error> error;
            coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
                url, FileCoordinator::ReadingImmediatelyAvailableMetadataOnly, &error, [&](const QUrl &) {
                    readerStarted = true;
                    std::this_thread::sleep_for(std::chrono::milliseconds(200));
                    readerDone = true;
                });
        });
        QTRY_VERIFY(readerStarted.load());
        FileCoordinator writer;
        std::optional<Error> error;
        writer.coordinateWritingItemAtURL_options_error_byAccessor(
            QUrl::fromLocalFile(folder), FileCoordinator::WritingForReplacing, &error,
            [&](const QUrl &) { writerSawReaderDone = readerDone.load(); });
        reader.join();
        QVERIFY(writerSawReaderDone.load());
    }
};

QTEST_GUILESS_MAIN(tst_FileCoordinator)
#include "tst_FileCoordinator.moc"
