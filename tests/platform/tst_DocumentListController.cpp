#include "core/Settings.h"
#include "model/DRItem.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/Thumbnailer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/FolderEntryWatcher.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListControllerDelegate.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/ListPresentation.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Window.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QElapsedTimer>
#include <QHash>
#include <QFileDialog>
#include <QListView>
#include <QMimeData>
#include <QProgressBar>
#include <QSignalSpy>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QScopeGuard>
#include <QTest>
#include <QThread>

#include <atomic>
#include <thread>

#include <sys/stat.h>


/// A screen that owns lists, as the browser does, allowing new folders where told.
class Owner : public QObject, public DocumentListControllerDelegate
{
    Q_OBJECT
    Q_INTERFACES(DocumentListControllerDelegate)

public:
    bool folderAllowed = true;
    int newFolderRequests = 0;
    void documentListController_didSelectItemAtURL(DocumentListController *, const QUrl &) override { }
    void documentListController_didSelectContainerWithViewController(DocumentListController *, DocumentListController *) override { }
    void documentListControllerItemsChanged(DocumentListController *) override { }
    void documentListController_performAction_URL_originatingView_completion(DocumentListController *, qint64, const QUrl &,
                                                                             QWidget *, std::function<void()>) override
    {
    }
    bool documentListControllerCanCreateFolder(DocumentListController *) override { return folderAllowed; }
    void documentListControllerCreateFolder(DocumentListController *) override { ++newFolderRequests; }
};

class tst_DocumentListController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QStringList names(DocumentListController *list)
    {
        QStringList result;
        for (const DocumentListEntry &entry : list->model()->entries()) {
            result << entry.name;
        }
        return result;
    }

    /// The thumbnail the list shows for the row named `name`, asked for as painting asks.
    static QImage rowThumbnail(DocumentListController *list, const QString &name)
    {
        DocumentListModel *model = list->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            if (model->entries().at(row).name == name) {
                return model->data(model->index(row), DocumentListModel::ThumbnailRole).value<QImage>();
            }
        }
        return {};
    }

    /// A document with a size and a date of its own.
    static bool writeDated(const QString &path, qsizetype size, qint64 modifiedSecs)
    {
        if (!TestDrive::writeFile(path, QByteArray(size, 'x'))) {
            return false;
        }
        QFile file(path);
        return file.open(QIODevice::ReadWrite)
            && file.setFileTime(QDateTime::fromSecsSinceEpoch(modifiedSecs), QFileDevice::FileModificationTime);
    }

    /// A folder for the order tests: a folder, three documents of different ages, sizes and
    /// kinds, and a promised one whose size and date only its placeholder knows.
    QString orderedFolder()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Ordered"));
        QDir().mkpath(folder + QStringLiteral("/Zebra"));
        writeDated(folder + QStringLiteral("/apple.txt"), 300, 1700000300); // newest, mid-sized
        writeDated(folder + QStringLiteral("/Banana.pdf"), 10, 1700000100); // oldest, smallest
        writeDated(folder + QStringLiteral("/cherry.png"), 200, 1700000200);
        writeDated(folder + QStringLiteral("/Far.txt"), 5000, 1700000150);
        if (DriveSetup::promise(folder + QStringLiteral("/Far.txt"))) {
            return {};
        }
        return folder;
    }

    static AlertController *shownSheet(DocumentListController *list)
    {
        return qobject_cast<AlertController *>(list->presentedViewController());
    }

    /// A list of `folder` on a phone's screen, owned by `owner`.
    struct ShownList {
        std::unique_ptr<Window> window;
        DocumentListController *list = nullptr;
    };
    static ShownList showList(const QString &folder, Owner *owner)
    {
        ShownList shown;
        shown.window = std::make_unique<Window>(QRect(0, 0, 390, 844));
        shown.list = new DocumentListController(QUrl::fromLocalFile(folder), nullptr);
        shown.list->setDelegate(owner);
        shown.window->setRootViewController(shown.list);
        shown.window->makeKeyAndVisible();
        return shown;
    }

