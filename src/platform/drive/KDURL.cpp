#include "platform/drive/KDURL.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

QString cleanLocalPath(const QUrl &url)
{
    if (!url.isLocalFile()) {
        return {};
    }
    return FilePath::cleanPath(url.toLocalFile());
}

bool isSameOrBelow(const QString &path, const QString &root)
{
    return path == root || path.startsWith(root + QLatin1Char('/'));
}

/// The path with its folders resolved through symbolic links, as far as they exist; the last
/// component stays as it is.
QString resolvedFolderPath(const QString &path)
{
    const QFileInfo info(path);
    QString folder = info.absolutePath();
    QString rest = info.fileName();
    while (!folder.isEmpty() && !FilePath::status(folder)) {
        rest = QFileInfo(folder).fileName() + QLatin1Char('/') + rest;
        folder = QFileInfo(folder).absolutePath();
    }
    const QString canonical = FilePath::canonicalPath(folder);
    return (canonical.isEmpty() ? folder : canonical) + QLatin1Char('/') + rest;
}

/// Whether a folder between the root and the item is a symbolic link: only then can the item's
/// real place be outside the drive. One lstat per folder below the root, instead of resolving
/// the whole path (the root itself may well live behind a link, which does not matter).
bool hasLinkedFolderBelow(const QString &root, const QString &path)
{
    qsizetype next = root.size() + 1;
    while (true) {
        const qsizetype slash = path.indexOf(QLatin1Char('/'), next);
        if (slash < 0) {
            return false; // the last component may be a bookmark to anywhere
        }
        struct stat st;
        if (::lstat(FilePath::encode(path.left(slash)).constData(), &st) != 0) {
            return false; // what does not exist cannot lead anywhere
        }
        if (S_ISLNK(st.st_mode)) {
            return true;
        }
        next = slash + 1;
    }
}

} // namespace

bool kd_isInMobileDocuments(const QUrl &url)
{
    return !kd_pathRelativeToMobileDocuments(url).isNull();
}

QString kd_pathRelativeToMobileDocuments(const QUrl &url)
{
    const QString path = cleanLocalPath(url);
    const QString root = QDir::cleanPath(DriveLayout::mobileDocumentsPath());
    if (path.isEmpty() || !isSameOrBelow(path, root)) {
        return {};
    }
    if (path == root) {
        return QStringLiteral("");
    }
    if (hasLinkedFolderBelow(root, path)) {
        const QString canonicalRoot = FilePath::canonicalPath(root);
        if (!canonicalRoot.isEmpty() && !isSameOrBelow(resolvedFolderPath(path), canonicalRoot)) {
            return {}; // a link among its folders leads out of the drive
        }
    }
    return path.mid(root.size() + 1);
}

namespace {

/// The real path of `path`; an item that is not there is judged by its folder, and a link to
/// such an item (a bookmark of a promised item) by its target, up to the kernel's own limit.
QString realPathOf(const QString &path, int linksLeft)
{
    const QFileInfo info(path);
    QString real = FilePath::canonicalPath(path);
    if (real.isEmpty()) {
        if (const std::optional<struct stat> st = FilePath::linkStatus(path)) {
            if (!S_ISLNK(st->st_mode) || linksLeft == 0) {
                return {};
            }
            return realPathOf(FilePath::linkTarget(path), linksLeft - 1);
        }
        const QString folder = FilePath::canonicalPath(info.absolutePath());
        if (folder.isEmpty() || info.fileName().isEmpty() || info.fileName() == QLatin1String("..")
            || info.fileName() == QLatin1String(".")) {
            return {};
        }
        real = folder + QLatin1Char('/') + info.fileName();
    }
    return real;
}

} // namespace

QString kd_resolvedPathInMobileDocuments(const QUrl &url)
{
    if (!url.isLocalFile()) {
        return {};
    }
    // not cleaned first: "link/../x" is resolved as the kernel resolves it, through the link
    const QString real = realPathOf(url.toLocalFile(), 40);
    const QString root = FilePath::canonicalPath(DriveLayout::mobileDocumentsPath());
    if (root.isEmpty() || !isSameOrBelow(real, root)) {
        return {};
    }
    // told under the drive's own root path (which may itself lie behind a link): below it,
    // the path holds no link any more
    return QDir::cleanPath(DriveLayout::mobileDocumentsPath()) + real.mid(root.size());
}

bool kd_pathIsBelowMobileDocumentsRoot(const QString &path)
{
    const QString root = FilePath::cleanPath(DriveLayout::mobileDocumentsPath());
    return path != root && isSameOrBelow(path, root);
}

