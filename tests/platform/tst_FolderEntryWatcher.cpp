#include "platform/foundation/FilePath.h"
#include "platform/foundation/FolderEntryWatcher.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

#include <memory>

class tst_FolderEntryWatcher : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    /// Every name reported so far, each once.
    static QSet<QString> reported(const QSignalSpy &spy)
    {
        QSet<QString> names;
        for (const QList<QVariant> &report : spy) {
            for (const QString &name : report.at(0).toStringList()) {
                names.insert(name);
            }
        }
        return names;
    }

private slots:
    // Each entry that comes, goes, is renamed, written or tagged is reported by its name, and
    // nothing asks for the folder to be read again.
    void changesAreReportedByName()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Watched"));
        const QString elsewhere = m_drive.freshFolder(QStringLiteral("Elsewhere"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/kept.txt"), "x"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/leaving.txt"), "x"));
        QVERIFY(TestDrive::writeFile(elsewhere + QStringLiteral("/arriving.txt"), "x"));
        FolderEntryWatcher watcher(folder);
        QVERIFY(watcher.reportsNames());
        QSignalSpy changes(&watcher, &FolderEntryWatcher::entriesChanged);
        QSignalSpy rereads(&watcher, &FolderEntryWatcher::rereadNeeded);

        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/new.txt"), "x"));
        QVERIFY(QDir(folder).mkdir(QStringLiteral("New folder")));
        QVERIFY(QFile::rename(folder + QStringLiteral("/leaving.txt"), elsewhere + QStringLiteral("/leaving.txt")));
        QVERIFY(QFile::rename(elsewhere + QStringLiteral("/arriving.txt"), folder + QStringLiteral("/arriving.txt")));
        QVERIFY(QFile::rename(folder + QStringLiteral("/new.txt"), folder + QStringLiteral("/renamed.txt")));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/kept.txt"), "new content"));
        QTRY_COMPARE(reported(changes), (QSet<QString>{QStringLiteral("new.txt"), QStringLiteral("New folder"),
                                                       QStringLiteral("leaving.txt"), QStringLiteral("arriving.txt"),
                                                       QStringLiteral("renamed.txt"), QStringLiteral("kept.txt")}));
        // inside a folder of the folder is no change of its entries
        const int reports = changes.count();
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/New folder/inner.txt"), "x"));
        QTest::qWait(100);
        QCOMPARE(changes.count(), reports);
        QCOMPARE(rereads.count(), 0);
    }

    // Two watchers of one folder share the kernel's watch: both hear a change, and one that
    // goes leaves the other hearing.
    void twoWatchersOfOneFolderBothHear()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Shared"));
        FolderEntryWatcher kept(folder);
        auto gone = std::make_unique<FolderEntryWatcher>(folder);
        QSignalSpy keptChanges(&kept, &FolderEntryWatcher::entriesChanged);
        QSignalSpy goneChanges(gone.get(), &FolderEntryWatcher::entriesChanged);
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/one.txt"), "x"));
        QTRY_VERIFY(reported(keptChanges).contains(QStringLiteral("one.txt")));
        QTRY_VERIFY(reported(goneChanges).contains(QStringLiteral("one.txt")));
        gone.reset();
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/two.txt"), "x"));
        QTRY_VERIFY(reported(keptChanges).contains(QStringLiteral("two.txt")));
    }

    // The folder itself removed: the names no longer mean anything, so a re-read is asked for.
    void aFolderThatGoesAsksForARead()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Going"));
        FolderEntryWatcher watcher(folder);
        QSignalSpy rereads(&watcher, &FolderEntryWatcher::rereadNeeded);
        QVERIFY(QDir(folder).removeRecursively());
        QTRY_VERIFY(rereads.count() >= 1);
    }

    // A name in bytes that are not UTF-8 is reported as the folder listing names it, so the row
    // it concerns is found.
    void aNameThatIsNotUtf8IsReportedAsListed()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Bytes"));
        FolderEntryWatcher watcher(folder);
        QSignalSpy changes(&watcher, &FolderEntryWatcher::entriesChanged);
        const QString name = FilePath::decode(QByteArrayView("caf\xe9.txt"));
        QVERIFY(TestDrive::writeFile(folder + QLatin1Char('/') + name, "x"));
        QTRY_VERIFY(reported(changes).contains(name));
        QCOMPARE(FilePath::entries(folder).value(0).name, name);
    }
};

QTEST_GUILESS_MAIN(tst_FolderEntryWatcher)
#include "tst_FolderEntryWatcher.moc"
