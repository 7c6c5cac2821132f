#pragma once

#include <QObject>

#include <memory>

class DocumentListController;
class DocumentListControllerStatusBar;
class KVQOffer;

/// A folder list's status bar, attached to the list as one of its properties: the list owns
/// it, and it lives as long as the list.
class StatusBar final
{
public:
    StatusBar() = delete;

    /// The property of the list that holds its status bar.
    static constexpr const char AssociatedKey[] = "_AerovaDriveAppStatusBar";

    static DocumentListControllerStatusBar *statusBar(const DocumentListController *list);
    static void setStatusBar(DocumentListController *list, DocumentListControllerStatusBar *statusBar);
    static void createStatusBar_buttonPressDelegate(DocumentListController *list, const std::shared_ptr<KVQOffer> &offer,
                                                    QObject *delegate);
    /// The list's toolbar becomes the status bar's items.
    static void displayStatusBar(DocumentListController *list);
};
