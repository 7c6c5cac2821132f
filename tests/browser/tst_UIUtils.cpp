#include "app/DRLogging.h"
#include "browser/UIUtils.h"
#include "platform/foundation/StringFormat.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
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
    void initTestCase() { DRLogSetLevel(LOG_DEBUG); }

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
