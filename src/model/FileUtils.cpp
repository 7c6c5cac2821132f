#include "model/FileUtils.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/Preferences.h"
#include "platform/foundation/StringFormat.h"
#include "platform/types/UniformType.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <filesystem>
#include <functional>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

namespace {

/// The item's path: a folder URL's trailing slash names the same item, whatever its kind.
QString localPath(const QUrl &url)
{
    return FilePath::localPath(url);
}

/// The name an item takes when its own is taken, the `n`-th of its kind: "Report 2.pdf".
QString numberedName(const QString &name, int n)
{
    const auto [stem, suffix] = FileUtils::splitName(name);
    return StringFormat::format("%@ %d%@", stem, n, suffix);
}

/// Moves `source` to `destination` under file coordination, so that whoever presents the item
/// follows it; `rename` carries the move out and says what went wrong. Returns the
/// coordination's error or the rename's.
std::optional<Error> coordinatedMove(const QUrl &source, const QUrl &destination,
                                     const std::function<std::optional<Error>(const QUrl &, const QUrl &)> &rename)
{
    std::optional<Error> coordinationError;
    std::optional<Error> writerError;
    FileCoordinator coordinator;
    coordinator.coordinateWritingItemAtURL_options_writingItemAtURL_options_error_byAccessor(
        source, FileCoordinator::WritingForMoving, destination, FileCoordinator::WritingForReplacing, &coordinationError,
        [&](const QUrl &newSrc, const QUrl &newDst) {
            coordinator.itemAtURL_willMoveToURL(newSrc, newDst);
            DRLog(LOG_DEBUG, "Moving src2:  '%@'", newSrc);
            DRLog(LOG_DEBUG, "Moving dest2: '%@'", newDst);
            writerError = rename(newSrc, newDst);
            if (!writerError) {
                DRLog(LOG_INFO, "Move successful");
            } else {
                DRLog(LOG_WARNING, "KD Move failed: %@", writerError);
            }
        });
    return coordinationError ? coordinationError : writerError;
}

QString extensionOf(const QString &name)
{
    const qsizetype slash = name.lastIndexOf(QLatin1Char('/'));
    const QString last = name.mid(slash + 1);
    const qsizetype dot = last.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? last.mid(dot + 1) : QString();
}

bool isNewline(char32_t c)
{
    return c == 0x0A || c == 0x0B || c == 0x0C || c == 0x0D || c == 0x85 || c == 0x2028 || c == 0x2029;
}

/// Characters that have no place in a name: unassigned code points, non-characters and
/// surrogates; control and format characters; line and paragraph breaks.
bool isForbiddenCharacter(char32_t c)
{
    if (isNewline(c)) {
        return true;
    }
    switch (QChar::category(c)) {
    case QChar::Other_NotAssigned:
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
        return true;
    default:
        return QChar::isNonCharacter(c);
    }
}

/// Runs `writer` under a coordinated write of `url`; the result is the coordination's error,
/// else the writer's.
std::optional<Error> coordinatedWrite(const QUrl &url, FileCoordinator::WritingOptions options,
                                      const std::function<std::optional<Error>(const QUrl &)> &writer)
{
    std::optional<Error> coordinationError;
    std::optional<Error> writerError;
    FileCoordinator coordinator;
    coordinator.coordinateWritingItemAtURL_options_error_byAccessor(
        url, options, &coordinationError, [&](const QUrl &newURL) { writerError = writer(newURL); });
    return coordinationError ? coordinationError : writerError;
}

} // namespace

// items are looked at through their own bytes (FilePath): a name that is not UTF-8 is as real
// as any other

bool FileUtils::exists(const QUrl &url)
{
    return FilePath::status(localPath(url)).has_value();
}

bool FileUtils::isFile(const QUrl &url)
{
    const std::optional<struct stat> st = FilePath::status(localPath(url));
    return st && !S_ISDIR(st->st_mode);
}

bool FileUtils::isDir(const QUrl &url)
{
    const std::optional<struct stat> st = FilePath::status(localPath(url));
    return st && S_ISDIR(st->st_mode);
}

