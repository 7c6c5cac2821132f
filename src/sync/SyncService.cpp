#include "sync/SyncService.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/FilePath.h"
#include "sync/DavClient.h"
#include "sync/DriveWatcher.h"
#include "sync/SyncEngine.h"
#include "sync/SyncJournal.h"
#include "sync/SyncWorker.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalServer>
#include <QLocalSocket>
#include <QNetworkReply>
#include <QSaveFile>

#include <sys/un.h>

/// A download under way for one request of one connection.
struct SyncService::Download {
    QPointer<QLocalSocket> socket;
    qint64 id = 0;
    QString storeKey;
    QString version;
    std::unique_ptr<QFile> file;
    QPointer<QNetworkReply> reply;
    qint64 total = -1;
    qint64 received = 0;
    /// What the partial file held when this reply's body began.
    qint64 receivedBefore = 0;
    QElapsedTimer sinceProgress;
    QByteArray buffer;
    bool cancelled = false;
};

namespace {

/// What is read from the network at a time, and held before it is written.
constexpr qint64 readBufferSize = 4 * 1024 * 1024;

/// At most this many progress messages a second.
constexpr int progressPerSecond = 10;

void send(QLocalSocket *socket, const QJsonObject &message)
{
    if (socket && socket->state() == QLocalSocket::ConnectedState) {
        socket->write(QJsonDocument(message).toJson(QJsonDocument::Compact) + '\n');
    }
}

QJsonObject failure(qint64 id, qint64 code, const QString &text)
{
    return QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("failed"), text}, {QStringLiteral("code"), code}};
}

/// A connection may send this much without a newline before it is dropped.
constexpr qint64 maximumRequestLine = 64 * 1024;

/// Whether the body of `reply` is the document's bytes.
bool isContent(const QNetworkReply *reply)
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return status == 200 || status == 206;
}

} // namespace

