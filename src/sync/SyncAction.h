#pragma once

#include "sync/DavResource.h"
#include "sync/LocalItem.h"
#include "sync/SyncRecord.h"

#include <QString>

#include <optional>

/// What a sync run does for one item to bring the device and the server to one state.
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
        /// The device holds something it cannot send, or not yet: left as it is (nothing on the
        /// device is ever overwritten by a download).
        KeepLocal,
        /// A document the server does not have (new on the device, or changed here and
        /// deleted there): sent, never over anything the server has.
        Upload,
        /// A document changed on the device only: sent over the version the device started from.
        UploadChange,
        /// A folder made on the device.
        MakeRemoteFolder,
        /// A document, placeholder or folder moved or renamed on the device (its store key is
        /// known at `fromPath`): moved on the server, never over anything there.
        MoveRemote,
        /// Deleted on the device and unchanged on the server since: deleted there (a folder
        /// whole, only while nothing in it changed on the server).
        DeleteRemote,
        /// A document changed on both sides, or new on both under one name: the server's
        /// version keeps the name and comes down as a placeholder; the device's moves to a free
        /// "(conflict …)" name and is sent as a new document.
        KeepBoth,
    };

    Kind kind = Kind::Nothing;
    /// The item's path below the signed-in folder (for a move: where it goes).
    QString path;
    /// For a move: where it was.
    QString fromPath;
    std::optional<SyncRecord> base;
    std::optional<DavResource> remote;
    /// What the device held when the run looked (the sending steps check it is still so).
    LocalItem local;
    /// Why the device was left as it is.
    QString reason;
};
