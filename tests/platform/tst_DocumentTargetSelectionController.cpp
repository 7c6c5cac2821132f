#include "core/DRLogging.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/lists/DocumentTargetFolderListController.h"
#include "platform/lists/DocumentTargetSelectionController.h"
#include "platform/lists/DocumentTargetSelectionControllerDelegate.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Device.h"
#include "platform/ui/NavigationItem.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QLabel>
#include <QListView>
#include <QTemporaryDir>
#include <QTest>

namespace {
/// Records the folder the picker reports.
class ChoiceRecorder final : public QObject, public DocumentTargetSelectionControllerDelegate
{
    Q_OBJECT
    Q_INTERFACES(DocumentTargetSelectionControllerDelegate)

public:
    void documentTargetSelectionController_didSelectItemAtURL(DocumentTargetSelectionController *picker,
                                                              const QUrl &url) override
    {
        choices.append(url);
        lastPicker = picker;
    }
    QList<QUrl> choices;
    DocumentTargetSelectionController *lastPicker = nullptr;
};
} // namespace

class tst_DocumentTargetSelectionController : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QUrl url(const QString &path) { return QUrl::fromLocalFile(path); }
    static DocumentTargetFolderListController *level(DocumentTargetSelectionController *picker)
    {
        return qobject_cast<DocumentTargetFolderListController *>(picker->topViewController());
    }
    static QStringList names(DocumentTargetFolderListController *list)
    {
        QStringList result;
        for (const QUrl &folder : list->folderURLs()) {
            result << folder.fileName();
        }
        return result;
    }
    static BarButtonItem *moveHere(DocumentTargetSelectionController *picker)
    {
        return picker->findChild<BarButtonItem *>(QStringLiteral("moveHereButton"));
    }

