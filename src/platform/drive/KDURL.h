#pragma once

#include "platform/foundation/Error.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// The cloud-document service's questions about URLs of the drive, and its file-manager move.

/// The URL lies in the drive's local root (or is the root): its cleaned path, with the folders
/// leading to it resolved, stays below the root. `..` and symbolic links that leave the root
/// fail the test; the last component itself may be a bookmark to anywhere.
bool kd_isInMobileDocuments(const QUrl &url);
/// Where the URL really leads, every symbolic link resolved (the last component's too) the way
/// the kernel resolves them, `..` after a link included: that real path when it lies in the
/// drive's real root, else a null string. An item not there yet (a promised item, a name about
/// to be made) is judged by its folder. Open exactly the path returned: a check of one path and
/// an open of another is how a link leads out of the drive. The path is given under the drive's
/// root as `DriveLayout` names it (the root itself may lie behind a link; nothing below does).
QString kd_resolvedPathInMobileDocuments(const QUrl &url);
/// The URL's path below the drive's root, without a leading '/' ("com.example.Writer/Documents/A");
/// empty for the root itself, a null string outside it.
QString kd_pathRelativeToMobileDocuments(const QUrl &url);
/// The cleaned path's string lies below the drive's root (the root itself does not count). A
/// test of the string alone: where the path really leads is judged by
/// kd_pathRelativeToMobileDocuments, or by opening it with no link on the way.
bool kd_pathIsBelowMobileDocumentsRoot(const QString &path);
/// The URL is a container's top-level folder, or the documents folder of an app's container.
bool kd_isDocumentsContainer(const QUrl &url);
/// The same for an item's cleaned local path.
bool kd_isDocumentsContainerAtPath(const QString &path);
/// Moves an item, real or promised, without ever replacing what is at the destination.
bool kd_movePromisedItemAtURL_toURL_error(const QUrl &source, const QUrl &destination, std::optional<Error> *error);
/// The item's tag names: a real file's `user.xdg.tags`, a promised item's placeholder tags.
QStringList kd_getTagNames_error(const QUrl &url, std::optional<Error> *error);
/// The URL is a bookmark of the drive (an external document reference): a symbolic link
/// standing for an item kept elsewhere.
bool kd_isExternalDocumentReference(const QUrl &url);
/// The item a bookmark stands for (its target, which may be a promised item or a placeholder);
/// empty with error 260 when the target is gone, or when the URL is not a bookmark.
QUrl kd_URLByResolvingExternalDocumentReferenceWithError(const QUrl &url, std::optional<Error> *error);
