#pragma once

#include "core/DRLogging.h"
#include "core/DROSLClient.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/syslog/MemoryLogSink.h"

#include <QList>
#include <QString>

#include <optional>

/// What the app logged, read from the in-memory system log.
namespace LogSpy {

/// Waits until every record submitted so far is written.
inline void flush()
{
    DROSLClient::OSLClient()->logQueue()->sync([] { });
}

/// Keeps debug lines for the rest of the test, also once the app writes the standard defaults
/// (which makes the log read its level there again).
inline void keepDebugLines()
{
    UserDefaults::standardUserDefaults()->setObject(LOG_DEBUG, QStringLiteral("DRLogLevel"));
    UserDefaults::standardUserDefaults()->synchronize();
    DRLogSetLevel(LOG_DEBUG);
}

inline void clear()
{
    flush();
    MemoryLogSink::clear();
}

inline QList<SystemLogMessage> records()
{
    flush();
    return MemoryLogSink::records();
}

inline QList<SystemLogMessage> withMessage(const QString &message)
{
    QList<SystemLogMessage> found;
    for (const SystemLogMessage &record : records()) {
        if (record.value(QStringLiteral("Message")) == message) {
            found << record;
        }
    }
    return found;
}

/// The level of the one record with this message; -1 when there is none.
inline int levelOf(const QString &message)
{
    const auto found = withMessage(message);
    return found.isEmpty() ? -1 : found.first().value(QStringLiteral("Level")).toInt();
}

inline QStringList messages()
{
    QStringList result;
    for (const SystemLogMessage &record : records()) {
        result << record.value(QStringLiteral("Message"));
    }
    return result;
}

} // namespace LogSpy
