#pragma once

#include "sync/DavResource.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

/// Reads a PROPFIND answer (RFC 4918 multistatus). An answer is hostile input: a resource whose
/// href leaves the signed-in folder (`../`, another host or port), whose name decodes to
/// nothing, `.`, `..`, or holds '/' or NUL, or whose size is negative or absurd is refused, one
/// by one, with the reason in `refused`; a malformed or truncated answer is refused whole.
class MultistatusParser final
{
public:
    MultistatusParser() = delete;

    /// The largest size taken as true: 2^53 bytes, beyond any real disk.
    static constexpr qint64 maximumSize = qint64(1) << 53;

    /// `base` is the signed-in folder's URL; hrefs are resolved against `requestUrl`.
    static std::optional<QList<DavResource>> parse(const QByteArray &xml, const QUrl &base, const QUrl &requestUrl,
                                                   QString *error, QStringList *refused = nullptr);

    /// The path below `base` that `url` names, its names decoded; nullopt when it is not below
    /// `base` or a name is not one the drive can hold (`reason` says why).
    static std::optional<QString> relativePath(const QUrl &url, const QUrl &base, QString *reason);
};
