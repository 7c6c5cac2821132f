#pragma once

#include <QObject>
#include <QUrl>

#include <functional>

class DocumentListController;
class QWidget;

/// What a folder list tells the screen that owns it: a document or a folder was tapped, its
/// contents or selection changed, or the user asked for an action on one item.
class DocumentListControllerDelegate
{
public:
    virtual ~DocumentListControllerDelegate() = default;
    virtual void documentListController_didSelectItemAtURL(DocumentListController *list, const QUrl &url) = 0;
    /// `folderList` lists the tapped folder; it is the list's child until someone takes it.
    virtual void documentListController_didSelectContainerWithViewController(DocumentListController *list,
                                                                              DocumentListController *folderList)
        = 0;
    virtual void documentListControllerItemsChanged(DocumentListController *list) = 0;
    /// `action` is 0 Delete, 1 More, 2 Info, 3 Rename.
    virtual void documentListController_performAction_URL_originatingView_completion(
        DocumentListController *list, qint64 action, const QUrl &url, QWidget *originatingView,
        std::function<void()> completion)
        = 0;
    /// Whether the list's folder may take one more folder now (its app's folder rules); no by
    /// default.
    virtual bool documentListControllerCanCreateFolder(DocumentListController *list)
    {
        Q_UNUSED(list)
        return false;
    }
    /// The user asked for a new folder in the list's folder (the list's Add sheet).
    virtual void documentListControllerCreateFolder(DocumentListController *list) { Q_UNUSED(list) }
};

#define DocumentListControllerDelegate_iid "com.quillmere.AerovaDriveApp.DocumentListControllerDelegate"
Q_DECLARE_INTERFACE(DocumentListControllerDelegate, DocumentListControllerDelegate_iid)
