#include "platform/drive/KDContainer.h"

#include "platform/drive/ContainerRegistry.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"

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
    // every item is attempted, one failure must not strand the rest; each goes with its store
    // content, and only what was removed loses its content
    const QStringList names = QDir(root).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        QString item = root + QLatin1Char('/') + name;
        if (PromisePlaceholder::isPlaceholderName(name)) {
            item = PromisePlaceholder::logicalPathFor(item);
            if (!PromisePlaceholder::isPromisedItem(item)) {
                continue; // a stale placeholder beside its real item, which is removed as itself
            }
        }
        if (auto error = PromiseStore::removeItem(item); error && !firstError) {
            firstError = error;
        }
    }
    return firstError;
}