SyncService::SyncService(const QUrl &folder, const QString &user, const QString &password, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
    , m_user(user)
{
    qRegisterMetaType<SyncOutcome>();
    m_pollTimer.setInterval(idlePollSeconds * 1000);
    connect(&m_pollTimer, &QTimer::timeout, this, &SyncService::syncNow);
    if (!password.isNull()) {
        setPassword(password);
    }
}

void SyncService::setPassword(const QString &password)
{
    if (m_hasPassword) {
        return; // a password in use is changed by signing in again, which restarts the service
    }
    m_hasPassword = true;
    m_client = new DavClient(m_folder, m_user, password, this);
    m_worker = new SyncWorker(m_folder, m_user, password);
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(m_worker, &SyncWorker::syncFinished, this, &SyncService::onSyncFinished);
    if (m_server) {
        syncNow();
    }
}

SyncService::~SyncService()
{
    // a sync under way gives up its requests rather than holding the service's exit
    m_thread.requestInterruption();
    m_thread.quit();
    m_thread.wait();
    if (m_server) {
        m_server->close();
    }
}

bool SyncService::start(QString *error)
{
    QDir().mkpath(DriveLayout::partialDownloadsPath());
    m_journal = std::make_unique<SyncJournal>(DriveLayout::syncJournalFile());
    if (!m_journal->open(error)) {
        return false;
    }
    const QString socketPath = DriveLayout::syncSocketPath();
    if (FilePath::encode(socketPath).size() >= qsizetype(sizeof(sockaddr_un::sun_path))) {
        *error = QStringLiteral("the socket path %1 is longer than a local socket's address can be").arg(socketPath);
        return false;
    }
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(socketPath); // left by a service that died: this one holds the lock
    if (!m_server->listen(socketPath)) {
        *error = m_server->errorString();
        return false;
    }
    connect(m_server.get(), &QLocalServer::newConnection, this, &SyncService::onNewConnection);
    m_thread.setObjectName(QStringLiteral("sync"));
    m_thread.start();
    m_pollTimer.start();
    // what programs of the device change in the drive is sent without waiting for a poll
    m_watcher = std::make_unique<DriveWatcher>(DriveLayout::mobileDocumentsPath());
    connect(m_watcher.get(), &DriveWatcher::changed, this, &SyncService::syncNow);
    m_watcher->start();
    if (!m_hasPassword) {
        writeStatusFile(); // the app shows the drive signed out until a sign-in brings one
    }
    syncNow();
    return true;
}

void SyncService::syncNow()
{
    if (!m_hasPassword) {
        return;
    }
    if (m_syncRunning) {
        m_syncAgain = true;
        return;
    }
    m_syncRunning = true;
    m_runCarriesConfirmation = m_deletesConfirmed;
    QMetaObject::invokeMethod(
        m_worker, [worker = m_worker, confirmed = m_deletesConfirmed] { worker->runSync(confirmed); }, Qt::QueuedConnection);
}

void SyncService::onSyncFinished(const SyncOutcome &outcome)
{
    m_syncRunning = false;
    m_lastOutcome = outcome;
    if (m_runCarriesConfirmation && outcome.succeeded) {
        m_deletesConfirmed = false; // a confirmation is for the deletes held then, not for later ones
    }
    if (outcome.succeeded && (outcome.changes > 0 || !outcome.failures.isEmpty())) {
        DRLog(LOG_INFO, "Sync with %@ ended: %@ changes, %@ items left as they were",
              m_folder.toDisplayString(), outcome.changes, outcome.failures.size());
    }
    writeStatusFile();
    emit syncFinished(outcome);
    if (m_syncAgain) {
        m_syncAgain = false;
        syncNow();
    }
}

QJsonObject SyncService::status() const
{
    QJsonObject status{{QStringLiteral("server"), m_folder.toDisplayString()}, {QStringLiteral("user"), m_user}};
    if (!m_hasPassword) {
        status.insert(QStringLiteral("result"), QStringLiteral("waiting for the password: sign in again"));
        status.insert(QStringLiteral("errorKind"), QStringLiteral("password needed"));
    } else if (m_lastOutcome.ended.isValid()) {
        status.insert(QStringLiteral("lastSync"), m_lastOutcome.ended.toString(Qt::ISODate));
        status.insert(QStringLiteral("result"), m_lastOutcome.succeeded ? QStringLiteral("ok") : m_lastOutcome.error);
        status.insert(QStringLiteral("errorKind"), m_lastOutcome.errorKind);
        status.insert(QStringLiteral("changes"), m_lastOutcome.changes);
        status.insert(QStringLiteral("failures"), QJsonArray::fromStringList(m_lastOutcome.failures));
        status.insert(QStringLiteral("refused"), QJsonArray::fromStringList(m_lastOutcome.refused));
        status.insert(QStringLiteral("waitingForRoom"), m_lastOutcome.waitingForRoom);
        if (m_lastOutcome.serverIgnoresIfMatch) {
            status.insert(QStringLiteral("serverIgnoresIfMatch"), SyncEngine::ifMatchIgnoredMeaning());
        }
    }
    return status;
}

void SyncService::writeStatusFile()
{
    // a run like the last one writes nothing: a quiet poll never touches the disk
    QJsonObject written = status();
    if (m_lastOutcome.changes == 0) {
        written.remove(QStringLiteral("lastSync"));
    }
    const QByteArray bytes = QJsonDocument(written).toJson();
    if (bytes == m_lastStatusWritten) {
        return;
    }
    QSaveFile file(DriveLayout::syncStatusFile());
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(status()).toJson());
        if (file.commit()) {
            m_lastStatusWritten = bytes;
        }
    }
}

void SyncService::onNewConnection()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] {
            // a connection that goes cancels what it asked for
            for (const auto &download : std::as_const(m_downloads)) {
                if (download->socket == socket && download->reply) {
                    download->cancelled = true;
                    download->reply->abort();
                }
            }
            m_watchers.removeAll(socket);
            updatePollInterval();
            socket->deleteLater();
        });
    }
}

void SyncService::onReadyRead(QLocalSocket *socket)
{
    while (socket->canReadLine()) {
        const QByteArray line = socket->readLine(maximumRequestLine);
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(line, &parseError);
        if (!document.isObject()) {
            DRLog(LOG_WARNING, "Ignoring a request on the sync socket that is no JSON object: %@", parseError.errorString());
            continue;
        }
        handle(socket, document.object());
    }
    if (socket->bytesAvailable() > maximumRequestLine) {
        DRLog(LOG_WARNING, "Closing a connection of the sync socket that sent %@ bytes without a line end",
              socket->bytesAvailable());
        socket->abort();
    }
}

