#include "core/DRLogging.h"
#include "core/Settings.h"
#include "platform/foundation/Preferences.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QProcess>
#include <QTest>

class tst_Settings : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QVariant storedValue(const QString &key)
    {
        const QString domain = QString::fromLatin1(Settings::PreferencesDomain);
        PreferencesSynchronizeWithContainer(domain, QString::fromLatin1(PreferencesCurrentUser),
                                            QString::fromLatin1(PreferencesAnyHost), Settings::_appContainerPath());
        return PreferencesCopyValueWithContainer(key, domain, QString::fromLatin1(PreferencesCurrentUser),
                                                 QString::fromLatin1(PreferencesAnyHost), Settings::_appContainerPath());
    }

    static QString probe(const QStringList &args)
    {
        QProcess process;
        process.start(QStringLiteral(AEROVA_PROBE_PATH), args);
        process.waitForFinished(30000);
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

private slots:
    void initTestCase()
    {
        DRLogSetLevel(LOG_DEBUG);
    }

    // A first start shows the list, and documents open in their own app.
    void emptyDomainGivesListModeAndQuickLaunch()
    {
        QVERIFY(!storedValue(QStringLiteral("GridMode")).isValid());
        QCOMPARE(Settings::gridMode(), false);
        QCOMPARE(Settings::quickLaunch(), true);
    }

    // Every read says what it found, so a support log shows the preferences in force.
    void readingUnsetGridModeLogsKeyAndZero()
    {
        LogSpy::clear();
        QVERIFY(!storedValue(QStringLiteral("GridMode")).isValid());
        Settings::gridMode();
        QCOMPARE(LogSpy::levelOf(QStringLiteral("GridMode = 0")), LOG_DEBUG);
    }

    // Quick launch is fixed on: turning it off is stored and logged, and changes nothing.
    void quickLaunchStaysOnWhateverIsStored()
    {
        LogSpy::clear();
        Settings::setQuickLaunch(false);
        QCOMPARE(storedValue(QStringLiteral("QuickLaunch")).toBool(), false);
        QVERIFY(storedValue(QStringLiteral("QuickLaunch")).isValid());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("set QuickLaunch = 0")), LOG_DEBUG);
        QCOMPARE(Settings::quickLaunch(), true);
    }

    // The grid choice survives, and another process reading the container sees it.
    void gridModeIsSharedWithASecondProcess()
    {
        Settings::setGridMode(true);
        QCOMPARE(Settings::gridMode(), true);
        QCOMPARE(probe({QStringLiteral("gridMode")}), QStringLiteral("YES"));

        probe({QStringLiteral("setGridMode"), QStringLiteral("NO")});
        QCOMPARE(Settings::gridMode(), false);
    }

    // The sort order is the device's: by name until changed, then as last chosen, in every process.
    void listSortOrderIsRemembered()
    {
        QCOMPARE(Settings::listSortKey(), QStringLiteral("name"));
        QCOMPARE(Settings::listSortDescending(), false);
        Settings::setListSortKey(QStringLiteral("date"));
        Settings::setListSortDescending(true);
        QCOMPARE(Settings::listSortKey(), QStringLiteral("date"));
        QCOMPARE(Settings::listSortDescending(), true);
        QCOMPARE(storedValue(QStringLiteral("ListSortKey")).toString(), QStringLiteral("date"));
        QCOMPARE(storedValue(QStringLiteral("ListSortDescending")).toBool(), true);
        Settings::setListSortKey(QStringLiteral("name"));
        Settings::setListSortDescending(false);
    }

    // The container is found once and named in the log.
    void containerPathIsInsideTheHome()
    {
        QCOMPARE(Settings::_appContainerPath(), m_drive.home() + QStringLiteral("/home/App"));
        QCOMPARE(Settings::backgroundColor(), QColor(Qt::white));
        QCOMPARE(Settings::statusLabelColor(), QColor(Qt::black));
    }
};

QTEST_GUILESS_MAIN(tst_Settings)
#include "tst_Settings.moc"
