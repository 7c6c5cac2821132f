#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/ServiceFile.h"
#include "platform/foundation/RegularFileReader.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTest>

#include <sys/stat.h>

class tst_ServiceFile : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

private slots:
    // A missing file is the ordinary state of a service file: no error, nothing logged.
    void missingFileIsNoError()
    {
        LogSpy::clear();
        std::optional<Error> error;
        QVERIFY(!ServiceFile::readObject(m_drive.home() + QStringLiteral("/none.json"), &error));
        QVERIFY(!error);
        QVERIFY(LogSpy::records().isEmpty());
    }

    // What must not be read is an error naming the file and what is wrong, logged once however
    // often the app asks again.
    void unusableFilesAreNamedOnce_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("problem");
        QTest::newRow("fifo") << QStringLiteral("fifo") << QStringLiteral("is a FIFO, not a regular file");
        QTest::newRow("device") << QStringLiteral("device") << QStringLiteral("is a character device, not a regular file");
        QTest::newRow("folder") << QStringLiteral("folder") << QStringLiteral("is a folder, not a regular file");
        QTest::newRow("huge") << QStringLiteral("huge") << QStringLiteral("is larger than the 16777216 bytes it may hold");
        QTest::newRow("corrupt") << QStringLiteral("corrupt")
                                 << QStringLiteral("is not valid JSON (unterminated object at byte 13)");
        QTest::newRow("array") << QStringLiteral("array") << QStringLiteral("does not hold a JSON object");
    }
    void unusableFilesAreNamedOnce()
    {
        QFETCH(QString, kind);
        QFETCH(QString, problem);
        const QString path = m_drive.home() + QStringLiteral("/") + kind + QStringLiteral(".json");
        if (kind == QLatin1String("fifo")) {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0644), 0);
        } else if (kind == QLatin1String("device")) {
            QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path));
        } else if (kind == QLatin1String("folder")) {
            QVERIFY(QDir().mkpath(path));
        } else if (kind == QLatin1String("huge")) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.resize(RegularFileReader::DefaultLimit + 1)); // sparse: costs no disk
        } else if (kind == QLatin1String("corrupt")) {
            QVERIFY(TestDrive::writeFile(path, "{\"identity\": "));
        } else {
            QVERIFY(TestDrive::writeFile(path, "[1, 2]"));
        }
        LogSpy::clear();
        std::optional<Error> error;
        QVERIFY(!ServiceFile::readObject(path, &error));
        QVERIFY(error);
        QCOMPARE(error->localizedDescription(), QStringLiteral("The file %1 %2.").arg(path, problem));
        QVERIFY(!ServiceFile::readObject(path, &error));
        const QString message = QStringLiteral("Ignoring %1: it %2").arg(path, problem);
        QCOMPARE(LogSpy::withMessage(message).size(), 1);
        QCOMPARE(LogSpy::levelOf(message), LOG_ERR);
    }

    // A file that grows past the limit while it is read is still refused.
    void readingStopsAtTheLimit()
    {
        const QString path = m_drive.home() + QStringLiteral("/small.txt");
        QVERIFY(TestDrive::writeFile(path, "0123456789"));
        QByteArray bytes;
        QString problem;
        QCOMPARE(RegularFileReader::read(path, &bytes, &problem, 10), RegularFileReader::Status::Read);
        QCOMPARE(bytes, QByteArray("0123456789"));
        QCOMPARE(RegularFileReader::read(path, &bytes, &problem, 9), RegularFileReader::Status::Unusable);
        QVERIFY(bytes.isEmpty());
        QCOMPARE(RegularFileReader::check(path, &problem, 9), RegularFileReader::Status::Unusable);
        QCOMPARE(RegularFileReader::check(path + QStringLiteral(".none"), &problem), RegularFileReader::Status::Missing);
    }

    // A reader that refuses links reads a file in its place, never one a link there leads to;
    // one that follows them reads the file the link leads to.
    void aLinkIsReadOnlyWhenLinksAreFollowed()
    {
        const QString target = m_drive.home() + QStringLiteral("/target.txt");
        const QString link = m_drive.home() + QStringLiteral("/link.txt");
        QVERIFY(TestDrive::writeFile(target, "behind the link"));
        QVERIFY(QFile::link(target, link));
        QByteArray bytes;
        QString problem;
        QCOMPARE(RegularFileReader::read(link, &bytes, &problem, RegularFileReader::DefaultLimit,
                                         RegularFileReader::Links::Refuse),
                 RegularFileReader::Status::Unusable);
        QVERIFY(bytes.isEmpty());
        QCOMPARE(problem, QStringLiteral("is a link"));
        QCOMPARE(RegularFileReader::read(target, &bytes, &problem, RegularFileReader::DefaultLimit,
                                         RegularFileReader::Links::Refuse),
                 RegularFileReader::Status::Read);
        QCOMPARE(bytes, QByteArray("behind the link"));
        QCOMPARE(RegularFileReader::read(link, &bytes, &problem), RegularFileReader::Status::Read);
        QCOMPARE(bytes, QByteArray("behind the link"));
    }

    // Sizes and counts from a file are whole numbers a JSON number holds exactly.
    void wholeNumbersOnly()
    {
        QCOMPARE(ServiceFile::wholeNumber(QJsonValue(0.0)), std::optional<qint64>(0));
        QCOMPARE(ServiceFile::wholeNumber(QJsonValue(48213.0)), std::optional<qint64>(48213));
        QCOMPARE(ServiceFile::wholeNumber(QJsonValue(9007199254740992.0)), std::optional<qint64>(9007199254740992));
        for (const QJsonValue &bad : {QJsonValue(1e300), QJsonValue(-1.0), QJsonValue(2.5), QJsonValue(QStringLiteral("12")),
                                      QJsonValue(), QJsonValue(true), QJsonValue(9007199254740994.0)}) {
            QVERIFY(!ServiceFile::wholeNumber(bad));
        }
    }

    // A container registered under a path of its own would lead out of the drive: it is
    // ignored with an error, and the others still count.
    void containerIdentifierThatIsAPathIsIgnored()
    {
        QVERIFY(TestDrive::writeFile(DriveLayout::containersFile(),
                                     "{\"containers\": [{\"identifier\": \"../../etc\", \"localizedName\": \"Etc\"},"
                                     " {\"identifier\": \"com.example.Fine\", \"localizedName\": \"Fine\"}]}"));
        LogSpy::clear();
        QVERIFY(!KDContainer::containerWithIdentifier(QStringLiteral("../../etc")));
        QVERIFY(KDContainer::containerWithIdentifier(QStringLiteral("com.example.Fine")));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Ignoring the container \"../../etc\" of %1: an identifier is one name of "
                                                "letters, digits, '.', '-' and '_'")
                                     .arg(DriveLayout::containersFile())),
                 LOG_ERR);
        QVERIFY(TestDrive::writeFile(DriveLayout::containersFile(), "{\"containers\": 7}"));
        LogSpy::clear();
        QVERIFY(KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Ignoring %1: it has no \"containers\" list").arg(DriveLayout::containersFile())),
                 LOG_ERR);
    }
};

QTEST_GUILESS_MAIN(tst_ServiceFile)
#include "tst_ServiceFile.moc"
