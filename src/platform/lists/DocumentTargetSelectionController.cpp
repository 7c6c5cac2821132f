#include "platform/lists/DocumentTargetSelectionController.h"

#include "platform/drive/KDContainer.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/lists/DocumentTargetFolderListController.h"
#include "platform/lists/DocumentTargetSelectionControllerDelegate.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Device.h"
#include "platform/ui/NavigationItem.h"

#include <QDir>
#include <QFileInfo>

namespace {
QString cleanPath(const QUrl &url)
{
    return QDir::cleanPath(url.toLocalFile());
}

/// The folder that holds an item (a promised item's folder too: its URL is its logical one).
QUrl parentFolder(const QUrl &url)
{
    return QUrl::fromLocalFile(QFileInfo(cleanPath(url)).absolutePath());
}
} // namespace

DocumentTargetSelectionController::DocumentTargetSelectionController(const QList<QUrl> &itemsToMove,
                                                                     QObject *parent)
    : NavigationController(parent)
    , m_itemsToMove(itemsToMove)
{
    setObjectName(QStringLiteral("DocumentTargetSelectionController"));
    NavigationController::setDelegate(this);
    for (const QUrl &url : itemsToMove) {
        m_movedPaths.insert(cleanPath(url));
    }
    const QUrl first = itemsToMove.isEmpty() ? QUrl() : itemsToMove.first();
    const std::shared_ptr<KDContainer> container = KDContainer::containerForItemAtURL_error(first, nullptr);
    m_rootFolderURL = container && !container->documentsURL().isEmpty() ? container->documentsURL()
                                                                         : parentFolder(first);
}

DocumentTargetSelectionController *DocumentTargetSelectionController::initWithItemsToMove(const QList<QUrl> &itemsToMove)
{
    return new DocumentTargetSelectionController(itemsToMove);
}

void DocumentTargetSelectionController::viewDidLoad()
{
    NavigationController::viewDidLoad();
    m_moveHereButton = new BarButtonItem(LocalizedString::localized(QStringLiteral("Move Here")),
                                         BarButtonItem::Style::Done, this);
    m_moveHereButton->setObjectName(QStringLiteral("moveHereButton"));
    m_moveHereButton->setAction([this] { chooseCurrentFolder(); });
    QList<ViewController *> levels;
    const QUrl start = m_itemsToMove.isEmpty() ? m_rootFolderURL : parentFolder(m_itemsToMove.first());
    for (const QUrl &folder : levelsDownTo(start)) {
        levels.append(makeLevel(folder));
    }
    setViewControllers(levels, false);
    setToolbarHidden(false);
}

QList<QUrl> DocumentTargetSelectionController::levelsDownTo(const QUrl &folderURL) const
{
    const QString root = cleanPath(m_rootFolderURL);
    QList<QUrl> levels{QUrl::fromLocalFile(root)};
    const QString target = cleanPath(folderURL);
    if (!target.startsWith(root + QLatin1Char('/'))) {
        return levels;
    }
    QString path = root;
    for (const QString &component : target.mid(root.size() + 1).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        path += QLatin1Char('/') + component;
        if (m_movedPaths.contains(path)) {
            break; // never open a level inside an item that moves
        }
        levels.append(QUrl::fromLocalFile(path));
    }
    return levels;
}

DocumentTargetFolderListController *DocumentTargetSelectionController::makeLevel(const QUrl &folderURL)
{
    auto *level = new DocumentTargetFolderListController(folderURL, m_movedPaths, this);
    if (cleanPath(folderURL) == cleanPath(m_rootFolderURL)) {
        const std::shared_ptr<KDContainer> container = KDContainer::containerForItemAtURL_error(folderURL, nullptr);
        if (container) {
            level->setTitle(container->isDefaultContainer() ? LocalizedString::localized(QStringLiteral("Aerova Drive"))
                                                            : container->localizedName());
        }
    }
    level->navigationItem()->setPrompt(LocalizedString::localizedPluralWithFormat(
        QStringLiteral(".DICT.MOVE_ITEMS.%d"), int(m_itemsToMove.size()), qint64(m_itemsToMove.size())));
    auto *cancelButton = new BarButtonItem(BarButtonItem::SystemItem::Cancel, level);
    cancelButton->setObjectName(QStringLiteral("cancelMoveButton"));
    cancelButton->setAction([this] { cancel(); });
    level->navigationItem()->setRightBarButtonItem(cancelButton);
    auto *space = new BarButtonItem(BarButtonItem::SystemItem::FlexibleSpace, level);
    level->setToolbarItems({space, m_moveHereButton, space});
    connect(level, &DocumentTargetFolderListController::folderActivated, this,
            &DocumentTargetSelectionController::openFolder);
    return level;
}

QUrl DocumentTargetSelectionController::currentFolderURL() const
{
    auto *level = qobject_cast<DocumentTargetFolderListController *>(topViewController());
    return level ? level->folderURL() : m_rootFolderURL;
}

void DocumentTargetSelectionController::openFolder(const QUrl &url)
{
    auto *level = qobject_cast<DocumentTargetFolderListController *>(topViewController());
    if (!level || !level->isEnterable(url)) {
        return;
    }
    pushViewController(makeLevel(url), true);
}

void DocumentTargetSelectionController::updateMoveHereButton()
{
    if (!m_moveHereButton) {
        return;
    }
    // items already in the folder on screen would not move at all
    const QString current = cleanPath(currentFolderURL());
    bool anyElsewhere = false;
    for (const QUrl &url : std::as_const(m_itemsToMove)) {
        anyElsewhere = anyElsewhere || cleanPath(parentFolder(url)) != current;
    }
    m_moveHereButton->setEnabled(anyElsewhere);
}

void DocumentTargetSelectionController::chooseCurrentFolder()
{
    if (auto *delegate = qobject_cast<DocumentTargetSelectionControllerDelegate *>(m_delegate.data())) {
        delegate->documentTargetSelectionController_didSelectItemAtURL(this, currentFolderURL());
    }
}

void DocumentTargetSelectionController::cancel()
{
    dismissViewControllerAnimated(true);
}

QRect DocumentTargetSelectionController::presentedFrameInBounds(const QRect &bounds)
{
    if (Device::userInterfaceIdiom() != Device::Idiom::Pad) {
        return bounds;
    }
    const QSize size(qMin(540, bounds.width() - 40), qMin(620, bounds.height() - 40));
    return QRect(QPoint(bounds.x() + (bounds.width() - size.width()) / 2, bounds.y() + (bounds.height() - size.height()) / 2),
                 size);
}

bool DocumentTargetSelectionController::dimsWhenPresented() const
{
    return Device::userInterfaceIdiom() == Device::Idiom::Pad;
}

void DocumentTargetSelectionController::presentationBackdropTapped()
{
    cancel();
}

void DocumentTargetSelectionController::navigationController_willShowViewController_animated(
    NavigationController *navigationController, ViewController *viewController, bool animated)
{
    Q_UNUSED(navigationController)
    Q_UNUSED(viewController)
    Q_UNUSED(animated)
}

void DocumentTargetSelectionController::navigationController_didShowViewController_animated(
    NavigationController *navigationController, ViewController *viewController, bool animated)
{
    Q_UNUSED(navigationController)
    Q_UNUSED(viewController)
    Q_UNUSED(animated)
    updateMoveHereButton();
}
