#pragma once

#include "sync/SyncOutcome.h"

#include <QObject>
#include <QString>
#include <QUrl>

#include <memory>

class DavClient;
class SyncJournal;

/// The sync service's worker: runs sync runs one after another on its own thread, with its own
/// connection to the server and to the journal.
class SyncWorker final : public QObject
{
    Q_OBJECT
public:
    SyncWorker(const QUrl &folder, const QString &user, const QString &password);
    ~SyncWorker() override;

public slots:
    /// Runs one sync now; a run asked for while one is under way happens once after it. With
    /// `deletesConfirmed`, however many deletes it finds are made.
    void runSync(bool deletesConfirmed = false);

signals:
    void syncFinished(const SyncOutcome &outcome);

private:
    /// Whether the server ignores If-Match: asked once for each server and kept in the journal.
    bool serverIgnoresIfMatch();

    QUrl m_folder;
    QString m_user;
    QString m_password;
    std::unique_ptr<DavClient> m_client;
    std::unique_ptr<SyncJournal> m_journal;
    bool m_journalOpen = false;
};
