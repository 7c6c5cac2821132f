#pragma once

#include <QUrl>

#include <memory>

class ApplicationProxy;

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

private:
    explicit DocumentInteractionController(const QUrl &url);

    QUrl m_url;
};
