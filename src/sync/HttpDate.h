#pragma once

#include <QByteArray>
#include <QDateTime>

/// The dates WebDAV servers send: `getlastmodified` and `Last-Modified` in the HTTP date format
/// ("Sun, 22 Nov 2026 18:33:39 GMT", which Qt's RFC 2822 reader refuses for its "GMT"), its
/// obsolete RFC 850 and asctime forms, a numeric zone ("+0000"), and ISO 8601, which some
/// servers send instead.
class HttpDate final
{
public:
    HttpDate() = delete;

    /// The date in UTC; invalid when the text is none of the forms above.
    static QDateTime parse(const QByteArray &text);
    /// The HTTP date format, for request headers.
    static QByteArray format(const QDateTime &date);
};
