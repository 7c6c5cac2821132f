#pragma once

#include "platform/syslog/SystemLogMessage.h"
#include "platform/syslog/SystemLogSink.h"

#include <QList>
#include <QMutex>

/// Keeps records in memory, for tests that assert what was logged. One process-wide store.
class MemoryLogSink final : public SystemLogSink
{
public:
    void write(const SystemLogMessage &message) override;

    static QList<SystemLogMessage> records();
    static void clear();
};
