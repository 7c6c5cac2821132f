#pragma once

#include "platform/foundation/Error.h"

#include <QString>

#include <chrono>
#include <memory>
#include <optional>

class CancellationToken;
class Progress;

/// The drive service's side of promised items: it turns a promise into a real file when the
/// item is read under coordination (materialising) and gives a file's content back to the store
/// (evicting, or promising a new file).
///
/// Materialising copies the content from the store into an unnamed temporary file in the item's
/// folder, publishing a progress of kind "NSProgressKindFile" for the item, then links it under
/// the item's name (never replacing anything there), sets its dates and tags and removes the
/// placeholder. A cancel, a failure or a killed process leaves the placeholder as it was and
/// nothing under the item's name.
class PromiseStore final
{
public:
    PromiseStore() = delete;

    /// Downloads the promised item at `logicalPath`. `cancel` may stop it (error 3072).
    static std::optional<Error> materialize(const QString &logicalPath, CancellationToken *cancel);
    /// Why a download of the promised item at `logicalPath` would fail before it starts: no
    /// placeholder (4), the store out of reach (4355), its content not in the store (4354).
    /// Nothing when it can start. Reads the placeholder and looks at the store; copies nothing.
    static std::optional<Error> checkDownloadable(const QString &logicalPath);
    /// Turns the real file at `path` back into a promised item. A promise is left as it is.
    static std::optional<Error> evict(const QString &path);
    /// Deletes an item, real or promised, and with it the store's content of every promised
    /// item it holds: a deletion on the device is a deletion on the drive. The item is first
    /// taken out of sight whole, in one rename (a folder is never seen half deleted), then
    /// removed; a process killed meanwhile leaves the rest to `finishInterruptedWork`.
    static std::optional<Error> removeItem(const QString &path);
    /// Finishes what a killed process left: deletions taken out of sight, and the temporary
    /// files of placeholder writes and downloads older than `leftOverAge` (a younger one may
    /// belong to a process at work right now). Walks the whole drive: run it off the main thread.
    static void finishInterruptedWork(std::chrono::seconds leftOverAge = std::chrono::seconds(60));
    /// The store's speed in bytes per second (`Service/store-rate`), 0 for unlimited.
    static qint64 storeRate();
    /// Whether the service can reach its store (`Service/network` is not "offline").
    static bool isStoreReachable();
};
