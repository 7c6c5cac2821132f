#include "platform/syslog/MemoryLogSink.h"

namespace {

QMutex &storeMutex()
{
    static QMutex mutex;
    return mutex;
}

QList<SystemLogMessage> &store()
{
    static QList<SystemLogMessage> records;
    return records;
}

} // namespace

void MemoryLogSink::write(const SystemLogMessage &message)
{
    QMutexLocker locker(&storeMutex());
    store().append(message);
}

QList<SystemLogMessage> MemoryLogSink::records()
{
    QMutexLocker locker(&storeMutex());
    return store();
}

void MemoryLogSink::clear()
{
    QMutexLocker locker(&storeMutex());
    store().clear();
}
