#pragma once

#include "platform/foundation/Error.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

/// The signed-in account, as far as the app may know it: an opaque token that changes when
/// another account signs in. It is archived into the user defaults with QDataStream.
class UbiquityIdentityToken final
{
public:
    UbiquityIdentityToken() = default;
    explicit UbiquityIdentityToken(const QByteArray &identity)
        : m_identity(identity)
    {
    }

    bool isNull() const { return m_identity.isEmpty(); }
    QByteArray identity() const { return m_identity; }
    bool operator==(const UbiquityIdentityToken &other) const = default;

    /// The keyed-archiver form kept in the user defaults.
    QByteArray archivedData() const;
    static UbiquityIdentityToken fromArchivedData(const QByteArray &data);

private:
    QByteArray m_identity;
};

/// The file manager's questions about the drive: the account, where a container lives, and
/// giving a downloaded item back to the store.
class DriveFileManager final
{
public:
    DriveFileManager() = delete;

    /// The token of the signed-in account (`Service/account.json`); empty when the drive is
    /// disabled.
    static std::optional<UbiquityIdentityToken> ubiquityIdentityToken();
    /// The folder of the container with that identifier (the default container for an empty
    /// one); empty when the drive is disabled or no such container exists.
    static QUrl URLForUbiquityContainerIdentifier(const QString &identifier);
    /// Removes the local copy of a downloaded item, keeping it on the drive as a promise.
    static bool evictUbiquitousItemAtURL_error(const QUrl &url, std::optional<Error> *error);
    static bool isUbiquitousItemAtURL(const QUrl &url);

    /// Writes or removes `account.json` (the control program's sign-in and sign-out).
    static bool signIn(const QString &accountName);
    static bool signOut();
};
