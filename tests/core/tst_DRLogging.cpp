#include "core/DRLogging.h"
#include "core/DROSLClient.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/syslog/SystemLog.h"
#include "platform/syslog/SystemLogMessage.h"
#include "platform/syslog/SystemNotification.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QFile>
#include <QThreadPool>
#include <QTemporaryDir>
#include <QTest>

#include <QTemporaryFile>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>
#include <vector>
#include <unistd.h>

class tst_DRLogging : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_markerDir;

    QString markerPath() const { return m_markerDir.filePath(QStringLiteral("dr_hella_logging")); }

    DispatchQueue m_observerQueue{QStringLiteral("com.quillmere.test.observer")};
    std::atomic<int> m_notifications{0};

    /// Stores the preference the way any process would, by writing the defaults file, and waits
    /// until the change notification has made the log choose its level again.
    void writePreference(const QVariant &value)
    {
        UserDefaults *defaults = UserDefaults::standardUserDefaults();
        QFile file(defaults->filePath());
        const QByteArray before = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
        file.close();
        const int seen = m_notifications.load();
        if (value.isValid()) {
            defaults->setObject(value, QStringLiteral("DRLogLevel"));
        } else {
            defaults->removeObjectForKey(QStringLiteral("DRLogLevel"));
        }
        defaults->synchronize();
        const QByteArray after = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
        if (after != before) {
            QTRY_VERIFY(m_notifications.load() > seen);
        }
        settle();
    }

    /// Waits for the log's queue and for the global queue, where the unthrottling message starts.
    static void settle()
    {
        LogSpy::flush();
        QThreadPool::globalInstance()->waitForDone();
        LogSpy::flush();
    }

