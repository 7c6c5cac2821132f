#include "model/DocumentImporter.h"
#include "platform/drive/DriveSetup.h"
#include "platform/foundation/StringFormat.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

/// Documents copied in from the computer: whole or not at all, never over another.
class tst_DocumentImporter : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_computer; // the files of the computer, outside the drive

    QUrl source(const QString &name, const QByteArray &content = "content")
    {
        const QString path = m_computer.filePath(name);
        TestDrive::writeFile(path, content);
        return QUrl::fromLocalFile(path);
    }

    static QStringList visible(const QString &folder)
    {
        return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }
    static QStringList hidden(const QString &folder)
    {
        QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
        names.removeIf([](const QString &name) { return !name.startsWith(QLatin1Char('.')); });
        return names;
    }

private Q_SLOTS:
    // a document arrives whole under its own name, with its own date, and the copy is counted
    void aDocumentArrivesWholeWithItsDate()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Plain"));
        const QUrl report = source(QStringLiteral("Report.pdf"), QByteArray(300000, 'r'));
        QFile file(report.toLocalFile());
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::fromSecsSinceEpoch(1700000000), QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(DocumentImporter::totalSize({report}), 300000);
        qint64 lastReport = 0;
        const auto outcome = DocumentImporter::importDocuments({report}, QUrl::fromLocalFile(folder), [&](qint64 copied) {
            lastReport = copied;
            return true;
        });
        QVERIFY2(outcome.failures.isEmpty(), qPrintable(outcome.failures.join(u'\n')));
        QCOMPARE(outcome.added, QList<QUrl>{QUrl::fromLocalFile(folder + QStringLiteral("/Report.pdf"))});
        QCOMPARE(TestDrive::readFile(folder + QStringLiteral("/Report.pdf")), QByteArray(300000, 'r'));
        QCOMPARE(QFileInfo(folder + QStringLiteral("/Report.pdf")).lastModified().toSecsSinceEpoch(), 1700000000);
        QCOMPARE(lastReport, 300000);
        QVERIFY(hidden(folder).isEmpty());
        QCOMPARE(TestDrive::readFile(report.toLocalFile()), QByteArray(300000, 'r')); // the original stays
    }

    // a name the folder has, really or as a promised item, is never written over
    void aTakenNameGetsTheNextFreeOne()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Taken"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Report.pdf"), "the drive's own"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Report 2.pdf"), "promised"));
        QVERIFY(!DriveSetup::promise(folder + QStringLiteral("/Report 2.pdf")));
        const auto outcome = DocumentImporter::importDocuments({source(QStringLiteral("Report.pdf"), "from the computer")},
                                                               QUrl::fromLocalFile(folder), {});
        QCOMPARE(outcome.added, QList<QUrl>{QUrl::fromLocalFile(folder + QStringLiteral("/Report 3.pdf"))});
        QCOMPARE(TestDrive::readFile(folder + QStringLiteral("/Report.pdf")), QByteArray("the drive's own"));
        QCOMPARE(TestDrive::readFile(folder + QStringLiteral("/Report 3.pdf")), QByteArray("from the computer"));
    }

    // a folder, a FIFO and a device are named and never read (a FIFO would hang the copy); the
    // documents beside them are added all the same
    void onlyDocumentsAreAddedAndTheRestAreNamed()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Mixed"));
        QVERIFY(QDir().mkpath(m_computer.filePath(QStringLiteral("Holidays"))));
        const QString fifo = m_computer.filePath(QStringLiteral("pipe"));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        const QList<QUrl> sources{QUrl::fromLocalFile(m_computer.filePath(QStringLiteral("Holidays"))),
                                  QUrl::fromLocalFile(fifo), QUrl::fromLocalFile(QStringLiteral("/dev/zero")),
                                  source(QStringLiteral("Notes.txt")), source(QStringLiteral(".hidden"))};
        QCOMPARE(DocumentImporter::totalSize(sources), 14); // the two documents only
        LogSpy::clear();
        const auto outcome = DocumentImporter::importDocuments(sources, QUrl::fromLocalFile(folder), {});
        // each refusal is in the log too, as an error
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Could not add %@ to %@: %@", sources.at(1), QUrl::fromLocalFile(folder),
                                                      QStringLiteral("it is not a document."))),
                 LOG_ERR);
        QCOMPARE(outcome.added, QList<QUrl>{QUrl::fromLocalFile(folder + QStringLiteral("/Notes.txt"))});
        QCOMPARE(outcome.failures,
                 (QStringList{QStringLiteral("“Holidays” could not be added: it is a folder; only documents are added."),
                              QStringLiteral("“pipe” could not be added: it is not a document."),
                              QStringLiteral("“zero” could not be added: it is not a document."),
                              QStringLiteral("“.hidden” could not be added: the drive does not allow its name.")}));
        QCOMPARE(visible(folder), QStringList{QStringLiteral("Notes.txt")});
        QVERIFY(hidden(folder).isEmpty());
    }

    // a cancelled copy leaves nothing behind, in sight or hidden, and the next is not started
    void aCancelLeavesNothing()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Cancelled"));
        const QList<QUrl> sources{source(QStringLiteral("Big.bin"), QByteArray(12 * 1024 * 1024, 'b')),
                                  source(QStringLiteral("After.txt"))};
        const auto outcome = DocumentImporter::importDocuments(sources, QUrl::fromLocalFile(folder),
                                                               [](qint64 copied) { return copied < 4 * 1024 * 1024; });
        QVERIFY(outcome.cancelled);
        QVERIFY(outcome.added.isEmpty());
        QVERIFY(outcome.failures.isEmpty());
        QVERIFY(visible(folder).isEmpty());
        QVERIFY(hidden(folder).isEmpty());
    }

    // documents go into the drive only, by the folder's real path
    void aFolderOutsideTheDriveTakesNothing()
    {
        QTemporaryDir outside;
        const QString link = m_drive.path(QStringLiteral("Way Out"));
        QVERIFY(QFile::link(outside.path(), link));
        const auto outcome = DocumentImporter::importDocuments({source(QStringLiteral("Letter.txt"))}, QUrl::fromLocalFile(link), {});
        QVERIFY(outcome.added.isEmpty());
        QCOMPARE(outcome.failures, QStringList{QStringLiteral("“Letter.txt” could not be added: the folder is not in the drive.")});
        QVERIFY(QDir(outside.path()).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_DocumentImporter)
#include "tst_DocumentImporter.moc"
