#pragma once

#include "model/DocumentImporter.h"
#include "platform/foundation/FolderWatchHub.h"
#include "platform/lists/DocumentListEntry.h"
#include "platform/lists/ListSortOrder.h"
#include "platform/ui/ViewController.h"

#include <QPointer>
#include <QSet>
#include <QTimer>
#include <QUrl>

#include <atomic>
#include <memory>

class AlertController;
class DocumentItemDelegate;
class DocumentListControllerDelegate;
class DocumentListModel;
class QFileDialog;
class QLabel;
class QListView;
class QPushButton;

/// The list of one folder of the drive: the drive's root (the default container's items and
/// the app containers by name), an app container's documents folder, or any folder below.
///
/// It shows the items as rows or as a grid (the GridMode preference), promised items with a
/// cloud badge and their size, thumbnails where there are some and type icons otherwise. A tap
/// on a folder hands its delegate a list of that folder; a tap on a document reports its URL.
/// In editing mode taps select. A long press or a swipe to the left on an item offers the item
/// actions the available-actions mask enables (1 Delete, 2 More, 4 Info, 8 Rename). The list
/// follows the folder on disk and reports every change of its contents or selection.
class DocumentListController final : public ViewController
{
    Q_OBJECT

public:
    /// Whether a folder may have changed between its status taken before its reading (at
    /// `readStartedMs`) and its status right after its watch began, unseen by both: its date
    /// or its identity changed, or its date is too recent to tell (a second change within one
    /// tick of the kernel's clock leaves it as it was).
    static bool mayHaveChangedUnseen(const struct stat &before, const std::optional<struct stat> &after,
                                     qint64 readStartedMs);
    enum ActionBit : qint64 {
        DeleteActionBit = 1,
        MoreActionBit = 2,
        InfoActionBit = 4,
        RenameActionBit = 8,
    };
    enum Action : qint64 {
        DeleteAction = 0,
        MoreAction = 1,
        InfoAction = 2,
        RenameAction = 3,
    };

    /// The drive's root.
    explicit DocumentListController(QObject *parent = nullptr);
    /// The list of a folder of the drive.
    DocumentListController(const QUrl &folderURL, QObject *parent);
    ~DocumentListController() override;

    /// The lists from the drive's root down to `folderURL`, root first; empty when the URL is
    /// not a folder of the drive. The lists are children of `parent` until a stack takes them.
    static QList<DocumentListController *> listControllerHierarchyForURL(const QUrl &folderURL,
                                                                        QObject *parent = nullptr);

    bool isDriveRoot() const { return m_isDriveRoot; }
    QUrl presentedURL() const { return m_presentedURL; }
    QList<QUrl> containedItems() const;
    qsizetype containedItemCount() const;
    QList<QUrl> selectedItems() const;
    void setSelectedItems(const QList<QUrl> &urls);
    qint64 availableActions() const { return m_availableActions; }
    void setAvailableActions(qint64 actions) { m_availableActions = actions; }
    bool editing() const { return m_editing; }
    void setEditing_animated(bool editing, bool animated);

    /// Weak: an object implementing DocumentListControllerDelegate.
    QObject *delegate() const { return m_delegate.data(); }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

    /// Reads the folder again now. When the folder changes on disk it is read again by itself,
    /// away from the main thread, and the rows are replaced once the read is done.
    void reloadContents();
    /// What a tap on the item does.
    void activateItemAtURL(const QUrl &url);
    /// What a long press or a swipe on the item does: the sheet of its enabled actions.
    void showActionsForItemAtURL(const QUrl &url);
    /// Opens the search over the drive's names.
    void showSearch();
    /// Selects every item (in edit mode).
    void selectAll();
    /// The Add sheet: New Folder (where the folder's app allows one) and Add Files….
    void showAddOptions();
    /// The file dialog of Add Files…; the documents chosen are added to the folder.
    QFileDialog *chooseDocumentsToAdd();
    /// Copies documents of the computer into the list's folder (Add Files…, a drop), off the
    /// main thread; a large copy shows its progress and can be stopped. What could not be added
    /// is said in an alert. documentsAdded tells when it is done.
    void addDocuments(const QList<QUrl> &sources);
    /// The sheet of the list's order (name, date, size, kind; the chosen one again turns it
    /// round) and of rows or grid, for every list of the device.
    void showPresentationOptions();
    ListSortOrder sortOrder() const { return m_sortOrder; }
    /// Whether the list says "This folder is empty" instead of showing rows.
    bool isShowingEmptyFolder() const;

