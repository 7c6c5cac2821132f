#include "platform/drive/DriveLayout.h"
#include "support/TestDrive.h"
#include "sync/DriveWatcher.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

/// What tells the sync service that the drive changed: every folder of the drive watched, new
/// ones as they come, never a folder outside it; one signal once the drive is quiet.
class tst_DriveWatcher : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    static constexpr int quietMs = 300;

    std::unique_ptr<DriveWatcher> startWatcher()
    {
        auto watcher = std::make_unique<DriveWatcher>(DriveLayout::mobileDocumentsPath());
        watcher->setQuietMs(quietMs);
        return watcher->start() ? std::move(watcher) : nullptr;
    }

    /// Whether `spy` got exactly one signal within a few quiet spans, and no second one after.
    static bool signalledOnce(QSignalSpy &spy)
    {
        if (!spy.wait(quietMs * 10)) {
            return false;
        }
        QTest::qWait(quietMs * 2);
        return spy.size() == 1;
    }

private slots:
    void aDocumentWrittenInTheDriveIsSignalledOnceTheDriveIsQuiet()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Written"));
        const auto watcher = startWatcher();
        QVERIFY(watcher);
        QSignalSpy spy(watcher.get(), &DriveWatcher::changed);
        // a program saving in several writes: one signal, after the last
        QFile file(folder + QStringLiteral("/Notes.txt"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (int i = 0; i < 5; ++i) {
            file.write("a line\n");
            file.flush();
            QTest::qWait(quietMs / 3);
            QCOMPARE(spy.size(), 0);
        }
        file.close();
        QVERIFY(signalledOnce(spy));
    }

    void nothingHappeningIsNotSignalled()
    {
        m_drive.freshFolder(QStringLiteral("Still"));
        const auto watcher = startWatcher();
        QVERIFY(watcher);
        QSignalSpy spy(watcher.get(), &DriveWatcher::changed);
        QTest::qWait(quietMs * 3);
        QCOMPARE(spy.size(), 0);
    }

    void deletesRenamesAndNewFoldersAreSignalled_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("delete") << QStringLiteral("delete");
        QTest::newRow("rename") << QStringLiteral("rename");
        QTest::newRow("new folder") << QStringLiteral("mkdir");
    }
    void deletesRenamesAndNewFoldersAreSignalled()
    {
        QFETCH(QString, change);
        const QString folder = m_drive.freshFolder(QStringLiteral("Changed ") + change);
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Old.txt"), "old"));
        const auto watcher = startWatcher();
        QVERIFY(watcher);
        QSignalSpy spy(watcher.get(), &DriveWatcher::changed);
        if (change == QLatin1String("delete")) {
            QVERIFY(QFile::remove(folder + QStringLiteral("/Old.txt")));
        } else if (change == QLatin1String("rename")) {
            QVERIFY(QFile::rename(folder + QStringLiteral("/Old.txt"), folder + QStringLiteral("/New.txt")));
        } else {
            QVERIFY(QDir().mkdir(folder + QStringLiteral("/Sub")));
        }
        QVERIFY(signalledOnce(spy));
    }

    void aFolderMadeOrMovedInIsWatchedWithWhatItHolds()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Growing"));
        const auto watcher = startWatcher();
        QVERIFY(watcher);
        const int before = watcher->watchedFolders();
        QSignalSpy spy(watcher.get(), &DriveWatcher::changed);
        // a tree copied from outside the drive, moved in at once
        QTemporaryDir outside;
        QVERIFY(QDir().mkpath(outside.filePath(QStringLiteral("Album/2026/June"))));
        QVERIFY(QFile::rename(outside.filePath(QStringLiteral("Album")), folder + QStringLiteral("/Album")));
        QVERIFY(signalledOnce(spy));
        QCOMPARE(watcher->watchedFolders(), before + 3);
        // a document written deep in it is seen
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Album/2026/June/Beach.txt"), "sand"));
        QVERIFY(spy.wait(quietMs * 10));
        QCOMPARE(spy.size(), 2);
    }

    void aLinkToAFolderOutsideTheDriveIsNotFollowed()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Linked"));
        QTemporaryDir outside;
        QVERIFY(QFile::link(outside.path(), folder + QStringLiteral("/Outside")));
        const auto watcher = startWatcher();
        QVERIFY(watcher);
        QSignalSpy spy(watcher.get(), &DriveWatcher::changed);
        QVERIFY(TestDrive::writeFile(outside.filePath(QStringLiteral("Elsewhere.txt")), "not the drive's"));
        QTest::qWait(quietMs * 3);
        QCOMPARE(spy.size(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_DriveWatcher)
#include "tst_DriveWatcher.moc"
