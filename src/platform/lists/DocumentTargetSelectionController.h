#pragma once

#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationControllerDelegate.h"

#include <QList>
#include <QPointer>
#include <QSet>
#include <QUrl>

class BarButtonItem;
class DocumentTargetFolderListController;
class DocumentTargetSelectionControllerDelegate;

/// The folder picker of a move: the folders of the container that holds the items, from its
/// documents folder down, opened at the folder the items are in. The user walks into
/// subfolders, taps "Move Here" to choose the folder on screen, or Cancel to choose nothing.
/// A folder being moved is never offered as its own target. Presented over the current screen:
/// the whole window on a phone, a centred sheet on a tablet.
///
/// Its own stack tells it (as navigation delegate) which level is on screen; `delegate` is the
/// picker's, told the choice.
class DocumentTargetSelectionController final : public NavigationController, public NavigationControllerDelegate
{
    Q_OBJECT
    Q_INTERFACES(NavigationControllerDelegate)

public:
    explicit DocumentTargetSelectionController(const QList<QUrl> &itemsToMove, QObject *parent = nullptr);
    /// A picker for `itemsToMove` with no owner yet: presenting it hands it to its presenter.
    static DocumentTargetSelectionController *initWithItemsToMove(const QList<QUrl> &itemsToMove);

    QList<QUrl> itemsToMove() const { return m_itemsToMove; }
    /// Weak: an object implementing DocumentTargetSelectionControllerDelegate.
    QObject *delegate() const { return m_delegate.data(); }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

    /// The folder the picker starts from: the container's documents folder, or, for items
    /// outside any container, the folder that holds them.
    QUrl rootFolderURL() const { return m_rootFolderURL; }
    /// The folder on screen, which "Move Here" chooses.
    QUrl currentFolderURL() const;
    /// Opens the level of a subfolder of the folder on screen.
    void openFolder(const QUrl &url);
    /// Chooses the folder on screen: the delegate is told.
    void chooseCurrentFolder();
    /// Closes the picker without a choice.
    void cancel();

    QRect presentedFrameInBounds(const QRect &bounds) override;
    bool dimsWhenPresented() const override;
    void presentationBackdropTapped() override;

    void navigationController_willShowViewController_animated(NavigationController *navigationController,
                                                              ViewController *viewController, bool animated) override;
    void navigationController_didShowViewController_animated(NavigationController *navigationController,
                                                             ViewController *viewController, bool animated) override;

protected:
    void viewDidLoad() override;

private:
    DocumentTargetFolderListController *makeLevel(const QUrl &folderURL);
    /// The levels from the root down to `folderURL`, when it lies under the root.
    QList<QUrl> levelsDownTo(const QUrl &folderURL) const;
    void updateMoveHereButton();

    QList<QUrl> m_itemsToMove;
    QSet<QString> m_movedPaths;
    QUrl m_rootFolderURL;
    QPointer<QObject> m_delegate;
    BarButtonItem *m_moveHereButton = nullptr;
};
