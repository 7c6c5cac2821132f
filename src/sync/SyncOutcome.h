#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// How a sync run ended.
struct SyncOutcome {
    bool succeeded = false;
    QDateTime ended;
    /// Why the run failed; empty when it succeeded.
    QString error;
    /// The kind of failure (DavError::kindName()); "unauthorized" means sign in again.
    QString errorKind;
    /// Changes made on the device.
    int changes = 0;
    /// Items left as they were, each with the reason.
    QStringList failures;
    /// Items of the server the drive refused, each with the reason.
    QStringList refused;
    /// Documents that wait for the server to have room (it answered 507).
    int waitingForRoom = 0;
    /// The server takes writes over versions it no longer has.
    bool serverIgnoresIfMatch = false;
};

Q_DECLARE_METATYPE(SyncOutcome)
