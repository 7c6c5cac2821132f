#pragma once

#include <QString>

/// Why a request to the server failed, in the terms a person acts on.
struct DavError {
    enum class Kind {
        None,
        /// 401: the password is wrong or no longer accepted.
        Unauthorized,
        /// 403 and other refusals that asking again will not change.
        Refused,
        NotFound,
        /// The address answers but is no WebDAV folder.
        NotWebDav,
        /// No connection: host unknown, refused, dropped, timed out.
        Unreachable,
        /// The server's certificate is not trusted.
        Certificate,
        /// 5xx.
        ServerError,
        /// The answer could not be read or broke the drive's rules.
        BadAnswer,
        /// The answer was larger than the drive reads.
        TooLarge,
        /// The request was cancelled.
        Cancelled,
        /// A password would cross the network unencrypted.
        InsecureConnection,
        /// 412: the item is no longer as the request expected it (changed or made meanwhile).
        Changed,
        /// 507: the server has no room for it.
        ServerFull,
    };

    Kind kind = Kind::None;
    int httpStatus = 0;
    QString message;

    explicit operator bool() const { return kind != Kind::None; }
    /// A short name of the kind, for logs and the status ("unauthorized", "unreachable"…).
    QString kindName() const;
    /// What a person reads: the kind in words, then the details.
    QString description() const;
};
