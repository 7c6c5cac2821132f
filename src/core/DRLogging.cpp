#include "core/DRLogging.h"

#include "core/DROSLClient.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/StringFormat.h"
#include "platform/syslog/SystemLog.h"
#include "platform/syslog/SystemLogMessage.h"

#include <QCoreApplication>

#include <array>
#include <cstdio>
#include <cstring>
#include <sys/time.h>
#include <unistd.h>

namespace {

/// Host name and process identifier, worked out once, on the first record written.
struct ProcessFacts {
    std::array<char, 256> host{}; // 255 bytes of name and a terminating zero
    std::array<char, 64> pid{};

    ProcessFacts()
    {
        host.fill(0);
        if (::gethostname(host.data(), 255) != 0) {
            std::strncpy(host.data(), "UnknownHost", 255);
        }
        std::snprintf(pid.data(), pid.size(), "%lu", static_cast<unsigned long>(::getpid()));
    }
};

const ProcessFacts &processFacts()
{
    static const ProcessFacts facts;
    return facts;
}

QString levelText(int level)
{
    return (level >= 0 && level <= 7) ? QString(QChar(u'0' + level)) : QStringLiteral("9");
}

void writeRecord(const char *file, const char *function, int line, const char *facility, int level,
                 const QString &message, const QString &threadLabel, const DRLogExtraKeys &extraKeys)
{
    DROSLClient *client = DROSLClient::OSLClient();
    if (std::unique_ptr<SystemLogMessage> record = SystemLog::newMessage()) {
        const ProcessFacts &facts = processFacts();
        std::array<char, 64> scratch{};
        timeval now{};
        if (::gettimeofday(&now, nullptr) == 0) {
            std::snprintf(scratch.data(), scratch.size(), "%lu", static_cast<unsigned long>(now.tv_sec));
            record->set(QStringLiteral("Time"), QString::fromLatin1(scratch.data()));
            std::snprintf(scratch.data(), scratch.size(), "%d", int(now.tv_usec * 1000));
            record->set(QStringLiteral("TimeNanoSec"), QString::fromLatin1(scratch.data()));
        } else {
            std::snprintf(scratch.data(), scratch.size(), "%lu", static_cast<unsigned long>(::time(nullptr)));
            record->set(QStringLiteral("Time"), QString::fromLatin1(scratch.data()));
        }
        record->set(QStringLiteral("Level"), levelText(level));
        record->set(QStringLiteral("Facility"), QString::fromLatin1(DROSLClient::Facility));
        record->set(QStringLiteral("PID"), QString::fromLatin1(facts.pid.data()));
        record->set(QStringLiteral("Host"), QString::fromLocal8Bit(facts.host.data()));
        if (!message.isNull()) {
            record->set(QStringLiteral("Message"), message);
        }
        record->set(QStringLiteral("Source"), QString::fromUtf8(file));
        if (line >= 1) {
            std::snprintf(scratch.data(), scratch.size(), "%u", unsigned(line));
            record->set(QStringLiteral("Line"), QString::fromLatin1(scratch.data()));
        }
        record->set(QStringLiteral("Function"), QString::fromUtf8(function));
        record->set(QStringLiteral("DRFacility"), QString::fromUtf8(facility));
        if (client->logLevel() >= LOG_INFO) {
            record->set(QStringLiteral("DRLogToFile"), QStringLiteral("1"));
        }
        if (!threadLabel.isEmpty()) {
            record->set(QStringLiteral("Thread"), threadLabel);
        }
        for (const auto &[key, value] : extraKeys) {
            record->set(key, value);
        }
        SystemLog::send(client->oslClient(), *record);
    }
    // the plain line is written even when no record could be made: a message is never lost
    SystemLog::plainLog(StringFormat::format("%@", message));
}

} // namespace

bool DRLogShouldLog(qint64 level)
{
    return level <= DROSLClient::OSLClient()->logLevel();
}

void DRLogSetLevel(int level)
{
    DROSLClient::OSLClient()->setLogLevel(qint64(level));
}

qint64 DRLogGetLevel()
{
    return DROSLClient::OSLClient()->logLevelForOSL();
}

void DRLogv(const char *file, const char *function, int line, const char *facility, int level,
            const DRLogContext &context, const DRLogExtraKeys &extraKeys, const char *format, const FormatArgs &args)
{
    if (!DRLogShouldLog(level)) {
        return;
    }
    const QString message = StringFormat::format(QString::fromUtf8(format), args);
    DRLogMessage(file, function, line, facility, level, context, message, extraKeys);
}

void DRLogMessage(const char *file, const char *function, int line, const char *facility, int level,
                  const DRLogContext &context, const QString &message, const DRLogExtraKeys &extraKeys)
{
    const QString threadLabel = DispatchQueue::currentLabel();
    // file, function and facility are compile-time strings at every call site; copy them anyway,
    // a caller of the full form may pass a temporary
    DROSLClient::OSLClient()->performLoggingBlock(
        [file = QByteArray(file), function = QByteArray(function), line, facility = QByteArray(facility), level,
         context, message, threadLabel, extraKeys] {
            writeRecord(file.constData(), function.constData(), line, facility.constData(), level, message,
                        threadLabel, extraKeys);
            Q_UNUSED(context) // kept alive until the record is written
        });
}

void _AerovaDriveLogTest()
{
    SystemLog::plainLog(StringFormat::format("OSL log level is %@", DRLogGetLevel()));
    DRLog(LOG_DEBUG, "LOG_DEBUG");
    DRLog(LOG_INFO, "LOG_INFO");
    DRLog(LOG_WARNING, "LOG_WARNING");
    DRLog(LOG_ERR, "LOG_ERR");
    DRLog(LOG_CRIT, "LOG_CRIT");
    DRLog(LOG_ALERT, "LOG_ALERT");
}

void DRLogFlush()
{
    DROSLClient::OSLClient()->logQueue()->sync([] { });
}
