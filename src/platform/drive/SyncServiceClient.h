#pragma once

#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class CancellationToken;
class QLocalSocket;

/// The app's side of the sync service's socket (`Service/syncd.sock`): blocking requests, for
/// the threads that download and fetch the quota, and for the control program. Connecting
/// starts the service when it does not answer, and gives up after a few seconds with a clear
/// error: a caller never hangs on a service that is not there.
class SyncServiceClient final
{
public:
    /// How long a connection waits for a service it started.
    static constexpr int startTimeoutMs = 5000;
    /// How long a request waits for its answer (a download: for each piece of news).
    static constexpr int answerTimeoutMs = 60000;

    ~SyncServiceClient();
    Q_DISABLE_COPY_MOVE(SyncServiceClient)

    /// A connection; none with `error` set when the service neither answers nor starts.
    static std::unique_ptr<SyncServiceClient> connect(QString *error, bool startService = true);
    /// Starts `aerovadrive-syncd` in the background: the one beside this program, else the
    /// one on PATH ($AEROVA_SYNCD names another).
    static bool startService();

    /// Sends `request` and waits for its answer; none with `error` set when there is none.
    std::optional<QJsonObject> request(QJsonObject request, QString *error, int timeoutMs = answerTimeoutMs);
    /// Sends `request` without waiting.
    bool post(const QJsonObject &request);

    /// Has the service download the item with `storeKey`, reporting progress as it arrives;
    /// a cancel is sent on. The final answer (done with "file", or failed with "code").
    std::optional<QJsonObject> materialize(const QString &storeKey, const std::function<void(qint64, qint64)> &progress,
                                           CancellationToken *cancel, QString *error);

private:
    explicit SyncServiceClient(std::unique_ptr<QLocalSocket> socket);
    std::optional<QJsonObject> readAnswer(qint64 id, QString *error, int timeoutMs, CancellationToken *cancel = nullptr,
                                          const std::function<void(const QJsonObject &)> &news = {});

    std::unique_ptr<QLocalSocket> m_socket;
    qint64 m_nextId = 1;
};
