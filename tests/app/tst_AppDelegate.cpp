#include "app/AppDelegate.h"
#include "browser/NavController.h"
#include "core/DRLogging.h"
#include "core/Settings.h"
#include "model/DRItem.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentPickerUnavailableViewController.h"
#include "platform/ui/Application.h"
#include "platform/ui/Device.h"
#include "preview/PreviewDetailsViewController.h"
#include "preview/PreviewItemManager.h"
#include "preview/QuickLookItemController.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <QTest>

class tst_AppDelegate : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    /// What the app is started with on a drive of its own in `home`, offscreen.
    static QProcessEnvironment environmentOfHome(const QString &home)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("AEROVA_HOME"), home);
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("AEROVA_SYSLOG"), QStringLiteral("memory"));
        return environment;
    }

    /// Whether the control program made a drive in the environment's home.
    static bool driveMadeIn(const QProcessEnvironment &environment)
    {
        QProcess init;
        init.setProcessEnvironment(environment);
        init.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("init")});
        return init.waitForFinished(30000) && init.exitStatus() == QProcess::NormalExit && init.exitCode() == 0;
    }

    static QVariantMap from(const QString &source)
    {
        return {{Application::OpenURLOptionsSourceApplicationKey, source}};
    }
    QUrl itemURL(const QString &relative, const QString &query = {}) const
    {
        QUrl url;
        url.setScheme(QStringLiteral("aerovadriveapp"));
        url.setPath(m_drive.path(relative));
        url.setQuery(query);
        return url;
    }

