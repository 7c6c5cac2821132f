#include "watchers/NetworkWatcher.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveSetup.h"
#include "platform/network/NetworkReachability.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QProcess>
#include <QTest>

class tst_NetworkWatcher : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static int countOf(const QString &message) { return int(LogSpy::withMessage(message).size()); }

private slots:
    void init() { LogSpy::clear(); }

    // The flags reduce to four states by two bits only.
    void flagsMapToStates_data()
    {
        QTest::addColumn<quint32>("flags");
        QTest::addColumn<int>("state");
        QTest::newRow("reachable") << quint32(0x2) << int(NetworkStateWiFi);
        QTest::newRow("reachable over cellular") << quint32(0x40002) << int(NetworkStateCellular);
        QTest::newRow("nothing") << quint32(0x0) << int(NetworkStateNotConnected);
        QTest::newRow("cellular but unreachable") << quint32(0x40000) << int(NetworkStateNotConnected);
        QTest::newRow("needs a connection first") << quint32(0x6) << int(NetworkStateWiFi);
    }
    void flagsMapToStates()
    {
        QFETCH(quint32, flags);
        QFETCH(int, state);
        NetworkWatcher watcher;
        watcher._reachabilityDidChange(flags);
        QCOMPARE(int(watcher.networkState()), state);
        QCOMPARE(watcher.reachabilityFlags(), flags);
        QCOMPARE(watcher.isConnected(), state == NetworkStateWiFi || state == NetworkStateCellular);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Network reachability flags changed to 0x%1").arg(flags, 0, 16)), LOG_INFO);
    }

    // Flag changes that keep the state log each change of flags but one change of state.
    void sameStateLogsOnce()
    {
        NetworkWatcher watcher;
        watcher._reachabilityDidChange(0x2);
        watcher._reachabilityDidChange(0x6);
        QCOMPARE(countOf(QStringLiteral("Network reachability flags changed to 0x2")), 1);
        QCOMPARE(countOf(QStringLiteral("Network reachability flags changed to 0x6")), 1);
        QCOMPARE(countOf(QStringLiteral("Network state changed to connected to Wi-Fi")), 1);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Network state changed to connected to Wi-Fi")), LOG_INFO);
    }

    // Every state has its words in the log; an unknown value shows its number.
    void descriptions()
    {
        QCOMPARE(NetworkWatcher::_descriptionForNetworkState(NetworkStateUnknown), QStringLiteral("unknown"));
        QCOMPARE(NetworkWatcher::_descriptionForNetworkState(NetworkStateNotConnected), QStringLiteral("not connected"));
        QCOMPARE(NetworkWatcher::_descriptionForNetworkState(NetworkStateWiFi), QStringLiteral("connected to Wi-Fi"));
        QCOMPARE(NetworkWatcher::_descriptionForNetworkState(NetworkStateCellular), QStringLiteral("connected to cellular"));
        QCOMPARE(NetworkWatcher::_descriptionForNetworkState(NetworkState(7)), QStringLiteral("??? (7)"));
    }

    // The state is unknown until the first report, and follows the service while the app runs.
    void followsTheServiceOverride()
    {
        QVERIFY(!DriveSetup::setNetwork(QStringLiteral("cellular")));
        NetworkWatcher watcher;
        QCOMPARE(watcher.networkState(), NetworkStateUnknown);
        watcher.start();
        QTRY_COMPARE(watcher.networkState(), NetworkStateCellular);
        QCOMPARE(watcher.reachabilityFlags(), quint32(0x40002));

        QProcess ctl; // another process switches the network
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("network"), QStringLiteral("offline")});
        QVERIFY(ctl.waitForFinished(60000));
        QTRY_COMPARE(watcher.networkState(), NetworkStateNotConnected);
        QVERIFY(!DriveSetup::setNetwork(QStringLiteral("wifi")));
        QTRY_COMPARE(watcher.networkState(), NetworkStateWiFi);
        QVERIFY(!DriveSetup::setNetwork({}));
    }

    // Starting twice keeps the first handle.
    void startTwiceKeepsOneHandle()
    {
        NetworkWatcher watcher;
        watcher.start();
        const auto first = watcher.reachability();
        QVERIFY(first);
        watcher.start();
        QCOMPARE(watcher.reachability(), first);
        QCOMPARE(first->hostName(), NetworkWatcherHostName);
    }

    // Stopping forgets everything known.
    void stopResetsToUnknown()
    {
        QVERIFY(!DriveSetup::setNetwork(QStringLiteral("wifi")));
        NetworkWatcher watcher;
        watcher.start();
        QTRY_COMPARE(watcher.networkState(), NetworkStateWiFi);
        LogSpy::clear();
        watcher.stop();
        QCOMPARE(watcher.networkState(), NetworkStateUnknown);
        QCOMPARE(watcher.reachabilityFlags(), quint32(0));
        QVERIFY(!watcher.reachability());
        QCOMPARE(countOf(QStringLiteral("Network state changed to unknown")), 0); // set directly, not logged
        QVERIFY(!DriveSetup::setNetwork({}));
    }

    // A watch that cannot be set up counts as offline, so nothing is fetched or downloaded.
    void failedStartIsNotConnected()
    {
        NetworkWatcher watcher{QString()};
        watcher.start();
        QCOMPARE(watcher.networkState(), NetworkStateNotConnected);
        QCOMPARE(watcher.reachabilityFlags(), quint32(0));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Couldn't create reachability object")), LOG_ERR);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Network state changed to not connected")), LOG_INFO);
    }

    // The watcher of the process is one object.
    void sharedWatcherIsOne()
    {
        QCOMPARE(NetworkWatcher::sharedNetworkWatcher(), NetworkWatcher::sharedNetworkWatcher());
        QCOMPARE(NetworkWatcher::sharedNetworkWatcher()->queue()->label(),
                 QStringLiteral("com.quillmere.AerovaDriveApp.networkwatcher"));
    }
};

QTEST_GUILESS_MAIN(tst_NetworkWatcher)
#include "tst_NetworkWatcher.moc"
