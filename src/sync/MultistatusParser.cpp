#include "sync/MultistatusParser.h"

#include "platform/foundation/FilePath.h"
#include "sync/HttpDate.h"

#include <QXmlStreamReader>

namespace {

const QString davNamespace = QStringLiteral("DAV:");
const QString aerovaNamespace = QStringLiteral("urn:x-aerova:");

/// The names of a URL's path, each percent-decoded on its own so that an encoded '/' stays
/// inside its name (and is then refused) instead of splitting it.
QList<QByteArray> decodedSegments(const QUrl &url)
{
    QList<QByteArray> segments;
    for (const QByteArray &segment : url.path(QUrl::FullyEncoded).toLatin1().split('/')) {
        if (!segment.isEmpty()) {
            segments << QByteArray::fromPercentEncoding(segment);
        }
    }
    return segments;
}

bool sameOrigin(const QUrl &a, const QUrl &b)
{
    return a.scheme().compare(b.scheme(), Qt::CaseInsensitive) == 0
        && a.host().compare(b.host(), Qt::CaseInsensitive) == 0 && a.port(-1) == b.port(-1);
}

struct Props {
    DavResource resource;
    bool ok = false;
};

/// Reads the text of the current element, nested markup included as text.
QString elementText(QXmlStreamReader &reader)
{
    return reader.readElementText(QXmlStreamReader::IncludeChildElements);
}

void readProp(QXmlStreamReader &reader, DavResource &resource)
{
    while (reader.readNextStartElement()) {
        const bool dav = reader.namespaceUri() == davNamespace;
        const auto name = reader.name();
        if (dav && name == QLatin1String("resourcetype")) {
            while (reader.readNextStartElement()) {
                if (reader.namespaceUri() == davNamespace && reader.name() == QLatin1String("collection")) {
                    resource.isCollection = true;
                }
                reader.skipCurrentElement();
            }
        } else if (dav && name == QLatin1String("getetag")) {
            QString etag = elementText(reader).trimmed();
            if (etag.startsWith(QLatin1String("W/"))) {
                resource.weakETag = true;
                etag.remove(0, 2);
            }
            if (etag.size() >= 2 && etag.startsWith(QLatin1Char('"')) && etag.endsWith(QLatin1Char('"'))) {
                etag = etag.mid(1, etag.size() - 2);
            }
            resource.etag = etag;
        } else if (dav && name == QLatin1String("getcontentlength")) {
            bool ok = false;
            const qint64 size = elementText(reader).trimmed().toLongLong(&ok);
            resource.size = ok && size >= 0 ? size : -2; // -2: sent but unusable, refused below
        } else if (dav && name == QLatin1String("getlastmodified")) {
            resource.modified = HttpDate::parse(elementText(reader).toLatin1());
        } else if (dav && name == QLatin1String("getcontenttype")) {
            resource.contentType = elementText(reader).trimmed().section(QLatin1Char(';'), 0, 0).trimmed();
        } else if (dav && name == QLatin1String("quota-available-bytes")) {
            bool ok = false;
            const qint64 bytes = elementText(reader).trimmed().toLongLong(&ok);
            resource.quotaAvailable = ok && bytes >= 0 ? bytes : -1;
        } else if (dav && name == QLatin1String("quota-used-bytes")) {
            bool ok = false;
            const qint64 bytes = elementText(reader).trimmed().toLongLong(&ok);
            resource.quotaUsed = ok && bytes >= 0 ? bytes : -1;
        } else if (reader.namespaceUri() == aerovaNamespace && name == QLatin1String("tags")) {
            for (const QString &tag : elementText(reader).split(QLatin1Char(','))) {
                if (const QString trimmed = tag.trimmed(); !trimmed.isEmpty()) {
                    resource.tags << trimmed;
                }
            }
        } else {
            reader.skipCurrentElement();
        }
    }
}

/// A propstat: its properties count only when its status is 2xx.
void readPropstat(QXmlStreamReader &reader, DavResource &resource)
{
    DavResource found;
    bool okStatus = true;
    while (reader.readNextStartElement()) {
        if (reader.namespaceUri() == davNamespace && reader.name() == QLatin1String("prop")) {
            readProp(reader, found);
        } else if (reader.namespaceUri() == davNamespace && reader.name() == QLatin1String("status")) {
            const QStringList parts = elementText(reader).simplified().split(QLatin1Char(' '));
            okStatus = parts.size() >= 2 && parts.at(1).startsWith(QLatin1Char('2'));
        } else {
            reader.skipCurrentElement();
        }
    }
    if (!okStatus) {
        return;
    }
    resource.isCollection = resource.isCollection || found.isCollection;
    if (!found.etag.isEmpty()) {
        resource.etag = found.etag;
        resource.weakETag = found.weakETag;
    }
    if (found.size != -1) {
        resource.size = found.size;
    }
    if (found.modified.isValid()) {
        resource.modified = found.modified;
    }
    if (!found.contentType.isEmpty()) {
        resource.contentType = found.contentType;
    }
    if (found.quotaAvailable >= 0) {
        resource.quotaAvailable = found.quotaAvailable;
    }
    if (found.quotaUsed >= 0) {
        resource.quotaUsed = found.quotaUsed;
    }
    if (!found.tags.isEmpty()) {
        resource.tags = found.tags;
    }
}

} // namespace

