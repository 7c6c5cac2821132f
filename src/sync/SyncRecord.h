#pragma once

#include <QString>

/// What the last sync knew of an item, keyed by its store key: where it is on the server and
/// which version of it the device holds (as a placeholder or downloaded).
struct SyncRecord {
    QString storeKey;
    /// The path below the signed-in folder, names joined by '/'.
    QString path;
    bool isFolder = false;
    /// The version seen on the server (DavResource::version()).
    QString version;
    qint64 size = -1;
    /// The server's modification date, in milliseconds since 1970 (what a downloaded copy gets).
    qint64 modifiedMs = 0;
    QString contentType;

    bool operator==(const SyncRecord &other) const = default;
};