bool kd_isDocumentsContainer(const QUrl &url)
{
    return kd_isDocumentsContainerAtPath(cleanLocalPath(url));
}

bool kd_isDocumentsContainerAtPath(const QString &path)
{
    // every item record asks: an item more than two folders below the root is none, and that
    // needs no look at the folders on the way
    const QString root = FilePath::cleanPath(DriveLayout::mobileDocumentsPath());
    if (!path.startsWith(root) || QStringView(path).sliced(root.size()).count(QLatin1Char('/')) > 2) {
        return false;
    }
    const QString relative = kd_pathRelativeToMobileDocuments(QUrl::fromLocalFile(path));
    if (relative.isEmpty()) {
        return false;
    }
    const QStringList parts = relative.split(QLatin1Char('/'));
    if (parts.size() > 2) {
        return false;
    }
    const auto container = KDContainer::containerWithIdentifier(parts.first());
    if (!container) {
        return false;
    }
    if (parts.size() == 1) {
        return true;
    }
    return !container->isDefaultContainer() && parts.at(1) == QLatin1String("Documents");
}

bool kd_movePromisedItemAtURL_toURL_error(const QUrl &source, const QUrl &destination, std::optional<Error> *error)
{
    const QString from = cleanLocalPath(source);
    const QString to = cleanLocalPath(destination);
    auto fail = [error](int errnum, const QString &path) {
        if (error) {
            *error = Error::fromErrno(errnum, path);
        }
        return false;
    };
    if (from.isEmpty() || to.isEmpty()) {
        return fail(EINVAL, from.isEmpty() ? source.toString() : destination.toString());
    }
    // both ends must really be in the drive: a linked folder on the way leads elsewhere
    if (!kd_isInMobileDocuments(source) || !kd_isInMobileDocuments(destination)) {
        return fail(EACCES, kd_isInMobileDocuments(source) ? to : from);
    }
    const QByteArray fromBytes = FilePath::encode(from);
    const QByteArray toBytes = FilePath::encode(to);
    const QByteArray toPlaceholder = FilePath::encode(PromisePlaceholder::placeholderPathFor(to));
    struct stat st;
    if (::lstat(toPlaceholder.constData(), &st) == 0 && ::lstat(toBytes.constData(), &st) != 0) {
        return fail(EEXIST, to); // a promised item already has that name
    }
    if (::lstat(fromBytes.constData(), &st) == 0) {
        if (::renameat2(AT_FDCWD, fromBytes.constData(), AT_FDCWD, toBytes.constData(), RENAME_NOREPLACE) != 0) {
            return fail(errno, from);
        }
        return true;
    }
    // a promised item moves as its placeholder, in one rename: its name is the placeholder's
    // own, so nothing inside has to follow and nothing is left half done
    const QByteArray fromPlaceholder = FilePath::encode(PromisePlaceholder::placeholderPathFor(from));
    if (::lstat(fromPlaceholder.constData(), &st) != 0) {
        return fail(ENOENT, from);
    }
    if (::lstat(toBytes.constData(), &st) == 0) {
        return fail(EEXIST, to);
    }
    if (::renameat2(AT_FDCWD, fromPlaceholder.constData(), AT_FDCWD, toPlaceholder.constData(), RENAME_NOREPLACE) != 0) {
        return fail(errno, from);
    }
    return true;
}

QStringList kd_getTagNames_error(const QUrl &url, std::optional<Error> *error)
{
    const QString path = cleanLocalPath(url);
    if (FilePath::status(path)) {
        return FileAttributes::tags(path);
    }
    if (const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), error)) {
        return placeholder->tags;
    }
    if (error) {
        *error = Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
    }
    return {};
}

bool kd_isExternalDocumentReference(const QUrl &url)
{
    const QString path = cleanLocalPath(url);
    struct stat st;
    return !path.isEmpty() && ::lstat(FilePath::encode(path).constData(), &st) == 0 && S_ISLNK(st.st_mode);
}

QUrl kd_URLByResolvingExternalDocumentReferenceWithError(const QUrl &url, std::optional<Error> *error)
{
    const QString path = cleanLocalPath(url);
    // a bookmark stands only for an item of the drive: one that leads out of it resolves to
    // nothing, and nothing is read, listed or deleted through it
    const QString target = kd_isExternalDocumentReference(url) ? kd_resolvedPathInMobileDocuments(url) : QString();
    const bool resolves = !target.isEmpty() && (FilePath::status(target) || PromisePlaceholder::isPromisedItem(target));
    if (!resolves) {
        if (error) {
            *error = Error::fileError(FileReadNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}});
        }
        return {};
    }
    // the path that was judged, every link on the way resolved, is the one opened
    return QUrl::fromLocalFile(target);
}
