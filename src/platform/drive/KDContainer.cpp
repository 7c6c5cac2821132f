#include "platform/drive/KDContainer.h"

#include "platform/drive/ContainerRegistry.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

KDContainer::KDContainer(const QString &identifier, const QString &localizedName,
                         const QVariant &supportedFolderLevels, const QVariantList &documentsTypes)
    : m_identifier(identifier)
    , m_localizedName(localizedName)
    , m_supportedFolderLevels(supportedFolderLevels)
    , m_documentsTypes(documentsTypes)
{
}

std::shared_ptr<KDContainer> KDContainer::containerForItemAtURL_error(const QUrl &url, std::optional<Error> *error)
{
    const QString relative = kd_pathRelativeToMobileDocuments(url);
    const QString identifier = relative.section(QLatin1Char('/'), 0, 0);
    std::shared_ptr<KDContainer> container;
    if (!identifier.isEmpty()) {
        container = containerWithIdentifier(identifier);
    }
    if (!container && error) {
        *error = Error::fileError(FileNoSuchFileError,
                                  {{QString::fromLatin1(ErrorKey::URL), url},
                                   {QString::fromLatin1(ErrorKey::LocalizedDescription),
                                    QStringLiteral("The item is not in a container of Aerova Drive.")}});
    }
    return container;
}

std::shared_ptr<KDContainer> KDContainer::containerWithIdentifier(const QString &identifier)
{
    return ContainerRegistry::shared()->containerWithIdentifier(identifier);
}

QList<std::shared_ptr<KDContainer>> KDContainer::allContainers()
{
    QList<std::shared_ptr<KDContainer>> result;
    const QDir root(DriveLayout::mobileDocumentsPath());
    if (auto def = containerWithIdentifier(KDUbiquitousDefaultContainerID); def && root.exists(def->identifier())) {
        result << def;
    }
    const QStringList folders = root.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &folder : folders) {
        if (folder == KDUbiquitousDefaultContainerID) {
            continue;
        }
        if (auto container = containerWithIdentifier(folder)) {
            result << container;
        }
    }
    return result;
}

QUrl KDContainer::containerURL() const
{
    return QUrl::fromLocalFile(DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + m_identifier);
}

QString KDContainer::description() const
{
    return QStringLiteral("<KDContainer %1 at %2>").arg(m_identifier, containerURL().toLocalFile());
}

QUrl KDContainer::documentsURL() const
{
    const QString path = isDefaultContainer() ? containerURL().toLocalFile()
                                              : containerURL().toLocalFile() + QStringLiteral("/Documents");
    if (!QFileInfo(path).isDir()) {
        return {};
    }
    return QUrl::fromLocalFile(path);
}

std::optional<Error> KDContainer::deleteAllContentsOnClientAndServer()
{
    const QUrl documents = documentsURL();
    if (documents.isEmpty()) {
        return std::nullopt; // nothing was ever stored
    }
    const QString root = documents.toLocalFile();
    std::optional<Error> firstError;
    // the server side first: the contents of promised items go from the store
    QDirIterator placeholders(root, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (placeholders.hasNext()) {
        const QString path = placeholders.next();
        if (!PromisePlaceholder::isPlaceholderName(placeholders.fileName())) {
            continue;
        }
        std::optional<Error> readError;
        if (const auto placeholder = PromisePlaceholder::read(path, &readError)) {
            QFile::remove(placeholder->storeFilePath());
        }
    }
    // then every item here; every item is attempted, one failure must not strand the rest
    const QFileInfoList entries = QDir(root).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System
                                                           | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        const bool removed = (entry.isDir() && !entry.isSymLink()) ? QDir(entry.filePath()).removeRecursively()
                                                                   : QFile::remove(entry.filePath());
        if (!removed && !firstError) {
            firstError = Error::fileError(FileWriteNoPermissionError,
                                          {{QString::fromLatin1(ErrorKey::FilePath), entry.filePath()}});
        }
    }
    return firstError;
}
