#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

#include <optional>

/// An item's metadata as typed values, every resource key (URLResourceKey) read in one go. The
/// keyed form (a QVariantMap) is made from it only for the callers that ask by key: a record of
/// the drive reads the values themselves, so that no map is built and taken apart per item.
struct ResourceValues
{
    QString name;
    QString localizedName;
    QString typeIdentifier;
    std::optional<quint64> fileSize;
    /// Invalid when unknown; in UTC (shown in local time by the formatters).
    QDateTime creationDate;
    QDateTime contentModificationDate;
    /// What the file system says: a package is a folder too.
    bool isDirectory = false;
    bool isPackage = false;
    bool hasHiddenExtension = false;
    /// The folder holding the item, ending in '/'.
    QString parentDirectoryPath;
    /// Known only for an item of the drive (real or promised); null elsewhere.
    std::optional<bool> isShared;
    /// "owner" or "participant" for a shared item; empty otherwise.
    QString sharedRole;
    /// One of URLResourceValue's downloading statuses for an item of the drive; empty elsewhere.
    QString downloadingStatus;
    /// The item's tags, when they were read with the values.
    std::optional<QStringList> tags;
    /// The item is promised: its values come from its placeholder.
    bool isPromise = false;

    QString localizedTypeDescription() const;
    QUrl parentDirectoryURL() const;

    /// The keyed form, holding only `keys` and only the values that are known.
    QVariantMap toMap(const QStringList &keys) const;
    static ResourceValues fromMap(const QVariantMap &values);
};
