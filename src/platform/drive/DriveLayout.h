#pragma once

#include <QString>
#include <QUrl>

/// Where the drive and its service keep their state below `$AEROVA_HOME`:
///
///     Mobile Documents/            the drive's local root
///       com.quillmere.AerovaDrive/ the default container; its documents folder is itself
///       <app id>/Documents/        an app's container and its documents folder
///     Service/                     containers.json, account.json, kvstore.json, quota.json,
///                                  offer.json, network, store-rate, store/ (promised contents);
///                                  with a server: sync.db, sync-status.json, syncd.sock,
///                                  syncd.lock, partial/ (downloads under way), credentials
///     App/                         the app's data container
///     defaults.ini                 the standard user defaults
class DriveLayout final
{
public:
    DriveLayout() = delete;

    static QString mobileDocumentsPath();
    static QUrl mobileDocumentsURL();
    static QString servicePath();
    static QString containersFile();
    static QString accountFile();
    static QString kvstoreFile();
    static QString quotaFile();
    static QString offerFile();
    static QString networkFile();
    /// Optional: the store's speed in bytes per second, to watch downloads progress.
    static QString storeRateFile();
    static QString storePath();
    /// The sync service's journal, status, socket, lock, downloads under way and the password
    /// file a user may ask for.
    static QString syncJournalFile();
    static QString syncStatusFile();
    static QString syncSocketPath();
    static QString syncLockFile();
    static QString partialDownloadsPath();
    static QString credentialsFile();
    static QString appContainerPath();
};
