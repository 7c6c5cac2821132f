#pragma once

#include <QString>

class RemoteAccount;

/// Where the password of the server account is kept: the desktop's secret service (through
/// QtKeychain, service "com.quillmere.AerovaDrive", key "<server> <user>"), or, only when the
/// user asks for it, the file `Service/credentials` (mode 0600). Never `account.json`, never a
/// log. Without either, the sync service keeps it in memory until it stops.
class Credentials final
{
public:
    Credentials() = delete;

    enum class Storage { SecretService, File };

    /// The stored password; a null string when none is stored (`error` says why the secret
    /// service could not give one, when it could not).
    static QString read(const RemoteAccount &account, QString *error = nullptr);
    /// Stores the password; false with `error` set when it cannot be kept there.
    static bool store(const RemoteAccount &account, const QString &password, Storage storage, QString *error);
    /// Forgets the password wherever it is kept.
    static void forget(const RemoteAccount &account);

private:
    static QString keychainKey(const RemoteAccount &account);
};
