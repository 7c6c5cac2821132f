#include "credentials/Credentials.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/RemoteAccount.h"
#include "support/SyncServiceProcess.h"
#include "support/TestDrive.h"
#include "support/WebDavTestServer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <memory>

/// Two devices on one server, each with a drive and a sync service of its own: what one makes,
/// edits, moves and deletes reaches the other; an edit made on both keeps both.
class tst_TwoDevices : public QObject
{
    Q_OBJECT

private:
    /// One device: its own drive folder, settings and service socket.
    struct Device {
        QTemporaryDir dir;
        std::unique_ptr<SyncServiceProcess> service;

        QHash<QByteArray, QString> environment() const
        {
            return {{"AEROVA_HOME", dir.filePath(QStringLiteral("home"))},
                    {"XDG_CACHE_HOME", dir.filePath(QStringLiteral("cache"))},
                    {"XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config"))},
                    {"XDG_RUNTIME_DIR", dir.filePath(QStringLiteral("runtime"))}};
        }
        /// Makes this process act on this device's drive.
        void use() const
        {
            const auto variables = environment();
            for (auto it = variables.cbegin(); it != variables.cend(); ++it) {
                qputenv(it.key().constData(), QFile::encodeName(it.value()));
            }
        }
        QString path(const QString &relative) const
        {
            use();
            return DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID + QLatin1Char('/')
                + relative;
        }
    };

    TestDrive m_drive; // the test's own, where nothing happens: each device has one of its own
    WebDavTestServer m_server{WebDavTestServer::Kind::Apache};
    std::array<Device, 2> m_devices;

    Device &phone() { return m_devices[0]; }
    Device &tablet() { return m_devices[1]; }

    bool setUp(Device &device)
    {
        device.use();
        QDir().mkpath(device.dir.filePath(QStringLiteral("runtime")));
        QFile::setPermissions(device.dir.filePath(QStringLiteral("runtime")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        if (DriveSetup::initialize()) {
            return false;
        }
        const RemoteAccount account{m_server.url(), m_server.user()};
        QString error;
        if (!account.signIn() || !Credentials::store(account, m_server.password(), Credentials::Storage::File, &error)) {
            qWarning() << "sign-in:" << error;
            return false;
        }
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const auto variables = device.environment();
        for (auto it = variables.cbegin(); it != variables.cend(); ++it) {
            environment.insert(QString::fromLatin1(it.key()), it.value());
        }
        device.service = std::make_unique<SyncServiceProcess>(environment);
        return device.service->start();
    }

    /// Asks `device`'s service for a sync run and waits until it has ended.
    static bool syncNow(const Device &device)
    {
        device.use();
        return SyncServiceProcess::syncNow();
    }

    /// The content of `relative` on `device`, downloaded through its service when promised.
    static QByteArray open(const Device &device, const QString &relative)
    {
        const QString path = device.path(relative);
        if (PromisePlaceholder::isPromisedItem(path) && PromiseStore::materialize(path, nullptr)) {
            return "(cannot be downloaded)";
        }
        return TestDrive::readFile(path);
    }

    static bool isPromised(const Device &device, const QString &relative)
    {
        return PromisePlaceholder::isPromisedItem(device.path(relative));
    }

    /// The names in `device`'s top folder matching `pattern`.
    static QStringList named(const Device &device, const QString &pattern)
    {
        return QDir(device.path({})).entryList({pattern}, QDir::Files | QDir::Hidden);
    }

private slots:
    void initTestCase()
    {
        qputenv("AEROVA_SYNCD", "/bin/false"); // no automatic start that would race the test's
        QString error;
        QVERIFY2(m_server.start(&error), qPrintable(error));
        QVERIFY(setUp(phone()));
        QVERIFY(setUp(tablet()));
        QVERIFY(syncNow(phone()));
        QVERIFY(syncNow(tablet()));
    }

    void cleanupTestCase()
    {
        for (Device &device : m_devices) {
            if (device.service) {
                device.service->stop();
            }
        }
    }

    void whatOneDeviceMakesTheOtherSees()
    {
        QVERIFY(QDir().mkpath(phone().path(QStringLiteral("Trip"))));
        QVERIFY(TestDrive::writeFile(phone().path(QStringLiteral("Trip/Plan.txt")), "day one: the coast"));
        QTest::qWait(2100); // a document written in the last two seconds waits for a later run
        QVERIFY(syncNow(phone()));
        QVERIFY(syncNow(tablet()));
        QVERIFY(isPromised(tablet(), QStringLiteral("Trip/Plan.txt")));
        QCOMPARE(open(tablet(), QStringLiteral("Trip/Plan.txt")), QByteArray("day one: the coast"));
    }

    void anEditOnOneDeviceReachesTheOther()
    {
        QVERIFY(TestDrive::writeFile(tablet().path(QStringLiteral("Trip/Plan.txt")), "day one: the coast; day two: the hills"));
        QTest::qWait(2100);
        QVERIFY(syncNow(tablet()));
        QVERIFY(syncNow(phone()));
        QCOMPARE(open(phone(), QStringLiteral("Trip/Plan.txt")), QByteArray("day one: the coast; day two: the hills"));
    }

    void aRenameOnOneDeviceIsARenameOnTheOther()
    {
        QVERIFY(QFile::rename(phone().path(QStringLiteral("Trip")), phone().path(QStringLiteral("Trip 2026"))));
        QVERIFY(syncNow(phone()));
        QVERIFY(syncNow(tablet()));
        QVERIFY(!QFileInfo::exists(tablet().path(QStringLiteral("Trip"))));
        QCOMPARE(open(tablet(), QStringLiteral("Trip 2026/Plan.txt")), QByteArray("day one: the coast; day two: the hills"));
    }

    void anEditOnBothKeepsBoth()
    {
        // the phone edits offline (its service stopped), the tablet online: the two never send
        // at the same instant, which a server without write locks could not keep apart
        phone().service->stop();
        QVERIFY(TestDrive::writeFile(phone().path(QStringLiteral("Trip 2026/Plan.txt")), "the phone's plan"));
        QVERIFY(TestDrive::writeFile(tablet().path(QStringLiteral("Trip 2026/Plan.txt")), "the tablet's plan"));
        QTest::qWait(2100); // a document written in the last two seconds waits for a later run
        QVERIFY(syncNow(tablet()));
        phone().use();
        QVERIFY(phone().service->start()); // its scan at start finds the offline edit
        QVERIFY(syncNow(phone()));
        QVERIFY(syncNow(tablet()));
        // the server's version keeps the name; the phone's goes beside it as a conflict copy
        const QByteArray kept("the tablet's plan");
        const QByteArray other("the phone's plan");
        for (const Device *device : {&phone(), &tablet()}) {
            QCOMPARE(open(*device, QStringLiteral("Trip 2026/Plan.txt")), kept);
            const QStringList copies = QDir(device->path(QStringLiteral("Trip 2026")))
                                           .entryList({QStringLiteral("*Plan (conflict *).txt*")}, QDir::Files | QDir::Hidden);
            QCOMPARE(copies.size(), 1);
            QString copy = copies.first();
            if (PromisePlaceholder::isPlaceholderName(copy)) {
                copy = copy.mid(1).chopped(QStringLiteral(".promise").size());
            }
            QCOMPARE(open(*device, QStringLiteral("Trip 2026/") + copy), other);
        }
    }

    void aDeleteOnOneDeviceIsADeleteOnTheOther()
    {
        QVERIFY(QDir(tablet().path(QStringLiteral("Trip 2026"))).removeRecursively());
        QVERIFY(syncNow(tablet()));
        QVERIFY(syncNow(phone()));
        QVERIFY(!QFileInfo::exists(phone().path(QStringLiteral("Trip 2026"))));
        QCOMPARE(m_server.request("PROPFIND", QStringLiteral("Trip 2026/"), {}, {{"Depth", "0"}}), 404);
    }
};

QTEST_GUILESS_MAIN(tst_TwoDevices)
#include "tst_TwoDevices.moc"
