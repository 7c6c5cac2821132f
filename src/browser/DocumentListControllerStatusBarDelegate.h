#pragma once

#include <QObject>

/// Told when the upgrade button of a folder list's status bar is pressed.
class DocumentListControllerStatusBarDelegate
{
public:
    virtual ~DocumentListControllerStatusBarDelegate() = default;
    virtual void upgradeStorageButtonPressed() = 0;
};

#define DocumentListControllerStatusBarDelegate_iid "com.quillmere.AerovaDriveApp.DocumentListControllerStatusBarDelegate"
Q_DECLARE_INTERFACE(DocumentListControllerStatusBarDelegate, DocumentListControllerStatusBarDelegate_iid)
