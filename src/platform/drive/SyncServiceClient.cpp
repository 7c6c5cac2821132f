#include "platform/drive/SyncServiceClient.h"

#include "platform/drive/DriveLayout.h"
#include "platform/foundation/CancellationToken.h"
#include "platform/foundation/CompanionProgram.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QLocalSocket>
#include <QProcess>
#include <QThread>

namespace {

/// The longest line an answer may have: a status lists a few hundred failures at most.
constexpr qint64 maximumAnswerLine = 4 * 1024 * 1024;

std::unique_ptr<QLocalSocket> tryConnect()
{
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(DriveLayout::syncSocketPath());
    if (!socket->waitForConnected(1000)) {
        return nullptr;
    }
    return socket;
}

} // namespace

SyncServiceClient::SyncServiceClient(std::unique_ptr<QLocalSocket> socket)
    : m_socket(std::move(socket))
{
}

SyncServiceClient::~SyncServiceClient() = default;

bool SyncServiceClient::startService()
{
    const QString program = CompanionProgram::find(QStringLiteral("aerovadrive-syncd"), "AEROVA_SYNCD");
    return !program.isEmpty() && QProcess::startDetached(program, {});
}

std::unique_ptr<SyncServiceClient> SyncServiceClient::connect(QString *error, bool startService)
{
    if (auto socket = tryConnect()) {
        return std::unique_ptr<SyncServiceClient>(new SyncServiceClient(std::move(socket)));
    }
    if (startService && SyncServiceClient::startService()) {
        QDeadlineTimer deadline(startTimeoutMs);
        while (!deadline.hasExpired()) {
            if (auto socket = tryConnect()) {
                return std::unique_ptr<SyncServiceClient>(new SyncServiceClient(std::move(socket)));
            }
            QThread::msleep(100);
        }
    }
    *error = QStringLiteral("The sync service (aerovadrive-syncd) is not running and could not be started.");
    return nullptr;
}

bool SyncServiceClient::post(const QJsonObject &request)
{
    m_socket->write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    return m_socket->waitForBytesWritten(5000) || m_socket->bytesToWrite() == 0;
}

std::optional<QJsonObject> SyncServiceClient::request(QJsonObject request, QString *error, int timeoutMs)
{
    const qint64 id = m_nextId++;
    request.insert(QStringLiteral("id"), id);
    if (!post(request)) {
        *error = QStringLiteral("The sync service did not take the request.");
        return std::nullopt;
    }
    return readAnswer(id, error, timeoutMs);
}

std::optional<QJsonObject> SyncServiceClient::readAnswer(qint64 id, QString *error, int timeoutMs,
                                                         CancellationToken *cancel,
                                                         const std::function<void(const QJsonObject &)> &news)
{
    QDeadlineTimer deadline(timeoutMs);
    bool cancelSent = false;
    while (true) {
        while (m_socket->canReadLine()) {
            const QJsonObject answer = QJsonDocument::fromJson(m_socket->readLine(maximumAnswerLine)).object();
            if (answer.value(QStringLiteral("id")).toInteger() != id) {
                continue;
            }
            if (answer.contains(QStringLiteral("done")) || answer.contains(QStringLiteral("failed")) || !news) {
                return answer;
            }
            news(answer);
            deadline.setRemainingTime(timeoutMs); // news keeps the wait alive
        }
        if (cancel && cancel->isCancelled() && !cancelSent) {
            post(QJsonObject{{QStringLiteral("op"), QStringLiteral("cancel")}, {QStringLiteral("id"), id}});
            cancelSent = true;
        }
        if (m_socket->state() != QLocalSocket::ConnectedState) {
            *error = QStringLiteral("The sync service closed the connection.");
            return std::nullopt;
        }
        if (deadline.hasExpired()) {
            *error = QStringLiteral("The sync service did not answer in %1 seconds.").arg(timeoutMs / 1000);
            return std::nullopt;
        }
        // short waits: a cancel is seen within a tenth of a second
        m_socket->waitForReadyRead(100);
    }
}

std::optional<QJsonObject> SyncServiceClient::materialize(const QString &storeKey,
                                                          const std::function<void(qint64, qint64)> &progress,
                                                          CancellationToken *cancel, QString *error)
{
    const qint64 id = m_nextId++;
    if (!post(QJsonObject{{QStringLiteral("op"), QStringLiteral("materialize")},
                          {QStringLiteral("id"), id},
                          {QStringLiteral("storeKey"), storeKey}})) {
        *error = QStringLiteral("The sync service did not take the request.");
        return std::nullopt;
    }
    return readAnswer(id, error, answerTimeoutMs, cancel, [&progress](const QJsonObject &news) {
        if (progress) {
            progress(news.value(QStringLiteral("progress")).toInteger(), news.value(QStringLiteral("total")).toInteger());
        }
    });
}
