#pragma once

#include <QUrl>
#include <QtPlugin>

class DocumentTargetSelectionController;

/// Told which folder the user chose as the target of a move. The picker stays on screen: the
/// delegate dismisses it.
class DocumentTargetSelectionControllerDelegate
{
public:
    virtual ~DocumentTargetSelectionControllerDelegate() = default;
    virtual void documentTargetSelectionController_didSelectItemAtURL(DocumentTargetSelectionController *picker,
                                                                       const QUrl &url)
        = 0;
};

#define DocumentTargetSelectionControllerDelegate_iid "com.quillmere.AerovaDriveApp.DocumentTargetSelectionControllerDelegate"
Q_DECLARE_INTERFACE(DocumentTargetSelectionControllerDelegate, DocumentTargetSelectionControllerDelegate_iid)
