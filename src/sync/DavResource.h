#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

/// One resource of a WebDAV folder listing, as far as the drive needs it.
struct DavResource {
    /// The resource's path below the signed-in folder, its names decoded and joined with '/',
    /// without a leading or trailing '/'; empty for the signed-in folder itself.
    QString path;
    bool isCollection = false;
    /// The entity tag without quotes or its weak mark; empty when the server sends none.
    QString etag;
    bool weakETag = false;
    /// -1 when unknown (folders).
    qint64 size = -1;
    QDateTime modified;
    QString contentType;
    /// RFC 4331; -1 when the server does not report them.
    qint64 quotaAvailable = -1;
    qint64 quotaUsed = -1;
    /// The tags the drive keeps on the server as the dead property {urn:x-aerova:}tags.
    QStringList tags;

    /// The last name of `path`.
    QString name() const { return path.section(QLatin1Char('/'), -1); }
    /// What tells one version of a document from another: the entity tag, else size and date
    /// (servers that send no tags).
    QString version() const
    {
        return !etag.isEmpty() ? etag : QString::number(size) + QLatin1Char('@') + QString::number(modified.toMSecsSinceEpoch());
    }
};
