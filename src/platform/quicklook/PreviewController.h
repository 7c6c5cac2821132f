#pragma once

#include <QString>
#include <QUrl>

/// The built-in document viewer. It has renderers for images (animated ones too), PDF, SVG,
/// plain text and Markdown, audio and video; an item it can preview is one of those kinds.
class PreviewController final
{
public:
    PreviewController() = delete;

    /// Whether the viewer has a renderer for the item's type (promised items included: the
    /// answer comes from the type, not the content).
    static bool canPreviewItem(const QUrl &url);
    /// The same question for a type identifier (a MIME type name).
    static bool canPreviewType(const QString &typeIdentifier);
};
