#pragma once

#include <QString>
#include <QUrl>

#include <optional>

/// The server account the drive is signed in to, as `Service/account.json` names it: the server
/// folder and the user name, never the password. A drive signed in without a server (the local
/// store of demos and tests) has none.
class RemoteAccount final
{
public:
    QUrl server;
    QString user;

    /// The signed-in server account; none when signed out or signed in without a server.
    static std::optional<RemoteAccount> current();
    /// Whether the drive shows as signed out until the user signs in again: the server refused
    /// the stored password at the last sync, or the sync service has none (it was kept only in
    /// the memory of a service that stopped).
    static bool needsSignIn();
    static bool passwordRefused();
    static bool passwordNeeded();
    /// Writes `account.json` for this account. The identity the app sees is made of the server
    /// and the user, so it changes when either does.
    bool signIn() const;
    /// The identity written to `account.json`.
    QString identity() const;
};
