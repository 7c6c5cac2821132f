#pragma once

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <memory>

/// Sends a document's bytes from an open file as one HTTP PUT, streamed straight from the file
/// to the socket on the calling thread.
///
/// Why not QNetworkAccessManager: its HTTP thread asks the calling thread for the body 16 KiB
/// at a time, each piece a round trip between two threads, so a large document went out at
/// half the speed the link allows (and at a third of it when the server shared the cores).
/// libcurl reads and writes in one thread, with no hand-over. Everything else (listings,
/// moves, downloads) stays on QNetworkAccessManager.
///
/// A sender keeps its connection open between documents, so it belongs to one thread, like
/// the DavClient that owns it. It follows no redirect, speaks only HTTP and HTTPS, checks the
/// server's certificate against the system's, and uses no proxy (as the client's other
/// requests). A send ends early when the calling thread is asked to stop, when nothing moves
/// for the request's transfer timeout, or when the file ends before the size it was sent as.
class DocumentSender final
{
public:
    /// What the server answered, or why no answer came.
    struct Answer {
        int status = 0;
        QString reasonPhrase;
        /// NoError when the server answered (whatever the status); else the failure, in the
        /// terms of Qt's network replies so one mapping describes both.
        QNetworkReply::NetworkError failure = QNetworkReply::NoError;
        QString failureText;
        /// The answer's body ran past what is read of it.
        bool tooLarge = false;
    };

    DocumentSender();
    ~DocumentSender();
    DocumentSender(const DocumentSender &) = delete;
    DocumentSender &operator=(const DocumentSender &) = delete;

    /// PUTs `size` bytes of `fd` from its start to `url` with `headers` ("Name: value" each;
    /// the content length is set here). `timeoutMs` bounds the connecting and any stall.
    Answer send(const QUrl &url, const QList<QByteArray> &headers, int fd, qint64 size, int timeoutMs);

    /// From this size on, the server is asked whether it takes the document before its bytes go.
    static constexpr qint64 expectContinueFrom = 1024 * 1024;
    /// The most of an answer's body read (the body of a PUT's answer is only a note).
    static constexpr qint64 maximumAnswerSize = 1024 * 1024;

private:
    struct Handle;
    std::unique_ptr<Handle> m_handle;
};