private slots:
    void initTestCase()
    {
        DROSLClient::setMarkerFilePathForTesting(markerPath());
        DROSLClient::OSLClient(); // the first log call registers the client for the notification
        SystemNotification::registerForName(SystemNotification::ManagedDefaultsDidChange, &m_observerQueue,
                                            [this] { ++m_notifications; });
    }

    void cleanupTestCase()
    {
        SystemNotification::unregisterQueue(&m_observerQueue);
    }

    void init()
    {
        QFile::remove(markerPath());
        writePreference(QVariant());
        DRLogSetLevel(6);
        LogSpy::clear();
    }

    // Out of the box the app logs what a support engineer needs, and no debug noise.
    void defaultLevelKeepsInfoAndDropsDebug()
    {
        QCOMPARE(DROSLClient::OSLClient()->logLevel(), 6);
        QVERIFY(!DRLogShouldLog(LOG_DEBUG));
        DRLog(LOG_INFO, "kept %@", QStringLiteral("info"));
        DRLog(LOG_DEBUG, "dropped debug");
        QCOMPARE(LogSpy::withMessage(QStringLiteral("kept info")).size(), 1);
        QVERIFY(LogSpy::withMessage(QStringLiteral("dropped debug")).isEmpty());
        QCOMPARE(LogSpy::withMessage(QStringLiteral("kept info")).first().value(QStringLiteral("DRLogToFile")),
                 QStringLiteral("1"));
        QVERIFY(!qEnvironmentVariableIsSet("OSL_QUOTA_DISABLED"));
    }

    // A preference of 2 or less must never silence the app's own errors.
    void lowPreferenceFallsBackToDefault_data()
    {
        QTest::addColumn<int>("preference");
        QTest::newRow("2") << 2;
        QTest::newRow("1") << 1;
        QTest::newRow("0") << 0;
        QTest::newRow("negative") << -4;
    }
    void lowPreferenceFallsBackToDefault()
    {
        QFETCH(int, preference);
        writePreference(preference);
        QCOMPARE(DROSLClient::OSLClient()->logLevel(), 6);
    }

    // Level 3 keeps errors only, and such records are not meant for the log file.
    void levelThreeKeepsOnlyErrors()
    {
        writePreference(3);
        QCOMPARE(DROSLClient::OSLClient()->logLevel(), 3);
        DRLog(LOG_WARNING, "a warning");
        DRLog(LOG_INFO, "an info");
        DRLog(LOG_ERR, "an error");
        QVERIFY(LogSpy::withMessage(QStringLiteral("a warning")).isEmpty());
        QVERIFY(LogSpy::withMessage(QStringLiteral("an info")).isEmpty());
        const auto errors = LogSpy::withMessage(QStringLiteral("an error"));
        QCOMPARE(errors.size(), 1);
        QVERIFY(!errors.first().contains(QStringLiteral("DRLogToFile")));
    }

    // Debug level is chosen without lifting the log's rate limits.
    void levelSevenKeepsQuotaOn()
    {
        qputenv("OSL_QUOTA_DISABLED", "1");
        writePreference(7);
        QCOMPARE(DROSLClient::OSLClient()->logLevel(), 7);
        QVERIFY(!qEnvironmentVariableIsSet("OSL_QUOTA_DISABLED"));
    }

    // Above debug, everything is kept, the system log's filter stays at debug, and the quota is lifted.
    void levelNineUnthrottles()
    {
        writePreference(9);
        DROSLClient *client = DROSLClient::OSLClient();
        QCOMPARE(client->logLevel(), 9);
        QCOMPARE(client->logLevelForOSL(), 7);
        QCOMPARE(client->oslClient()->filterMask(), 0xffu);
        QCOMPARE(qgetenv("OSL_QUOTA_DISABLED"), QByteArray("1"));
        QCOMPARE(LogSpy::withMessage(QStringLiteral("Unthrottling logging")).size(), 1);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Unthrottling logging")), LOG_DEBUG);
    }

    // The marker file turns on everything, whatever the user chose.
    void markerFileForcesLevelEight()
    {
        QVERIFY(TestDrive::writeFile(markerPath(), QByteArray()));
        writePreference(4);
        QCOMPARE(DROSLClient::OSLClient()->logLevel(), 8);
        QCOMPARE(DRLogGetLevel(), 7);
        QCOMPARE(qgetenv("OSL_QUOTA_DISABLED"), QByteArray("1"));
        QCOMPARE(LogSpy::withMessage(QStringLiteral("Unthrottling logging")).size(), 1);
        // every call site follows the level the defaults chose, not only the client
        DRLog(LOG_DEBUG, "debug kept by the marker");
        QCOMPARE(LogSpy::withMessage(QStringLiteral("debug kept by the marker")).size(), 1);
    }

    // A level off the scale is written so that readers can still tell it apart.
    void levelOutsideScaleIsWrittenAsNine_data()
    {
        QTest::addColumn<int>("level");
        QTest::newRow("12") << 12;
        QTest::newRow("-1") << -1;
    }
    void levelOutsideScaleIsWrittenAsNine()
    {
        QFETCH(int, level);
        DRLogSetLevel(12);
        (DRLog)(__FILE__, Q_FUNC_INFO, __LINE__, "DR", level, nullptr, "odd level");
        QCOMPARE(LogSpy::withMessage(QStringLiteral("odd level")).first().value(QStringLiteral("Level")),
                 QStringLiteral("9"));
    }

    // A record without a real line number says nothing rather than something wrong.
    void lineZeroHasNoLineKey()
    {
        (DRLog)("file.cpp", "function", 0, "DR", LOG_ERR, nullptr, "no line");
        (DRLog)("file.cpp", "function", 42, "DR", LOG_ERR, nullptr, "with line");
        QVERIFY(!LogSpy::withMessage(QStringLiteral("no line")).first().contains(QStringLiteral("Line")));
        QCOMPARE(LogSpy::withMessage(QStringLiteral("with line")).first().value(QStringLiteral("Line")),
                 QStringLiteral("42"));
    }

    // Records carry their keys in one fixed order, so every reader finds them alike.
    void recordKeysAreInOrder()
    {
        const int line = __LINE__ + 1;
        DRLog(LOG_WARNING, "ordered %d", 7);
        const SystemLogMessage record = LogSpy::withMessage(QStringLiteral("ordered 7")).first();
        QStringList expected{QStringLiteral("Time"),     QStringLiteral("TimeNanoSec"), QStringLiteral("Level"),
                             QStringLiteral("Facility"), QStringLiteral("PID"),         QStringLiteral("Host"),
                             QStringLiteral("Message"),  QStringLiteral("Source"),      QStringLiteral("Line"),
                             QStringLiteral("Function"), QStringLiteral("DRFacility"),  QStringLiteral("DRLogToFile"),
                             QStringLiteral("Thread")};
        QCOMPARE(record.keys(), expected);
        QCOMPARE(record.value(QStringLiteral("Level")), QStringLiteral("4"));
        QCOMPARE(record.value(QStringLiteral("Facility")), QStringLiteral("com.quillmere.AerovaDriveApp"));
        QCOMPARE(record.value(QStringLiteral("PID")), QString::number(::getpid()));
        QCOMPARE(record.value(QStringLiteral("Source")), QStringLiteral(__FILE__));
        QCOMPARE(record.value(QStringLiteral("Line")), QString::number(line));
        QVERIFY(record.value(QStringLiteral("Function")).contains(QStringLiteral("recordKeysAreInOrder")));
        QCOMPARE(record.value(QStringLiteral("DRFacility")), QStringLiteral("DR"));
        QCOMPARE(record.value(QStringLiteral("Thread")), DispatchQueue::currentLabel());
        QVERIFY(record.value(QStringLiteral("Time")).toLongLong() > 1700000000);
    }

    // Extra keys follow the standard ones, a later one replacing an earlier one of the same name.
    void extraKeysFollowInOrder()
    {
        DRLogv(__FILE__, Q_FUNC_INFO, __LINE__, "DR", LOG_ERR, nullptr,
               {{QStringLiteral("Zed"), QStringLiteral("1")}, {QStringLiteral("Alpha"), QStringLiteral("2")},
                {QStringLiteral("Zed"), QStringLiteral("3")}},
               "extra", {});
        const SystemLogMessage record = LogSpy::withMessage(QStringLiteral("extra")).first();
        QCOMPARE(record.keys().mid(record.keys().size() - 2), (QStringList{QStringLiteral("Zed"), QStringLiteral("Alpha")}));
        QCOMPARE(record.value(QStringLiteral("Zed")), QStringLiteral("3"));
    }

    // A call's arguments are written as they were when it was made, though the text is made later.
    void argumentsAreTakenAtTheCall()
    {
        QString name = QStringLiteral("Report.pdf");
        DRLog(LOG_ERR, "taken at the call: %@ %d", name, 7);
        name = QStringLiteral("changed after");
        QCOMPARE(LogSpy::withMessage(QStringLiteral("taken at the call: Report.pdf 7")).size(), 1);
    }

    // Calls from many threads at once: every record is written, each thread's in its order.
    void callsFromManyThreadsAreAllWrittenInTheirOrder()
    {
        constexpr int threads = 4;
        constexpr int perThread = 250;
        std::vector<std::thread> callers;
        for (int t = 0; t < threads; ++t) {
            callers.emplace_back([t] {
                for (int i = 0; i < perThread; ++i) {
                    DRLog(LOG_ERR, "burst %d %d", t, i);
                }
            });
        }
        for (std::thread &caller : callers) {
            caller.join();
        }
        std::array<int, threads> next{};
        int written = 0;
        for (const SystemLogMessage &record : LogSpy::records()) {
            const QStringList words = record.value(QStringLiteral("Message")).split(QLatin1Char(' '));
            if (words.size() != 3 || words.first() != QLatin1String("burst")) {
                continue;
            }
            const int t = words.at(1).toInt();
            QCOMPARE(words.at(2).toInt(), next[t]);
            ++next[t];
            ++written;
        }
        QCOMPARE(written, threads * perThread);
    }

    // The Thread key names the queue the caller was on.
    void threadIsTheCallersQueueLabel()
    {
        DispatchQueue queue(QStringLiteral("com.quillmere.test.worker"));
        queue.sync([] { DRLog(LOG_ERR, "from worker"); });
        QCOMPARE(LogSpy::withMessage(QStringLiteral("from worker")).first().value(QStringLiteral("Thread")),
                 QStringLiteral("com.quillmere.test.worker"));
    }

    // A preference edited while running waits for the notification (or an explicit level).
    void preferenceChangeWaitsForNotification()
    {
        DROSLClient *client = DROSLClient::OSLClient();
        // holding the log's queue keeps any notification from being handled in between
        client->logQueue()->sync([client] {
            UserDefaults::standardUserDefaults()->setObject(3, QStringLiteral("DRLogLevel"));
            UserDefaults::standardUserDefaults()->synchronize();
            QCOMPARE(client->logLevel(), 6);
        });
        // the defaults file changed on disk: the notification arrives and the level follows
        QTRY_COMPARE(client->logLevel(), 3);

        settle();
        client->logQueue()->sync([client] {
            UserDefaults::standardUserDefaults()->setObject(7, QStringLiteral("DRLogLevel"));
            QCOMPARE(client->logLevel(), 3);
        });
        const int seen = m_notifications.load();
        SystemNotification::post(SystemNotification::ManagedDefaultsDidChange);
        QTRY_COMPARE(client->logLevel(), 7);
        // choosing the level saved the pending value, which is itself a change of the defaults
        QTRY_VERIFY(m_notifications.load() >= seen + 2);
        settle();

        DRLogSetLevel(5);
        QCOMPARE(client->logLevel(), 5);
        QCOMPARE(client->oslClient()->filterMask(), 0x3fu);
    }

    // kill -HUP makes a running app read its log level again.
    void sighupRerunsLevelSelection()
    {
        writePreference(4);
        DRLogSetLevel(6);
        ::kill(::getpid(), SIGHUP);
        QTRY_COMPARE(DROSLClient::OSLClient()->logLevel(), 4);
    }

    // Every kept message also reaches standard error as a plain line.
    void keptMessageIsWrittenToStandardError()
    {
        QTemporaryFile capture;
        QVERIFY(capture.open());
        std::fflush(stderr);
        const int saved = ::dup(2);
        ::dup2(capture.handle(), 2);
        DRLog(LOG_ERR, "to standard error %@", QStringLiteral("too"));
        LogSpy::flush();
        std::fflush(stderr);
        ::dup2(saved, 2);
        ::close(saved);
        QFile read(capture.fileName());
        QVERIFY(read.open(QIODevice::ReadOnly));
        QVERIFY(read.readAll().contains("] to standard error too\n"));
    }

    // The self-test writes one message per level from debug to alert, none at notice or emergency.
    void logTestWritesSixLevels()
    {
        DRLogSetLevel(8);
        _AerovaDriveLogTest();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("LOG_DEBUG")), LOG_DEBUG);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("LOG_INFO")), LOG_INFO);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("LOG_WARNING")), LOG_WARNING);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("LOG_ERR")), LOG_ERR);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("LOG_CRIT")), LOG_CRIT);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("LOG_ALERT")), LOG_ALERT);
        QCOMPARE(LogSpy::records().size(), 6);
    }

    // Last: once the application object goes, a change of the defaults (which go with it) is
    // not read, however late its notification comes; records are still written.
    void theDefaultsAreNotReadOnceTheApplicationEnds()
    {
        DROSLClient *client = DROSLClient::OSLClient();
        client->applicationWillEnd();
        writePreference(3);
        ::kill(::getpid(), SIGHUP);
        settle();
        QTest::qWait(200);
        QCOMPARE(client->logLevel(), 6);
        DRLog(LOG_ERR, "still written");
        QCOMPARE(LogSpy::withMessage(QStringLiteral("still written")).size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_DRLogging)
#include "tst_DRLogging.moc"
