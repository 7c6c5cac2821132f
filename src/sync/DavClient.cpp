#include "sync/DavClient.h"

#include "platform/foundation/FilePath.h"
#include "sync/DocumentSender.h"
#include "sync/HttpDate.h"
#include "sync/MultistatusParser.h"

#include <QEventLoop>
#include <QThread>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

const QByteArray propfindBody = R"(<?xml version="1.0" encoding="utf-8"?>
<d:propfind xmlns:d="DAV:" xmlns:a="urn:x-aerova:"><d:prop>
<d:resourcetype/><d:getetag/><d:getcontentlength/><d:getlastmodified/><d:getcontenttype/><a:tags/>
</d:prop></d:propfind>
)";

const QByteArray quotaBody = R"(<?xml version="1.0" encoding="utf-8"?>
<d:propfind xmlns:d="DAV:"><d:prop><d:quota-available-bytes/><d:quota-used-bytes/></d:prop></d:propfind>
)";

/// A request that gets no answer for this long has failed; the server is taken as unreachable.
constexpr int transferTimeoutMs = 30000;

const char tooLargeProperty[] = "aerova.tooLarge";

DavError tooLargeError(int status, qint64 limit)
{
    return DavError{DavError::Kind::TooLarge, status, QStringLiteral("(over the %1 bytes it may have)").arg(limit)};
}

} // namespace

DavClient::DavClient(const QUrl &folder, const QString &user, const QString &password, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
    , m_user(user)
    , m_network(new QNetworkAccessManager(this))
{
    QString path = m_folder.path();
    if (!path.endsWith(QLatin1Char('/'))) {
        m_folder.setPath(path + QLatin1Char('/'));
    }
    if (!user.isEmpty()) {
        m_authorization = "Basic " + (user + QLatin1Char(':') + password).toUtf8().toBase64();
    }
    m_network->setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    m_network->setAutoDeleteReplies(false);
}

DavClient::~DavClient() = default;

std::unique_ptr<DavClient> DavClient::sibling() const
{
    auto other = std::make_unique<DavClient>(m_folder, m_user, QString());
    other->m_authorization = m_authorization;
    other->m_maximumListingSize = m_maximumListingSize;
    return other;
}

bool DavClient::maySendPassword(const QUrl &folder)
{
    if (folder.scheme() == QLatin1String("https")) {
        return true;
    }
    if (folder.host().compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0) {
        return true;
    }
    return QHostAddress(folder.host()).isLoopback();
}

QUrl DavClient::urlFor(const QString &path, bool collection) const
{
    QByteArray encoded = m_folder.toEncoded(QUrl::RemoveQuery | QUrl::RemoveFragment);
    for (const QString &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        encoded += FilePath::encode(name).toPercentEncoding() + '/';
    }
    if (!collection && !path.isEmpty()) {
        encoded.chop(1);
    }
    return QUrl::fromEncoded(encoded, QUrl::StrictMode);
}

QNetworkRequest DavClient::request(const QUrl &url) const
{
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeoutMs);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    // the password goes with the first request (no round trip for a challenge), never in clear
    if (!m_authorization.isEmpty() && maySendPassword(url)) {
        request.setRawHeader("Authorization", m_authorization);
    }
    request.setRawHeader("User-Agent", "AerovaDrive/1");
    return request;
}

QNetworkReply *DavClient::send(const QByteArray &verb, QNetworkRequest request, const QByteArray &body)
{
    return m_network->sendCustomRequest(request, verb, body);
}

void DavClient::limitAnswer(QNetworkReply *reply, qint64 limit)
{
    const auto check = [reply, limit] {
        const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
        if ((length.isValid() && length.toLongLong() > limit) || reply->bytesAvailable() > limit) {
            reply->setProperty(tooLargeProperty, limit);
            reply->abort();
        }
    };
    connect(reply, &QNetworkReply::metaDataChanged, reply, check);
    connect(reply, &QNetworkReply::readyRead, reply, check);
}

QNetworkReply *DavClient::propfind(const QString &path, int depth, bool collection)
{
    QNetworkRequest request = this->request(urlFor(path, collection));
    request.setRawHeader("Depth", QByteArray::number(depth));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/xml; charset=utf-8"));
    QNetworkReply *reply = send("PROPFIND", request, propfindBody);
    limitAnswer(reply, m_maximumListingSize);
    return reply;
}

QNetworkReply *DavClient::propfindQuota()
{
    QNetworkRequest request = this->request(m_folder);
    request.setRawHeader("Depth", "0");
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/xml; charset=utf-8"));
    QNetworkReply *reply = send("PROPFIND", request, quotaBody);
    limitAnswer(reply, m_maximumListingSize);
    return reply;
}

