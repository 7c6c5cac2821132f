#include "platform/drive/ResourceValues.h"

#include "platform/drive/URLResourceValues.h"
#include "platform/types/UniformType.h"

namespace {

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

} // namespace

QString ResourceValues::localizedTypeDescription() const
{
    return UniformType::localizedDescription(typeIdentifier);
}

QUrl ResourceValues::parentDirectoryURL() const
{
    return parentDirectoryPath.isEmpty() ? QUrl() : QUrl::fromLocalFile(parentDirectoryPath);
}

QVariantMap ResourceValues::toMap(const QStringList &keys) const
{
    QVariantMap values;
    const auto put = [&](const QString &key, const QVariant &value) {
        if (keys.contains(key)) {
            values.insert(key, value);
        }
    };
    put(URLResourceKey::Name, name);
    put(URLResourceKey::LocalizedName, localizedName);
    put(URLResourceKey::TypeIdentifier, typeIdentifier);
    if (keys.contains(URLResourceKey::LocalizedTypeDescription)) {
        values.insert(URLResourceKey::LocalizedTypeDescription, localizedTypeDescription());
    }
    if (fileSize) {
        put(URLResourceKey::FileSize, *fileSize);
    }
    if (creationDate.isValid()) {
        put(URLResourceKey::CreationDate, creationDate);
    }
    if (contentModificationDate.isValid()) {
        put(URLResourceKey::ContentModificationDate, contentModificationDate);
    }
    put(URLResourceKey::IsDirectory, isDirectory);
    put(URLResourceKey::IsPackage, isPackage);
    put(URLResourceKey::HasHiddenExtension, hasHiddenExtension);
    if (keys.contains(URLResourceKey::ParentDirectoryURL)) {
        values.insert(URLResourceKey::ParentDirectoryURL, parentDirectoryURL());
    }
    if (isShared) {
        put(URLResourceKey::UbiquitousItemIsShared, *isShared);
    }
    if (!sharedRole.isEmpty()) {
        put(URLResourceKey::UbiquitousSharedItemRole, sharedRole);
    }
    if (!downloadingStatus.isEmpty()) {
        put(URLResourceKey::UbiquitousItemDownloadingStatus, downloadingStatus);
    }
    return values;
}

ResourceValues ResourceValues::fromMap(const QVariantMap &map)
{
    ResourceValues values;
    values.name = map.value(URLResourceKey::Name).toString();
    values.localizedName = map.value(URLResourceKey::LocalizedName).toString();
    values.typeIdentifier = map.value(URLResourceKey::TypeIdentifier).toString();
    if (const QVariant size = map.value(URLResourceKey::FileSize); isNumber(size)) {
        values.fileSize = size.toULongLong();
    }
    values.creationDate = map.value(URLResourceKey::CreationDate).toDateTime();
    values.contentModificationDate = map.value(URLResourceKey::ContentModificationDate).toDateTime();
    values.isDirectory = map.value(URLResourceKey::IsDirectory).toBool();
    values.isPackage = map.value(URLResourceKey::IsPackage).toBool();
    values.hasHiddenExtension = map.value(URLResourceKey::HasHiddenExtension).toBool();
    values.parentDirectoryPath = map.value(URLResourceKey::ParentDirectoryURL).toUrl().toLocalFile();
    if (const QVariant shared = map.value(URLResourceKey::UbiquitousItemIsShared); shared.isValid()) {
        values.isShared = shared.toBool();
    }
    values.sharedRole = map.value(URLResourceKey::UbiquitousSharedItemRole).toString();
    values.downloadingStatus = map.value(URLResourceKey::UbiquitousItemDownloadingStatus).toString();
    return values;
}
