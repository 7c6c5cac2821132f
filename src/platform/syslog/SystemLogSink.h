#pragma once

class SystemLogMessage;

/// Where the system log's records go: the journal, a JSON-lines file or memory.
class SystemLogSink
{
public:
    virtual ~SystemLogSink() = default;
    virtual void write(const SystemLogMessage &message) = 0;
};
