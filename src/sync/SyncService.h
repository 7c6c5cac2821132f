#pragma once

#include "sync/SyncOutcome.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <QUrl>

#include <memory>

class DavClient;
class QLocalServer;
class QLocalSocket;
class QNetworkReply;
class DriveWatcher;
class SyncJournal;
class SyncWorker;

/// The sync service of one drive: keeps the device in step with the server (a sync run at
/// start, on every poll, and when asked), and serves the app over a local socket
/// (`Service/syncd.sock`), one JSON object per line:
///
///     {"op":"materialize","id":7,"storeKey":"…"}  → {"id":7,"progress":n,"total":m} (at most
///                                                   10 a second), then {"id":7,"done":true,
///                                                   "file":"<complete download>"} or
///                                                   {"id":7,"failed":"…","code":4355}
///     {"op":"cancel","id":7}                      → the download stops (code 3072); what was
///                                                   received is kept for the next attempt
///     {"op":"quota","id":8}                       → {"id":8,"available":n,"used":m} or failed
///     {"op":"status","id":9}                      → {"id":9,"server":…,"user":…,"lastSync":…,
///                                                   "result":…,"failures":[…],
///                                                   "waitingForRoom":n}
///     {"op":"sync","id":10}                       → a sync run now (the app became active, the
///                                                   network came back): {"id":10,"ok":true}
///     {"op":"confirmDeletes","id":12}             → the run held back for deleting most of the
///                                                   drive goes on, now: {"id":12,"ok":true}
///     {"op":"quit"}                               → the service stops (a new sign-in)
///     {"op":"watch"}                              → the app is open: polls every minute while
///                                                   such a connection lasts, else every 15
///
/// Downloads go to `Service/partial/<storeKey>`, resumed with Range and If-Range; the app gives
/// the complete file its name in the drive.
class SyncService final : public QObject
{
    Q_OBJECT
public:
    static constexpr int activePollSeconds = 60;
    static constexpr int idlePollSeconds = 15 * 60;

    /// Without a password (none stored), the service waits for one:
    ///     {"op":"password","id":11,"password":"…"}  → {"id":11,"ok":true}, kept in memory only
    SyncService(const QUrl &folder, const QString &user, const QString &password, QObject *parent = nullptr);
    ~SyncService() override;

    /// Listens on the socket and starts the first sync run; false with `error` when it cannot.
    bool start(QString *error);
    /// Asks for a sync run now; one asked for during a run happens right after it.
    void syncNow();
    /// How often the service syncs by itself now: every minute while an app watches, else
    /// every 15.
    int pollIntervalSeconds() const { return m_pollTimer.interval() / 1000; }

signals:
    void syncFinished(const SyncOutcome &outcome);

private:
    struct Download;

    void onNewConnection();
    void onReadyRead(QLocalSocket *socket);
    void handle(QLocalSocket *socket, const QJsonObject &request);
    void onSyncFinished(const SyncOutcome &outcome);
    void materialize(QLocalSocket *socket, qint64 id, const QString &storeKey);
    void answerQuota(QLocalSocket *socket, qint64 id);
    QJsonObject status() const;
    void writeStatusFile();
    void updatePollInterval();
    void setPassword(const QString &password);

    QUrl m_folder;
    QString m_user;
    bool m_hasPassword = false;
    std::unique_ptr<QLocalServer> m_server;
    DavClient *m_client = nullptr;
    std::unique_ptr<SyncJournal> m_journal;
    QThread m_thread;
    SyncWorker *m_worker = nullptr;
    QTimer m_pollTimer;
    std::unique_ptr<DriveWatcher> m_watcher;
    bool m_syncRunning = false;
    bool m_syncAgain = false;
    /// The user confirmed the deletes held back; until a run that carries it ends well.
    bool m_deletesConfirmed = false;
    bool m_runCarriesConfirmation = false;
    SyncOutcome m_lastOutcome;
    QByteArray m_lastStatusWritten;
    QHash<qint64, std::shared_ptr<Download>> m_downloads;
    QList<QPointer<QLocalSocket>> m_watchers;
};