private slots:
    // the Add button offers a new folder where the folder's app allows one, and the computer's
    // documents; edit mode has its own New Folder, so the button goes
    void theAddSheetOffersANewFolderAndDocuments()
    {
        Owner owner;
        const ShownList shown = showList(m_drive.freshFolder(QStringLiteral("Adding")), &owner);
        auto *add = shown.list->view()->findChild<QPushButton *>(QStringLiteral("addButton"));
        QVERIFY(add);
        QCOMPARE(add->accessibleName(), QStringLiteral("Add"));
        QTest::mouseClick(add, Qt::LeftButton);
        AlertController *sheet = shownSheet(shown.list);
        QVERIFY(sheet);
        QVERIFY(sheet->actionWithTitle(QStringLiteral("New Folder"))->isEnabled());
        QVERIFY(sheet->actionWithTitle(QStringLiteral("Add Files…")));
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("New Folder")));
        QCOMPARE(owner.newFolderRequests, 1);

        owner.folderAllowed = false;
        shown.list->showAddOptions();
        sheet = shownSheet(shown.list);
        QVERIFY(!sheet->actionWithTitle(QStringLiteral("New Folder"))->isEnabled());
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Add Files…")));
        auto *dialog = shown.list->view()->window()->findChild<QFileDialog *>(QStringLiteral("addFilesDialog"));
        QVERIFY(dialog);
        QCOMPARE(dialog->fileMode(), QFileDialog::ExistingFiles);
        QCOMPARE(dialog->labelText(QFileDialog::Accept), QStringLiteral("Add"));
        dialog->reject();

        QVERIFY(add->isVisibleTo(shown.list->view()));
        shown.list->setEditing_animated(true, false);
        QVERIFY(!add->isVisibleTo(shown.list->view()));
        shown.list->setEditing_animated(false, false);
    }

    // documents chosen in the dialog or dropped from a file manager arrive in the folder and
    // in the list, under free names; what cannot be added is said, each with its reason
    void chosenAndDroppedDocumentsArrive()
    {
        Owner owner;
        const QString folder = m_drive.freshFolder(QStringLiteral("Arrivals"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Plan.txt"), "the drive's plan"));
        const ShownList shown = showList(folder, &owner);
        QTemporaryDir computer;
        QVERIFY(TestDrive::writeFile(computer.filePath(QStringLiteral("Plan.txt")), "the computer's plan"));
        QVERIFY(TestDrive::writeFile(computer.filePath(QStringLiteral("Photo.png")), TestDrive::png(10, 10)));

        QSignalSpy added(shown.list, &DocumentListController::documentsAdded);
        QFileDialog *dialog = shown.list->chooseDocumentsToAdd();
        // chosen in the dialog and accepted, as a person does
        dialog->setDirectory(computer.path());
        dialog->selectFile(computer.filePath(QStringLiteral("Plan.txt")));
        QMetaObject::invokeMethod(dialog, "accept"); // its Add button
        QVERIFY(added.wait());
        QCOMPARE(added.first().first().value<QList<QUrl>>(), QList<QUrl>{QUrl::fromLocalFile(folder + QStringLiteral("/Plan 2.txt"))});
        QVERIFY(names(shown.list).contains(QStringLiteral("Plan 2.txt")));
        QCOMPARE(TestDrive::readFile(folder + QStringLiteral("/Plan.txt")), QByteArray("the drive's plan"));
        QVERIFY(!shownSheet(shown.list)); // small and whole: nothing more to say

        QMimeData dragged;
        dragged.setUrls({QUrl::fromLocalFile(computer.filePath(QStringLiteral("Photo.png"))), QUrl::fromLocalFile(computer.path())});
        QWidget *viewport = shown.list->listView()->viewport();
        QDragEnterEvent enter(QPoint(20, 20), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(viewport, &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(20, 20), Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(viewport, &drop);
        QVERIFY(added.wait());
        QVERIFY(names(shown.list).contains(QStringLiteral("Photo.png")));
        const QString reason = QStringLiteral("“%1” could not be added: it is a folder; only documents are added.")
                                   .arg(QFileInfo(computer.path()).fileName());
        QCOMPARE(added.last().at(1).toStringList(), QStringList{reason});
        QTRY_VERIFY(shownSheet(shown.list));
        QCOMPARE(shownSheet(shown.list)->title(), reason);
        shownSheet(shown.list)->pressAction(shownSheet(shown.list)->actionWithTitle(QStringLiteral("OK")));
    }

    // a large copy shows how far it is and stops on Cancel, leaving nothing in the folder
    void aLargeCopyShowsItsProgressAndCanBeStopped()
    {
        Owner owner;
        const QString folder = m_drive.freshFolder(QStringLiteral("Large"));
        const ShownList shown = showList(folder, &owner);
        QTemporaryDir computer;
        const QString big = computer.filePath(QStringLiteral("Film.mp4"));
        QVERIFY(TestDrive::writeFile(big, "start"));
        QVERIFY(QFile::resize(big, 256LL * 1024 * 1024));
        QSignalSpy added(shown.list, &DocumentListController::documentsAdded);
        shown.list->addDocuments({QUrl::fromLocalFile(big)});
        AlertController *progress = shownSheet(shown.list);
        QVERIFY(progress);
        QCOMPARE(progress->title(), QStringLiteral("Adding Documents…"));
        QVERIFY(progress->contentViewController()->view()->findChild<QProgressBar *>(QStringLiteral("importProgressBar")));
        progress->pressAction(progress->actionWithTitle(QStringLiteral("Cancel")));
        QVERIFY(added.wait(20000));
        QVERIFY(added.first().first().value<QList<QUrl>>().isEmpty());
        QVERIFY(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
        QVERIFY(!shownSheet(shown.list));
    }

    // the order is the device's: by date the newest come first, by size the largest, by kind
    // the types from A; folders stay on top, a promised item is placed by what it will be
    void theListFollowsTheChosenOrder()
    {
        const QString folder = orderedFolder();
        QVERIFY(!folder.isEmpty());
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QCOMPARE(names(&list), (QStringList{QStringLiteral("Zebra"), QStringLiteral("apple.txt"), QStringLiteral("Banana.pdf"),
                                            QStringLiteral("cherry.png"), QStringLiteral("Far.txt")}));
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Date, true});
        QCOMPARE(names(&list), (QStringList{QStringLiteral("Zebra"), QStringLiteral("apple.txt"), QStringLiteral("cherry.png"),
                                            QStringLiteral("Far.txt"), QStringLiteral("Banana.pdf")}));
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Size, true});
        QCOMPARE(names(&list), (QStringList{QStringLiteral("Zebra"), QStringLiteral("Far.txt"), QStringLiteral("apple.txt"),
                                            QStringLiteral("cherry.png"), QStringLiteral("Banana.pdf")}));
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Size, false});
        QCOMPARE(names(&list).mid(1, 1), QStringList{QStringLiteral("Banana.pdf")});
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Kind, false});
        // "PDF document", the two "plain text document"s by name, then "PNG image"
        QCOMPARE(names(&list), (QStringList{QStringLiteral("Zebra"), QStringLiteral("Banana.pdf"), QStringLiteral("apple.txt"),
                                            QStringLiteral("Far.txt"), QStringLiteral("cherry.png")}));
        // a list opened now starts in the device's order, and a re-read keeps it
        DocumentListController later(QUrl::fromLocalFile(folder), nullptr);
        QCOMPARE(names(&later), names(&list));
        later.reloadContents();
        QCOMPARE(names(&later), names(&list));
        ListPresentation::instance()->setSortOrder({});
        QCOMPARE(names(&list).at(1), QStringLiteral("apple.txt"));
    }

    // the sheet beside the search offers the orders, marks the one in force, turns it round on a
    // second tap, and switches every list between rows and a grid; the choice is remembered
    void theSortAndViewSheetChangesEveryList()
    {
        const QString folder = orderedFolder();
        QVERIFY(!folder.isEmpty());
        Window window(QRect(0, 0, 390, 844));
        auto *list = new DocumentListController(QUrl::fromLocalFile(folder), nullptr);
        window.setRootViewController(list);
        window.makeKeyAndVisible();
        DocumentListController other(QUrl::fromLocalFile(m_drive.root()), nullptr);
        other.listView();

        auto *button = list->view()->findChild<QPushButton *>(QStringLiteral("presentationButton"));
        QVERIFY(button);
        QCOMPARE(button->accessibleName(), QStringLiteral("Sort and View"));
        QTest::mouseClick(button, Qt::LeftButton);
        AlertController *sheet = shownSheet(list);
        QVERIFY(sheet);
        QCOMPARE(sheet->title(), QStringLiteral("Sort By"));
        QCOMPARE(sheet->actionWithTitle(QStringLiteral("Name"))->detail(), QStringLiteral("✓ ↑"));
        QVERIFY(sheet->actionWithTitle(QStringLiteral("Date"))->detail().isEmpty());
        QVERIFY(sheet->actionWithTitle(QStringLiteral("Show as Grid")));

        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Date")));
        QCOMPARE(list->sortOrder(), (ListSortOrder{ListSortOrder::Key::Date, true}));
        QCOMPARE(other.sortOrder(), list->sortOrder());
        // the drive's root keeps its app folders on top, by name, in any order of the rest
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.zeta"), QStringLiteral("Zeta"), QStringLiteral("Any"),
                                          {QStringLiteral("public.plain-text")}));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.alpha"), QStringLiteral("Alpha"), QStringLiteral("Any"),
                                          {QStringLiteral("public.plain-text")}));
        DocumentListController driveRoot;
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Date, false});
        QCOMPARE(names(&driveRoot).mid(0, 2), (QStringList{QStringLiteral("Alpha"), QStringLiteral("Zeta")}));
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Date, true});
        QCOMPARE(names(&driveRoot).mid(0, 2), (QStringList{QStringLiteral("Alpha"), QStringLiteral("Zeta")}));
        QCOMPARE(Settings::listSortKey(), QStringLiteral("date"));
        QCOMPARE(names(list).at(1), QStringLiteral("apple.txt"));

        list->showPresentationOptions();
        sheet = shownSheet(list);
        QCOMPARE(sheet->actionWithTitle(QStringLiteral("Date"))->detail(), QStringLiteral("✓ ↓"));
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Date")));
        QCOMPARE(list->sortOrder(), (ListSortOrder{ListSortOrder::Key::Date, false}));
        QCOMPARE(names(list).at(1), QStringLiteral("Banana.pdf"));

        list->showPresentationOptions();
        sheet = shownSheet(list);
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Show as Grid")));
        QVERIFY(Settings::gridMode());
        QCOMPARE(list->listView()->viewMode(), QListView::IconMode);
        QCOMPARE(other.listView()->viewMode(), QListView::IconMode);
        list->showPresentationOptions();
        sheet = shownSheet(list);
        sheet->pressAction(sheet->actionWithTitle(QStringLiteral("Show as List")));
        QVERIFY(!Settings::gridMode());
        QCOMPARE(list->listView()->viewMode(), QListView::ListMode);
        ListPresentation::instance()->setSortOrder({});
    }

    // the device's own pictures, SVGs and PDFs show what they hold, and keep showing it after a
    // rename, though nobody downloaded them and the cache knew them by another name
    void localPicturesGetThumbnailsThatFollowARename()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Pictures"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Doodle.png"), TestDrive::png(80, 40)));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Logo.svg"),
                                     R"(<svg xmlns="http://www.w3.org/2000/svg" width="20" height="20">)"
                                     R"(<circle cx="10" cy="10" r="10" fill="blue"/></svg>)"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/Notes.txt"), "words"));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QTRY_COMPARE(list.model()->rowCount(), 3);
        QTRY_VERIFY(!rowThumbnail(&list, QStringLiteral("Doodle.png")).isNull());
        QTRY_VERIFY(!rowThumbnail(&list, QStringLiteral("Logo.svg")).isNull());
        QVERIFY(QFileInfo::exists(Thumbnailer::cachePath(folder + QStringLiteral("/Doodle.png"), QStringLiteral("xx-large"))));
        QVERIFY(!QFileInfo::exists(Thumbnailer::cachePath(folder + QStringLiteral("/Notes.txt"), QStringLiteral("xx-large"))));

        QVERIFY(QFile::rename(folder + QStringLiteral("/Doodle.png"), folder + QStringLiteral("/Sketch.png")));
        QTRY_VERIFY(names(&list).contains(QStringLiteral("Sketch.png")));
        QTRY_VERIFY(!rowThumbnail(&list, QStringLiteral("Sketch.png")).isNull());
    }

    // A change on disk reaches the list by itself, and what the user had selected stays selected.
    void changeOnDiskIsListedAndKeepsTheSelection()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Changing"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/b.txt"), "b"));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        list.listView()->resize(360, 640);
        list.setEditing_animated(true, false);
        const QUrl b = QUrl::fromLocalFile(folder + QStringLiteral("/b.txt"));
        list.setSelectedItems({b});

        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/a.txt"), "a"));
        QTRY_COMPARE(names(&list), (QStringList{QStringLiteral("a.txt"), QStringLiteral("b.txt")}));
        QCOMPARE(list.selectedItems(), QList<QUrl>{b});

        QVERIFY(QFile::remove(folder + QStringLiteral("/b.txt")));
        QTRY_COMPARE(names(&list), QStringList{QStringLiteral("a.txt")});
        QVERIFY(list.selectedItems().isEmpty());
    }

    // A folder that keeps changing ends up listed as it finally is, whatever the reads overlapped.
    void burstOfChangesEndsWithTheFinalContents()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Burst"));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QStringList expected;
        for (int i = 0; i < 300; ++i) {
            const QString name = QStringLiteral("doc %1.txt").arg(i, 3, 10, QLatin1Char('0'));
            QVERIFY(TestDrive::writeFile(folder + QLatin1Char('/') + name, "x"));
            expected << name;
            if (i % 50 == 0) {
                QTest::qWait(60); // let some reads start while the folder is still changing
            }
        }
        QTRY_COMPARE(names(&list), expected);
    }

    // A folder that never stops changing (a program writing a file every 100 ms) is still shown:
    // each change is on screen within a bounded delay instead of waiting for a quiet moment.
    void folderThatKeepsChangingIsStillListed()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Churn"));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QCOMPARE(names(&list), QStringList());
        int written = 0;
        QTimer churn;
        churn.setInterval(100);
        connect(&churn, &QTimer::timeout, this, [&] {
            TestDrive::writeFile(folder + QStringLiteral("/churn %1.txt").arg(written++, 4, 10, QLatin1Char('0')), "x");
        });
        churn.start();
        QElapsedTimer elapsed;
        elapsed.start();
        // under a change every 100 ms, the first rows must show long before the churn ends
        QTRY_VERIFY_WITH_TIMEOUT(names(&list).size() >= 3, 3000);
        QVERIFY(churn.isActive());
        churn.stop();
        QTRY_COMPARE(names(&list).size(), written);
    }

    // Ten thousand changes of every kind reach an open list one by one, and it ends with exactly
    // the rows a fresh read gives, in the same order, without ever being read again.
    void tenThousandChangesEndWithExactlyTheRightRows()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Storm"));
        const auto path = [&folder](const QString &name) -> QString { return folder + QLatin1Char('/') + name; };
        const auto numbered = [](const char *stem, int i) -> QString { return QStringLiteral("%1 %2.txt").arg(QLatin1String(stem)).arg(i, 4, 10, QLatin1Char('0')); };
        for (int i = 0; i < 3000; ++i) {
            QVERIFY(TestDrive::writeFile(path(numbered("doc", i)), "x"));
        }
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QCOMPARE(list.model()->rowCount(), 3000);
        auto *watcher = list.findChild<FolderEntryWatcher *>();
        QVERIFY(watcher && watcher->reportsNames());
        QSignalSpy rereads(watcher, &FolderEntryWatcher::rereadNeeded);
        QSignalSpy resets(list.model(), &QAbstractItemModel::modelReset);

        int notifications = 0;
        // the list keeps up as an app would: the kernel's queue never overflows
        const auto pace = [&notifications](int made) {
            const int before = notifications;
            notifications += made;
            if (before / 500 != notifications / 500) {
                QCoreApplication::processEvents();
            }
        };
        for (int i = 0; i < 3000; ++i) { // made, then written and closed
            QVERIFY(TestDrive::writeFile(path(numbered("new", i)), "new"));
            pace(2);
        }
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(QFile::remove(path(numbered("doc", i))));
            pace(1);
        }
        for (int i = 1000; i < 2000; ++i) { // out under one name, in under another
            QVERIFY(QFile::rename(path(numbered("doc", i)), path(numbered("renamed", i))));
            pace(2);
        }
        for (int i = 2000; i < 2500; ++i) { // new content, same row
            QVERIFY(TestDrive::writeFile(path(numbered("doc", i)), "rewritten"));
            pace(1);
        }
        for (int i = 0; i < 300; ++i) {
            QVERIFY(QDir().mkdir(path(QStringLiteral("Folder %1").arg(i, 3, 10, QLatin1Char('0')))));
            pace(1);
        }
        for (int i = 2500; i < 2700; ++i) { // sent to the cloud: the document gives way to its placeholder
            QVERIFY(!DriveSetup::promise(path(numbered("doc", i))));
            pace(3);
        }
        QVERIFY(notifications >= 10000);

        const QList<DocumentListEntry> expected = DocumentListModel::entriesOfFolder(folder);
        QCOMPARE(expected.size(), 3000 - 1000 + 3000 + 300);
        QTRY_VERIFY_WITH_TIMEOUT(list.model()->entries() == expected, 30000);
        QCOMPARE(rereads.count(), 0);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(list.containedItemCount(), expected.size());
        QVERIFY(list.model()->entries().at(0).isFolder);
        QVERIFY(list.model()->entries().at(list.model()->rowForURL(QUrl::fromLocalFile(path(numbered("doc", 2600))))).isPromise);
    }

    // A large folder's watch is made while the folder is read: documents made all the while,
    // before the watch began, during the reading and after it, are all listed in the end.
    void documentsMadeWhileALargeFolderIsReadAreAllListed()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Large and busy"));
        for (int i = 0; i < 9000; ++i) {
            QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/A document with a long name to fill the folder %1.txt").arg(i), "x"));
        }
        const std::optional<struct stat> folderStatus = FilePath::status(folder);
        QVERIFY(folderStatus);
        if (folderStatus->st_size < 256 * 1024) {
            QSKIP("this file system gives folders no size by their entries");
        }
        std::atomic<bool> stop = false;
        std::atomic<int> made = 0;
        std::thread writer([&] {
            while (!stop) {
                TestDrive::writeFile(folder + QStringLiteral("/late %1.txt").arg(made.load()), "late");
                ++made;
            }
        });
        while (made < 20) {
            QThread::yieldCurrentThread();
        }
        {
            DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
            const int madeWhileOpening = made;
            while (made < madeWhileOpening + 20) {
                QThread::yieldCurrentThread();
            }
            stop = true;
            writer.join();
            auto *watcher = list.findChild<FolderEntryWatcher *>();
            QVERIFY(watcher && watcher->reportsNames());
            QTRY_COMPARE_WITH_TIMEOUT(list.containedItemCount(), qsizetype(9000 + made), 30000);
            QCOMPARE(list.model()->entries(), DocumentListModel::entriesOfFolder(folder));
        }
    }

    // What tells that a large folder may have changed unseen while it was read and its watch
    // began: its date, its identity, or a date too recent to tell.
    void aFolderMayHaveChangedUnseenWhenItsDateSaysSo()
    {
        struct stat before {};
        before.st_ino = 42;
        before.st_mtim = {1'700'000'000, 500'000'000};
        const qint64 longAfter = 1'700'000'000'500LL + 10'000;
        QVERIFY(!DocumentListController::mayHaveChangedUnseen(before, before, longAfter));
        struct stat newer = before;
        newer.st_mtim.tv_nsec += 1;
        QVERIFY(DocumentListController::mayHaveChangedUnseen(before, newer, longAfter));
        struct stat replaced = before;
        replaced.st_ino = 43;
        QVERIFY(DocumentListController::mayHaveChangedUnseen(before, replaced, longAfter));
        QVERIFY(DocumentListController::mayHaveChangedUnseen(before, std::nullopt, longAfter));
        // changed within the last tick of the clock: a second change may hide behind the same date
        QVERIFY(DocumentListController::mayHaveChangedUnseen(before, before, 1'700'000'000'500LL + 5));
        // a date in the future proves nothing either
        QVERIFY(DocumentListController::mayHaveChangedUnseen(before, before, 1'700'000'000'500LL - 1000));
    }

    // When more changes come than the kernel keeps, their names are lost: the list reads the
    // folder again and ends right all the same.
    void changesBeyondTheKernelsQueueAreFoundByAReread()
    {
        QFile limitFile(QStringLiteral("/proc/sys/fs/inotify/max_queued_events"));
        QVERIFY(limitFile.open(QIODevice::ReadOnly));
        const int limit = limitFile.readAll().trimmed().toInt();
        if (limit <= 0 || limit > 100000) {
            QSKIP("this system keeps too many changes to overflow in a test");
        }
        const QString folder = m_drive.freshFolder(QStringLiteral("Overflow"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/first.txt"), "x"));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        auto *watcher = list.findChild<FolderEntryWatcher *>();
        QVERIFY(watcher);
        QSignalSpy rereads(watcher, &FolderEntryWatcher::rereadNeeded);
        QSignalSpy resets(list.model(), &QAbstractItemModel::modelReset);
        // no event is taken meanwhile: each document is two notifications, twice the queue in all
        for (int i = 0; i < limit; ++i) {
            QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/flood %1.txt").arg(i, 6, 10, QLatin1Char('0')), "x"));
        }
        QVERIFY(QFile::remove(folder + QStringLiteral("/first.txt")));
        QTRY_VERIFY_WITH_TIMEOUT(rereads.count() >= 1, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(list.containedItemCount(), qsizetype(limit), 30000);
        QCOMPARE(list.model()->entries(), DocumentListModel::entriesOfFolder(folder));
        QVERIFY(resets.count() >= 1);
        QCOMPARE(list.model()->rowForURL(QUrl::fromLocalFile(folder + QStringLiteral("/first.txt"))), -1);
    }

    // Names swapped, chained and moved out and back in, a storm of renames: the list ends with
    // every row under its final name, in order, each row found by its name.
    void theListIsRightAfterARenameStorm()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Renames"));
        const QString outside = m_drive.freshFolder(QStringLiteral("Renames elsewhere"));
        const auto path = [&folder](const QString &name) -> QString { return folder + QLatin1Char('/') + name; };
        const auto named = [](int i) -> QString { return QStringLiteral("item %1.txt").arg(i, 4, 10, QLatin1Char('0')); };
        for (int i = 0; i < 1000; ++i) {
            QVERIFY(TestDrive::writeFile(path(named(i)), QByteArray::number(i)));
        }
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        auto *watcher = list.findChild<FolderEntryWatcher *>();
        QVERIFY(watcher);
        QSignalSpy rereads(watcher, &FolderEntryWatcher::rereadNeeded);
        QStringList current;
        for (int i = 0; i < 1000; ++i) {
            current << named(i);
        }
        for (int round = 0; round < 5; ++round) {
            // neighbours swap names through a third
            for (int i = 0; i + 1 < 1000; i += 2) {
                QVERIFY(QFile::rename(path(current.at(i)), path(QStringLiteral("swap.tmp"))));
                QVERIFY(QFile::rename(path(current.at(i + 1)), path(current.at(i))));
                QVERIFY(QFile::rename(path(QStringLiteral("swap.tmp")), path(current.at(i + 1))));
            }
            // a tenth leave and come back, some under new names
            for (int i = round; i < 1000; i += 10) {
                QVERIFY(QFile::rename(path(current.at(i)), outside + QLatin1Char('/') + current.at(i)));
            }
            QCoreApplication::processEvents();
            for (int i = round; i < 1000; i += 10) {
                const QString back = i % 20 == round ? QStringLiteral("Back %1 %2.txt").arg(round).arg(i) : current.at(i);
                QVERIFY(QFile::rename(outside + QLatin1Char('/') + current.at(i), path(back)));
                current[i] = back;
            }
            QCoreApplication::processEvents();
        }
        const QList<DocumentListEntry> expected = DocumentListModel::entriesOfFolder(folder);
        QCOMPARE(expected.size(), 1000);
        QTRY_VERIFY_WITH_TIMEOUT(list.model()->entries() == expected, 30000);
        QCOMPARE(rereads.count(), 0);
        for (int row = 0; row < expected.size(); row += 97) {
            QCOMPARE(list.model()->rowForURL(expected.at(row).url()), row);
        }
        QVERIFY(!list.model()->entries().contains(DocumentListEntry{QStringLiteral("swap.tmp"), folder, false, false, false}));
    }

    // Sorted by date, a document written anew moves to the top on its own; a promised item that
    // is downloaded becomes a document row where it was.
    void aChangedItemTakesItsPlaceInTheOrder()
    {
        const QString folder = orderedFolder();
        QVERIFY(!folder.isEmpty());
        ListPresentation::instance()->setSortOrder({ListSortOrder::Key::Date, true});
        const auto restoreOrder = qScopeGuard([] { ListPresentation::instance()->setSortOrder({}); });
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QCOMPARE(names(&list), (QStringList{QStringLiteral("Zebra"), QStringLiteral("apple.txt"), QStringLiteral("cherry.png"),
                                            QStringLiteral("Far.txt"), QStringLiteral("Banana.pdf")}));
        QSignalSpy resets(list.model(), &QAbstractItemModel::modelReset);
        QVERIFY(writeDated(folder + QStringLiteral("/Banana.pdf"), 10, 1700000900));
        QTRY_COMPARE(names(&list), (QStringList{QStringLiteral("Zebra"), QStringLiteral("Banana.pdf"), QStringLiteral("apple.txt"),
                                                QStringLiteral("cherry.png"), QStringLiteral("Far.txt")}));
        const int far = list.model()->rowForURL(QUrl::fromLocalFile(folder + QStringLiteral("/Far.txt")));
        QVERIFY(far >= 0 && list.model()->entries().at(far).isPromise);
        QVERIFY(writeDated(folder + QStringLiteral("/Far.txt"), 5000, 1700000150));
        QVERIFY(QFile::remove(PromisePlaceholder::placeholderPathFor(folder + QStringLiteral("/Far.txt"))));
        QTRY_VERIFY(!list.model()->entries().at(list.model()->rowForURL(QUrl::fromLocalFile(folder + QStringLiteral("/Far.txt")))).isPromise);
        QCOMPARE(list.model()->entries(), DocumentListModel::entriesOfFolder(folder, {ListSortOrder::Key::Date, true}));
        QCOMPARE(resets.count(), 0);
    }

    // A name another program wrote in bytes that are not UTF-8 is listed, shown with the
    // replacement character, and its row leads to that very file (size and all), not to a
    // look-alike whose name shows the same.
    void nameThatIsNotUtf8IsListedAndLeadsToItsOwnFile()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Bytes"));
        const QByteArray raw = FilePath::encode(folder) + "/bad\xff\xfename.txt";
        QVERIFY(TestDrive::writeFile(FilePath::decode(raw), "raw"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/bad\uFFFD\uFFFDname.txt"), "look-alike"));
        QVERIFY(::mkdir(QByteArray(FilePath::encode(folder) + "/odd\xfe").constData(), 0755) == 0);

        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        DocumentListModel *model = list.model();
        QCOMPARE(model->rowCount(), 3);
        // sorted by the names people see: both "bad��name.txt" rows lie between apple and cherry
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/cherry.txt"), "c"));
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/apple.txt"), "a"));
        list.reloadContents();
        QCOMPARE(model->rowCount(), 5);
        QCOMPARE(model->data(model->index(1), Qt::DisplayRole).toString(), QStringLiteral("apple.txt"));
        QCOMPARE(model->data(model->index(4), Qt::DisplayRole).toString(), QStringLiteral("cherry.txt"));
        QCOMPARE(model->data(model->index(0), Qt::DisplayRole).toString(), QStringLiteral("odd\uFFFD"));
        QVERIFY(model->data(model->index(0), DocumentListModel::IsFolderRole).toBool());
        int rawRow = -1;
        for (int row = 0; row < model->rowCount(); ++row) {
            if (FilePath::encode(model->entries().at(row).path()) == raw) {
                rawRow = row;
            }
        }
        QVERIFY(rawRow >= 0);
        QCOMPARE(model->data(model->index(rawRow), Qt::DisplayRole).toString(), QStringLiteral("bad\uFFFD\uFFFDname.txt"));
        const std::shared_ptr<DRItem> item = model->itemAtRow(rawRow);
        QVERIFY(item);
        QCOMPARE(item->fileSize(), std::optional<quint64>(3));
        QCOMPARE(item->localizedName(), QStringLiteral("bad\uFFFD\uFFFDname.txt"));
        QVERIFY(!item->canPreview()); // the viewers could only open the look-alike
    }

    // A link in the drive that leads out of it is no folder: nothing outside the drive is
    // listed or walked into through it; a link to a folder inside the drive stays one.
    void linkOutOfTheDriveIsNotAFolder()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Links"));
        QTemporaryDir outside;
        QVERIFY(QDir().mkpath(outside.path() + QStringLiteral("/Secrets")));
        QVERIFY(QFile::link(outside.path() + QStringLiteral("/Secrets"), folder + QStringLiteral("/Out")));
        QVERIFY(QDir().mkpath(folder + QStringLiteral("/Inner")));
        QVERIFY(QFile::link(folder + QStringLiteral("/Inner"), folder + QStringLiteral("/In")));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QHash<QString, bool> isFolder;
        for (const DocumentListEntry &entry : list.model()->entries()) {
            isFolder.insert(entry.name, entry.isFolder);
        }
        QCOMPARE(isFolder.value(QStringLiteral("Out"), true), false);
        QCOMPARE(isFolder.value(QStringLiteral("In")), true);
        QCOMPARE(isFolder.value(QStringLiteral("Inner")), true);
        QVERIFY(DocumentListController::listControllerHierarchyForURL(
                    QUrl::fromLocalFile(folder + QStringLiteral("/Out")), nullptr)
                    .isEmpty());
    }

    // An explicit reload lists the folder as it is before it returns, and nothing read in the
    // background afterwards brings back what is gone.
    void explicitReloadListsAtOnce()
    {
        const QString folder = m_drive.freshFolder(QStringLiteral("Explicit"));
        DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
        QVERIFY(TestDrive::writeFile(folder + QStringLiteral("/first.txt"), "1"));
        QTRY_COMPARE(names(&list), QStringList{QStringLiteral("first.txt")});
        QVERIFY(QFile::remove(folder + QStringLiteral("/first.txt")));
        list.reloadContents();
        QCOMPARE(names(&list), QStringList());
        // whatever the change notification still brings, the list stays as read last
        QTest::qWait(400);
        QCOMPARE(names(&list), QStringList());
    }
};

QTEST_MAIN(tst_DocumentListController)
#include "tst_DocumentListController.moc"
