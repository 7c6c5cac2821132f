#include "sync/RemoteMapping.h"

#include "platform/drive/ContainerRegistry.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"

#include <QStringList>

#include <climits>

std::optional<QString> RemoteMapping::localPathFor(const QString &remotePath, QString *reason)
{
    const auto refuse = [reason](const QString &why) -> std::optional<QString> {
        if (reason) {
            *reason = why;
        }
        return std::nullopt;
    };
    QStringList names = remotePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    QString container = KDUbiquitousDefaultContainerID;
    if (!names.isEmpty() && names.first() == containersFolder()) {
        if (names.size() < 2) {
            return refuse({});
        }
        container = names.at(1);
        if (!ContainerRegistry::isContainerIdentifier(container) || container == KDUbiquitousDefaultContainerID) {
            return refuse(QStringLiteral("\"%1\" is not an app container's identifier").arg(container));
        }
        names = names.mid(2);
    }
    for (const QString &name : std::as_const(names)) {
        if (PromisePlaceholder::isPlaceholderName(name)) {
            return refuse(QStringLiteral("its name looks like a placeholder of the drive"));
        }
        if (name.startsWith(QLatin1Char('.'))) {
            return refuse({}); // the server's hidden items stay on the server
        }
        // the placeholder's name must fit too: ".Name.promise"
        if (FilePath::encode(PromisePlaceholder::placeholderPathFor(name)).size() > NAME_MAX) {
            return refuse(QStringLiteral("its name is too long to be promised on this device"));
        }
    }
    QString local = DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + container;
    for (const QString &name : std::as_const(names)) {
        local += QLatin1Char('/') + name;
    }
    return local;
}

bool RemoteMapping::isListedOnly(const QString &remotePath)
{
    return remotePath == containersFolder();
}
