#pragma once

#include "platform/foundation/Error.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMutex>
#include <QString>

#include <memory>
#include <optional>

class KDContainer;

/// The service's list of containers, `Service/containers.json`:
///
///     { "containers": [ { "identifier": "com.example.Writer", "localizedName": "Writer",
///                         "supportedFolderLevels": "One",
///                         "documentsTypes": [ { "CFBundleTypeName": "Text",
///                                               "LSItemContentTypes": ["text/plain"] } ] } ] }
///
/// Re-read when the file changes. The default container is always known, named "Aerova Drive"
/// unless the file names it otherwise; a folder of the drive's root that the file does not list
/// is a container named after its folder, with no declared rules.
class ContainerRegistry final
{
public:
    static ContainerRegistry *shared();

    std::shared_ptr<KDContainer> containerWithIdentifier(const QString &identifier);

    /// Adds or replaces a container in the file (used by the control program and tests). A
    /// file that cannot be read is an error and stays as it is.
    static std::optional<Error> registerContainer(const QJsonObject &description);
    /// A container's identifier names one folder of the drive's root: letters, digits, '.',
    /// '-' and '_', not beginning with '.'.
    static bool isContainerIdentifier(const QString &identifier);
    static QJsonObject describe(const QString &identifier, const QString &localizedName,
                                const QString &supportedFolderLevels, const QStringList &contentTypes);

private:
    void reloadIfChanged();

    QMutex m_mutex;
    QString m_loadedPath;
    QDateTime m_loadedModified;
    qint64 m_loadedSize = -1;
    QList<std::shared_ptr<KDContainer>> m_containers;
};
