#include "core/DRLogging.h"

#include "core/DROSLClient.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/StringFormat.h"
#include "platform/syslog/SystemLog.h"
#include "platform/syslog/SystemLogMessage.h"

#include <QCoreApplication>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>
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

/// A log call waiting for the log's queue: what the caller gave, as it gave it. The message is
/// formatted on the log's queue, not on the caller's thread (the arguments are values).
struct PendingRecord {
    std::atomic<PendingRecord *> next{nullptr};
    const char *file = nullptr;
    const char *function = nullptr;
    const char *facility = nullptr;
    int line = 0;
    int level = 0;
    DRLogContext context;
    DRLogExtraKeys extraKeys;
    const char *format = nullptr; // null: `message` is already the text
    FormatArgs args;
    QString message;
    QString threadLabel;
};

/// The records handed to the log's queue: many callers push, the queue alone takes them, in
/// the order they were pushed. No lock: a push is one exchange and one store (an intrusive
/// multi-producer queue with a stub node), so a caller never waits for another or for the
/// writer.
class PendingRecords final
{
public:
    PendingRecords() { m_head.store(&m_stub); }

    void push(PendingRecord *record)
    {
        record->next.store(nullptr, std::memory_order_relaxed);
        PendingRecord *previous = m_head.exchange(record, std::memory_order_acq_rel);
        previous->next.store(record, std::memory_order_release);
    }

    /// The oldest record, or null when there is none. A push under way (its exchange done, its
    /// link not yet) is waited for: the record is as good as there.
    PendingRecord *take()
    {
        for (;;) {
            PendingRecord *tail = m_tail;
            PendingRecord *next = tail->next.load(std::memory_order_acquire);
            if (tail == &m_stub) {
                if (!next) {
                    if (m_head.load(std::memory_order_acquire) == &m_stub) {
                        return nullptr;
                    }
                    std::this_thread::yield(); // a producer is between its exchange and its link
                    continue;
                }
                m_tail = next;
                tail = next;
                next = next->next.load(std::memory_order_acquire);
            }
            if (next) {
                m_tail = next;
                return tail;
            }
            if (tail != m_head.load(std::memory_order_acquire)) {
                std::this_thread::yield();
                continue;
            }
            push(&m_stub); // the last record: the stub goes behind it so it can be taken
            next = tail->next.load(std::memory_order_acquire);
            if (next) {
                m_tail = next;
                return tail;
            }
            std::this_thread::yield();
        }
    }

    /// Whether a drain of the queue is asked for and has not yet begun taking records.
    std::atomic<bool> drainAsked{false};

private:
    std::atomic<PendingRecord *> m_head;
    PendingRecord *m_tail = &m_stub; // the log's queue only
    PendingRecord m_stub;
};

PendingRecords &pendingRecords()
{
    static PendingRecords *records = new PendingRecords; // lives until the process ends, as the log
    return *records;
}

void writePending(const PendingRecord &record)
{
    const QString message = record.format ? StringFormat::format(QString::fromUtf8(record.format), record.args) : record.message;
    writeRecord(record.file, record.function, record.line, record.facility, record.level, message, record.threadLabel,
                record.extraKeys);
}

/// On the log's queue: writes every record handed over so far.
void drain()
{
    PendingRecords &records = pendingRecords();
    // cleared before taking: a record pushed from now on asks for a drain of its own
    records.drainAsked.store(false);
    while (PendingRecord *record = records.take()) {
        writePending(*record);
        delete record; // its context is released once its record is written
    }
}

/// A record of the call as the caller made it, on the caller's queue.
std::unique_ptr<PendingRecord> newRecord(const char *file, const char *function, int line, const char *facility, int level,
                                         const DRLogContext &context, const DRLogExtraKeys &extraKeys)
{
    auto record = std::make_unique<PendingRecord>();
    record->file = file;
    record->function = function;
    record->facility = facility;
    record->line = line;
    record->level = level;
    record->context = context;
    record->extraKeys = extraKeys;
    record->threadLabel = DispatchQueue::currentLabel();
    return record;
}

void handOff(std::unique_ptr<PendingRecord> record)
{
    PendingRecords &records = pendingRecords();
    records.push(record.release());
    // the queue is woken once per burst: a drain already asked for takes this record too
    if (!records.drainAsked.exchange(true)) {
        DROSLClient::OSLClient()->performLoggingBlock(drain);
    }
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
    auto record = newRecord(file, function, line, facility, level, context, extraKeys);
    record->format = format;
    record->args = args;
    handOff(std::move(record));
}

void DRLogMessage(const char *file, const char *function, int line, const char *facility, int level,
                  const DRLogContext &context, const QString &message, const DRLogExtraKeys &extraKeys)
{
    auto record = newRecord(file, function, line, facility, level, context, extraKeys);
    record->message = message;
    handOff(std::move(record));
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
