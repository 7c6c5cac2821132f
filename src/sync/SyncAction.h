#pragma once

#include "sync/DavResource.h"
#include "sync/SyncRecord.h"

#include <QString>

#include <optional>

/// What a sync run does for one item to bring the device to the server's state.
struct SyncAction {
    enum class Kind {
        /// In step: nothing to do.
        Nothing,
        /// A new document on the server: a new placeholder.
        CreatePlaceholder,
        /// A document changed on the server, not downloaded here: its placeholder is rewritten.
        UpdatePlaceholder,
        /// A document changed on the server whose downloaded copy is unchanged here: the copy
        /// gives way to a placeholder of the new version.
        ReplaceWithPlaceholder,
        /// A document moved on the server: its placeholder or copy moves too.
        Move,
        MakeFolder,
        /// Gone from the server and unchanged here: removed here.
        RemoveLocal,
        RemoveFolder,
        /// The device already matches: only the journal learns the server's version.
        Record,
        /// The journal's record names nothing anymore.
        Forget,
        /// The device holds something the server does not know, or changed what it does: left
        /// as it is (nothing on the device is ever overwritten by a download).
        KeepLocal,
    };

    Kind kind = Kind::Nothing;
    /// The item's path below the signed-in folder (for a move: where it goes).
    QString path;
    /// For a move: where it was.
    QString fromPath;
    std::optional<SyncRecord> base;
    std::optional<DavResource> remote;
    /// Why the device was left as it is.
    QString reason;
};