void SyncService::handle(QLocalSocket *socket, const QJsonObject &request)
{
    const QString op = request.value(QStringLiteral("op")).toString();
    const qint64 id = request.value(QStringLiteral("id")).toInteger();
    if (op == QLatin1String("materialize")) {
        materialize(socket, id, request.value(QStringLiteral("storeKey")).toString());
    } else if (op == QLatin1String("cancel")) {
        for (const auto &download : std::as_const(m_downloads)) {
            if (download->socket == socket && download->id == id && download->reply) {
                download->cancelled = true;
                download->reply->abort();
            }
        }
    } else if (op == QLatin1String("quota")) {
        answerQuota(socket, id);
    } else if (op == QLatin1String("status")) {
        QJsonObject answer = status();
        answer.insert(QStringLiteral("id"), id);
        answer.insert(QStringLiteral("running"), m_syncRunning);
        send(socket, answer);
    } else if (op == QLatin1String("sync")) {
        syncNow();
        send(socket, QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("ok"), true}});
    } else if (op == QLatin1String("confirmDeletes")) {
        DRLog(LOG_NOTICE, "The user confirmed the deletes the sync held back");
        m_deletesConfirmed = true;
        syncNow();
        send(socket, QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("ok"), true}});
    } else if (op == QLatin1String("quit")) {
        // a new sign-in: the next service starts with the new account
        DRLog(LOG_NOTICE, "The sync service stops, as asked");
        QCoreApplication::quit();
    } else if (op == QLatin1String("password")) {
        setPassword(request.value(QStringLiteral("password")).toString());
        send(socket, QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("ok"), true}});
    } else if (op == QLatin1String("watch")) {
        m_watchers << socket;
        updatePollInterval();
        syncNow(); // the app became active: the device catches up at once
    } else {
        send(socket, failure(id, FeatureUnsupportedError, QStringLiteral("Unknown request \"%1\".").arg(op)));
    }
}

void SyncService::updatePollInterval()
{
    m_watchers.removeAll(nullptr);
    m_pollTimer.setInterval((m_watchers.isEmpty() ? idlePollSeconds : activePollSeconds) * 1000);
}

