#include "platform/apps/DocumentInteractionController.h"
#include "platform/foundation/StringFormat.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/ViewController.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <QWidget>

/// The options of one document: another app, a copy, its folder in the file manager.
class tst_DocumentInteractionController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;
    ViewController m_screen;

    /// The file manager of this test's desktop: a script that notes the folder it was asked to show.
    QString fileManager() const { return m_drive.home() + QStringLiteral("/bin/files"); }
    QString shownFolderNote() const { return m_drive.home() + QStringLiteral("/shown-folder"); }

    AlertController *optionsOf(const QString &relative)
    {
        return DocumentInteractionController::interactionControllerWithURL(m_drive.url(relative))
            ->presentOptionsMenuFromRect_inView_inViewController_animated(QRect(0, 0, 10, 10), m_screen.view(),
                                                                          &m_screen, false);
    }

    AlertController *shownAlert() const { return qobject_cast<AlertController *>(m_screen.presentedViewController()); }

    void dismissShown()
    {
        m_screen.dismissViewControllerAnimated(false);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_drive.useOwnDesktop();
        QVERIFY(TestDrive::writeFile(fileManager(), "#!/bin/sh\necho \"$1\" > '" + QFile::encodeName(shownFolderNote()) + "'\n"));
        QVERIFY(QFile::setPermissions(fileManager(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(TestDrive::writeFile(m_drive.home() + QStringLiteral("/data/applications/com.example.Files.desktop"),
                                     "[Desktop Entry]\nType=Application\nName=Files\nExec=" + QFile::encodeName(fileManager())
                                         + " %U\nMimeType=inode/directory;\n"));
        QVERIFY(TestDrive::writeFile(m_drive.home() + QStringLiteral("/config/mimeapps.list"),
                                     "[Default Applications]\ninode/directory=com.example.Files.desktop\n"));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Work/Notes.txt")), "notes"));
        m_screen.view()->resize(390, 844);
        m_screen.view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_screen.view()));
    }

    // with a file manager installed, Show in Folder opens the document's folder in it
    void showInFolderOpensTheFoldersWindow()
    {
        AlertController *options = optionsOf(QStringLiteral("Work/Notes.txt"));
        QVERIFY(options);
        QCOMPARE(shownAlert(), options);
        QVERIFY(options->actionWithTitle(QStringLiteral("Copy")));
        AlertAction *show = options->actionWithTitle(QStringLiteral("Show in Folder"));
        QVERIFY(show);
        options->pressAction(show);
        // the folder as a path or a URI, as the desktop's launcher passes it on
        const QByteArray path = QFile::encodeName(m_drive.path(QStringLiteral("Work")));
        const QByteArray uri = m_drive.url(QStringLiteral("Work")).toEncoded();
        QTRY_VERIFY(QFileInfo::exists(shownFolderNote()));
        QTRY_VERIFY2(TestDrive::readFile(shownFolderNote()).trimmed() == path || TestDrive::readFile(shownFolderNote()).trimmed() == uri,
                     TestDrive::readFile(shownFolderNote()).constData());
        QVERIFY(!shownAlert()); // it worked: nothing more to say
    }

    // a file manager that cannot start is named in an alert, not a tap that does nothing
    void aFileManagerThatCannotStartSaysSo()
    {
        AlertController *options = optionsOf(QStringLiteral("Work/Notes.txt"));
        AlertAction *show = options->actionWithTitle(QStringLiteral("Show in Folder"));
        QVERIFY(show);
        QVERIFY(QFile::remove(fileManager())); // gone since the menu opened
        LogSpy::clear();
        options->pressAction(show);
        AlertController *alert = shownAlert();
        QVERIFY(alert);
        QVERIFY(alert != options);
        QCOMPARE(alert->title(), QStringLiteral("“Files” Could Not Be Opened"));
        QVERIFY(!alert->message().isEmpty());
        QVERIFY(alert->actionWithTitle(QStringLiteral("OK")));
        const QStringList logged = LogSpy::messages();
        const QString expected = StringFormat::format("Could not open %@ in %@: ", m_drive.url(QStringLiteral("Work")),
                                                      QStringLiteral("Files"));
        QVERIFY2(std::any_of(logged.cbegin(), logged.cend(), [&](const QString &m) { return m.startsWith(expected); }),
                 qPrintable(logged.join(u'\n')));
        dismissShown();
    }
};

QTEST_MAIN(tst_DocumentInteractionController)
#include "tst_DocumentInteractionController.moc"