std::optional<QString> MultistatusParser::relativePath(const QUrl &url, const QUrl &base, QString *reason)
{
    if (!url.isValid() || !sameOrigin(url, base)) {
        *reason = QStringLiteral("it is on another server");
        return std::nullopt;
    }
    // dot segments are refused, not resolved: a server has no reason to send them
    const QList<QByteArray> baseSegments = decodedSegments(base);
    const QList<QByteArray> segments = decodedSegments(url);
    if (segments.size() < baseSegments.size() || segments.mid(0, baseSegments.size()) != baseSegments) {
        *reason = QStringLiteral("it is outside the signed-in folder");
        return std::nullopt;
    }
    QStringList names;
    for (qsizetype i = baseSegments.size(); i < segments.size(); ++i) {
        const QByteArray &name = segments.at(i);
        if (name == "." || name == ".." || name.contains('/') || name.contains('\0')) {
            // a NUL shown as such would cut the message short wherever it goes
            const QString shown = FilePath::displayName(FilePath::decode(name)).replace(QChar(0), QStringLiteral("\\0"));
            *reason = QStringLiteral("its name \"%1\" cannot be a file's name").arg(shown);
            return std::nullopt;
        }
        names << FilePath::decode(name);
    }
    for (const QByteArray &name : baseSegments) {
        if (name == "." || name == "..") {
            *reason = QStringLiteral("the signed-in folder's address holds \".\" or \"..\"");
            return std::nullopt;
        }
    }
    return names.join(QLatin1Char('/'));
}

std::optional<QList<DavResource>> MultistatusParser::parse(const QByteArray &xml, const QUrl &base,
                                                           const QUrl &requestUrl, QString *error,
                                                           QStringList *refused)
{
    QXmlStreamReader reader(xml);
    QList<DavResource> resources;
    bool sawMultistatus = false;
    // one root element; reading on past its end would be an error of its own
    if (reader.readNextStartElement()) {
        if (reader.namespaceUri() != davNamespace || reader.name() != QLatin1String("multistatus")) {
            reader.raiseError(QStringLiteral("the answer is not a WebDAV multistatus"));
        } else {
            sawMultistatus = true;
        }
    }
    if (sawMultistatus) {
        while (reader.readNextStartElement()) {
            if (reader.namespaceUri() != davNamespace || reader.name() != QLatin1String("response")) {
                reader.skipCurrentElement();
                continue;
            }
            QString href;
            DavResource resource;
            while (reader.readNextStartElement()) {
                if (reader.namespaceUri() == davNamespace && reader.name() == QLatin1String("href")) {
                    href = elementText(reader).trimmed();
                } else if (reader.namespaceUri() == davNamespace && reader.name() == QLatin1String("propstat")) {
                    readPropstat(reader, resource);
                } else {
                    reader.skipCurrentElement();
                }
            }
            if (reader.hasError()) {
                break;
            }
            QString reason;
            const QUrl url = requestUrl.resolved(QUrl(href, QUrl::StrictMode));
            std::optional<QString> path = href.isEmpty() ? std::nullopt : relativePath(url, base, &reason);
            if (href.isEmpty()) {
                reason = QStringLiteral("it has no href");
            } else if (path && (resource.size < -1 || resource.size > maximumSize)) {
                reason = QStringLiteral("its size is not a number of bytes a disk can hold");
                path.reset();
            }
            if (!path) {
                if (refused) {
                    *refused << QStringLiteral("\"%1\": %2").arg(href, reason);
                }
                continue;
            }
            resource.path = *path;
            if (resource.isCollection) {
                resource.size = -1;
            }
            resources << resource;
        }
    }
    if (!reader.hasError() && !sawMultistatus) {
        reader.raiseError(QStringLiteral("the answer is empty"));
    }
    if (reader.hasError()) {
        *error = QStringLiteral("unreadable answer at line %1, column %2: %3")
                     .arg(reader.lineNumber())
                     .arg(reader.columnNumber())
                     .arg(reader.errorString());
        return std::nullopt;
    }
    return resources;
}
