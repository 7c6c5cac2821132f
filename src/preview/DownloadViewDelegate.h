#pragma once

#include <QUrl>
#include <QtPlugin>

class DownloadView;

/// Told when the user asks a download view to start or to cancel the item's download.
class DownloadViewDelegate
{
public:
    virtual ~DownloadViewDelegate() = default;
    virtual void downloadView_didPressStartDownload(DownloadView *view, const QUrl &url) = 0;
    virtual void downloadView_didPressCancelDownload(DownloadView *view, const QUrl &url) = 0;
};

#define DownloadViewDelegate_iid "com.quillmere.AerovaDriveApp.DownloadViewDelegate"
Q_DECLARE_INTERFACE(DownloadViewDelegate, DownloadViewDelegate_iid)