std::optional<Error> FileUtils::mkdir(const QUrl &url)
{
    DRLog(LOG_DEBUG, "Creating directory: '%@'", url);
    const std::optional<Error> result = coordinatedWrite(
        url, FileCoordinator::WritingForReplacing, [&url](const QUrl &newURL) -> std::optional<Error> {
            std::error_code ec;
            if (!kd_isInMobileDocuments(newURL)) {
                const Error error = Error::fromErrno(EACCES, newURL.toLocalFile());
                DRLog(LOG_ERR, "failed to create directory:'%@': %@", url, error);
                return error;
            }
            if (PromisePlaceholder::isPromisedItem(QDir::cleanPath(newURL.toLocalFile()))) {
                // a document only on the drive holds its name as a downloaded one does
                const Error error = Error::fromErrno(EEXIST, newURL.toLocalFile());
                DRLog(LOG_ERR, "failed to create directory:'%@': %@", url, error);
                return error;
            }
            std::filesystem::create_directories(FilePath::encode(newURL.toLocalFile()).toStdString(), ec);
            if (!ec && !isDir(newURL)) {
                ec = std::make_error_code(std::errc::file_exists);
            }
            if (!ec) {
                DRLog(LOG_INFO, "Created directory: '%@'", url);
                return std::nullopt;
            }
            const Error error = Error::fromErrno(ec.value(), newURL.toLocalFile());
            DRLog(LOG_ERR, "failed to create directory:'%@': %@", url, error);
            return error;
        });
    DRLog(LOG_DEBUG, "Coordinated Write returned %@", result);
    return result;
}

std::optional<Error> FileUtils::remove(const QUrl &url)
{
    DRLog(LOG_DEBUG, "Removing item: '%@'", url);
    const std::optional<Error> result = coordinatedWrite(
        url, FileCoordinator::WritingForDeleting, [&url](const QUrl &newURL) {
            const std::optional<Error> error = PromiseStore::removeItem(newURL.toLocalFile());
            if (!error) {
                DRLog(LOG_INFO, "Deleted item: '%@'", url);
            } else {
                DRLog(LOG_ERR, "failed to delete item:'%@': %@", url, error);
            }
            return error;
        });
    DRLog(LOG_INFO, "Coordinated Write returned %@", result);
    return result;
}

std::optional<Error> FileUtils::move_to(const QUrl &src, const QUrl &dst)
{
    DRLog(LOG_DEBUG, "Moving src1:  '%@'", src);
    DRLog(LOG_DEBUG, "Moving dest1: '%@'", dst);
    if (localPath(src) == localPath(dst)) {
        DRLog(LOG_DEBUG, "Move: src and dest are the same");
        return std::nullopt;
    }
    if (!exists(src)) {
        DRLog(LOG_INFO, "Move: source filename does not exist, must be a fault.");
    }
    if (isFile(src) && isDir(dst)) {
        DRLog(LOG_ERR, "Move: must move a file to a file (dest is a dir)");
        return Error::fileError(FeatureUnsupportedError);
    }
    if (isDir(src) && isFile(dst)) {
        DRLog(LOG_ERR, "Move: must move a dir to a dir (dest is a file)");
        return Error::fileError(FeatureUnsupportedError);
    }
    QUrl destination = dst;
    const QFileInfo dstInfo(localPath(dst));
    if (nameIsTaken(dstInfo.absolutePath(), dstInfo.fileName())) {
        destination = generateUniquePath(dst);
        DRLog(LOG_DEBUG, "Avail  dest1: '%@'", destination);
    }

    const std::optional<Error> result = coordinatedMove(src, destination, [](const QUrl &newSrc, const QUrl &newDst) {
        std::optional<Error> error;
        kd_movePromisedItemAtURL_toURL_error(newSrc, newDst, &error);
        return error;
    });
    if (result) {
        DRLog(LOG_WARNING, "Move failed: %@", result);
    }
    return result;
}

namespace {

/// One move of items into a folder: the folders opened once, by the real paths checked to be
/// in the drive, and every look-up and rename relative to them. For many items each folder is
/// read once and the names it holds kept, so an item costs its rename and little more; the
/// rename never replaces, so a name taken since the read is found then and passed over.
class FolderMove
{
public:
    FolderMove(const QUrl &directory, qsizetype itemCount)
        : m_targetPath(localPath(directory))
        , m_target(openInDrive(m_targetPath, &m_targetProblem))
        , m_readsFolders(itemCount >= ReadFoldersFrom)
    {
    }