QNetworkReply *DavClient::get(const QString &path, qint64 offset, const QString &ifRange)
{
    QNetworkRequest request = this->request(urlFor(path));
    if (offset > 0) {
        request.setRawHeader("Range", "bytes=" + QByteArray::number(offset) + '-');
        if (!ifRange.isEmpty()) {
            request.setRawHeader("If-Range", '"' + ifRange.toUtf8() + '"');
        }
    }
    // the content is stored as it is sent: no transparent decompression to confuse sizes
    request.setRawHeader("Accept-Encoding", "identity");
    return m_network->get(request);
}

QNetworkReply *DavClient::options(const QString &path)
{
    return send("OPTIONS", request(urlFor(path, true)));
}

QNetworkReply *DavClient::put(const QString &path, const QByteArray &content)
{
    QNetworkRequest request = this->request(urlFor(path));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/octet-stream"));
    return m_network->put(request, content);
}

QNetworkRequest DavClient::documentRequest(const QString &path, const std::optional<DavResource> &over) const
{
    QNetworkRequest request = this->request(urlFor(path));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/octet-stream"));
    if (over) {
        setUnchangedSince(&request, *over);
    } else {
        request.setRawHeader("If-None-Match", "*");
    }
    return request;
}

QNetworkReply *DavClient::upload(const QString &path, QIODevice *content, const std::optional<DavResource> &over)
{
    QNetworkRequest request = documentRequest(path, over);
    request.setHeader(QNetworkRequest::ContentLengthHeader, content->size());
    return m_network->put(request, content);
}

DavError DavClient::sendDocument(const QString &path, int fd, qint64 size, const std::optional<DavResource> &over)
{
    const QNetworkRequest request = documentRequest(path, over);
    QList<QByteArray> headers;
    for (const QByteArray &name : request.rawHeaderList()) {
        headers << name + ": " + request.rawHeader(name);
    }
    if (!m_sender) {
        m_sender = std::make_unique<DocumentSender>();
    }
    const DocumentSender::Answer answer = m_sender->send(request.url(), headers, fd, size, request.transferTimeout());
    if (answer.tooLarge) {
        return tooLargeError(answer.status, DocumentSender::maximumAnswerSize);
    }
    return errorFor(answer.status, answer.reasonPhrase, answer.failure, answer.failureText);
}

QNetworkReply *DavClient::mkcol(const QString &path)
{
    return send("MKCOL", request(urlFor(path, true)));
}

QNetworkReply *DavClient::setTags(const QString &path, const QStringList &tags, bool isCollection)
{
    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.writeStartDocument();
    xml.writeNamespace(QStringLiteral("DAV:"), QStringLiteral("d"));
    xml.writeNamespace(QStringLiteral("urn:x-aerova:"), QStringLiteral("a"));
    xml.writeStartElement(QStringLiteral("DAV:"), QStringLiteral("propertyupdate"));
    xml.writeStartElement(QStringLiteral("DAV:"), tags.isEmpty() ? QStringLiteral("remove") : QStringLiteral("set"));
    xml.writeStartElement(QStringLiteral("DAV:"), QStringLiteral("prop"));
    xml.writeTextElement(QStringLiteral("urn:x-aerova:"), QStringLiteral("tags"), tags.join(QLatin1Char(',')));
    xml.writeEndDocument();
    QNetworkRequest request = this->request(urlFor(path, isCollection));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/xml; charset=utf-8"));
    return send("PROPPATCH", request, body);
}

bool DavClient::propertiesSet(QNetworkReply *reply)
{
    if (reply->error() != QNetworkReply::NoError || reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 207) {
        return false;
    }
    QXmlStreamReader xml(reply->readAll());
    int statuses = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.namespaceUri() == QLatin1String("DAV:") && xml.name() == QLatin1String("status")) {
            // "HTTP/1.1 200 OK"
            if (!xml.readElementText().section(QLatin1Char(' '), 1, 1).startsWith(QLatin1Char('2'))) {
                return false;
            }
            ++statuses;
        }
    }
    return statuses > 0 && !xml.hasError();
}

QNetworkReply *DavClient::move(const QString &from, const QString &to, bool isCollection)
{
    QNetworkRequest request = this->request(urlFor(from, isCollection));
    request.setRawHeader("Destination", urlFor(to, isCollection).toEncoded());
    request.setRawHeader("Overwrite", "F");
    return send("MOVE", request);
}

void DavClient::setUnchangedSince(QNetworkRequest *request, const DavResource &seen)
{
    if (!seen.etag.isEmpty() && !seen.weakETag) {
        request->setRawHeader("If-Match", '"' + seen.etag.toUtf8() + '"');
    } else if (seen.modified.isValid()) {
        // a weak tag never matches (a server gives one for a document changed in the last
        // second), and a server may give none: its date is the condition then
        request->setRawHeader("If-Unmodified-Since", HttpDate::format(seen.modified));
    }
}

