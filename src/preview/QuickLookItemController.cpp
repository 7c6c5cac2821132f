#include "preview/QuickLookItemController.h"

#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "platform/ui/BarButtonItem.h"
#include "preview/PreviewItemManager.h"

#include <QCoreApplication>
#include <QShortcut>
#include <QWidget>

QuickLookItemController::QuickLookItemController(QObject *parent)
    : PreviewController(parent)
{
    setObjectName(QStringLiteral("QuickLookItemController"));
    setDataSource(this);
    m_barButtonMoveItem = new BarButtonItem(BarButtonItem::SystemItem::Organize, this);
    m_barButtonMoveItem->setObjectName(QStringLiteral("quickLookMoveButton"));
    m_barButtonMoveItem->setAction([this] { showMoveTarget(); });
    m_barButtonDeleteItem = new BarButtonItem(BarButtonItem::SystemItem::Trash, this);
    m_barButtonDeleteItem->setObjectName(QStringLiteral("quickLookDeleteButton"));
    m_barButtonDeleteItem->setAction([this] { showWarningAndDeleteDocument(); });
    setAdditionalRightBarButtonItems({m_barButtonDeleteItem, m_barButtonMoveItem});
}

void QuickLookItemController::viewDidLoad()
{
    PreviewController::viewDidLoad();
    // Left and Right page through the folder's documents, as in a photo viewer
    for (const auto &[key, step] : {std::pair{Qt::Key_Left, -1}, std::pair{Qt::Key_Right, 1}}) {
        auto *shortcut = new QShortcut(QKeySequence(key), view());
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, step = step] {
            if (m_itemManager) {
                m_itemManager->previewNeighbourItem(step);
            }
        });
    }
}

QuickLookItemController *QuickLookItemController::defaultController()
{
    // made once, on the main thread, and kept until the application quits; it has no parent,
    // since widgets must go before the application object does
    static QPointer<QuickLookItemController> shared;
    if (!shared) {
        shared = new QuickLookItemController;
        shared->m_shared = true;
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, shared.data(),
                         &QObject::deleteLater);
    }
    return shared.data();
}

QuickLookItemController *QuickLookItemController::initWithItemManager(PreviewItemManager *manager)
{
    auto *controller = new QuickLookItemController;
    controller->setDocumentsOf(manager);
    return controller;
}

void QuickLookItemController::setDocumentsOf(PreviewItemManager *manager)
{
    m_itemManager = manager;
    const std::shared_ptr<DRItem> item = manager ? manager->item() : nullptr;
    m_arrayOfDocuments = item ? QList<QUrl>{item->resolvedURL()} : QList<QUrl>();
}

void QuickLookItemController::quickLookNewItem(PreviewItemManager *manager)
{
    setDocumentsOf(manager);
    reloadData();
}

bool QuickLookItemController::isVisible()
{
    // a loaded view counts only while it is on screen
    return isViewLoaded() && view()->isVisible();
}

void QuickLookItemController::viewWillDisappear(bool animated)
{
    if (m_itemManager) {
        m_itemManager->viewControllerWillDisappear(this);
    }
    PreviewController::viewWillDisappear(animated);
}

qint64 QuickLookItemController::numberOfPreviewItemsInPreviewController(PreviewController *controller)
{
    Q_UNUSED(controller)
    return m_arrayOfDocuments.size();
}

QUrl QuickLookItemController::previewController_previewItemAtIndex(PreviewController *controller, qint64 index)
{
    Q_UNUSED(controller)
    return index >= 0 && index < m_arrayOfDocuments.size() ? m_arrayOfDocuments.at(index) : QUrl();
}

void QuickLookItemController::showMoveTarget()
{
    DRLog(LOG_INFO, "Pressed Move");
    if (m_itemManager) {
        m_itemManager->showMoveTarget(this);
    }
}

void QuickLookItemController::showWarningAndDeleteDocument()
{
    if (m_itemManager) {
        m_itemManager->showWarningAndDeleteDocument_barButton(this, m_barButtonDeleteItem);
    }
}
