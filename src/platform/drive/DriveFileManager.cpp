#include "platform/drive/DriveFileManager.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/ServiceFile.h"

#include "core/DRLogging.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

QByteArray UbiquityIdentityToken::archivedData() const
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream << QStringLiteral("UbiquityIdentityToken") << m_identity;
    return data;
}

UbiquityIdentityToken UbiquityIdentityToken::fromArchivedData(const QByteArray &data)
{
    QDataStream stream(data);
    QString kind;
    QByteArray identity;
    stream >> kind >> identity;
    if (stream.status() != QDataStream::Ok || kind != QLatin1String("UbiquityIdentityToken")) {
        return {};
    }
    return UbiquityIdentityToken(identity);
}

std::optional<UbiquityIdentityToken> DriveFileManager::ubiquityIdentityToken()
{
    // an account file that cannot be read is no account: the drive shows as signed out, and
    // the log says why
    const std::optional<QJsonObject> account = ServiceFile::readObject(DriveLayout::accountFile());
    if (!account) {
        return std::nullopt;
    }
    const QString identity = account->value(QStringLiteral("identity")).toString();
    if (identity.isEmpty()) {
        DRLog(LOG_ERR, "Ignoring %@: it names no account (\"identity\" is missing or empty)", DriveLayout::accountFile());
        return std::nullopt;
    }
    if (account->contains(QStringLiteral("server")) && RemoteAccount::needsSignIn()) {
        static std::atomic<bool> told{false};
        if (!told.exchange(true)) DRLog(LOG_NOTICE, "The drive needs the password of %@ again (refused by the server, or kept only by a sync service that stopped): sign in again",
              identity);
        return std::nullopt;
    }
    // the app only ever sees a digest of the account, never its name
    return UbiquityIdentityToken(QCryptographicHash::hash(identity.toUtf8(), QCryptographicHash::Sha256));
}

QUrl DriveFileManager::URLForUbiquityContainerIdentifier(const QString &identifier)
{
    if (!ubiquityIdentityToken()) {
        return {};
    }
    const auto container = KDContainer::containerWithIdentifier(identifier.isEmpty() ? KDUbiquitousDefaultContainerID
                                                                                     : identifier);
    if (!container || !QFileInfo(container->containerURL().toLocalFile()).isDir()) {
        return {};
    }
    return container->containerURL();
}

bool DriveFileManager::isUbiquitousItemAtURL(const QUrl &url)
{
    const QString relative = kd_pathRelativeToMobileDocuments(url);
    return !relative.isEmpty();
}

bool DriveFileManager::evictUbiquitousItemAtURL_error(const QUrl &url, std::optional<Error> *error)
{
    if (!isUbiquitousItemAtURL(url)) {
        if (error) {
            *error = Error::fileError(FeatureUnsupportedError, {{QString::fromLatin1(ErrorKey::URL), url}});
        }
        return false;
    }
    if (auto failed = PromiseStore::evict(url.toLocalFile())) {
        if (error) {
            *error = failed;
        }
        return false;
    }
    return true;
}

bool DriveFileManager::signIn(const QString &accountName)
{
    QDir().mkpath(DriveLayout::servicePath());
    QSaveFile file(DriveLayout::accountFile());
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write(QJsonDocument(QJsonObject{{QStringLiteral("identity"), accountName},
                                         {QStringLiteral("name"), accountName}})
                   .toJson());
    return file.commit();
}

bool DriveFileManager::signOut()
{
    return QFile::remove(DriveLayout::accountFile()) || !QFileInfo::exists(DriveLayout::accountFile());
}
