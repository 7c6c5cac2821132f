#pragma once

#include <QRect>
#include <QUrl>

#include <memory>

class ApplicationProxy;
class AlertController;
class BarButtonItem;
class QWidget;
class ViewController;

/// Hands one document to other apps: its default app, found from the document's type (a
/// promised document's type comes from its placeholder, so it needs no download to be asked).
class DocumentInteractionController final
{
public:
    static std::shared_ptr<DocumentInteractionController> interactionControllerWithURL(const QUrl &url);

    QUrl URL() const { return m_url; }
    /// The MIME type the default app is chosen for.
    QString UTI() const;
    std::shared_ptr<ApplicationProxy> defaultApplication() const;

    /// Opens the document in its default app. A promised document is downloaded first (in the
    /// background, under a coordinated read) and the app starts when it is here; the call returns
    /// at once, true when an app was found to take the document.
    bool openDocumentWithDefaultApplication();
    /// The same with another app of the document's type.
    bool openDocumentWithApplication(const std::shared_ptr<ApplicationProxy> &app);

    /// The options menu of the document: "Open in “…”" for every app of its type, Copy (its
    /// location, for pasting elsewhere) and Show in Folder where a file manager is installed, then
    /// Cancel. A sheet on a phone, a popover at the anchor on a tablet, presented over
    /// `viewController`, where an alert also says so when the file manager fails to start.
    AlertController *presentOptionsMenuFromRect_inView_inViewController_animated(const QRect &rect, QWidget *view,
                                                                               ViewController *viewController,
                                                                               bool animated);
    AlertController *presentOptionsMenuFromBarButtonItem_inViewController_animated(BarButtonItem *item,
                                                                                 ViewController *viewController,
                                                                                 bool animated);

private:
    explicit DocumentInteractionController(const QUrl &url);
    AlertController *makeOptionsMenu(ViewController *presenter) const;

    QUrl m_url;
};