    std::optional<Error> move(const QUrl &item)
    {
        const QString path = localPath(item);
        const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
        const QString name = path.mid(slash + 1);
        // the destinations' URLs are made for the log only when it keeps them: ten thousand moves
        // would spend more on them than on the renames
        const bool logsDebug = DRLogShouldLog(LOG_DEBUG);
        DRLog(LOG_DEBUG, "Moving src1:  '%@'", item);
        if (logsDebug) {
            DRLog(LOG_DEBUG, "Moving dest1: '%@'", QUrl::fromLocalFile(m_targetPath + QLatin1Char('/') + name));
        }
        if (!m_target.isValid()) {
            return Error::fromErrno(m_targetProblem, m_targetPath);
        }
        if (slash <= 0 || name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")) {
            return Error::fromErrno(EINVAL, path);
        }
        if (!openSource(path.left(slash))) {
            return Error::fromErrno(m_sourceProblem, path);
        }
        if (m_sourceIsTarget) {
            DRLog(LOG_DEBUG, "Move: src and dest are the same");
            return std::nullopt;
        }
        const Held moving = heldIn(m_source->get(), &m_sourceNames, name);
        if (moving != Held::Document && moving != Held::Folder) {
            DRLog(LOG_INFO, "Move: source filename does not exist, must be a fault.");
        }
        if (moving == Held::Nothing) {
            return Error::fromErrno(ENOENT, path);
        }
        QString freeName = name;
        for (int n = 2;; ++n) {
            const Held there = heldIn(m_target.get(), &m_targetNames, freeName);
            if (there == Held::Nothing) {
                if (freeName != name && logsDebug) {
                    DRLog(LOG_DEBUG, "Avail  dest1: '%@'", QUrl::fromLocalFile(m_targetPath + QLatin1Char('/') + freeName));
                }
                int renameError = 0;
                std::optional<Error> error = renameInto(item, name, freeName, moving == Held::Promised, &renameError);
                if (renameError != EEXIST) {
                    noteMoved(name, freeName, moving, error.has_value());
                    return error;
                }
                m_targetNames.real.insert(freeName, FilePath::EntryKind::Unknown); // taken meanwhile: the next name
            } else if (freeName == name && there != Held::Promised && (there == Held::Folder) != (moving == Held::Folder)) {
                if (moving != Held::Folder) {
                    DRLog(LOG_ERR, "Move: must move a file to a file (dest is a dir)");
                } else {
                    DRLog(LOG_ERR, "Move: must move a dir to a dir (dest is a file)");
                }
                return Error::fileError(FeatureUnsupportedError);
            }
            freeName = numberedName(name, n);
        }
    }

private:
    /// From this many items, the folders are read once instead of asked name by name.
    static constexpr qsizetype ReadFoldersFrom = 64;

    /// What holds a name in a folder.
    enum class Held { Nothing, Document, Folder, Promised };

    /// The names a folder held when it was read: each real entry's kind, and the promised items.
    struct FolderNames {
        bool read = false;
        QHash<QString, FilePath::EntryKind> real;
        QSet<QString> promised;
    };

    Held heldIn(int folder, FolderNames *names, const QString &name)
    {
        if (m_readsFolders && !names->read) {
            readNames(folder, names);
        }
        if (names->read) {
            const auto real = names->real.constFind(name);
            if (real != names->real.constEnd() && *real != FilePath::EntryKind::Link && *real != FilePath::EntryKind::Unknown) {
                return *real == FilePath::EntryKind::Folder ? Held::Folder : Held::Document;
            }
            if (real == names->real.constEnd() && names->promised.contains(name)) {
                return Held::Promised;
            }
            if (real == names->real.constEnd() && folder == m_target.get()) {
                return Held::Nothing; // a name taken since the read is found by the rename
            }
        }
        return heldOnDisk(folder, name);
    }

    /// What holds a name, asked of the folder itself: a link counts as what it leads to, a
    /// dangling one as a document.
    static Held heldOnDisk(int folder, const QString &name)
    {
        const QByteArray encoded = FilePath::encode(name);
        struct stat st;
        if (::fstatat(folder, encoded.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
            if (S_ISLNK(st.st_mode) && ::fstatat(folder, encoded.constData(), &st, 0) != 0) {
                return Held::Document;
            }
            return S_ISDIR(st.st_mode) ? Held::Folder : Held::Document;
        }
        return ::fstatat(folder, FilePath::encode(placeholderName(name)).constData(), &st, AT_SYMLINK_NOFOLLOW) == 0
            ? Held::Promised
            : Held::Nothing;
    }

    static void readNames(int folder, FolderNames *names)
    {
        names->read = FilePath::forEachEntryAt(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC),
                                               [names](FilePath::Entry &&entry) {
                                                   if (PromisePlaceholder::isPlaceholderName(entry.name)) {
                                                       names->promised.insert(PromisePlaceholder::logicalPathFor(entry.name));
                                                   } else {
                                                       names->real.insert(entry.name, entry.kind);
                                                   }
                                               });
    }

