#include "platform/drive/ContainerRegistry.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/ServiceFile.h"

#include "core/DRLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSaveFile>

#include <cerrno>

namespace {

const QString defaultContainerName = QStringLiteral("Aerova Drive");

std::shared_ptr<KDContainer> fromJson(const QJsonObject &object)
{
    const QJsonValue levels = object.value(QStringLiteral("supportedFolderLevels"));
    return std::make_shared<KDContainer>(object.value(QStringLiteral("identifier")).toString(),
                                         object.value(QStringLiteral("localizedName")).toString(),
                                         levels.isString() ? QVariant(levels.toString()) : QVariant(),
                                         object.value(QStringLiteral("documentsTypes")).toArray().toVariantList());
}

QJsonArray readContainersArray(const QString &path, std::optional<Error> *error = nullptr)
{
    const std::optional<QJsonObject> registry = ServiceFile::readObject(path, error);
    if (!registry) {
        return {};
    }
    const QJsonValue containers = registry->value(QStringLiteral("containers"));
    if (!containers.isArray()) {
        DRLog(LOG_ERR, "Ignoring %@: it has no \"containers\" list", path);
        return {};
    }
    return containers.toArray();
}

} // namespace

bool ContainerRegistry::isContainerIdentifier(const QString &identifier)
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Za-z0-9_-][A-Za-z0-9._-]{0,254}$"));
    return pattern.match(identifier).hasMatch() && identifier != QLatin1String("..");
}

ContainerRegistry *ContainerRegistry::shared()
{
    static ContainerRegistry registry;
    return &registry;
}

void ContainerRegistry::reloadIfChanged()
{
    const QString path = DriveLayout::containersFile();
    const QFileInfo info(path);
    const QDateTime modified = info.exists() ? info.lastModified() : QDateTime();
    const qint64 size = info.exists() ? info.size() : -1;
    if (path == m_loadedPath && modified == m_loadedModified && size == m_loadedSize) {
        return;
    }
    m_loadedPath = path;
    m_loadedModified = modified;
    m_loadedSize = size;
    m_containers.clear();
    bool hasDefault = false;
    for (const QJsonValue &value : readContainersArray(path)) {
        auto container = fromJson(value.toObject());
        if (!isContainerIdentifier(container->identifier())) {
            // a container is a folder of the drive's root: a path of its own would lead elsewhere
            DRLog(LOG_ERR, "Ignoring the container \"%@\" of %@: an identifier is one name of letters, digits, '.', '-' and '_'",
                  container->identifier(), path);
            continue;
        }
        hasDefault = hasDefault || container->isDefaultContainer();
        m_containers << container;
    }
    if (!hasDefault) {
        m_containers.prepend(std::make_shared<KDContainer>(KDUbiquitousDefaultContainerID, defaultContainerName,
                                                           QVariant(KDUbiquitousContainerSupportedFolderAny),
                                                           QVariantList()));
    }
}

std::shared_ptr<KDContainer> ContainerRegistry::containerWithIdentifier(const QString &identifier)
{
    QMutexLocker locker(&m_mutex);
    reloadIfChanged();
    for (const auto &container : std::as_const(m_containers)) {
        if (container->identifier() == identifier) {
            return container;
        }
    }
    // a folder of the drive's root that nobody registered is still a container, without rules
    if (!identifier.isEmpty() && !identifier.startsWith(QLatin1Char('.'))
        && QFileInfo(DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + identifier).isDir()) {
        return std::make_shared<KDContainer>(identifier, identifier, QVariant(), QVariantList());
    }
    return nullptr;
}

QJsonObject ContainerRegistry::describe(const QString &identifier, const QString &localizedName,
                                        const QString &supportedFolderLevels, const QStringList &contentTypes)
{
    QJsonObject object{{QStringLiteral("identifier"), identifier}, {QStringLiteral("localizedName"), localizedName}};
    if (!supportedFolderLevels.isEmpty()) {
        object.insert(QStringLiteral("supportedFolderLevels"), supportedFolderLevels);
    }
    if (!contentTypes.isEmpty()) {
        object.insert(QStringLiteral("documentsTypes"),
                      QJsonArray{QJsonObject{{QStringLiteral("CFBundleTypeName"), localizedName},
                                             {QStringLiteral("LSItemContentTypes"),
                                              QJsonArray::fromStringList(contentTypes)}}});
    }
    return object;
}

std::optional<Error> ContainerRegistry::registerContainer(const QJsonObject &description)
{
    const QString path = DriveLayout::containersFile();
    std::optional<Error> readError;
    QJsonArray containers = readContainersArray(path, &readError);
    if (readError) {
        return readError; // the others' registrations are not overwritten by a guess
    }
    const QString identifier = description.value(QStringLiteral("identifier")).toString();
    for (qsizetype i = containers.size() - 1; i >= 0; --i) {
        if (containers.at(i).toObject().value(QStringLiteral("identifier")).toString() == identifier) {
            containers.removeAt(i);
        }
    }
    containers.append(description);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return Error::fromErrno(errno ? errno : EACCES, path);
    }
    file.write(QJsonDocument(QJsonObject{{QStringLiteral("containers"), containers}}).toJson());
    if (!file.commit()) {
        return Error::fileError(FileWriteUnknownError, {{QString::fromLatin1(ErrorKey::FilePath), path},
                                                        {QString::fromLatin1(ErrorKey::LocalizedFailureReason), file.errorString()}});
    }
    return std::nullopt;
}
