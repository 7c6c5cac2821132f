#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

/// The keys of a thumbnail dictionary (the thumbnail-dictionary resource value of an item).
namespace URLThumbnailDictionaryItem {
/// The largest thumbnail: an image whose longer side is at most 1024 pixels.
inline const QString Size1024x1024 = QStringLiteral("Thumbnail1024x1024SizeKey");
} // namespace URLThumbnailDictionaryItem

/// Thumbnails of the drive's documents, kept where every Linux desktop looks for them: the
/// shared thumbnail cache (`$XDG_CACHE_HOME/thumbnails/`, `xx-large/` 1024 px and `x-large/`
/// 512 px; the file is the MD5 hex of the item's canonical `file://` URI plus `.png` and is valid
/// only while its "Thumb::MTime" equals the item's modification time). A promised item carries
/// its thumbnail in its placeholder instead.
///
/// The drive service writes thumbnails of images and PDFs when it materialises them; the app
/// writes those of the device's own pictures, SVGs and PDFs that have none yet (new, renamed,
/// moved or never downloaded), on its thumbnail queue, so a thumbnail follows its document.
class Thumbnailer final
{
public:
    Thumbnailer() = delete;

    /// Documents larger than this get no thumbnail: their type's icon stands for them.
    static constexpr qint64 LargestDocument = 256LL * 1024 * 1024;

    /// Where the thumbnail of `localPath` lives for a size folder ("xx-large", "x-large").
    static QString cachePath(const QString &localPath, const QString &sizeFolder);
    /// The largest valid cached thumbnail of a real file; null when there is none or it is stale.
    static QImage cachedThumbnail(const QString &localPath);
    /// Whether thumbnails can be made of files of this MIME type (images and PDFs).
    static bool canMakeThumbnail(const QString &mimeType);
    /// A thumbnail of the file's content whose longer side is at most `maxSide`; null on failure
    /// and for anything but a regular file of at most LargestDocument bytes. It takes as long as
    /// decoding the document: never on the main thread.
    static QImage render(const QString &localPath, int maxSide);
    /// Writes the `xx-large` and `x-large` thumbnails of an image (SVG too) or PDF; false when
    /// the file is of another kind or cannot be read.
    static bool writeThumbnails(const QString &localPath);
    /// PNG bytes of the 1024-pixel thumbnail, for a placeholder: the cached one when valid, else
    /// one made from the content; empty for other kinds of file.
    static QByteArray thumbnailPng(const QString &localPath);
};
