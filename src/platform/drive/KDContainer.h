#pragma once

#include "platform/foundation/Error.h"

#include <QString>
#include <QUrl>
#include <QVariantList>

#include <memory>
#include <optional>

/// The identifier of the drive's own container: its folders and documents.
inline const QString KDUbiquitousDefaultContainerID = QStringLiteral("com.quillmere.AerovaDrive");

/// The folder depths an app container allows (absent: not declared).
inline const QString KDUbiquitousContainerSupportedFolderAny = QStringLiteral("Any");
inline const QString KDUbiquitousContainerSupportedFolderOne = QStringLiteral("One");
inline const QString KDUbiquitousContainerSupportedFolderNone = QStringLiteral("None");

/// One top-level folder of the drive: the default container or an app's container, as the
/// service's registry (`Service/containers.json`) describes it.
class KDContainer final
{
public:
    KDContainer(const QString &identifier, const QString &localizedName, const QVariant &supportedFolderLevels,
                const QVariantList &documentsTypes);

    /// The container that holds the item, or null with an error when the item is not inside one.
    static std::shared_ptr<KDContainer> containerForItemAtURL_error(const QUrl &url, std::optional<Error> *error);
    /// The container with this identifier, or null.
    static std::shared_ptr<KDContainer> containerWithIdentifier(const QString &identifier);
    /// Every container that has a folder on the drive, the default one first.
    static QList<std::shared_ptr<KDContainer>> allContainers();

    QString identifier() const { return m_identifier; }
    QString localizedName() const { return m_localizedName; }
    /// One of the three KDUbiquitousContainerSupportedFolder… strings, or invalid when not declared.
    QVariant supportedFolderLevels() const { return m_supportedFolderLevels; }
    /// The document types the app declares: maps with "CFBundleTypeName" and "LSItemContentTypes".
    QVariantList documentsTypes() const { return m_documentsTypes; }
    bool isDefaultContainer() const { return m_identifier == KDUbiquitousDefaultContainerID; }
    /// The form used in log lines: identifier and folder.
    QString description() const;

    /// The container's top-level folder on the drive.
    QUrl containerURL() const;
    /// Where the container's documents live: the folder itself for the default container,
    /// its "Documents" folder for an app; empty when that folder does not exist.
    QUrl documentsURL() const;

    /// Removes every item in the container's documents folder, here and in the drive's store,
    /// leaving the container itself. Every item is attempted; the first failure is returned.
    std::optional<Error> deleteAllContentsOnClientAndServer();

private:
    QString m_identifier;
    QString m_localizedName;
    QVariant m_supportedFolderLevels;
    QVariantList m_documentsTypes;
};
