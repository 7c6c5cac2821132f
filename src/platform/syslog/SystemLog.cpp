#include "platform/syslog/SystemLog.h"

#include "platform/foundation/Preferences.h"
#include "platform/syslog/FileLogSink.h"
#include "platform/syslog/JournalLogSink.h"
#include "platform/syslog/MemoryLogSink.h"
#include "platform/syslog/SystemLogMessage.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QMutex>

#include <cstdio>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::unique_ptr<SystemLogSink> makeSink(SystemLog::SinkKind kind)
{
    switch (kind) {
    case SystemLog::SinkKind::Journal:
        return std::make_unique<JournalLogSink>(QStringLiteral("aerovadrive"));
    case SystemLog::SinkKind::File:
        return std::make_unique<FileLogSink>(SystemLog::logFilePath());
    case SystemLog::SinkKind::Memory:
        return std::make_unique<MemoryLogSink>();
    }
    return std::make_unique<MemoryLogSink>();
}

} // namespace

SystemLogConnection::SystemLogConnection(const QString &identity, const QString &facility,
                                         std::unique_ptr<SystemLogSink> sink)
    : m_identity(identity)
    , m_facility(facility)
    , m_sink(std::move(sink))
{
}

SystemLogConnection::~SystemLogConnection() = default;

SystemLog::SinkKind SystemLog::configuredSinkKind()
{
    const QString choice = qEnvironmentVariable("AEROVA_SYSLOG").toLower();
    if (choice == QLatin1String("journal")) {
        return SinkKind::Journal;
    }
    if (choice == QLatin1String("file")) {
        return SinkKind::File;
    }
    if (choice == QLatin1String("memory")) {
        return SinkKind::Memory;
    }
    return QFileInfo::exists(QStringLiteral("/run/systemd/journal/socket")) ? SinkKind::Journal : SinkKind::File;
}

QString SystemLog::logFilePath()
{
    const QUrl container = AppDataContainerURLForBundleIdentifier(QString::fromLatin1(AerovaAppBundleIdentifier));
    return container.toLocalFile() + QStringLiteral("/Logs/aerovadrive.jsonl");
}

SystemLogConnection *SystemLog::open(const QString &identity, const QString &facility, int /*options*/)
{
    return new SystemLogConnection(identity, facility, makeSink(configuredSinkKind())); // owned by the caller until close()
}

void SystemLog::close(SystemLogConnection *connection)
{
    delete connection;
}

std::unique_ptr<SystemLogMessage> SystemLog::newMessage()
{
    return std::make_unique<SystemLogMessage>();
}

void SystemLog::setFilter(SystemLogConnection *connection, quint32 mask)
{
    if (connection) {
        connection->setFilterMask(mask);
    }
}

void SystemLog::send(SystemLogConnection *connection, const SystemLogMessage &message)
{
    if (!connection || !connection->sink()) {
        return;
    }
    bool ok = false;
    const int level = message.value(QStringLiteral("Level")).toInt(&ok);
    if (ok && level >= 0 && level <= 7 && !(connection->filterMask() & (1u << level))) {
        return;
    }
    connection->sink()->write(message);
}

void SystemLog::plainLog(const QString &text)
{
    static QMutex mutex;
    const QString process = QCoreApplication::instance() ? QCoreApplication::applicationName()
                                                         : QStringLiteral("aerovadrive");
    const QByteArray line = (QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"))
                             + QLatin1Char(' ') + process + QLatin1Char('[') + QString::number(::getpid())
                             + QLatin1Char(':') + QString::number(long(::syscall(SYS_gettid)))
                             + QStringLiteral("] ") + text + QLatin1Char('\n'))
                                .toUtf8();
    QMutexLocker locker(&mutex);
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    std::fflush(stderr);
}
