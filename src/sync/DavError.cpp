#include "sync/DavError.h"

QString DavError::kindName() const
{
    switch (kind) {
    case Kind::None: return QStringLiteral("ok");
    case Kind::Unauthorized: return QStringLiteral("unauthorized");
    case Kind::Refused: return QStringLiteral("refused");
    case Kind::NotFound: return QStringLiteral("not found");
    case Kind::NotWebDav: return QStringLiteral("not a WebDAV folder");
    case Kind::Unreachable: return QStringLiteral("unreachable");
    case Kind::Certificate: return QStringLiteral("certificate not trusted");
    case Kind::ServerError: return QStringLiteral("server error");
    case Kind::BadAnswer: return QStringLiteral("bad answer");
    case Kind::TooLarge: return QStringLiteral("answer too large");
    case Kind::Cancelled: return QStringLiteral("cancelled");
    case Kind::InsecureConnection: return QStringLiteral("insecure connection");
    case Kind::Changed: return QStringLiteral("changed on the server");
    case Kind::ServerFull: return QStringLiteral("server full");
    }
    return {};
}

QString DavError::description() const
{
    QString summary;
    switch (kind) {
    case Kind::None: return {};
    case Kind::Unauthorized: summary = QStringLiteral("The server did not accept the user name and password."); break;
    case Kind::Refused: summary = QStringLiteral("The server refused the request."); break;
    case Kind::NotFound: summary = QStringLiteral("The server has no such folder or file."); break;
    case Kind::NotWebDav: summary = QStringLiteral("The address is not a WebDAV folder."); break;
    case Kind::Unreachable: summary = QStringLiteral("The server cannot be reached."); break;
    case Kind::Certificate: summary = QStringLiteral("The server's certificate is not trusted."); break;
    case Kind::ServerError: summary = QStringLiteral("The server failed to answer."); break;
    case Kind::BadAnswer: summary = QStringLiteral("The server's answer could not be read."); break;
    case Kind::TooLarge: summary = QStringLiteral("The server's answer is too large."); break;
    case Kind::Cancelled: summary = QStringLiteral("The request was cancelled."); break;
    case Kind::Changed: summary = QStringLiteral("The item changed on the server meanwhile."); break;
    case Kind::ServerFull: summary = QStringLiteral("The server has no room left for it."); break;
    case Kind::InsecureConnection:
        summary = QStringLiteral("The password would be sent unencrypted: use an https:// address.");
        break;
    }
    return message.isEmpty() ? summary : summary + QLatin1Char(' ') + message;
}
