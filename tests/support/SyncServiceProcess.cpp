#include "support/SyncServiceProcess.h"

#include "platform/drive/SyncServiceClient.h"

#include <QDeadlineTimer>
#include <QJsonObject>
#include <QThread>

SyncServiceProcess::SyncServiceProcess(const QProcessEnvironment &environment)
    : m_environment(environment)
{
}

SyncServiceProcess::~SyncServiceProcess()
{
    stop();
}

bool SyncServiceProcess::start()
{
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::ForwardedChannels);
    m_process->setProcessEnvironment(m_environment);
    m_process->start(QStringLiteral(AEROVA_SYNCD_PATH), {});
    if (!m_process->waitForStarted(5000)) {
        return false;
    }
    QDeadlineTimer deadline(10000);
    QString error;
    while (!deadline.hasExpired()) {
        if (SyncServiceClient::connect(&error, false)) {
            return true;
        }
        QThread::msleep(20);
    }
    return false;
}

void SyncServiceProcess::stop()
{
    if (m_process) {
        m_process->terminate();
        m_process->waitForFinished(5000);
        m_process.reset();
    }
}

void SyncServiceProcess::kill()
{
    if (m_process) {
        m_process->kill();
        m_process->waitForFinished(5000);
        m_process.reset();
    }
}

bool SyncServiceProcess::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

bool SyncServiceProcess::syncNow(int timeoutMs)
{
    QString error;
    const auto client = SyncServiceClient::connect(&error, false);
    if (!client) {
        return false;
    }
    const auto status = [&] { return client->request(QJsonObject{{QStringLiteral("op"), QStringLiteral("status")}}, &error); };
    const auto before = status();
    if (!before) {
        return false;
    }
    const QString lastSync = before->value(QStringLiteral("lastSync")).toString();
    QThread::msleep(1100); // the end of the next run is a later second
    client->request(QJsonObject{{QStringLiteral("op"), QStringLiteral("sync")}}, &error);
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        const auto now = status();
        if (now && !now->value(QStringLiteral("running")).toBool() && now->value(QStringLiteral("lastSync")).toString() != lastSync) {
            return true;
        }
        QThread::msleep(50);
    }
    return false;
}
