#pragma once

#include "platform/ui/ViewController.h"

#include <QPointF>
#include <QPointer>
#include <QWidget>
#include <QString>
#include <QUrl>

class BarButtonItem;
class QPdfView;
class QScrollArea;
class QStackedLayout;

/// The built-in document viewer: one document at a time, the first of its data source.
///
/// It has renderers for images (animated ones play), PDF (every page), SVG, plain text and Markdown, audio and video (a player with its controls); anything
/// else shows its icon, name and kind. An item it can preview is one of those kinds. Pictures
/// and PDFs zoom with Ctrl+wheel (a touchpad's pinch), Ctrl+plus and Ctrl+minus; a double-click
/// looks closer at a picture; a finger or the wheel moves a zoomed picture.
class PreviewController : public ViewController
{
    Q_OBJECT

public:
    /// Which renderer shows the current document.
    enum class Renderer {
        None,
        Image,
        Animation,
        Pdf,
        Svg,
        Text,
        Markdown,
        Media,
        Generic,
    };

    explicit PreviewController(QObject *parent = nullptr);
    ~PreviewController() override;

    /// Whether the viewer has a renderer for the item's type (promised items included: the
    /// answer comes from the type, not the content).
    static bool canPreviewItem(const QUrl &url);
    /// The same answer from what is already known of the item: its type and whether it is a
    /// folder (a package counts as one here) as its resource values say.
    static bool canPreviewItem(const QUrl &url, const QString &typeIdentifier, bool isDirectory);
    /// The same question for a type identifier (a MIME type name).
    static bool canPreviewType(const QString &typeIdentifier);
    /// Whether audio and video of `url` play in the full player with its controls; every
    /// document of this app does.
    static bool wantsDefaultMediaPlayer(const QUrl &url);

    /// Weak: an object implementing PreviewControllerDataSource.
    QObject *dataSource() const { return m_dataSource.data(); }
    void setDataSource(QObject *dataSource) { m_dataSource = dataSource; }

    /// Asks the data source again and shows its first document.
    void reloadData();
    /// Reads the document on screen again (its content changed).
    void refreshCurrentPreviewItem();
    QUrl currentPreviewItem() const { return m_currentItem; }
    Renderer currentRenderer() const { return m_renderer; }
    /// The widget of the current renderer, or null.
    QWidget *rendererWidget() const { return m_rendererWidget.data(); }

    /// How much a picture or PDF is enlarged: 1 when it fits the screen (its width for a PDF).
    qreal zoomFactor() const;
    /// Enlarges (above 1) or reduces the picture or the pages, keeping the point `keep` of the
    /// screen where it is (the middle when none); a picture never goes below its fitted size.
    void zoomBy(qreal factor, const QPointF &keep = {-1, -1});
    /// Fits the picture or the pages again.
    void resetZoom();

    /// Buttons the viewer puts at the right of the navigation bar, the first rightmost.
    QList<BarButtonItem *> additionalRightBarButtonItems() const;
    void setAdditionalRightBarButtonItems(const QList<BarButtonItem *> &items);

    /// The viewer takes the keyboard as it shows, unless a control of its own has it.
    void viewDidAppear(bool animated) override;

protected:
    QWidget *loadView() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showDocument(const QUrl &url);
    static Renderer rendererForFile(const QString &path);
    /// The current picture's scroll area, or null when it shows no picture.
    QScrollArea *pictureView() const;
    QPdfView *pdfView() const;

    QPointer<QObject> m_dataSource;
    QUrl m_currentItem;
    Renderer m_renderer = Renderer::None;
    QPointer<QWidget> m_rendererWidget;
    QStackedLayout *m_stack = nullptr;
    QList<QPointer<BarButtonItem>> m_additionalItems;
};
