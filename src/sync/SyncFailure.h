#pragma once

#include <QString>

/// An item the server would not take, kept from run to run so that it is tried again at the
/// right time, not on every run (and named in the status once it has failed often).
struct SyncFailure {
    /// The item's path below the signed-in folder.
    QString path;
    /// How many runs in a row it failed.
    int attempts = 0;
    /// The server's answer, in words.
    QString message;
    /// Not tried again before this time (ms since the epoch).
    qint64 nextTryMs = 0;
    /// What the device held when it failed: an answer that asking again will not change is
    /// asked again only once the item changed.
    QString localState;
    /// The answer will not change by asking again (403, 415…).
    bool permanent = false;
};