    void noteMoved(const QString &name, const QString &freeName, Held moving, bool failed)
    {
        if (failed) {
            return;
        }
        if (moving == Held::Promised) {
            m_sourceNames.promised.remove(name);
            m_targetNames.promised.insert(freeName);
        } else {
            m_sourceNames.real.remove(name);
            m_targetNames.real.insert(freeName, moving == Held::Folder ? FilePath::EntryKind::Folder : FilePath::EntryKind::Other);
        }
    }

    /// The folder opened by its real path when that is in the drive; -1 and the reason otherwise.
    static int openInDrive(const QString &folder, int *problem)
    {
        // a folder of the drive only, opened by the real path that was checked
        const QString real = kd_resolvedPathInMobileDocuments(QUrl::fromLocalFile(folder));
        if (real.isEmpty()) {
            *problem = EACCES;
            return -1;
        }
        const int fd = ::open(FilePath::encode(real).constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        *problem = fd < 0 ? errno : 0;
        return fd;
    }

    bool openSource(const QString &folder)
    {
        if (folder != m_sourcePath || !m_source) {
            m_sourcePath = folder;
            m_source = std::make_unique<FileDescriptor>(openInDrive(folder, &m_sourceProblem));
            m_sourceIsTarget = m_source->isValid() && sameFolder(m_source->get(), m_target.get());
            m_sourceNames = {};
        }
        return m_source->isValid();
    }

    /// Whether two open folders are one: moving an item into its own folder leaves it be.
    static bool sameFolder(int a, int b)
    {
        struct stat first;
        struct stat second;
        return ::fstat(a, &first) == 0 && ::fstat(b, &second) == 0 && first.st_dev == second.st_dev
            && first.st_ino == second.st_ino;
    }

    static QString placeholderName(const QString &name)
    {
        return PromisePlaceholder::placeholderPathFor(name);
    }

    /// Renames under coordination; `renameError` says why the rename itself failed.
    std::optional<Error> renameInto(const QUrl &item, const QString &name, const QString &freeName, bool isPromised,
                                    int *renameError)
    {
        const QUrl destination = QUrl::fromLocalFile(m_targetPath + QLatin1Char('/') + freeName);
        const std::optional<Error> result = coordinatedMove(item, destination, [&](const QUrl &, const QUrl &) -> std::optional<Error> {
            const QString from = isPromised ? placeholderName(name) : name;
            const QString to = isPromised ? placeholderName(freeName) : freeName;
            if (::renameat2(m_source->get(), FilePath::encode(from).constData(), m_target.get(), FilePath::encode(to).constData(),
                            RENAME_NOREPLACE)
                == 0) {
                return std::nullopt;
            }
            *renameError = errno;
            return Error::fromErrno(errno, localPath(item));
        });
        if (result && *renameError != EEXIST) {
            DRLog(LOG_WARNING, "Move failed: %@", result);
        }
        return result;
    }

    QString m_targetPath;
    int m_targetProblem = 0;
    FileDescriptor m_target;
    FolderNames m_targetNames;
    QString m_sourcePath;
    int m_sourceProblem = 0;
    std::unique_ptr<FileDescriptor> m_source;
    FolderNames m_sourceNames;
    bool m_sourceIsTarget = false;
    bool m_readsFolders = false;
};

} // namespace

QList<Error> FileUtils::moveItems_toDirectory(const QList<QUrl> &items, const QUrl &directory)
{
    DRLog(LOG_DEBUG, "MoveTarget = %@", directory);
    DRLog(LOG_DEBUG, "ItemsToMove = %@", items);
    FolderMove move(directory, items.size());
    QList<Error> errors;
    for (const QUrl &item : items) {
        // every item is attempted: one failure must not strand the rest
        if (const std::optional<Error> error = move.move(item)) {
            errors.append(*error);
        }
    }
    return errors;
}

QUrl FileUtils::destinationOfItem_inDirectory(const QUrl &item, const QUrl &directory)
{
    return QUrl::fromLocalFile(localPath(directory) + QLatin1Char('/') + QFileInfo(localPath(item)).fileName());
}

QUrl FileUtils::docDir()
{
    const QUrl container = AppDataContainerURLForBundleIdentifier(QString::fromLatin1(AerovaAppBundleIdentifier));
    if (container.isEmpty()) {
        return {};
    }
    return QUrl::fromLocalFile(container.toLocalFile() + QStringLiteral("/Documents/"));
}

bool FileUtils::nameIsTaken(const QString &directory, const QString &name)
{
    const QString path = directory + QLatin1Char('/') + name;
    // a promised item holds its name as surely as a real one, a dangling link as a live one
    return FilePath::exists(path) || PromisePlaceholder::isPromisedItem(path);
}

std::pair<QString, QString> FileUtils::splitName(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || dot == name.size() - 1) {
        return {dot == name.size() - 1 ? name.left(dot) : name, QString()};
    }
    return {name.left(dot), name.mid(dot)};
}