void SyncService::materialize(QLocalSocket *socket, qint64 id, const QString &storeKey)
{
    if (!m_hasPassword) {
        send(socket, failure(id, UbiquityServerNotAvailableError, QStringLiteral("The sync service has no password: sign in again.")));
        return;
    }
    if (!PromisePlaceholder::isStoreKey(storeKey)) {
        send(socket, failure(id, UbiquityFileUnavailableError, QStringLiteral("No item has that store key.")));
        return;
    }
    const std::optional<SyncRecord> record = m_journal->recordForKey(storeKey);
    if (!record || record->isFolder) {
        send(socket, failure(id, UbiquityFileUnavailableError,
                             QStringLiteral("The server holds no document of this item (not synced yet).")));
        return;
    }
    if (!PromiseStore::isStoreReachable()) {
        send(socket, failure(id, UbiquityServerNotAvailableError, QStringLiteral("The network is offline.")));
        return;
    }
    auto download = std::make_shared<Download>();
    download->socket = socket;
    download->id = id;
    download->storeKey = storeKey;
    download->version = record->version;
    download->total = record->size;
    download->file = std::make_unique<QFile>(DriveLayout::partialDownloadsPath() + QLatin1Char('/') + storeKey);
    // what an earlier attempt received of this very version is kept; another version starts over
    const bool resumable = m_journal->partialVersion(storeKey) == record->version;
    if (!download->file->open(resumable ? QIODevice::Append : QIODevice::WriteOnly | QIODevice::Truncate)) {
        send(socket, failure(id, FileWriteUnknownError, download->file->errorString()));
        return;
    }
    m_journal->setPartialVersion(storeKey, record->version);
    download->received = download->file->size();
    download->receivedBefore = download->received;
    const bool hasETag = !record->version.contains(QLatin1Char('@'));
    download->reply = m_client->get(record->path, download->received, hasETag ? record->version : QString());
    download->sinceProgress.start();
    const qint64 key = qint64(quintptr(download.get()));
    m_downloads.insert(key, download);

    QNetworkReply *reply = download->reply;
    connect(reply, &QNetworkReply::metaDataChanged, this, [download, reply] {
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status == 200 && download->received > 0) {
            // the server sends the whole document again (it changed, or it ignores ranges)
            download->file->resize(0);
            download->file->seek(0);
            download->received = 0;
            download->receivedBefore = 0;
        }
    });
    reply->setReadBufferSize(4 * readBufferSize); // a slow disk holds the network back, not memory
    connect(reply, &QNetworkReply::readyRead, this, [download, reply] {
        if (!isContent(reply)) {
            return; // an error page is no part of the document
        }
        // one buffer for the whole download: a fresh one per piece would be mapped and
        // unmapped by the allocator, page by page
        download->buffer.resize(readBufferSize);
        while (reply->bytesAvailable() > 0) {
            const qint64 n = reply->read(download->buffer.data(), download->buffer.size());
            if (n <= 0) {
                break;
            }
            if (download->file->write(download->buffer.constData(), n) != n) {
                reply->abort();
                return;
            }
            download->received += n;
        }
        if (download->sinceProgress.elapsed() >= 1000 / progressPerSecond) {
            download->sinceProgress.restart();
            send(download->socket, QJsonObject{{QStringLiteral("id"), download->id},
                                               {QStringLiteral("progress"), download->received},
                                               {QStringLiteral("total"), download->total}});
        }
    });
    connect(reply, &QNetworkReply::finished, this, [this, key, download, reply] {
        if (reply->isOpen() && isContent(reply)) {
            download->file->write(reply->readAll());
        }
        download->file->flush();
        const qint64 size = download->file->size();
        DavError error = DavClient::errorOf(reply);
        if (!error && !download->cancelled) {
            // what arrived stays in the partial file for the next attempt
            error = DavClient::droppedConnection(reply, size - download->receivedBefore);
        }
        download->file->close();
        reply->deleteLater();
        QJsonObject answer;
        if (download->cancelled) {
            answer = failure(download->id, UserCancelledError, QStringLiteral("The download was cancelled."));
        } else if (error) {
            const bool gone = error.kind == DavError::Kind::NotFound;
            answer = failure(download->id, gone ? UbiquityFileUnavailableError : UbiquityServerNotAvailableError,
                             error.description());
            DRLog(LOG_ERR, "Download of %@ failed: %@", download->storeKey, error.description());
        } else if (download->total >= 0 && size != download->total) {
            // a size other than the one promised: the document changed meanwhile; start afresh
            QFile::remove(download->file->fileName());
            m_journal->removePartial(download->storeKey);
            answer = failure(download->id, UbiquityFileUnavailableError,
                             QStringLiteral("The server sent %1 bytes where %2 were expected; the document may "
                                            "have changed: try again after the next sync.")
                                 .arg(size)
                                 .arg(download->total));
            DRLog(LOG_ERR, "Download of %@ failed: %@", download->storeKey, answer.value(QStringLiteral("failed")).toString());
        } else {
            m_journal->removePartial(download->storeKey);
            answer = QJsonObject{{QStringLiteral("id"), download->id},
                                 {QStringLiteral("progress"), size},
                                 {QStringLiteral("total"), size},
                                 {QStringLiteral("done"), true},
                                 {QStringLiteral("file"), download->file->fileName()}};
        }
        send(download->socket, answer);
        m_downloads.remove(key);
    });
}

void SyncService::answerQuota(QLocalSocket *socket, qint64 id)
{
    if (!m_hasPassword) {
        send(socket, failure(id, UbiquityServerNotAvailableError, QStringLiteral("The sync service has no password: sign in again.")));
        return;
    }
    QPointer<QLocalSocket> target(socket);
    QNetworkReply *reply = m_client->propfindQuota();
    connect(reply, &QNetworkReply::finished, this, [this, target, id, reply] {
        reply->deleteLater();
        DavError error;
        const auto resources = m_client->readListing(reply, &error);
        if (!resources) {
            send(target, failure(id, UbiquityServerNotAvailableError, error.description()));
            return;
        }
        for (const DavResource &resource : *resources) {
            if (resource.path.isEmpty() && resource.quotaAvailable >= 0) {
                send(target, QJsonObject{{QStringLiteral("id"), id},
                                         {QStringLiteral("available"), resource.quotaAvailable},
                                         {QStringLiteral("used"), std::max<qint64>(0, resource.quotaUsed)}});
                return;
            }
        }
        send(target, failure(id, FeatureUnsupportedError, QStringLiteral("The server does not report its free space.")));
    });
}
