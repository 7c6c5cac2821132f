#pragma once

#include "platform/foundation/FormatArg.h"

#include <QList>
#include <QString>

#include <atomic>
#include <limits>
#include <memory>
#include <syslog.h> // LOG_EMERG … LOG_DEBUG: the level scale of every log call
#include <utility>

// The levels of the system's log calls, on the syslog scale; 8 keeps everything.
static_assert(LOG_EMERG == 0 && LOG_ALERT == 1 && LOG_CRIT == 2 && LOG_ERR == 3 && LOG_WARNING == 4
                  && LOG_NOTICE == 5 && LOG_INFO == 6 && LOG_DEBUG == 7,
              "log levels follow the syslog scale");

/// Extra string keys added to a record after the standard ones, in this order.
using DRLogExtraKeys = QList<std::pair<QString, QString>>;
/// An optional object kept alive until its record has been written.
using DRLogContext = std::shared_ptr<const void>;

/// The log client's level, copied where every call site reads it inline: a message below the
/// level costs one load and one comparison, no call. It keeps everything until the client
/// exists, so the first call makes the client and the configured level decides from then on.
inline std::atomic<qint64> DRLogCallerLevel{std::numeric_limits<qint64>::max()};

/// True when a message of `level` is kept: `level` is at most the current level.
bool DRLogShouldLog(qint64 level);
/// Sets the current level (see DROSLClient::setLogLevel).
void DRLogSetLevel(int level);
/// The current level as given to the system log: never above 7.
qint64 DRLogGetLevel();
/// Waits until every record submitted so far is written: for a process about to end.
void DRLogFlush();

/// Hands the call to the log's queue, which formats and writes it; returns at once when the
/// level is not kept. The caller's thread only copies the arguments (values: they are
/// formatted later, elsewhere) and pushes them on a queue without a lock. `file`, `function`,
/// `facility` and `format` are string literals, as the DRLog macro passes them: they are read
/// after the call returns.
void DRLogv(const char *file, const char *function, int line, const char *facility, int level,
            const DRLogContext &context, const DRLogExtraKeys &extraKeys, const char *format, const FormatArgs &args);
/// Hands a finished message, with the caller's queue label, to the log's queue (the same
/// string literals as DRLogv).
void DRLogMessage(const char *file, const char *function, int line, const char *facility, int level,
                  const DRLogContext &context, const QString &message, const DRLogExtraKeys &extraKeys);

/// The variadic entry point of every log call. Call sites use the `DRLog(level, format, ...)`
/// macro below, which passes the caller's file, function and line and the facility "DR"; the
/// full form is reached as `(DRLog)(...)`.
template <typename... Args>
inline void(DRLog)(const char *file, const char *function, int line, const char *facility, int level,
                   const DRLogContext &context, const char *format, const Args &...args)
{
    if (level > DRLogCallerLevel.load(std::memory_order_relaxed)) {
        return; // one comparison, no formatting
    }
    DRLogv(file, function, line, facility, level, context, {}, format, FormatArgs{FormatArg(args)...});
}

#define DRLog(level, format, ...) \
    (DRLog)(__FILE__, Q_FUNC_INFO, __LINE__, "DR", (level), nullptr, (format) __VA_OPT__(, ) __VA_ARGS__)

/// Writes "OSL log level is %@" on the plain log, then one message at each of the levels debug,
/// info, warning, error, critical and alert: a quick check of where the log's lines go.
void _AerovaDriveLogTest();