QString FileUtils::stringByUniquingPathInsideDirectory_forBasename(const QString &directory, const QString &basename)
{
    if (!nameIsTaken(directory, basename)) {
        return {};
    }
    for (int n = 2;; ++n) {
        const QString candidate = numberedName(basename, n);
        if (!nameIsTaken(directory, candidate)) {
            return candidate;
        }
    }
}

QUrl FileUtils::generateUniquePath(const QUrl &url)
{
    const QFileInfo info(localPath(url));
    const QString folder = info.absolutePath();
    const QString freeName = stringByUniquingPathInsideDirectory_forBasename(folder, info.fileName());
    return QUrl::fromLocalFile(folder + QLatin1Char('/') + (freeName.isNull() ? info.fileName() : freeName));
}

void FileUtils::evictDocument(const QUrl &url)
{
    std::optional<Error> error;
    if (!DriveFileManager::evictUbiquitousItemAtURL_error(url, &error)) {
        DRLog(LOG_WARNING, "Evict error: %@", error);
    }
}

QVariant FileUtils::getResourceValue_forURL(const QString &key, const QUrl &url)
{
    if (url.isEmpty()) {
        return {};
    }
    std::optional<Error> error;
    if (const auto values = URLResourceValues::promisedItemResourceValuesForKeys(url, {key}, &error);
        values && values->contains(key)) {
        return values->value(key);
    }
    if (const auto values = URLResourceValues::resourceValuesForKeys(url, {key}, &error)) {
        return values->value(key);
    }
    return {};
}

void FileUtils::dumpURLResourceValues(const QUrl &url)
{
    Q_UNUSED(url) // a hook for diagnostics
}

void FileUtils::logFileAttributes(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        DRLog(LOG_ERR, "Cannot get attributes of %@: %@", path,
              Error::fileError(FileReadNoSuchFileError, {{QString::fromLatin1(ErrorKey::FilePath), path}}));
        return;
    }
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime created = FileAttributes::creationDate(path);
    const QDateTime modified = info.lastModified();
    DRLog(LOG_DEBUG, "Date Created: %@ (%lf seconds ago)", created, created.msecsTo(now) / 1000.0);
    DRLog(LOG_DEBUG, "Date Modified: %@ (%lf seconds ago)", modified, modified.msecsTo(now) / 1000.0);
    DRLog(LOG_DEBUG, "Size: %@ bytes", info.size());
}

QString FileUtils::containerIdForURL(const QUrl &url)
{
    std::optional<Error> error;
    const auto container = KDContainer::containerForItemAtURL_error(url, &error);
    if (error || !container) {
        return {};
    }
    return container->identifier();
}

