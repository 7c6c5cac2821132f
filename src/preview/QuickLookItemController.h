#pragma once

#include "platform/quicklook/PreviewController.h"
#include "platform/quicklook/PreviewControllerDataSource.h"

#include <QPointer>

class BarButtonItem;
class PreviewItemManager;

/// The one viewer of local documents for the whole process: it shows exactly one document, the
/// item of the manager it was given last, with Delete and Move buttons that hand over to that
/// manager. Each new preview re-targets it.
class QuickLookItemController final : public PreviewController, public PreviewControllerDataSource
{
    Q_OBJECT
    Q_INTERFACES(PreviewControllerDataSource)

public:
    /// The shared viewer, made on first use.
    static QuickLookItemController *defaultController();
    /// A viewer of its own for `manager`'s item (the shared one is made by `defaultController`).
    static QuickLookItemController *initWithItemManager(PreviewItemManager *manager);

    PreviewItemManager *itemManager() const { return m_itemManager.data(); }
    QList<QUrl> arrayOfDocuments() const { return m_arrayOfDocuments; }
    BarButtonItem *barButtonMoveItem() const { return m_barButtonMoveItem; }
    BarButtonItem *barButtonDeleteItem() const { return m_barButtonDeleteItem; }

    /// Shows `manager`'s item instead of the one shown so far.
    void quickLookNewItem(PreviewItemManager *manager);
    /// The view is loaded and on screen.
    bool isVisible();

    bool isSharedScreen() const override { return m_shared; }
    void viewWillDisappear(bool animated) override;

    qint64 numberOfPreviewItemsInPreviewController(PreviewController *controller) override;
    QUrl previewController_previewItemAtIndex(PreviewController *controller, qint64 index) override;

    void showMoveTarget();
    void showWarningAndDeleteDocument();

protected:
    /// Left and Right go to the folder's previous and next document.
    void viewDidLoad() override;

private:
    explicit QuickLookItemController(QObject *parent = nullptr);
    void setDocumentsOf(PreviewItemManager *manager);

    QPointer<PreviewItemManager> m_itemManager;
    QList<QUrl> m_arrayOfDocuments;
    BarButtonItem *m_barButtonMoveItem = nullptr;
    BarButtonItem *m_barButtonDeleteItem = nullptr;
    bool m_shared = false;
};