QNetworkReply *DavClient::remove(const QString &path, bool isCollection, const std::optional<DavResource> &seen)
{
    QNetworkRequest request = this->request(urlFor(path, isCollection));
    if (seen) {
        setUnchangedSince(&request, *seen);
    }
    return send("DELETE", request);
}

DavError DavClient::errorOf(QNetworkReply *reply)
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (const QVariant limit = reply->property(tooLargeProperty); limit.isValid()) {
        return tooLargeError(status, limit.toLongLong());
    }
    return errorFor(status, reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString(), reply->error(),
                    reply->errorString());
}

DavError DavClient::errorFor(int status, const QString &reasonPhrase, QNetworkReply::NetworkError failure,
                             const QString &failureText)
{
    DavError error;
    error.httpStatus = status;
    if (status >= 200 && status < 300) {
        return error;
    }
    error.message = status ? QStringLiteral("(HTTP %1 %2)").arg(status).arg(reasonPhrase) : QStringLiteral("(%1)").arg(failureText);
    if (status == 401) {
        error.kind = DavError::Kind::Unauthorized;
    } else if (status == 412) {
        error.kind = DavError::Kind::Changed;
    } else if (status == 507) {
        error.kind = DavError::Kind::ServerFull;
    } else if (status == 404 || status == 410) {
        error.kind = DavError::Kind::NotFound;
    } else if (status == 405 || status == 501 || (status >= 300 && status < 400)) {
        error.kind = DavError::Kind::NotWebDav;
    } else if (status >= 500) {
        error.kind = DavError::Kind::ServerError;
    } else if (status >= 400) {
        error.kind = DavError::Kind::Refused;
    } else if (failure == QNetworkReply::SslHandshakeFailedError) {
        error.kind = DavError::Kind::Certificate;
    } else if (failure == QNetworkReply::OperationCanceledError) {
        error.kind = DavError::Kind::Cancelled;
    } else {
        error.kind = DavError::Kind::Unreachable;
    }
    return error;
}

std::optional<QList<DavResource>> DavClient::readListing(QNetworkReply *reply, DavError *error, QStringList *refused)
{
    *error = errorOf(reply);
    if (*error) {
        return std::nullopt;
    }
    if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 207) {
        error->kind = DavError::Kind::NotWebDav;
        error->message = QStringLiteral("(HTTP %1 where a multistatus was expected)")
                             .arg(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt());
        return std::nullopt;
    }
    const QByteArray body = reply->readAll();
    // a connection dropped half-way is a network failure, not a broken answer
    if (const DavError dropped = droppedConnection(reply, body.size())) {
        *error = dropped;
        return std::nullopt;
    }
    QString parseError;
    auto resources = MultistatusParser::parse(body, m_folder, reply->url(), &parseError, refused);
    if (!resources) {
        error->kind = DavError::Kind::BadAnswer;
        error->message = QStringLiteral("(%1)").arg(parseError);
    }
    return resources;
}

DavError DavClient::droppedConnection(QNetworkReply *reply, qint64 received)
{
    // the network stack ends a body cut short by the peer as if it were whole
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    if (!length.isValid() || length.toLongLong() == received) {
        return {};
    }
    return DavError{DavError::Kind::Unreachable, 0,
                    QStringLiteral("(the connection dropped after %1 of %2 bytes)").arg(received).arg(length.toLongLong())};
}

void DavClient::waitFor(QNetworkReply *reply)
{
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    while (!reply->isFinished()) {
        // a stopping thread's event loops return at once: waiting on would spin
        if (QThread::currentThread()->isInterruptionRequested()) {
            reply->abort();
            return;
        }
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
}

std::optional<QList<DavResource>> DavClient::list(const QString &path, int depth, DavError *error, QStringList *refused,
                                                  bool collection)
{
    std::unique_ptr<QNetworkReply> reply(propfind(path, depth, collection));
    waitFor(reply.get());
    return readListing(reply.get(), error, refused);
}

DavError DavClient::checkFolder()
{
    if (!m_authorization.isEmpty() && !maySendPassword(m_folder)) {
        return DavError{DavError::Kind::InsecureConnection, 0, {}};
    }
    DavError error;
    const auto resources = list({}, 0, &error);
    if (error.kind == DavError::Kind::Refused && error.httpStatus == 400) {
        error.kind = DavError::Kind::NotWebDav; // a file's address asked as a folder
    }
    if (error) {
        return error;
    }
    const bool isFolder = std::any_of(resources->cbegin(), resources->cend(), [](const DavResource &resource) {
        return resource.path.isEmpty() && resource.isCollection;
    });
    if (!isFolder) {
        return DavError{DavError::Kind::NotWebDav, 207, QStringLiteral("(the address names a file, not a folder)")};
    }
    return {};
}