bool FileUtils::isValidExtensionForContainer(const QUrl &url)
{
    const QString extension = extensionOf(localPath(url));
    if (extension.isEmpty()) {
        return true;
    }
    const QString type = UniformType::preferredIdentifierForExtension(extension);
    if (type.isEmpty()) {
        return true;
    }
    std::optional<Error> error;
    const auto container = KDContainer::containerForItemAtURL_error(url, &error);
    if (!container) {
        return false;
    }
    if (container->identifier() == KDUbiquitousDefaultContainerID) {
        return true;
    }
    if (container->documentsURL().isEmpty()) {
        return false;
    }
    const QVariantList documentTypes = container->documentsTypes();
    if (documentTypes.isEmpty()) {
        return true;
    }
    // "@distinctUnionOfArrays.LSItemContentTypes": every declared content type, once
    QSet<QString> contentTypes;
    QList<QVariant> members;
    for (const QVariant &documentType : documentTypes) {
        const QVariant declared = documentType.toMap().value(QStringLiteral("LSItemContentTypes"));
        if (declared.isValid() && declared.metaType().id() != QMetaType::QVariantList
            && declared.metaType().id() != QMetaType::QStringList) {
            DRLog(LOG_ERR, "Expected content types of NSSet");
            return false;
        }
        for (const QVariant &member : declared.toList()) {
            const QString key = member.toString() + QLatin1Char('\x1f') + QString::number(member.typeId());
            if (!contentTypes.contains(key)) {
                contentTypes.insert(key);
                members << member;
            }
        }
    }
    for (const QVariant &member : std::as_const(members)) {
        if (member.typeId() != QMetaType::QString) {
            DRLog(LOG_ERR, "Expected array of strings");
            continue;
        }
        const QString uti = member.toString();
        if (uti == UniformType::Data || uti == UniformType::Content) {
            DRLog(LOG_INFO, "Container supports all UTIs");
            return true;
        }
        if (UniformType::conformsTo(type, uti)) {
            DRLog(LOG_INFO, "Extension %@ conforms to UTI %@", extension, uti);
            return true;
        }
    }
    return false;
}

bool FileUtils::isAudioVideoImageFile(const QString &name)
{
    const QString extension = extensionOf(name);
    if (extension.isEmpty()) {
        return false;
    }
    const QString type = UniformType::preferredIdentifierForExtension(extension);
    if (type.isEmpty()) {
        return false;
    }
    for (const QString &family : {UniformType::Image, UniformType::Movie, UniformType::Audio, UniformType::PDF}) {
        if (UniformType::conformsTo(type, family)) {
            DRLog(LOG_DEBUG, "isAudioVideoImageFile: Extension %@ is %@ which conforms to UTI %@", extension, type,
                  family);
            return true;
        }
    }
    DRLog(LOG_DEBUG, "isAudioVideoImageFile: Extension %@ is %@ which is not.", extension, type);
    return false;
}

bool FileUtils::isAudioVideoImageFile(const QUrl &url)
{
    return isAudioVideoImageFile(localPath(url));
}

std::optional<Error> FileUtils::containerAndRelativePathforURL_container_relativePathComponents(
    const QUrl &url, std::shared_ptr<KDContainer> *container, QStringList *relativePathComponents)
{
    std::optional<Error> error;
    const auto found = KDContainer::containerForItemAtURL_error(url, &error);
    if (error || !found) {
        return error ? error : Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::URL), url}});
    }
    if (container) {
        *container = found;
    }
    if (relativePathComponents) {
        const QStringList item = kd_pathRelativeToMobileDocuments(url).split(QLatin1Char('/'), Qt::SkipEmptyParts);
        const QStringList documents = kd_pathRelativeToMobileDocuments(found->documentsURL())
                                          .split(QLatin1Char('/'), Qt::SkipEmptyParts);
        if (item.size() >= documents.size()) {
            *relativePathComponents = item.mid(documents.size());
        }
    }
    return std::nullopt;
}

QString FileUtils::displayableLocationForURL(const QUrl &url)
{
    std::shared_ptr<KDContainer> container;
    QStringList components;
    const std::optional<Error> error
        = containerAndRelativePathforURL_container_relativePathComponents(url, &container, &components);
    if (error || !container) {
        return {};
    }
    const QString separator = QStringLiteral(" \u25B8 ");
    QString location;
    if (container->identifier() != KDUbiquitousDefaultContainerID) {
        const auto drive = KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID);
        location += (drive ? drive->localizedName() : QString()) + separator;
    }
    location += container->localizedName();
    if (components.size() >= 2) {
        for (qsizetype i = 0; i + 1 < components.size(); ++i) {
            location += separator + components.at(i);
        }
    }
    DRLog(LOG_DEBUG, "PathBar: %@", location);
    return location;
}

bool FileUtils::isValidFilename(const QString &name)
{
    if (name.isEmpty() || name.startsWith(QLatin1Char('.')) || name.contains(QLatin1Char('/'))
        || name.contains(QLatin1Char(':'))) {
        return false;
    }
    // walked by hand: a conversion to UCS-4 would turn a lone surrogate into U+FFFD first
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar ch = name.at(i);
        char32_t codePoint = ch.unicode();
        if (ch.isHighSurrogate() && i + 1 < name.size() && name.at(i + 1).isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(ch, name.at(++i));
        }
        if (isForbiddenCharacter(codePoint)) {
            return false;
        }
    }
    return true;
}
