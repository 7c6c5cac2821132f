#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/Progress.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/foundation/CancellationToken.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>

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
};

QTEST_GUILESS_MAIN(tst_PromiseStore)
#include "tst_PromiseStore.moc"
