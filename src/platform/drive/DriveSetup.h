#pragma once

#include "platform/foundation/Error.h"

#include <QString>
#include <QStringList>

#include <optional>

class QTextStream;

/// Builds and inspects the drive on disk: what `aerovadrive-ctl` does, and what tests and demos
/// start from.
class DriveSetup final
{
public:
    DriveSetup() = delete;

    /// Makes the layout (drive root, default container, service files) and signs in
    /// "user@example.com". Existing items are kept.
    static std::optional<Error> initialize();
    /// `initialize`, then a drive to explore: folders, an app container with folder rules,
    /// documents of every previewable kind, promised items small and large, tagged items and a
    /// low-storage offer.
    static std::optional<Error> initializeDemo();

    static std::optional<Error> addContainer(const QString &identifier, const QString &localizedName,
                                             const QString &supportedFolderLevels, const QStringList &contentTypes);
    /// "wifi", "cellular" or "offline"; an empty state removes the override.
    static std::optional<Error> setNetwork(const QString &state);
    static std::optional<Error> setStoreRate(qint64 bytesPerSecond);
    /// Turns a file of the drive into a promised item.
    static std::optional<Error> promise(const QString &path);

    /// A tag definition: its name and colour label (0 none, 1 grey, 2 green, 3 purple, 4 blue,
    /// 5 yellow, 6 red, 7 orange).
    struct TagDefinition {
        QString name;
        int label = 0;
    };
    /// Writes the user's tag definitions to the key-value store ("TrovexTagDict", version 2),
    /// as the desktop file manager does.
    static std::optional<Error> defineTags(const QList<TagDefinition> &tags, int version = 2);
    /// Sets the tags of an item, real or promised.
    static std::optional<Error> setItemTags(const QString &path, const QStringList &tags);
    /// The storage plan and how much of it is used, in bytes.
    static std::optional<Error> setQuota(qint64 planBytes, qint64 usedBytes);
    /// Changes the storage plan, keeping what is used (the upgrade flow's purchase).
    static std::optional<Error> setPlan(qint64 planBytes);
    /// Makes the next quota fetch fail with this message.
    static std::optional<Error> failNextQuotaFetch(const QString &message);
    /// Sets the storage-upgrade offer (level 0 none, 1 filling up, 2 nearly full, 3 full).
    static std::optional<Error> setOffer(qint64 level, const QString &title);
    /// Removes the offer: the service has none.
    static std::optional<Error> clearOffer();

    /// Prints the drive's tree, promised items marked with ☁.
    static void printStatus(QTextStream &out);
};
