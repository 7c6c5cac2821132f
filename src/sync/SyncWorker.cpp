#include "sync/SyncWorker.h"

#include "core/DRLogging.h"
#include "platform/drive/DriveLayout.h"
#include "sync/DavClient.h"
#include "sync/ServerProbe.h"
#include "sync/SyncEngine.h"
#include "sync/SyncJournal.h"

SyncWorker::SyncWorker(const QUrl &folder, const QString &user, const QString &password)
    : m_folder(folder)
    , m_user(user)
    , m_password(password)
{
}

SyncWorker::~SyncWorker() = default;

void SyncWorker::runSync(bool deletesConfirmed)
{
    // made on first use, on the worker's own thread, which owns them
    if (!m_client) {
        m_client = std::make_unique<DavClient>(m_folder, m_user, m_password);
        m_journal = std::make_unique<SyncJournal>(DriveLayout::syncJournalFile());
        QString error;
        m_journalOpen = m_journal->open(&error);
        if (!m_journalOpen) {
            DRLog(LOG_ERR, "Cannot open the sync journal %@: %@", DriveLayout::syncJournalFile(), error);
        }
    }
    if (!m_journalOpen) {
        SyncOutcome outcome;
        outcome.error = QStringLiteral("The sync journal %1 cannot be opened.").arg(DriveLayout::syncJournalFile());
        outcome.ended = QDateTime::currentDateTimeUtc();
        emit syncFinished(outcome);
        return;
    }
    SyncEngine engine(m_client.get(), m_journal.get());
    engine.setDeletesConfirmed(deletesConfirmed);
    engine.setServerIgnoresIfMatch(serverIgnoresIfMatch());
    emit syncFinished(engine.run());
}

bool SyncWorker::serverIgnoresIfMatch()
{
    // kept by server: a sign-in elsewhere asks the new one
    const QString name = QStringLiteral("ifMatch ") + m_folder.toString(QUrl::FullyEncoded);
    ServerProbe::IfMatch answer = ServerProbe::fromText(m_journal->value(name));
    if (answer != ServerProbe::IfMatch::Unknown) {
        return answer == ServerProbe::IfMatch::Ignored;
    }
    DavError error;
    answer = ServerProbe::ifMatch(m_client.get(), &error);
    if (answer == ServerProbe::IfMatch::Unknown) {
        // asked again at the next run; this one's own requests say what is wrong
        DRLog(LOG_NOTICE, "Cannot ask %@ whether it honours If-Match: %@", m_folder.toDisplayString(), error.description());
        return false;
    }
    m_journal->setValue(name, ServerProbe::toText(answer));
    if (answer == ServerProbe::IfMatch::Ignored) {
        DRLog(LOG_WARNING, "%@ ignores If-Match: %@", m_folder.toDisplayString(), SyncEngine::ifMatchIgnoredMeaning());
    }
    return answer == ServerProbe::IfMatch::Ignored;
}
