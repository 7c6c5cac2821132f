#include "browser/NewFolderPrompt.h"
#include "browser/RenamePrompt.h"
#include "browser/SimpleTextViewController.h"
#include "browser/UIUtils.h"
#include "core/DRLogging.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/ViewController.h"
#include "support/LogSpy.h"
#include "support/TestDrive.h"

#include <QFontMetricsF>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QtMath>
#include <QTest>

class tst_FilenamePrompt : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static void type(FilenamePrompt *prompt, const QString &text)
    {
        prompt->textField()->setText(text);
        prompt->folderPromptTextFieldChanged(prompt->textField());
    }
    static bool errorLineVisible(FilenamePrompt *prompt) { return !prompt->errMsgViewController()->view()->isHidden(); }
    static QString errorText(FilenamePrompt *prompt) { return prompt->errMsgViewController()->messageLabel()->text(); }

private Q_SLOTS:
    void initTestCase() { DRLogSetLevel(LOG_DEBUG); }

    // a name of blanks is no name: nothing to complain about yet, nothing to confirm
    void onlySpacesHideTheErrorLineAndDisableConfirm()
    {
        auto prompt = NewFolderPrompt::newWithTitle_doneButtonText_completion(QStringLiteral("New Folder"),
                                                                              QStringLiteral("Create"), {});
        type(prompt.get(), QStringLiteral("x"));
        type(prompt.get(), QStringLiteral("     "));
        QVERIFY(!errorLineVisible(prompt.get()));
        QCOMPARE(errorText(prompt.get()), QString());
        QVERIFY(!prompt->defaultAction()->isEnabled());
    }

    // the user learns why a name is refused as they type it
    void leadingDotAsksForADifferentName()
    {
        auto prompt = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"), {});
        type(prompt.get(), QStringLiteral(".secret"));
        QVERIFY(errorLineVisible(prompt.get()));
        QCOMPARE(errorText(prompt.get()), QStringLiteral("Choose a different name."));
        QVERIFY(!prompt->defaultAction()->isEnabled());
    }

    void slashOrColonIsACharacterNotAllowed_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("slash") << QStringLiteral("a/b");
        QTest::newRow("colon") << QStringLiteral("a:b");
    }
    void slashOrColonIsACharacterNotAllowed()
    {
        QFETCH(QString, name);
        auto prompt = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"), {});
        type(prompt.get(), name);
        QVERIFY(errorLineVisible(prompt.get()));
        QCOMPARE(errorText(prompt.get()), QStringLiteral("Character not allowed in filename"));
        QVERIFY(!prompt->defaultAction()->isEnabled());
        type(prompt.get(), QStringLiteral("ab"));
        QVERIFY(!errorLineVisible(prompt.get()));
        QVERIFY(prompt->defaultAction()->isEnabled());
    }

    // renaming starts from a usable name; a new folder has none yet
    void renamePromptOpensEnabledNewFolderPromptDisabled()
    {
        auto rename = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"), {});
        QVERIFY(rename->defaultAction()->isEnabled());
        QCOMPARE(rename->alert()->title(), QStringLiteral("Rename Item"));
        QCOMPARE(rename->alert()->message(), QStringLiteral("Enter a new name for this item."));
        QCOMPARE(rename->textField()->text(), QStringLiteral("Report.pdf"));
        QCOMPARE(rename->textField()->placeholderText(), QStringLiteral("Report.pdf"));
        QCOMPARE(rename->defaultAction()->title(), QStringLiteral("Done"));
        QVERIFY(!rename->errMsgViewController()->view()->isVisibleTo(rename->alert()->view()));

        auto folder = NewFolderPrompt::newWithTitle_doneButtonText_completion(QStringLiteral("New Folder"),
                                                                              QStringLiteral("Create"), {});
        QVERIFY(!folder->defaultAction()->isEnabled());
        QCOMPARE(folder->alert()->message(), QStringLiteral("Enter a name for this folder."));
        QCOMPARE(folder->textField()->placeholderText(), QStringLiteral("Folder Name"));
        QCOMPARE(folder->textField()->text(), QString());
        QCOMPARE(folder->defaultAction()->title(), QStringLiteral("Create"));
        QVERIFY(folder->alert()->actionWithTitle(QStringLiteral("Cancel")));
    }

    // The name field is as tall as one line of its text and a fifth more, no taller.
    void nameFieldIsOneAndAFifthLinesTall()
    {
        auto rename = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"), {});
        QLineEdit *field = rename->textField();
        const int expected = qCeil(1.2 * QFontMetricsF(field->font()).lineSpacing());
        QCOMPARE(field->minimumHeight(), expected);
        QCOMPARE(field->maximumHeight(), expected);
    }

    // "  Summary  " is what people type by accident; the item must be named Summary
    void surroundingSpacesAreDroppedBeforeTestingAndApplying()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Trim"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Report.pdf"), "%PDF-1.4"));
        const QUrl url = QUrl::fromLocalFile(folder + QStringLiteral("/Report.pdf"));
        QString received;
        auto prompt = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"),
                                                               [&](const QString &name, bool *accepted) {
                                                                   received = name;
                                                                   const auto error = UIUtils::renameItemAtURL_toName(url, name);
                                                                   *accepted = !error;
                                                                   return UIUtils::bestMessage(error);
                                                               });
        type(prompt.get(), QStringLiteral("  Summary \n"));
        QVERIFY(prompt->defaultAction()->isEnabled());
        QVERIFY(prompt->handleDoneAction());
        QCOMPARE(received, QStringLiteral("Summary"));
        QVERIFY(QFileInfo::exists(folder + QStringLiteral("/Summary.pdf")));
        QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/Report.pdf")));
    }

    // a name the callback refuses keeps the prompt open with the callback's words under the field
    void refusedNameKeepsThePromptOpenWithTheMessage()
    {
        ViewController screen;
        screen.view()->resize(400, 700);
        auto prompt = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"), [](const QString &, bool *accepted) {
            *accepted = false;
            return QStringLiteral("The disk is full.");
        });
        screen.presentViewController(prompt->alert(), false);
        prompt->alert()->pressAction(prompt->defaultAction());
        QCOMPARE(screen.presentedViewController(), prompt->alert());
        QVERIFY(errorLineVisible(prompt.get()));
        QCOMPARE(errorText(prompt.get()), QStringLiteral("The disk is full."));
    }

    // a prompt opens with the keyboard in its field: typing goes in at once, replacing a
    // document's name and keeping its extension
    void aPromptTakesTypingAtOnceAndRenameSelectsTheNameOnly()
    {
        ViewController screen;
        screen.view()->resize(390, 844);
        screen.view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(screen.view()));
        auto prompt = RenamePrompt::newWithFilename_completion(QStringLiteral("Holiday.Report.pdf"), {});
        screen.presentViewController(prompt->alert(), false);
        QCOMPARE(screen.view()->focusWidget(), prompt->textField());
        QCOMPARE(prompt->textField()->selectedText(), QStringLiteral("Holiday.Report"));
        QTest::keyClicks(screen.view()->focusWidget(), QStringLiteral("Summary"));
        QCOMPARE(prompt->textField()->text(), QStringLiteral("Summary.pdf"));
        // Escape is Cancel
        QTest::keyClick(prompt->textField(), Qt::Key_Escape);
        QVERIFY(!screen.presentedViewController());

        auto folder = RenamePrompt::newWithFilename_completion(QStringLiteral("Tax.2024"), {});
        folder->selectWholeName();
        screen.presentViewController(folder->alert(), false);
        QCOMPARE(folder->textField()->selectedText(), QStringLiteral("Tax.2024"));
        screen.dismissViewControllerAnimated(false);

        auto newFolder = NewFolderPrompt::newWithTitle_doneButtonText_completion(QStringLiteral("New Folder"), QStringLiteral("Create"), {});
        screen.presentViewController(newFolder->alert(), false);
        QCOMPARE(screen.view()->focusWidget(), newFolder->textField());
        QTest::keyClicks(screen.view()->focusWidget(), QStringLiteral("Receipts"));
        QCOMPARE(newFolder->textField()->text(), QStringLiteral("Receipts"));
        screen.dismissViewControllerAnimated(false);
    }

    // the return key confirms like the button does, and closes only an accepted name
    void returnKeyConfirmsAndCloses()
    {
        LogSpy::clear();
        ViewController screen;
        bool accepted = false;
        auto prompt = RenamePrompt::newWithFilename_completion(QStringLiteral("Report.pdf"), [&](const QString &, bool *ok) {
            *ok = accepted;
            return QString();
        });
        screen.presentViewController(prompt->alert(), false);
        QVERIFY(!prompt->textFieldShouldReturn(prompt->textField()));
        QCOMPARE(screen.presentedViewController(), prompt->alert());
        accepted = true;
        QVERIFY(prompt->textFieldShouldReturn(prompt->textField()));
        QVERIFY(!screen.presentedViewController());
        QCOMPARE(LogSpy::levelOf(QStringLiteral("textFieldShouldReturn")), LOG_DEBUG);
    }

    // the error line reads as an error: red footnote text inset like the field
    void errorLineIsRedFootnoteInsetSixteen()
    {
        SimpleTextViewController line;
        QLabel *label = line.messageLabel();
        QCOMPARE(label->palette().color(QPalette::WindowText), QColor(255, 59, 48));
        QCOMPARE(label->font().pixelSize(), SimpleTextViewController::messageLabelFont().pixelSize());
        QCOMPARE(line.view()->layout()->contentsMargins().left(), 16);
        QCOMPARE(line.view()->layout()->contentsMargins().right(), 16);
        QCOMPARE(label->text(), QString());
    }
};

QTEST_MAIN(tst_FilenamePrompt)
#include "tst_FilenamePrompt.moc"
