#include "sync/SendFailures.h"

#include "sync/SyncJournal.h"

#include <QDateTime>
#include <QLocale>

namespace {

using Kind = SyncAction::Kind;

/// An upload: what a full server cannot take.
bool sendsContent(Kind kind)
{
    return kind == Kind::Upload || kind == Kind::UploadChange || kind == Kind::KeepBoth;
}

/// Whether asking again may bring another answer.
bool mayChange(const DavError &answer)
{
    switch (answer.kind) {
    case DavError::Kind::Refused:
        // a timeout, a conflict of the moment, a lock, too many requests: they pass
        return answer.httpStatus == 408 || answer.httpStatus == 409 || answer.httpStatus == 423 || answer.httpStatus == 429;
    case DavError::Kind::NotWebDav:
        return false;
    default:
        return true;
    }
}

} // namespace

SendFailures::SendFailures(SyncJournal *journal, qint64 nowMs)
    : m_journal(journal)
    , m_nowMs(nowMs)
    , m_known(journal->failures())
{
}

qint64 SendFailures::retryDelayMs(int attempts)
{
    const int doublings = std::clamp(attempts - 1, 0, 7);
    return std::min<qint64>(30'000LL << doublings, 3'600'000);
}

QString SendFailures::stateOf(const SyncAction &action)
{
    return QStringLiteral("%1:%2@%3:%4").arg(int(action.kind)).arg(action.local.size).arg(action.local.modifiedMs).arg(action.fromPath);
}

QString SendFailures::describe(const SyncFailure &failure)
{
    if (failure.permanent) {
        return QStringLiteral("%1 (it is sent again once it changes)").arg(failure.message);
    }
    const QString when = QLocale::c().toString(QDateTime::fromMSecsSinceEpoch(failure.nextTryMs), QStringLiteral("HH:mm"));
    return QStringLiteral("%1 (failed %2 %3%4; tried again at %5)")
        .arg(failure.message)
        .arg(failure.attempts)
        .arg(failure.attempts == 1 ? QStringLiteral("time") : QStringLiteral("times"))
        .arg(failure.attempts >= failedAfter ? QStringLiteral(" in a row") : QString())
        .arg(when);
}

QString SendFailures::waitReason(const SyncAction &action)
{
    const auto known = m_known.constFind(action.path);
    const bool same = known != m_known.cend() && known->localState == stateOf(action);
    if (m_serverFull && sendsContent(action.kind)) {
        ++m_waitingForRoom;
        if (same) {
            m_kept.insert(action.path);
        }
        return QStringLiteral("it waits until the server has room");
    }
    if (!same || (!known->permanent && known->nextTryMs <= m_nowMs)) {
        return {}; // changed since, or its time has come
    }
    m_kept.insert(action.path);
    return describe(*known);
}

QString SendFailures::failed(const SyncAction &action, const DavError &answer)
{
    const auto known = m_known.constFind(action.path);
    SyncFailure failure;
    failure.path = action.path;
    failure.attempts = known != m_known.cend() && known->localState == stateOf(action) ? known->attempts + 1 : 1;
    failure.message = answer.description();
    failure.localState = stateOf(action);
    failure.permanent = !mayChange(answer);
    if (answer.kind == DavError::Kind::ServerFull) {
        // asked again at the next run: room may come at any time
        m_serverFull = true;
        ++m_waitingForRoom;
        failure.nextTryMs = m_nowMs;
    } else {
        failure.nextTryMs = m_nowMs + retryDelayMs(failure.attempts);
    }
    m_journal->putFailure(failure);
    m_known.insert(failure.path, failure);
    m_kept.insert(failure.path);
    return answer.kind == DavError::Kind::ServerFull ? QStringLiteral("%1 (it waits until the server has room)").arg(failure.message)
                                                     : describe(failure);
}

void SendFailures::succeeded(const SyncAction &action)
{
    if (m_known.remove(action.path) > 0) {
        m_journal->removeFailure(action.path);
    }
}

void SendFailures::finish()
{
    for (auto it = m_known.cbegin(); it != m_known.cend(); ++it) {
        if (!m_kept.contains(it.key())) {
            m_journal->removeFailure(it.key());
        }
    }
}
