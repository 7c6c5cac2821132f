#include "platform/drive/DriveLayout.h"

#include "platform/foundation/AerovaHome.h"

QString DriveLayout::mobileDocumentsPath()
{
    return AerovaHome::filePath(QStringLiteral("Mobile Documents"));
}

QUrl DriveLayout::mobileDocumentsURL()
{
    return QUrl::fromLocalFile(mobileDocumentsPath() + QLatin1Char('/'));
}

QString DriveLayout::servicePath()
{
    return AerovaHome::filePath(QStringLiteral("Service"));
}

QString DriveLayout::containersFile()
{
    return servicePath() + QStringLiteral("/containers.json");
}

QString DriveLayout::accountFile()
{
    return servicePath() + QStringLiteral("/account.json");
}

QString DriveLayout::kvstoreFile()
{
    return servicePath() + QStringLiteral("/kvstore.json");
}

QString DriveLayout::quotaFile()
{
    return servicePath() + QStringLiteral("/quota.json");
}

QString DriveLayout::offerFile()
{
    return servicePath() + QStringLiteral("/offer.json");
}

QString DriveLayout::networkFile()
{
    return servicePath() + QStringLiteral("/network");
}

QString DriveLayout::storeRateFile()
{
    return servicePath() + QStringLiteral("/store-rate");
}

QString DriveLayout::storePath()
{
    return servicePath() + QStringLiteral("/store");
}

QString DriveLayout::appContainerPath()
{
    return AerovaHome::filePath(QStringLiteral("App"));
}

QString DriveLayout::syncJournalFile()
{
    return servicePath() + QStringLiteral("/sync.db");
}

QString DriveLayout::syncStatusFile()
{
    return servicePath() + QStringLiteral("/sync-status.json");
}

QString DriveLayout::syncSocketPath()
{
    return servicePath() + QStringLiteral("/syncd.sock");
}

QString DriveLayout::syncLockFile()
{
    return servicePath() + QStringLiteral("/syncd.lock");
}

QString DriveLayout::partialDownloadsPath()
{
    return servicePath() + QStringLiteral("/partial");
}

QString DriveLayout::credentialsFile()
{
    return servicePath() + QStringLiteral("/credentials");
}
