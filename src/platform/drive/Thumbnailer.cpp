#include "platform/drive/Thumbnailer.h"

#include "platform/foundation/FilePath.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeDatabase>
#include <QPainter>
#include <QPdfDocument>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString LargestFolder = QStringLiteral("xx-large");
const QString LargeFolder = QStringLiteral("x-large");
constexpr int LargestSide = 1024;
constexpr int LargeSide = 512;

QString thumbnailsRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/thumbnails");
}

QByteArray canonicalURI(const QString &localPath)
{
    return QUrl::fromLocalFile(QFileInfo(localPath).absoluteFilePath()).toEncoded();
}

QString mtimeText(const QString &localPath)
{
    return QString::number(QFileInfo(localPath).lastModified().toSecsSinceEpoch());
}

/// Opens a document to read it for a thumbnail: only a regular file of a sane size, never
/// through a link (it may lead out of the drive), and never waiting on a FIFO's writer.
bool openDocument(const QString &localPath, QFile *file)
{
    const int fd = ::open(FilePath::encode(localPath).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > Thumbnailer::LargestDocument) {
        ::close(fd);
        return false;
    }
    return file->open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
}

QImage renderImage(QFile *file, int maxSide)
{
    QImageReader reader(file);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    // a drawing has no pixels of its own: it is drawn at the thumbnail's full size, crisp
    const bool vector = reader.format().startsWith("svg");
    if (size.isValid() && (vector || size.width() > maxSide || size.height() > maxSide)) {
        reader.setScaledSize(size.scaled(maxSide, maxSide, Qt::KeepAspectRatio));
    }
    return reader.read();
}

QImage renderPdf(QFile *file, int maxSide)
{
    QPdfDocument document;
    // through the descriptor already checked: the name may meanwhile lead elsewhere
    if (document.load(QStringLiteral("/proc/self/fd/%1").arg(file->handle())) != QPdfDocument::Error::None
        || document.pageCount() < 1) {
        return {};
    }
    const QSizeF points = document.pagePointSize(0);
    if (points.isEmpty()) {
        return {};
    }
    const QSize size = points.scaled(maxSide, maxSide, Qt::KeepAspectRatio).toSize();
    QImage page = document.render(0, size);
    if (page.isNull()) {
        return {};
    }
    // a page is paper: transparent areas of the rendering are white
    QImage paper(page.size(), QImage::Format_RGB32);
    paper.fill(Qt::white);
    QPainter painter(&paper);
    painter.drawImage(0, 0, page);
    painter.end();
    return paper;
}

bool writeCacheFile(const QString &path, QImage image, const QString &localPath)
{
    const QString folder = QFileInfo(path).absolutePath();
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    image.setText(QStringLiteral("Thumb::URI"), QString::fromLatin1(canonicalURI(localPath)));
    image.setText(QStringLiteral("Thumb::MTime"), mtimeText(localPath));
    image.setText(QStringLiteral("Thumb::Size"), QString::number(QFileInfo(localPath).size()));
    image.setText(QStringLiteral("Software"), QStringLiteral("Aerova Drive"));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG")) {
        return false;
    }
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return file.commit();
}

} // namespace

QString Thumbnailer::cachePath(const QString &localPath, const QString &sizeFolder)
{
    const QByteArray md5 = QCryptographicHash::hash(canonicalURI(localPath), QCryptographicHash::Md5).toHex();
    return thumbnailsRoot() + QLatin1Char('/') + sizeFolder + QLatin1Char('/') + QString::fromLatin1(md5)
        + QStringLiteral(".png");
}

QImage Thumbnailer::cachedThumbnail(const QString &localPath)
{
    if (FilePath::holdsUndecodableBytes(localPath)) {
        return {}; // Qt's readers would look at another file: such a name shows its type's icon
    }
    const QString mtime = mtimeText(localPath);
    for (const QString &folder : {LargestFolder, LargeFolder}) {
        const QString path = cachePath(localPath, folder);
        if (!QFileInfo::exists(path)) {
            continue;
        }
        QImage image(path);
        if (!image.isNull() && image.text(QStringLiteral("Thumb::MTime")) == mtime) {
            return image;
        }
    }
    return {};
}

bool Thumbnailer::canMakeThumbnail(const QString &mimeType)
{
    return mimeType == QLatin1String("application/pdf")
        || (mimeType.startsWith(QLatin1String("image/"))
            && QImageReader::supportedMimeTypes().contains(mimeType.toLatin1()));
}

QImage Thumbnailer::render(const QString &localPath, int maxSide)
{
    if (FilePath::holdsUndecodableBytes(localPath)) {
        return {};
    }
    QFile file;
    if (!openDocument(localPath, &file)) {
        return {};
    }
    const QString mimeType = QMimeDatabase().mimeTypeForFileNameAndData(localPath, &file).name();
    if (!canMakeThumbnail(mimeType)) {
        return {};
    }
    return mimeType == QLatin1String("application/pdf") ? renderPdf(&file, maxSide) : renderImage(&file, maxSide);
}

bool Thumbnailer::writeThumbnails(const QString &localPath)
{
    const QImage largest = render(localPath, LargestSide);
    if (largest.isNull()) {
        return false;
    }
    const QImage large = largest.width() > LargeSide || largest.height() > LargeSide
        ? largest.scaled(LargeSide, LargeSide, Qt::KeepAspectRatio, Qt::SmoothTransformation)
        : largest;
    return writeCacheFile(cachePath(localPath, LargestFolder), largest, localPath)
        && writeCacheFile(cachePath(localPath, LargeFolder), large, localPath);
}

QByteArray Thumbnailer::thumbnailPng(const QString &localPath)
{
    QImage image = cachedThumbnail(localPath);
    if (image.isNull()) {
        image = render(localPath, LargestSide);
    }
    if (image.isNull()) {
        return {};
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}
