#include "platform/foundation/Preferences.h"
#include "platform/foundation/UserDefaults.h"
#include "support/TestDrive.h"

#include <QFile>
#include <QTest>

#include <sys/stat.h>

class tst_UserDefaults : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

private slots:
    // Integers read as numbers, and anything else as 0.
    void integerForKeyReadsZeroForNonNumbers()
    {
        UserDefaults *defaults = UserDefaults::standardUserDefaults();
        QCOMPARE(defaults->filePath(), m_drive.home() + QStringLiteral("/home/defaults.ini"));
        QCOMPARE(defaults->integerForKey(QStringLiteral("absent")), 0);
        defaults->setObject(QStringLiteral("words"), QStringLiteral("text"));
        QCOMPARE(defaults->integerForKey(QStringLiteral("text")), 0);
        defaults->setObject(7, QStringLiteral("seven"));
        QCOMPARE(defaults->integerForKey(QStringLiteral("seven")), 7);
        QVERIFY(defaults->synchronize());
    }

    // Two readers of one file see each other's values after synchronising.
    void synchronizeSharesValuesBetweenObjects()
    {
        UserDefaults writer(m_drive.home() + QStringLiteral("/shared.ini"));
        writer.setObject(QByteArray("token"), QStringLiteral("data"));
        QVERIFY(writer.synchronize());
        UserDefaults reader(m_drive.home() + QStringLiteral("/shared.ini"));
        reader.synchronize();
        QCOMPARE(reader.dataForKey(QStringLiteral("data")), QByteArray("token"));
    }

    // A FIFO or a device in place of the defaults file is never read (it would block or never
    // end): the values live in memory, and once a real file is back they are written to it.
    void fifoOrDeviceInPlaceOfTheFileIsNotRead()
    {
        const QString fifo = m_drive.home() + QStringLiteral("/fifo.ini");
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0644), 0);
        UserDefaults defaults(fifo);
        QVERIFY(!defaults.objectForKey(QStringLiteral("DRLogLevel")).isValid());
        defaults.setObject(7, QStringLiteral("DRLogLevel"));
        QCOMPARE(defaults.integerForKey(QStringLiteral("DRLogLevel")), 7);
        QVERIFY(!defaults.synchronize());
        QVERIFY(QFile::remove(fifo));
        QVERIFY(defaults.synchronize());
        QCOMPARE(defaults.integerForKey(QStringLiteral("DRLogLevel")), 7);
        UserDefaults reader(fifo);
        QCOMPARE(reader.integerForKey(QStringLiteral("DRLogLevel")), 7);

        const QString zero = m_drive.home() + QStringLiteral("/zero.ini");
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), zero));
        UserDefaults endless(zero);
        QVERIFY(!endless.objectForKey(QStringLiteral("anything")).isValid());
        QVERIFY(!endless.synchronize());
    }

    // An app's preferences live in its own data container.
    void preferencesLiveInAppContainer()
    {
        const QUrl container = AppDataContainerURLForBundleIdentifier(QStringLiteral("com.quillmere.AerovaDriveApp"));
        QCOMPARE(container.toLocalFile(), m_drive.home() + QStringLiteral("/home/App"));
        const QString path = container.toLocalFile();
        PreferencesSetValueWithContainer(QStringLiteral("K"), true, QStringLiteral("dom"), {}, {}, path);
        QVERIFY(PreferencesSynchronizeWithContainer(QStringLiteral("dom"), {}, {}, path));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("/Preferences/dom.ini")));
        QCOMPARE(PreferencesCopyValueWithContainer(QStringLiteral("K"), QStringLiteral("dom"), {}, {}, path).toBool(), true);
        QVERIFY(!PreferencesCopyValueWithContainer(QStringLiteral("none"), QStringLiteral("dom"), {}, {}, path).isValid());
    }
};

QTEST_GUILESS_MAIN(tst_UserDefaults)
#include "tst_UserDefaults.moc"