    QListView *listView();
    DocumentListModel *model() const { return m_model; }

    void viewDidAppear(bool animated) override;

Q_SIGNALS:
    /// An addition of documents ended: what was added, and a line for each that was not.
    void documentsAdded(const QList<QUrl> &added, const QStringList &failures);

protected:
    QWidget *loadView() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setUp();
    void applyGridMode();
    void watchFolder(const FolderWatchHub::Ahead &ahead);
    /// Reads the folder again a little later, once for a burst of changes.
    void rereadSoon();

    /// The list's rows as they are on disk now; callable from any thread.
    static QList<DocumentListEntry> readEntries(bool isDriveRoot, const QString &folderPath, const ListSortOrder &order);
    bool acceptDrop(QObject *watched, QEvent *event);
    /// A sheet of the search row's buttons: a popover under the button on a tablet.
    void presentSheetFromButton(AlertController *sheet, QPushButton *button);
    void showImportProgress(qint64 total, const std::shared_ptr<std::atomic<bool>> &cancel);
    void showImportProgressed(qint64 copied, qint64 total);
    void finishAddingDocuments(const DocumentImporter::Outcome &outcome);
    /// Takes up the device's list presentation after a change: grid or rows, and the order.
    void followPresentation();
    void reloadContentsInBackground();
    void applyEntries(QList<DocumentListEntry> entries);
    /// Entries of the folder changed: their rows are brought up to date a few at a time.
    void takeChangedNames(const QStringList &names);
    void applyChangedNames();
    void notifyItemsChanged();
    DocumentListControllerDelegate *listDelegate() const;
    QWidget *anchorForRow(int row);
    /// Return opens the item the keyboard is on, F2 renames it, Delete deletes it (asking
    /// first); Ctrl+F searches, Ctrl+A selects all in edit mode.
    void addKeyboardShortcuts(QWidget *root);
    QModelIndex currentIndex() const;
    void activateCurrentItem();
    /// The action on the keyboard's item, where the list offers it (`bit` of the actions).
    void performOnCurrentItem(qint64 bit, qint64 action);
    void showWhetherEmpty();
    /// Where sheets and the search are presented: the stack the list is in, else the list.
    ViewController *presenter();

    QUrl m_presentedURL;
    bool m_isDriveRoot = false;
    DocumentListModel *m_model = nullptr;
    QPointer<QListView> m_listView;
    QPointer<QLabel> m_emptyLabel;
    QPointer<QPushButton> m_presentationButton;
    QPointer<QPushButton> m_addButton;
    QPointer<AlertController> m_importSheet;
    /// Set while documents are being added: the way to stop them.
    std::shared_ptr<std::atomic<bool>> m_importCancel;
    ListSortOrder m_sortOrder;
    DocumentItemDelegate *m_itemDelegate = nullptr;
    QPointer<QWidget> m_rowAnchor;
    QPointer<QObject> m_delegate;
    qint64 m_availableActions = 0;
    bool m_editing = false;
    QTimer m_reloadTimer;
    /// Names reported changed and not yet applied, in the order they came.
    QStringList m_changedNames;
    QSet<QString> m_changedNameSet;
    QTimer m_applyNamesTimer;
    /// Counts the reads started; a background read whose number is no longer the last is stale.
    quint64 m_readGeneration = 0;
    bool m_backgroundReadRunning = false;
    bool m_backgroundReadAgain = false;
    QTimer m_longPressTimer;
    QPoint m_pressPosition;
    bool m_suppressClick = false;
    bool m_reportedContents = false;
};
