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

    /// Prints the drive's tree, promised items marked with ☁.
    static void printStatus(QTextStream &out);
};