private Q_SLOTS:
    void initTestCase()
    {
        LogSpy::keepDebugLines();
        DocumentPickerUnavailableViewController::registerClass();
        DriveFileManager::signIn(QStringLiteral("user@example.com"));
        QDir().mkpath(m_drive.path(QStringLiteral("Work/Notes")));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Work/Notes/Plan.txt")), "plan"));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Work/Notes/My File.txt")), "mine"));
    }

    void init()
    {
        Device::setForcedIdiom(Device::Idiom::Phone);
        Settings::setQuickLaunchSource({});
        LogSpy::clear();
    }

    // only the launcher and the test runner may open items from outside
    void unknownSourcesAreIgnoredWithAWarning()
    {
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        const QUrl url = itemURL(QStringLiteral("Work/Notes/Plan.txt"));
        QVERIFY(!delegate.application_openURL_options(nullptr, url, from(QStringLiteral("com.example.Other"))));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Ignoring openURL launch from unknown source: com.example.Other")),
                 LOG_WARNING);
        QVERIFY(!delegate.application_openURL_options(nullptr, url, {}));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Ignoring openURL launch from unknown source: (null)")), LOG_WARNING);
        QVERIFY(delegate.application_openURL_options(nullptr, url, from(QStringLiteral("com.quillmere.tramplin"))));
        QVERIFY(delegate.application_openURL_options(nullptr, url, from(QStringLiteral("com.quillmere.GuiTest"))));
    }

    void otherSchemesAreRefusedSilently()
    {
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        QUrl url = itemURL(QStringLiteral("Work/Notes/Plan.txt"));
        url.setScheme(QStringLiteral("aerovadrive"));
        LogSpy::clear();
        QVERIFY(!delegate.application_openURL_options(nullptr, url, from(QStringLiteral("com.quillmere.GuiTest"))));
        for (const SystemLogMessage &record : LogSpy::records()) {
            QVERIFY(!record.value(QStringLiteral("Message")).startsWith(QStringLiteral("Ignoring")));
        }
    }

    // The scheme is the app's only as written in lower case: URL parsing would lower-case
    // "AerovaDriveApp:" into the app's scheme, so the launcher's text is judged before it.
    void schemeIsComparedAsTheCallerWroteIt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("as written") << QStringLiteral("aerovadriveapp:///Work/Plan.txt") << true;
        QTest::newRow("capitals") << QStringLiteral("AerovaDriveApp:///Work/Plan.txt") << false;
        QTest::newRow("all capitals") << QStringLiteral("AEROVADRIVEAPP:/Work/Plan.txt") << false;
        QTest::newRow("another scheme") << QStringLiteral("https://example.org/") << true; // refused later, silently
    }
    void schemeIsComparedAsTheCallerWroteIt()
    {
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        const QUrl url = AppDelegate::launchURLFromText(text);
        QCOMPARE(!url.isEmpty(), accepted);
        if (accepted) {
            QCOMPARE(url, QUrl(text));
        }
    }

    // "info" and "details" both mean the details screen; anything unknown the document
    void modeVerbs_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<PreviewMode>("mode");
        QTest::newRow("info") << QStringLiteral("mode=info") << PreviewModeDetails;
        QTest::newRow("details") << QStringLiteral("mode=details") << PreviewModeDetails;
        QTest::newRow("bogus") << QStringLiteral("mode=bogus") << PreviewModePreview;
        QTest::newRow("none") << QString() << PreviewModePreview;
        QTest::newRow("details then preview") << QStringLiteral("mode=details&mode=preview") << PreviewModePreview;
        QTest::newRow("preview then info") << QStringLiteral("mode=preview&mode=info") << PreviewModeDetails;
        QTest::newRow("details then bogus") << QStringLiteral("mode=details&mode=bogus") << PreviewModeDetails;
    }
    void modeVerbs()
    {
        QFETCH(QString, query);
        QFETCH(PreviewMode, mode);
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        QVERIFY(delegate.application_openURL_options(nullptr, itemURL(QStringLiteral("Work/Notes/Plan.txt"), query),
                                                     from(QStringLiteral("com.quillmere.GuiTest"))));
        auto *browser = qobject_cast<NavController *>(delegate.rootWindow()->rootViewController());
        QVERIFY(browser->itemManager());
        QCOMPARE(browser->itemManager()->mode(), mode);
        QCOMPARE(browser->itemManager()->item()->url(), QUrl::fromLocalFile(m_drive.path(QStringLiteral("Work/Notes/Plan.txt"))));
        // the item's folders are stacked behind its preview: the document itself, or its details
        QCOMPARE(browser->viewControllers().size(), 4);
        QCOMPARE(browser->viewControllers().at(2)->title(), QStringLiteral("Notes"));
        ViewController *top = browser->topViewController();
        if (mode == PreviewModePreview) {
            QCOMPARE(top, QuickLookItemController::defaultController());
        } else {
            QVERIFY(qobject_cast<PreviewDetailsViewController *>(top));
        }
    }

    // the program says who runs and when it was built before anything else
    void processEntryLogsWhoRunsAndTheBuild()
    {
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("AEROVA_SYSLOG"), QStringLiteral("memory"));
        app.setProcessEnvironment(environment);
        // a refused option ends the program right after its first lines
        app.start(QStringLiteral(AEROVA_APP_PATH), {QStringLiteral("--idiom"), QStringLiteral("watch")});
        QVERIFY(app.waitForFinished(30000));
        QCOMPARE(app.exitCode(), 2);
        const QString output = QString::fromLocal8Bit(app.readAllStandardError());
        QVERIFY2(output.contains(QStringLiteral("Running ") + QStringLiteral(AEROVA_APP_PATH)), qPrintable(output));
        const QRegularExpression built(QStringLiteral("Built \\(main\\) on [A-Z][a-z]{2} [ 0-9]\\d \\d{4} @ \\d\\d:\\d\\d:\\d\\d"));
        QVERIFY2(built.match(output).hasMatch(), qPrintable(output));
        QVERIFY(output.indexOf(QStringLiteral("Running ")) < output.indexOf(QStringLiteral("Built (main) on ")));
    }

    // Started as the launcher starts it, by a bare name found on PATH, the program still tells
    // the dates and size of its own file instead of failing to find "aerovadrive".
    void processEntryLogsTheProgramFileWhenFoundOnPath()
    {
        LogSpy::keepDebugLines();
        const QFileInfo program(QStringLiteral(AEROVA_APP_PATH));
        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("AEROVA_SYSLOG"), QStringLiteral("memory"));
        environment.insert(QStringLiteral("PATH"), program.absolutePath() + QStringLiteral(":/usr/bin:/bin"));
        app.setProcessEnvironment(environment);
        // through a shell, so that argv[0] is the bare name a PATH lookup leaves
        app.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("exec aerovadrive --idiom watch")});
        QVERIFY(app.waitForFinished(30000));
        QCOMPARE(app.exitCode(), 2);
        const QString output = QString::fromLocal8Bit(app.readAllStandardError());
        QVERIFY2(output.contains(QStringLiteral("Running aerovadrive")), qPrintable(output));
        QVERIFY2(!output.contains(QStringLiteral("Cannot get attributes of")), qPrintable(output));
        QVERIFY2(output.contains(QStringLiteral("Size: %1 bytes").arg(program.size())), qPrintable(output));
        QVERIFY2(output.contains(QStringLiteral("Date Modified: ")), qPrintable(output));
    }

    // FIFOs and a link to /dev/zero in place of the service files and the defaults: the app
    // still starts, says which file is wrong, and does not grow without end.
    void serviceFilesThatAreFifosOrDevicesNeitherHangNorBloatTheApp()
    {
        QTemporaryDir home;
        QProcessEnvironment environment = environmentOfHome(home.path());
        QVERIFY(driveMadeIn(environment));
        const QString service = home.path() + QStringLiteral("/Service/");
        for (const char *name : {"containers.json", "account.json", "kvstore.json", "offer.json"}) {
            QFile::remove(service + QLatin1String(name));
            QCOMPARE(::mkfifo(QFile::encodeName(service + QLatin1String(name)).constData(), 0644), 0);
        }
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), service + QStringLiteral("network")));
        QCOMPARE(::mkfifo(QFile::encodeName(home.path() + QStringLiteral("/defaults.ini")).constData(), 0644), 0);

        QProcess app;
        app.setProcessEnvironment(environment);
        app.start(QStringLiteral(AEROVA_APP_PATH), {});
        QVERIFY(app.waitForStarted());
        QByteArray errors;
        const QByteArray accountProblem = "Ignoring " + QFile::encodeName(service) + "account.json: it is a FIFO, not a regular file";
        const QByteArray defaultsProblem = "The defaults file " + QFile::encodeName(home.path())
            + "/defaults.ini is a FIFO, not a regular file; its values are kept in memory only.";
        QTRY_VERIFY_WITH_TIMEOUT((errors += app.readAllStandardError()).contains(accountProblem), 20000);
        QTRY_VERIFY_WITH_TIMEOUT((errors += app.readAllStandardError()).contains(defaultsProblem), 20000);
        QCOMPARE(app.state(), QProcess::Running);
        QFile status(QStringLiteral("/proc/%1/status").arg(app.processId()));
        QVERIFY(status.open(QIODevice::ReadOnly));
        QByteArray vmRss;
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:")) {
                vmRss = line;
            }
        }
        const qint64 kilobytes = vmRss.mid(6).trimmed().split(' ').value(0).toLongLong();
        QVERIFY2(kilobytes > 0 && kilobytes < 512 * 1024, vmRss.constData());
        app.kill();
        QVERIFY(app.waitForFinished());
    }

    // Quitting right after the first frame, while the list's thumbnails are still being made,
    // ends the program cleanly every time: the thumbnail work ends with the application, before
    // the process's exit takes down what that work reads.
    void quittingWhileThumbnailsAreMadeEndsCleanly()
    {
        QTemporaryDir home;
        QProcessEnvironment environment = environmentOfHome(home.path());
        QVERIFY(driveMadeIn(environment));
        const QString root = home.path() + QStringLiteral("/Mobile Documents/com.quillmere.AerovaDrive/");
        for (int i = 0; i < 40; ++i) {
            QVERIFY(TestDrive::writeFile(root + QStringLiteral("Picture %1.png").arg(i, 2, 10, QLatin1Char('0')),
                                         TestDrive::png(600, 400)));
        }
        environment.insert(QStringLiteral("AEROVA_QUIT_AFTER_FIRST_FRAME"), QStringLiteral("1"));
        for (int run = 0; run < 15; ++run) {
            QProcess app;
            app.setProcessEnvironment(environment);
            app.start(QStringLiteral(AEROVA_APP_PATH), {});
            QVERIFY(app.waitForFinished(30000));
            QVERIFY2(app.exitStatus() == QProcess::NormalExit && app.exitCode() == 0,
                     qPrintable(QStringLiteral("run %1: %2").arg(run).arg(QString::fromLocal8Bit(app.readAllStandardError()))));
            QVERIFY(app.readAllStandardOutput().contains("first frame\n"));
        }
    }

    // senders encode the path twice: a space arrives as %2520
    void doublyEncodedSpaceBecomesASpace()
    {
        const QUrl url(QStringLiteral("aerovadriveapp://") + QString::fromUtf8(QUrl::toPercentEncoding(
                           m_drive.path(QStringLiteral("Work/Notes/My File.txt")), "/"))
                           .replace(QStringLiteral("%20"), QStringLiteral("%2520")));
        QVERIFY(url.toString(QUrl::FullyEncoded).contains(QStringLiteral("%2520")));
        QUrl file;
        PreviewMode mode = -1;
        QVERIFY(AppDelegate::fileURLAndModeForURL(url, &file, &mode));
        QCOMPARE(file.toLocalFile(), m_drive.path(QStringLiteral("Work/Notes/My File.txt")));
        QCOMPARE(mode, PreviewModePreview);
    }

    // a URL may not lead the app out of the drive
    void pathsOutsideTheDriveAreRefused_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("elsewhere") << QStringLiteral("/etc/hostname");
        QTest::newRow("dot-dot") << QStringLiteral("/Work/../../../../etc");
    }
    void pathsOutsideTheDriveAreRefused()
    {
        QFETCH(QString, path);
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        auto *browser = qobject_cast<NavController *>(delegate.rootWindow()->rootViewController());
        const QList<ViewController *> before = browser->viewControllers();
        QUrl url;
        url.setScheme(QStringLiteral("aerovadriveapp"));
        url.setPath(path.startsWith(QStringLiteral("/Work")) ? m_drive.root() + path : path);
        QVERIFY(!delegate.application_openURL_options(nullptr, url, from(QStringLiteral("com.quillmere.GuiTest"))));
        QCOMPARE(browser->viewControllers(), before);
    }

    // a symbolic link may not lead out of the drive either
    void symbolicLinkOutOfTheDriveIsRefused()
    {
        QFile::link(QStringLiteral("/etc"), m_drive.path(QStringLiteral("Work/escape")));
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        QVERIFY(!delegate.application_openURL_options(nullptr, itemURL(QStringLiteral("Work/escape/hostname")),
                                                      from(QStringLiteral("com.quillmere.GuiTest"))));
    }

    // "link/%252e%252e/x" decodes to "link/../x": cleaned as text it looks inside the drive, but
    // the kernel goes through the link first. The decision is made on the real path.
    void dotDotBehindALinkIsJudgedWhereItReallyLeads()
    {
        QTemporaryDir outside;
        QVERIFY(QDir().mkpath(outside.path() + QStringLiteral("/inner")));
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/secret.txt"), "secret"));
        QVERIFY(QFile::link(outside.path() + QStringLiteral("/inner"), m_drive.path(QStringLiteral("sublink"))));
        // a file of the same name inside the drive is what a lexical check would have approved
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("secret.txt")), "mine"));
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        auto *browser = qobject_cast<NavController *>(delegate.rootWindow()->rootViewController());
        const QList<ViewController *> before = browser->viewControllers();
        const QUrl url(QStringLiteral("aerovadriveapp://") + m_drive.root() + QStringLiteral("/sublink/%252e%252e/secret.txt"));
        QUrl file;
        PreviewMode mode = -1;
        QVERIFY(AppDelegate::fileURLAndModeForURL(url, &file, &mode));
        QVERIFY(file.toLocalFile().contains(QStringLiteral("sublink/../secret.txt")));
        QVERIFY(!delegate.application_openURL_options(nullptr, url, from(QStringLiteral("com.quillmere.GuiTest"))));
        QCOMPARE(browser->viewControllers(), before);
        QVERIFY(QFile::remove(m_drive.path(QStringLiteral("sublink"))));
    }

    // A bookmark (a link as the item itself) that leads out of the drive opens nothing.
    void bookmarkOutOfTheDriveIsRefused()
    {
        QTemporaryDir outside;
        QVERIFY(TestDrive::writeFile(outside.path() + QStringLiteral("/passwd"), "root:x:0:0"));
        QVERIFY(QFile::link(outside.path() + QStringLiteral("/passwd"), m_drive.path(QStringLiteral("Work/passwd"))));
        AppDelegate delegate;
        delegate.application_willFinishLaunchingWithOptions(nullptr, {});
        QVERIFY(!delegate.application_openURL_options(nullptr, itemURL(QStringLiteral("Work/passwd")),
                                                      from(QStringLiteral("com.quillmere.GuiTest"))));
        QVERIFY(QFile::remove(m_drive.path(QStringLiteral("Work/passwd"))));
    }

    // deliberate: a tablet without QuickLaunch shows no browser, so no URL can open anything
    void tabletWithoutQuickLaunchHasNoBrowser()
    {
        Device::setForcedIdiom(Device::Idiom::Pad);
        Settings::setQuickLaunchSource([] { return false; });
        AppDelegate delegate;
        QVERIFY(delegate.application_willFinishLaunchingWithOptions(nullptr, {}));
        QVERIFY(!delegate.rootWindow()->rootViewController());
        QVERIFY(!delegate.application_openURL_options(nullptr, itemURL(QStringLiteral("Work/Notes/Plan.txt")),
                                                      from(QStringLiteral("com.quillmere.GuiTest"))));
        // the same tablet with QuickLaunch on has its browser, named for state restoration
        Settings::setQuickLaunchSource({});
        AppDelegate other;
        other.application_willFinishLaunchingWithOptions(nullptr, {});
        QVERIFY(qobject_cast<NavController *>(other.rootWindow()->rootViewController()));
        QCOMPARE(other.rootWindow()->rootViewController()->restorationIdentifier(), QStringLiteral("Root"));
    }

    // state is saved only while the drive is on
    void stateIsSavedOnlyWhileTheDriveIsEnabled()
    {
        AppDelegate delegate;
        QVERIFY(delegate.application_shouldSaveApplicationState(nullptr, {}));
        DriveFileManager::signOut();
        QVERIFY(!delegate.application_shouldSaveApplicationState(nullptr, {}));
        QVERIFY(!delegate.application_shouldRestoreApplicationState(nullptr, {}));
        DriveFileManager::signIn(QStringLiteral("user@example.com"));
    }
};

QTEST_MAIN(tst_AppDelegate)
#include "tst_AppDelegate.moc"
