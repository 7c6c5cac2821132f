#include "model/LaunchUtils.h"

#include "core/DRLogging.h"
#include "model/AVDAppBookmarks.h"
#include "platform/apps/ApplicationProxy.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseURL.h"
#include "platform/foundation/StringFormat.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

// The installed apps are real desktop files and a real mimeapps.list in the test's own XDG
// folders, read by GIO exactly as on a user's system.
class tst_LaunchUtils : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    QTemporaryDir m_xdg;

    QString recorderLog() const { return m_xdg.path() + QStringLiteral("/opened.log"); }

    QStringList opened() const
    {
        QFile file(recorderLog());
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    void installApp(const QString &id, const QString &name, const QString &fieldCode, const QString &mimeTypes)
    {
        const QString folder = m_xdg.path() + QStringLiteral("/data/applications/");
        QDir().mkpath(folder);
        const QString recorder = m_xdg.path() + QStringLiteral("/recorder.sh");
        const QByteArray desktop = QStringLiteral("[Desktop Entry]\nType=Application\nName=%1\nExec=%2 %3\nMimeType=%4;\n")
                                       .arg(name, recorder, fieldCode, mimeTypes)
                                       .toUtf8();
        QVERIFY(TestDrive::writeFile(folder + id + QStringLiteral(".desktop"), desktop));
    }

    QString appContainerFile(const QString &name) const
    {
        return DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.Writer/Documents/") + name;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_xdg.isValid());
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_xdg.path() + QStringLiteral("/data")));
        qputenv("XDG_DATA_DIRS", QByteArrayLiteral("/usr/share"));
        const QString recorder = m_xdg.path() + QStringLiteral("/recorder.sh");
        QVERIFY(TestDrive::writeFile(recorder, QStringLiteral("#!/bin/sh\nprintf '%s\\n' \"$@\" >> '%1'\n")
                                                   .arg(recorderLog())
                                                   .toUtf8()));
        QVERIFY(QFile::setPermissions(recorder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        installApp(QStringLiteral("com.example.PdfEditor"), QStringLiteral("PDF Editor"), QStringLiteral("%f"),
                   QStringLiteral("application/pdf"));
        installApp(QStringLiteral("com.example.TextEditor"), QStringLiteral("Text Editor"), QStringLiteral("%U"),
                   QStringLiteral("text/plain"));
        installApp(QStringLiteral("com.example.Importer"), QStringLiteral("Importer"), QString(),
                   QStringLiteral("text/csv"));
        installApp(QStringLiteral("com.quillmere.AerovaDriveApp"), QStringLiteral("Aerova Drive"), QStringLiteral("%u"),
                   QStringLiteral("text/markdown"));
        QVERIFY(TestDrive::writeFile(m_drive.home() + QStringLiteral("/config/mimeapps.list"),
                                     "[Default Applications]\n"
                                     "application/pdf=com.example.PdfEditor.desktop\n"
                                     "text/plain=com.example.TextEditor.desktop\n"
                                     "text/csv=com.example.Importer.desktop\n"
                                     "text/markdown=com.quillmere.AerovaDriveApp.desktop\n"));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.Writer"), QStringLiteral("Writer"), {}, {}));
        DRLogSetLevel(LOG_DEBUG);
    }

    void init()
    {
        QFile::remove(recorderLog());
        LogSpy::clear();
    }

    // Pictures and PDFs in the drive's own folders open in the built-in preview even when an
    // app that edits them is installed; inside that app's container they go to the app.
    void pdfInDriveFoldersStaysInPreview()
    {
        const QString own = m_drive.path(QStringLiteral("Papers/Form.pdf"));
        QVERIFY(TestDrive::writeFile(own, "%PDF-1.4\n"));
        QVERIFY(!LaunchUtils::defaultAppForDocument_requireOpenIn(QUrl::fromLocalFile(own), true));
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Preferring QL over default app to open %@", QUrl::fromLocalFile(own))),
                 LOG_DEBUG);
        QVERIFY(!LaunchUtils::openInDefaultApp_viewController_requireOpenIn(QUrl::fromLocalFile(own), nullptr, true));

        const QString theirs = appContainerFile(QStringLiteral("Form.pdf"));
        QVERIFY(TestDrive::writeFile(theirs, "%PDF-1.4\n"));
        const auto app = LaunchUtils::defaultAppForDocument_requireOpenIn(QUrl::fromLocalFile(theirs), true);
        QVERIFY(app);
        QCOMPARE(app->bundleIdentifier(), QStringLiteral("com.example.PdfEditor"));
        QVERIFY(LaunchUtils::openInDefaultApp_viewController_requireOpenIn(QUrl::fromLocalFile(theirs), nullptr, true));
        QTRY_COMPARE(opened(), QStringList{theirs});
        QCOMPARE(LogSpy::levelOf(StringFormat::format("Opening document %@ in default app", QUrl::fromLocalFile(theirs))),
                 LOG_INFO);
    }

    // The browser never hands a document to itself.
    void documentWhoseDefaultAppIsThisAppIsPreviewed()
    {
        const QString notes = m_drive.path(QStringLiteral("Notes.md"));
        QVERIFY(TestDrive::writeFile(notes, "# Notes\n"));
        QVERIFY(!LaunchUtils::defaultAppForDocument_requireOpenIn(QUrl::fromLocalFile(notes), false));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Ignoring com.quillmere.AerovaDriveApp as default app")), LOG_DEBUG);
        QVERIFY(!LaunchUtils::openInDefaultApp_viewController_requireOpenIn(QUrl::fromLocalFile(notes), nullptr, false));
        QVERIFY(opened().isEmpty());
    }

    // An app that only imports copies is skipped when the document must be edited in place.
    void importOnlyAppNeedsRequireOpenInFalse()
    {
        const QString table = m_drive.path(QStringLiteral("Budget.csv"));
        QVERIFY(TestDrive::writeFile(table, "a,b\n1,2\n"));
        QVERIFY(!LaunchUtils::defaultAppForDocument_requireOpenIn(QUrl::fromLocalFile(table), true));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("App com.example.Importer does not support open in place. Ignoring")),
                 LOG_DEBUG);
        const auto app = LaunchUtils::defaultAppForDocument_requireOpenIn(QUrl::fromLocalFile(table), false);
        QVERIFY(app);
        QCOMPARE(app->bundleIdentifier(), QStringLiteral("com.example.Importer"));
        QVERIFY(!app->supportsOpenInPlace());
    }

    // A bookmark hands over the document it stands for, never the link.
    void bookmarkOpensItsTarget()
    {
        const QString target = m_drive.path(QStringLiteral("Letters/Letter.txt"));
        QVERIFY(TestDrive::writeFile(target, "Dear reader\n"));
        const QString link = m_drive.path(QStringLiteral("Letter shortcut.txt"));
        QVERIFY(QFile::link(target, link));
        QVERIFY(LaunchUtils::openInDefaultApp_viewController_requireOpenIn(QUrl::fromLocalFile(link), nullptr, true));
        QTRY_COMPARE(opened(), QStringList{target});
    }

    // A promised document can go to an app: it is downloaded first, then handed over.
    void promisedDocumentCanBeHandedOver()
    {
        const QString path = m_drive.path(QStringLiteral("Far away.txt"));
        QVERIFY(TestDrive::writeFile(path, "from the store\n"));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(!QFileInfo::exists(path));
        const QUrl url = QUrl::fromLocalFile(path);
        QVERIFY(LaunchUtils::defaultAppForDocument_requireOpenIn(url, true));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Assuming apps can open a promised document...")), LOG_DEBUG);
        QVERIFY(LaunchUtils::openInDefaultApp_viewController_requireOpenIn(url, nullptr, true));
        QTRY_COMPARE(opened(), QStringList{path});
        QCOMPARE(QFile(path).size(), qint64(15));
    }

    // Offline, a promised document cannot be downloaded for an app: no app gets it, the answer
    // says so at once (the browser then shows its own download screen), and the placeholder
    // stays as it was.
    void offlinePromisedDocumentGoesToNoApp()
    {
        const QString path = m_drive.path(QStringLiteral("Unreachable.txt"));
        QVERIFY(TestDrive::writeFile(path, "in the store\n"));
        QVERIFY(!DriveSetup::promise(path));
        QVERIFY(!DriveSetup::setNetwork(QStringLiteral("offline")));
        const QUrl url = QUrl::fromLocalFile(path);
        LogSpy::clear();
        const bool handedOver = LaunchUtils::openInDefaultApp_viewController_requireOpenIn(url, nullptr, true);
        QVERIFY(!DriveSetup::setNetwork({}));
        QVERIFY(!handedOver);
        QVERIFY(opened().isEmpty());
        QVERIFY(PromisePlaceholder::isPromisedItem(path));
        QVERIFY(!QFileInfo::exists(path));
        const QString failure = StringFormat::format(
            "Could not download %@ to open it: %@", url,
            Error::fileError(UbiquityServerNotAvailableError, {{QString::fromLatin1(ErrorKey::FilePath), path}}).description());
        QCOMPARE(LogSpy::levelOf(failure), LOG_ERR);
    }

    // The details screen names the app that would open the document.
    void defaultAppNameNamesTheApp()
    {
        const QString path = m_drive.path(QStringLiteral("Name.txt"));
        QVERIFY(TestDrive::writeFile(path, "n"));
        QCOMPARE(LaunchUtils::defaultAppNameForDocument_requireOpenIn(QUrl::fromLocalFile(path), true),
                 QStringLiteral("Text Editor"));
        QVERIFY(LaunchUtils::defaultAppNameForDocument_requireOpenIn(m_drive.url(QStringLiteral("Papers/Form.pdf")), true)
                    .isNull());
    }

    // Only the drive's own container is the default one; outside the drive is logged.
    void isUrlInDefaultContainer()
    {
        QVERIFY(LaunchUtils::isUrlInDefaultContainer(m_drive.url(QStringLiteral("Name.txt"))));
        QVERIFY(!LaunchUtils::isUrlInDefaultContainer(QUrl::fromLocalFile(appContainerFile(QStringLiteral("Form.pdf")))));
        LogSpy::clear();
        QVERIFY(!LaunchUtils::isUrlInDefaultContainer(QUrl::fromLocalFile(QStringLiteral("/etc/hostname"))));
        const auto records = LogSpy::records();
        QVERIFY(std::any_of(records.begin(), records.end(), [](const SystemLogMessage &record) {
            return record.value(QStringLiteral("Message")).startsWith(QStringLiteral("Can't get container for URL file:///etc/hostname: "))
                && record.value(QStringLiteral("Level")).toInt() == LOG_WARNING;
        }));
    }

    // A placeholder resolves to the item it stands for, and the pair can be undone.
    void promiseResolutionGivesTheLogicalURL()
    {
        const QString path = m_drive.path(QStringLiteral("Pair.txt"));
        QVERIFY(TestDrive::writeFile(path, "pair"));
        QVERIFY(avd_URLByResolvingPromise(QUrl::fromLocalFile(path)).isEmpty());
        QVERIFY(!DriveSetup::promise(path));
        const QUrl physical = QUrl::fromLocalFile(PromisePlaceholder::placeholderPathFor(path));
        const QUrl logical = avd_URLByResolvingPromise(physical);
        QCOMPARE(logical.toLocalFile(), path);
        QCOMPARE(PromiseCopyPhysicalURL(logical), physical);
        QVERIFY(avd_URLByResolvingBookmark(QUrl::fromLocalFile(path)).isEmpty()); // not a bookmark
    }

    // A bookmark whose target is gone resolves to nothing: the link is used as it is.
    void brokenBookmarkResolvesToNothing()
    {
        const QString link = m_drive.path(QStringLiteral("Dangling.txt"));
        QVERIFY(QFile::link(m_drive.path(QStringLiteral("Never there.txt")), link));
        QVERIFY(avd_URLByResolvingBookmark(QUrl::fromLocalFile(link)).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_LaunchUtils)
#include "tst_LaunchUtils.moc"