private Q_SLOTS:
    void initTestCase()
    {
        DRLogSetLevel(LOG_WARNING);
        QDir().mkpath(m_drive.path(QStringLiteral("Work/2026/Q1")));
        QDir().mkpath(m_drive.path(QStringLiteral("Work/Archive")));
        QDir().mkpath(m_drive.path(QStringLiteral("Photos")));
        QDir().mkpath(m_drive.path(QStringLiteral("Slides.odp")));
        QDir().mkpath(m_drive.path(QStringLiteral(".hidden")));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Work/Plan.txt")), "p"));
        QVERIFY(TestDrive::writeFile(m_drive.path(QStringLiteral("Loose.txt")), "l"));
        QVERIFY(!DriveSetup::addContainer(QStringLiteral("com.example.writer"), QStringLiteral("Writer"),
                                          QStringLiteral("Any"), {QStringLiteral("public.plain-text")}));
        QDir().mkpath(DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.writer/Documents/Drafts"));
    }

    // the picker opens where the items are, with the levels above it to go back to
    void opensAtTheItemsFolderUnderTheContainersRoot()
    {
        DocumentTargetSelectionController picker({m_drive.url(QStringLiteral("Work/Plan.txt"))});
        picker.view();
        QCOMPARE(picker.rootFolderURL(), url(m_drive.root()));
        QCOMPARE(picker.viewControllers().size(), 2);
        QCOMPARE(picker.currentFolderURL(), m_drive.url(QStringLiteral("Work")));
        QCOMPARE(picker.viewControllers().first()->title(), QStringLiteral("Aerova Drive"));
        QCOMPARE(level(&picker)->title(), QStringLiteral("Work"));
        QCOMPARE(level(&picker)->navigationItem()->prompt(), QStringLiteral("Move 1 Item"));
        // the items are here already: choosing this folder would move nothing
        QVERIFY(!moveHere(&picker)->isEnabled());
        picker.popViewControllerAnimated(false);
        QCOMPARE(picker.currentFolderURL(), url(m_drive.root()));
        QVERIFY(moveHere(&picker)->isEnabled());
    }

    // only folders are targets: no documents, no packages, nothing hidden
    void listsOnlyVisibleFolders()
    {
        DocumentTargetSelectionController picker({m_drive.url(QStringLiteral("Loose.txt"))});
        picker.view();
        QCOMPARE(picker.viewControllers().size(), 1);
        QCOMPARE(names(level(&picker)), (QStringList{QStringLiteral("Photos"), QStringLiteral("Work")}));
    }

    // a folder never moves into itself or below itself
    void aMovedFolderIsShownButNotOffered()
    {
        ChoiceRecorder recorder;
        DocumentTargetSelectionController picker({m_drive.url(QStringLiteral("Work"))});
        picker.setDelegate(&recorder);
        picker.view();
        QCOMPARE(picker.currentFolderURL(), url(m_drive.root()));
        DocumentTargetFolderListController *root = level(&picker);
        QVERIFY(root->folderURLs().contains(m_drive.url(QStringLiteral("Work"))));
        QVERIFY(!root->isEnterable(m_drive.url(QStringLiteral("Work"))));
        QVERIFY(root->isEnterable(m_drive.url(QStringLiteral("Photos"))));
        picker.openFolder(m_drive.url(QStringLiteral("Work")));
        QCOMPARE(picker.viewControllers().size(), 1);
        QVERIFY(!moveHere(&picker)->isEnabled()); // Work is already in the drive's root

        // items of a folder below a moved one open at the moved folder's parent
        DocumentTargetSelectionController nested(
            {m_drive.url(QStringLiteral("Work")), m_drive.url(QStringLiteral("Work/2026/Q1"))});
        nested.view();
        QCOMPARE(nested.currentFolderURL(), url(m_drive.root()));
    }

    void walkingInAndChoosingTellsTheDelegate()
    {
        ChoiceRecorder recorder;
        DocumentTargetSelectionController picker({m_drive.url(QStringLiteral("Loose.txt"))});
        picker.setDelegate(&recorder);
        picker.view();
        level(&picker)->activateFolder(m_drive.url(QStringLiteral("Work")));
        QCOMPARE(picker.currentFolderURL(), m_drive.url(QStringLiteral("Work")));
        QCOMPARE(picker.viewControllers().size(), 2);
        QCOMPARE(names(level(&picker)), (QStringList{QStringLiteral("2026"), QStringLiteral("Archive")}));
        level(&picker)->activateFolder(m_drive.url(QStringLiteral("Work/2026")));
        QVERIFY(moveHere(&picker)->isEnabled());
        QCOMPARE(level(&picker)->toolbarItems().at(1), moveHere(&picker));
        moveHere(&picker)->trigger();
        QCOMPARE(recorder.choices, QList<QUrl>{m_drive.url(QStringLiteral("Work/2026"))});
        QCOMPARE(recorder.lastPicker, &picker);
        // an empty folder says so
        level(&picker)->activateFolder(m_drive.url(QStringLiteral("Work/2026/Q1")));
        QVERIFY(level(&picker)->folderURLs().isEmpty());
        QVERIFY(!level(&picker)->view()->findChild<QLabel *>(QStringLiteral("noFoldersLabel"))->isHidden());
    }

    // an app's items stay in the app's library
    void anAppsItemsChooseAmongTheAppsFolders()
    {
        const QString documents = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.example.writer/Documents");
        QVERIFY(TestDrive::writeFile(documents + QStringLiteral("/Draft.txt"), "d"));
        DocumentTargetSelectionController picker({url(documents + QStringLiteral("/Draft.txt"))});
        picker.view();
        QCOMPARE(picker.rootFolderURL(), url(documents));
        QCOMPARE(level(&picker)->title(), QStringLiteral("Writer"));
        QCOMPARE(names(level(&picker)), QStringList{QStringLiteral("Drafts")});
    }

    void cancelChoosesNothing()
    {
        ChoiceRecorder recorder;
        ViewController screen;
        screen.view()->resize(390, 844);
        auto *picker = DocumentTargetSelectionController::initWithItemsToMove({m_drive.url(QStringLiteral("Loose.txt"))});
        picker->setDelegate(&recorder);
        screen.presentViewController(picker, false);
        QCOMPARE(screen.presentedViewController(), picker);
        BarButtonItem *cancel = level(picker)->navigationItem()->rightBarButtonItems().first();
        QCOMPARE(cancel->systemItem(), BarButtonItem::SystemItem::Cancel);
        cancel->trigger();
        QVERIFY(!screen.presentedViewController());
        QVERIFY(recorder.choices.isEmpty());
    }

    void fillsAPhoneAndFloatsOnATablet()
    {
        DocumentTargetSelectionController picker({m_drive.url(QStringLiteral("Loose.txt"))});
        Device::setForcedIdiom(Device::Idiom::Phone);
        QCOMPARE(picker.presentedFrameInBounds(QRect(0, 0, 390, 844)), QRect(0, 0, 390, 844));
        QVERIFY(!picker.dimsWhenPresented());
        Device::setForcedIdiom(Device::Idiom::Pad);
        QCOMPARE(picker.presentedFrameInBounds(QRect(0, 0, 1024, 768)), QRect(242, 74, 540, 620));
        QVERIFY(picker.dimsWhenPresented());
        Device::setForcedIdiom(std::nullopt);
    }

    // items outside every container still get a picker: their own folder and below
    void itemsOutsideTheDriveStartAtTheirFolder()
    {
        QTemporaryDir outside;
        QDir().mkpath(outside.path() + QStringLiteral("/Sub"));
        DocumentTargetSelectionController picker({url(outside.path() + QStringLiteral("/a.txt"))});
        picker.view();
        QCOMPARE(picker.rootFolderURL(), url(outside.path()));
        QCOMPARE(names(level(&picker)), QStringList{QStringLiteral("Sub")});
    }
};

QTEST_MAIN(tst_DocumentTargetSelectionController)
#include "tst_DocumentTargetSelectionController.moc"
