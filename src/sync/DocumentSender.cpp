#include "sync/DocumentSender.h"

#include <QThread>

#include <curl/curl.h>

#include <cerrno>
#include <mutex>

#include <unistd.h>

namespace {

/// libcurl's global state, set up once before the first handle of any thread.
void initialiseCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

/// One send's state, shared with libcurl's callbacks.
struct Transfer {
    int fd = -1;
    qint64 size = 0;
    qint64 sent = 0;
    bool sourceEnded = false;
    qint64 answerSize = 0;
    bool answerTooLarge = false;
    QByteArray statusLine;
};

size_t readBody(char *buffer, size_t size, size_t count, void *data)
{
    auto *transfer = static_cast<Transfer *>(data);
    const qint64 wanted = std::min<qint64>(qint64(size * count), transfer->size - transfer->sent);
    if (wanted <= 0) {
        return 0;
    }
    ssize_t got;
    do {
        got = ::pread(transfer->fd, buffer, size_t(wanted), transfer->sent);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        // the file ended before the length the request announced: the server must not keep
        // a document cut short, so the request is broken off
        transfer->sourceEnded = true;
        return CURL_READFUNC_ABORT;
    }
    transfer->sent += got;
    return size_t(got);
}

size_t readAnswerHeader(char *buffer, size_t size, size_t count, void *data)
{
    auto *transfer = static_cast<Transfer *>(data);
    const QByteArray line = QByteArray(buffer, qsizetype(size * count)).trimmed();
    // the last status line counts: a "100 Continue" comes before the real answer
    if (line.startsWith("HTTP/")) {
        transfer->statusLine = line;
    }
    return size * count;
}

size_t readAnswerBody(char *, size_t size, size_t count, void *data)
{
    auto *transfer = static_cast<Transfer *>(data);
    transfer->answerSize += qint64(size * count);
    if (transfer->answerSize > DocumentSender::maximumAnswerSize) {
        transfer->answerTooLarge = true;
        return 0; // ends the transfer
    }
    return size * count;
}

int checkStop(void *, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return QThread::currentThread()->isInterruptionRequested() ? 1 : 0;
}

QNetworkReply::NetworkError failureOf(CURLcode code)
{
    switch (code) {
    case CURLE_OK:
        return QNetworkReply::NoError;
    case CURLE_ABORTED_BY_CALLBACK:
        return QNetworkReply::OperationCanceledError;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        return QNetworkReply::SslHandshakeFailedError;
    case CURLE_OPERATION_TIMEDOUT:
        return QNetworkReply::TimeoutError;
    case CURLE_COULDNT_RESOLVE_HOST:
        return QNetworkReply::HostNotFoundError;
    case CURLE_COULDNT_CONNECT:
        return QNetworkReply::ConnectionRefusedError;
    default:
        return QNetworkReply::UnknownNetworkError;
    }
}

QString reasonOf(const QByteArray &statusLine)
{
    // "HTTP/1.1 507 Insufficient Storage": the words after the code
    return QString::fromLatin1(statusLine.split(' ').mid(2).join(' '));
}

} // namespace

struct DocumentSender::Handle {
    CURL *curl = nullptr;
    ~Handle()
    {
        if (curl) {
            curl_easy_cleanup(curl);
        }
    }
};

DocumentSender::DocumentSender()
    : m_handle(std::make_unique<Handle>())
{
    initialiseCurlOnce();
    m_handle->curl = curl_easy_init();
}

DocumentSender::~DocumentSender() = default;

DocumentSender::Answer DocumentSender::send(const QUrl &url, const QList<QByteArray> &headers, int fd, qint64 size, int timeoutMs)
{
    Answer answer;
    CURL *curl = m_handle->curl;
    if (!curl) {
        answer.failure = QNetworkReply::UnknownNetworkError;
        answer.failureText = QStringLiteral("the network library could not start");
        return answer;
    }
    // the connection outlives a send; nothing else of one send may reach the next
    curl_easy_reset(curl);

    Transfer transfer;
    transfer.fd = fd;
    transfer.size = size;
    curl_slist *headerList = nullptr;
    for (const QByteArray &header : headers) {
        headerList = curl_slist_append(headerList, header.constData());
    }
    // a large document asks first ("Expect: 100-continue"), so a refusal (a full server, a
    // version changed meanwhile) comes before its bytes; a small one is sent at once, the
    // round trip costing more than the bytes
    if (size < expectContinueFrom) {
        headerList = curl_slist_append(headerList, "Expect:");
    }
    const QByteArray encodedUrl = url.toEncoded();
    char errorText[CURL_ERROR_SIZE] = {};

    curl_easy_setopt(curl, CURLOPT_URL, encodedUrl.constData());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_PROXY, ""); // no proxy from the environment
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, curl_off_t(size));
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headerList);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, readBody);
    curl_easy_setopt(curl, CURLOPT_READDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, readAnswerHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, readAnswerBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, checkStop);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, long(timeoutMs));
    // a stall as long as the timeout ends the send, however long the whole takes
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, long(std::max(1, timeoutMs / 1000)));
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);

    const CURLcode code = curl_easy_perform(curl);
    curl_slist_free_all(headerList);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, nullptr);

    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (transfer.sourceEnded) {
        answer.failure = QNetworkReply::OperationCanceledError;
        answer.failureText = QStringLiteral("the document grew shorter while it was sent");
        return answer;
    }
    if (transfer.answerTooLarge) {
        answer.status = int(status);
        answer.tooLarge = true;
        return answer;
    }
    // a refusal the server sent counts, even if it closed the connection on the rest of the body
    if (code != CURLE_OK && status < 300) {
        answer.failure = failureOf(code);
        answer.failureText = QString::fromUtf8(errorText[0] ? errorText : curl_easy_strerror(code));
        return answer;
    }
    answer.status = int(status);
    answer.reasonPhrase = reasonOf(transfer.statusLine);
    return answer;
}
