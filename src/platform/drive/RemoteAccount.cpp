#include "platform/drive/RemoteAccount.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/ServiceFile.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

std::optional<RemoteAccount> RemoteAccount::current()
{
    const std::optional<QJsonObject> account = ServiceFile::readObject(DriveLayout::accountFile());
    if (!account) {
        return std::nullopt;
    }
    const QUrl server(account->value(QStringLiteral("server")).toString(), QUrl::StrictMode);
    if (!server.isValid() || (server.scheme() != QLatin1String("http") && server.scheme() != QLatin1String("https"))) {
        return std::nullopt;
    }
    return RemoteAccount{server, account->value(QStringLiteral("user")).toString()};
}

QString RemoteAccount::identity() const
{
    return user + QLatin1Char('@') + server.toString(QUrl::FullyEncoded);
}

bool RemoteAccount::signIn() const
{
    QDir().mkpath(DriveLayout::servicePath());
    QSaveFile file(DriveLayout::accountFile());
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write(QJsonDocument(QJsonObject{{QStringLiteral("identity"), identity()},
                                         {QStringLiteral("name"), user},
                                         {QStringLiteral("server"), server.toString(QUrl::FullyEncoded)},
                                         {QStringLiteral("user"), user}})
                   .toJson());
    return file.commit();
}

bool RemoteAccount::needsSignIn()
{
    return passwordRefused() || passwordNeeded();
}

bool RemoteAccount::passwordRefused()
{
    const std::optional<QJsonObject> status = ServiceFile::readObject(DriveLayout::syncStatusFile());
    return status && status->value(QStringLiteral("errorKind")).toString() == QLatin1String("unauthorized");
}

bool RemoteAccount::passwordNeeded()
{
    const std::optional<QJsonObject> status = ServiceFile::readObject(DriveLayout::syncStatusFile());
    return status && status->value(QStringLiteral("errorKind")).toString() == QLatin1String("password needed");
}
