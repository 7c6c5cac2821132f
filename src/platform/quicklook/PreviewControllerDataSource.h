#pragma once

#include <QUrl>
#include <QtPlugin>

class PreviewController;

/// What the document viewer shows: a count of documents and the URL of each.
class PreviewControllerDataSource
{
public:
    virtual ~PreviewControllerDataSource() = default;
    virtual qint64 numberOfPreviewItemsInPreviewController(PreviewController *controller) = 0;
    virtual QUrl previewController_previewItemAtIndex(PreviewController *controller, qint64 index) = 0;
};

#define PreviewControllerDataSource_iid "com.quillmere.AerovaDriveApp.PreviewControllerDataSource"
Q_DECLARE_INTERFACE(PreviewControllerDataSource, PreviewControllerDataSource_iid)
