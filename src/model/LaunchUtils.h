#pragma once

#include <QString>
#include <QUrl>

#include <memory>

class ApplicationProxy;
class ViewController;

/// Which app, if any, should open a document of the drive, and the hand-over to it. Images,
/// movies, audio and PDFs in the drive's own folders always stay in the built-in preview;
/// the browser never hands a document to itself.
class LaunchUtils final
{
public:
    LaunchUtils() = delete;

    /// True when the document was handed to an app.
    static bool openInDefaultApp_viewController_requireOpenIn(const QUrl &url, ViewController *viewController,
                                                              bool requireOpenIn);
    static std::shared_ptr<ApplicationProxy> defaultAppForDocument_requireOpenIn(const QUrl &url, bool requireOpenIn);
    /// The chosen app's name, or a null string when there is none.
    static QString defaultAppNameForDocument_requireOpenIn(const QUrl &url, bool requireOpenIn);
    static bool isUrlInDefaultContainer(const QUrl &url);
};
