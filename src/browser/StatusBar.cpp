#include "browser/StatusBar.h"

#include "browser/DocumentListControllerStatusBar.h"
#include "platform/lists/DocumentListController.h"

DocumentListControllerStatusBar *StatusBar::statusBar(const DocumentListController *list)
{
    return qobject_cast<DocumentListControllerStatusBar *>(list->property(AssociatedKey).value<QObject *>());
}

void StatusBar::setStatusBar(DocumentListController *list, DocumentListControllerStatusBar *statusBar)
{
    DocumentListControllerStatusBar *old = StatusBar::statusBar(list);
    if (old == statusBar) {
        return;
    }
    if (statusBar) {
        statusBar->setParent(list); // the list keeps it
    }
    list->setProperty(AssociatedKey, QVariant::fromValue<QObject *>(statusBar));
    delete old;
}

void StatusBar::createStatusBar_buttonPressDelegate(DocumentListController *list, const std::shared_ptr<KVQOffer> &offer,
                                                    QObject *delegate)
{
    auto *bar = new DocumentListControllerStatusBar(list);
    setStatusBar(list, bar);
    bar->createStatusBar_buttonPressDelegate(offer, delegate);
}

void StatusBar::displayStatusBar(DocumentListController *list)
{
    if (DocumentListControllerStatusBar *bar = statusBar(list)) {
        list->setToolbarItems(bar->toolbarItems());
    }
}
