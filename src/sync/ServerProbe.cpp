#include "sync/ServerProbe.h"

#include "sync/DavClient.h"
#include "sync/DavResource.h"
#include "sync/RemoteMapping.h"

#include <QBuffer>
#include <QNetworkReply>
#include <QUuid>

#include <memory>

namespace {

/// A request's answer, once it has come.
std::unique_ptr<QNetworkReply> answerOf(QNetworkReply *reply)
{
    DavClient::waitFor(reply);
    return std::unique_ptr<QNetworkReply>(reply);
}

int statusOf(QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// Writes `path` with `content`: as new, or over `over`.
std::unique_ptr<QNetworkReply> write(DavClient *client, const QString &path, const std::optional<DavResource> &over)
{
    QBuffer content;
    content.setData(QByteArrayLiteral("This document tells the drive what the server does with If-Match; it is removed at once.\n"));
    content.open(QIODevice::ReadOnly);
    return answerOf(client->upload(path, &content, over));
}

} // namespace

ServerProbe::IfMatch ServerProbe::ifMatch(DavClient *client, DavError *error)
{
    const QString folder = RemoteMapping::containersFolder();
    const auto made = answerOf(client->mkcol(folder));
    if (const DavError madeError = DavClient::errorOf(made.get()); madeError && statusOf(made.get()) != 405) {
        *error = madeError; // 405: the folder is there already
        return IfMatch::Unknown;
    }
    // a name of its own: two devices may ask at once
    const QString probe = folder + QStringLiteral("/.probe-") + QUuid::createUuid().toString(QUuid::Id128);
    const auto created = write(client, probe, std::nullopt);
    if (const DavError createError = DavClient::errorOf(created.get())) {
        *error = createError;
        return IfMatch::Unknown;
    }
    DavResource never;
    never.etag = QStringLiteral("aerova-a-version-never-given");
    const auto over = write(client, probe, never);
    const int status = statusOf(over.get());
    IfMatch answer = IfMatch::Unknown;
    if (status == 412) {
        answer = IfMatch::Honoured;
    } else if (status >= 200 && status < 300) {
        answer = IfMatch::Ignored;
    } else {
        *error = DavClient::errorOf(over.get());
    }
    answerOf(client->remove(probe)); // a probe left behind is only a hidden document
    return answer;
}

QString ServerProbe::toText(IfMatch answer)
{
    switch (answer) {
    case IfMatch::Honoured: return QStringLiteral("honoured");
    case IfMatch::Ignored: return QStringLiteral("ignored");
    case IfMatch::Unknown: break;
    }
    return {};
}

ServerProbe::IfMatch ServerProbe::fromText(const QString &text)
{
    if (text == QLatin1String("honoured")) {
        return IfMatch::Honoured;
    }
    return text == QLatin1String("ignored") ? IfMatch::Ignored : IfMatch::Unknown;
}
