#include "browser/UIUtils.h"
#include "core/DRLogging.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/foundation/StringFormat.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/ViewController.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QTest>

class tst_UIUtils : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

private Q_SLOTS:
    void initTestCase() { LogSpy::keepDebugLines(); }

    // renaming a document to the name it has must not touch it or complain
    void renamingToTheSameNameDoesNothing()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Same"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Report.pdf"), "%PDF-1.4"));
        const QUrl url = QUrl::fromLocalFile(folder + QStringLiteral("/Report.pdf"));
        LogSpy::clear();
        QCOMPARE(UIUtils::renameItemAtURL_toName(url, QStringLiteral("Report.pdf")), std::nullopt);
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Report.pdf")));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 1);
        const QString line = StringFormat::format("Rename: Old and new URLs are the same: %@ - %@", url, url);
        QCOMPARE(LogSpy::levelOf(line), LOG_DEBUG);
    }

    // people cannot change a document's kind by renaming it
    void theOldExtensionIsKept_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("expected");
        QTest::newRow("no extension") << QStringLiteral("Summary") << QStringLiteral("Summary.pdf");
        QTest::newRow("other case") << QStringLiteral("Summary.PDF") << QStringLiteral("Summary.PDF");
        QTest::newRow("other extension") << QStringLiteral("Summary.txt") << QStringLiteral("Summary.txt.pdf");
    }
    void theOldExtensionIsKept()
    {
        QFETCH(QString, typed);
        QFETCH(QString, expected);
        const QUrl old = m_drive.url(QStringLiteral("Report.pdf"));
        QCOMPARE(UIUtils::computeNewURL_newBasename(old, typed).fileName(), expected);
    }

    void emptyOrInvalidNamesAreRefusedWith514()
    {
        const QUrl url = m_drive.url(QStringLiteral("Anything.txt"));
        LogSpy::clear();
        auto error = UIUtils::renameItemAtURL_toName(url, QString());
        QVERIFY(error && error->isFileError(514));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Rename: empty, reverting")), LOG_DEBUG);
        error = UIUtils::renameItemAtURL_toName(url, QStringLiteral("a:b"));
        QVERIFY(error && error->isFileError(514));
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Name is invalid: a:b")), LOG_DEBUG);
    }

    // a taken name becomes the next free one rather than a failure
    void takenNameTakesTheNextFreeOne()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Taken"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/A.txt"), "a"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/B.txt"), "b"));
        QCOMPARE(UIUtils::renameItemAtURL_toName(QUrl::fromLocalFile(folder + QStringLiteral("/A.txt")),
                                                 QStringLiteral("B")),
                 std::nullopt);
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/B 2.txt")));
        QCOMPARE(QFile(folder + QStringLiteral("/B.txt")).size(), 1);
    }

    void bestMessageIsEmptyWithoutError()
    {
        QCOMPARE(UIUtils::bestMessage(std::nullopt), QStringLiteral(""));
        QVERIFY(!UIUtils::bestMessage(Error::fileError(514)).isEmpty());
    }

    void itemExistsAlertNamesStemAndExtension()
    {
        ViewController screen;
        UIUtils::showItemExistsAlert_parentViewController(QStringLiteral("Report.pdf"), &screen);
        auto *alert = qobject_cast<AlertController *>(screen.presentedViewController());
        QVERIFY(alert);
        QCOMPARE(alert->title(), QStringLiteral("The name “Report” with extension “.pdf” is already taken."));
        QCOMPARE(alert->message(), QStringLiteral("Choose a different name."));
        screen.dismissViewControllerAnimated(false);
        UIUtils::showItemExistsAlert_parentViewController(QStringLiteral("Notes"), &screen);
        alert = qobject_cast<AlertController *>(screen.presentedViewController());
        QVERIFY(alert);
        QCOMPARE(alert->title(), QStringLiteral("The name “Notes” is already taken."));
        screen.dismissViewControllerAnimated(false);
        UIUtils::showInvalidItemNameAlert_parentViewController(QStringLiteral("a:b"), &screen);
        alert = qobject_cast<AlertController *>(screen.presentedViewController());
        QCOMPARE(alert->title(), QString());
        QCOMPARE(alert->message(), QStringLiteral("The name “a:b” can’t be used. Try using a name with fewer "
                                                  "characters, or with no punctuation marks."));
        QCOMPARE(alert->actions().size(), 1);
        QCOMPARE(alert->actions().first()->title(), QStringLiteral("OK"));
    }

    // the sheet names what is lost, in quotes, so that nobody deletes the wrong folder
    void deletingOneFolderQuotesItsName()
    {
        QDir().mkpath(m_drive.path(QStringLiteral("Work")));
        const QList<QUrl> urls{m_drive.url(QStringLiteral("Work"))};
        const QString expected = QStringLiteral(
            "\"Work\" will be permanently deleted from Aerova Drive on all your devices. This action cannot be undone.");
        QCOMPARE(UIUtils::messageForDeletePrompt(urls), expected);

        ViewController screen;
        screen.view()->resize(390, 844);
        int calls = 0;
        bool wasCancelled = true;
        AlertAction *pressed = nullptr;
        UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
            urls, false, &screen, screen.view(), nullptr, [&](AlertAction *action, bool cancelled) {
                ++calls;
                pressed = action;
                wasCancelled = cancelled;
            });
        auto *sheet = qobject_cast<AlertController *>(screen.presentedViewController());
        QVERIFY(sheet);
        QCOMPARE(sheet->preferredStyle(), AlertController::Style::ActionSheet);
        QCOMPARE(sheet->title(), QString());
        QCOMPARE(sheet->message(), expected);
        QCOMPARE(sheet->actions().size(), 2);
        QCOMPARE(sheet->actions().at(0)->title(), QStringLiteral("Delete from Aerova Drive"));
        QCOMPARE(sheet->actions().at(0)->style(), AlertAction::Style::Destructive);
        QCOMPARE(sheet->actions().at(1)->title(), QStringLiteral("Cancel"));
        QCOMPARE(sheet->actions().at(1)->style(), AlertAction::Style::Cancel);
        // on a tablet it points at the middle line of the anchor, from the left or the right
        PopoverPresentationController *popover = sheet->popoverPresentationController();
        QCOMPARE(popover->sourceView(), screen.view());
        QCOMPARE(popover->sourceRect(), QRect(0, 422, 390, 0));
        QCOMPARE(popover->permittedArrowDirections(),
                 PopoverPresentationController::ArrowDirection::Left | PopoverPresentationController::ArrowDirection::Right);

        LogSpy::clear();
        AlertAction *deleteAction = sheet->actions().at(0);
        sheet->pressAction(deleteAction);
        QCOMPARE(calls, 1);
        QCOMPARE(pressed, deleteAction);
        QVERIFY(!wasCancelled);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Delete action")), LOG_DEBUG);
        QCOMPARE(LogSpy::withMessage(QStringLiteral("Delete action")).first().value(QStringLiteral("DRFacility")),
                 QStringLiteral("DR"));
        QVERIFY(!screen.presentedViewController());
        QVERIFY(QFileInfo(m_drive.path(QStringLiteral("Work"))).isDir()); // the caller deletes, not the sheet
    }

    void cancellingTheSheetReportsCancelled()
    {
        ViewController screen;
        BarButtonItem trash(BarButtonItem::SystemItem::Trash);
        bool wasCancelled = false;
        int calls = 0;
        UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
            {m_drive.url(QStringLiteral("a")), m_drive.url(QStringLiteral("b"))}, false, &screen, nullptr, &trash,
            [&](AlertAction *, bool cancelled) {
                ++calls;
                wasCancelled = cancelled;
            });
        auto *sheet = qobject_cast<AlertController *>(screen.presentedViewController());
        QVERIFY(sheet);
        QCOMPARE(sheet->popoverPresentationController()->barButtonItem(), &trash);
        QVERIFY(!sheet->popoverPresentationController()->sourceView());
        LogSpy::clear();
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Cancel")));
        QCOMPARE(calls, 1);
        QVERIFY(wasCancelled);
        QCOMPARE(LogSpy::levelOf(QStringLiteral("Delete: Cancel pressed")), LOG_INFO);
    }

    void deletingAnAppContainerNamesItsLibrary()
    {
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.writer"), QStringLiteral("Writer"),
                                          QStringLiteral("Any"), {QStringLiteral("public.plain-text")}));
        const QUrl container = QUrl::fromLocalFile(DriveLayout::mobileDocumentsPath()
                                                   + QStringLiteral("/com.example.writer/Documents"));
        QCOMPARE(UIUtils::messageForDeletePrompt({container}),
                 QStringLiteral("The Writer app library, and all its documents, will be permanently deleted from "
                                "Aerova Drive on all your devices. This action cannot be undone."));
    }

    void deletingThreeItemsCountsThem()
    {
        const QList<QUrl> urls{m_drive.url(QStringLiteral("a")), m_drive.url(QStringLiteral("b")),
                               m_drive.url(QStringLiteral("c"))};
        QCOMPARE(UIUtils::messageForDeletePrompt(urls),
                 QStringLiteral("3 Items will be permanently deleted from Aerova Drive on all your devices. This "
                                "action cannot be undone."));
        QCOMPARE(UIUtils::messageForDeletePrompt({}),
                 QStringLiteral("0 Items will be permanently deleted from Aerova Drive on all your devices. This "
                                "action cannot be undone."));
    }

    void anEmptySelectionCompletesAtOnceAsCancelled()
    {
        ViewController screen;
        int calls = 0;
        bool wasCancelled = false;
        AlertAction *pressed = reinterpret_cast<AlertAction *>(1);
        UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
            {}, false, &screen, nullptr, nullptr, [&](AlertAction *action, bool cancelled) {
                ++calls;
                pressed = action;
                wasCancelled = cancelled;
            });
        QCOMPARE(calls, 1);
        QVERIFY(wasCancelled);
        QCOMPARE(pressed, nullptr);
        QVERIFY(!screen.presentedViewController());
    }

    // a vanished single item has nothing to confirm; the caller is not told either
    void anUnreadableSingleItemShowsNothing()
    {
        ViewController screen;
        int calls = 0;
        const QList<QUrl> urls{m_drive.url(QStringLiteral("Gone.txt"))};
        QCOMPARE(UIUtils::messageForDeletePrompt(urls), QString());
        UIUtils::showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
            urls, false, &screen, nullptr, nullptr, [&](AlertAction *, bool) { ++calls; });
        QVERIFY(!screen.presentedViewController());
        QCOMPARE(calls, 0);
    }

    void cursorGoesBeforeTheExtension()
    {
        QLineEdit field(QStringLiteral("My.Report.pdf"));
        UIUtils::setCursorInTextFieldToBeforeExtension(&field);
        QCOMPARE(field.cursorPosition(), 9);
        QVERIFY(!field.hasSelectedText());
        UIUtils::selectTextInTextField_range(&field, 0, 2);
        QCOMPARE(field.selectedText(), QStringLiteral("My"));
    }
};

QTEST_MAIN(tst_UIUtils)
#include "tst_UIUtils.moc"
