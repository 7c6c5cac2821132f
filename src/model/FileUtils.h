#pragma once

#include "platform/foundation/Error.h"

#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <memory>
#include <optional>
#include <utility>

class KDContainer;

/// Every change the app makes to the drive (a new folder, a deletion, a move) and the
/// questions the browser and the preview ask about paths, names, types and containers.
///
/// Changes run under file coordination, so that the drive service, presenters and other
/// processes see consistent items; each is synchronous and returns an error, empty on success.
/// A move never overwrites: an occupied destination name is replaced by the next free one.
class FileUtils final
{
public:
    FileUtils() = delete;

    static bool exists(const QUrl &url);
    static bool isFile(const QUrl &url);
    static bool isDir(const QUrl &url);

    static std::optional<Error> mkdir(const QUrl &url);
    static std::optional<Error> remove(const QUrl &url);
    static std::optional<Error> move_to(const QUrl &src, const QUrl &dst);
    /// Moves each item into `directory` as `move_to` does to `destinationOfItem_inDirectory`:
    /// an occupied name gives way to the next free one, a document never lands on a folder's
    /// name nor a folder on a document's. The folders are looked up once for all the items and
    /// held open, so each item costs a few calls beside its rename, and each lands in the very
    /// folder that was checked. Returns an error for each item that did not move.
    static QList<Error> moveItems_toDirectory(const QList<QUrl> &items, const QUrl &directory);
    /// Where `item` goes when moved into `directory`: its name there, as the URL of a file
    /// whatever it is (a folder's URL loses its trailing slash).
    static QUrl destinationOfItem_inDirectory(const QUrl &item, const QUrl &directory);

    /// The app's own documents folder, as a folder URL; empty when there is none.
    static QUrl docDir();
    /// The URL beside `url` whose name is free ("Report 2.pdf" for a taken "Report.pdf").
    static QUrl generateUniquePath(const QUrl &url);
    /// A name without its last extension, and that extension with its dot ("" when none).
    static std::pair<QString, QString> splitName(const QString &name);
    /// A free name in `directory` for `basename`, or a null string when `basename` is free.
    static QString stringByUniquingPathInsideDirectory_forBasename(const QString &directory, const QString &basename);

    static void evictDocument(const QUrl &url);
    /// The promised-item value of `key` (placeholders answer without downloading), else the
    /// ordinary value; invalid for an empty URL.
    static QVariant getResourceValue_forURL(const QString &key, const QUrl &url);
    static void dumpURLResourceValues(const QUrl &url);
    static void logFileAttributes(const QString &path);

    static QString containerIdForURL(const QUrl &url);
    static bool isValidExtensionForContainer(const QUrl &url);
    static bool isAudioVideoImageFile(const QString &name);
    static bool isAudioVideoImageFile(const QUrl &url);
    /// "Aerova Drive ▸ Writer ▸ Work ▸ 2016": where an item lies, for people.
    static QString displayableLocationForURL(const QUrl &url);
    static std::optional<Error> containerAndRelativePathforURL_container_relativePathComponents(
        const QUrl &url, std::shared_ptr<KDContainer> *container, QStringList *relativePathComponents);

    static bool isValidFilename(const QString &name);
    /// An item of that name is in the folder: a real one or a promise.
    static bool nameIsTaken(const QString &directory, const QString &name);
};
