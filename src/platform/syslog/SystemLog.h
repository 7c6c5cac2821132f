#pragma once

#include <QString>

#include <memory>

class SystemLogMessage;
class SystemLogSink;

/// An open connection to the structured system log. Made by `SystemLog::open`, ended by
/// `SystemLog::close`; it is a plain handle, used from one queue at a time.
class SystemLogConnection final
{
public:
    SystemLogConnection(const QString &identity, const QString &facility, std::unique_ptr<SystemLogSink> sink);
    ~SystemLogConnection();
    Q_DISABLE_COPY_MOVE(SystemLogConnection)

    QString identity() const { return m_identity; }
    QString facility() const { return m_facility; }
    /// Bit n set: records of level n (0–7) are written.
    quint32 filterMask() const { return m_filterMask; }
    void setFilterMask(quint32 mask) { m_filterMask = mask; }
    SystemLogSink *sink() const { return m_sink.get(); }

private:
    QString m_identity;
    QString m_facility;
    quint32 m_filterMask = 0xff;
    std::unique_ptr<SystemLogSink> m_sink;
};

/// The structured system log: open a connection with a facility, make records, set string keys,
/// filter by level, send, close; and the plain log, one line on standard error.
///
/// Where records go is chosen when a connection opens, by `AEROVA_SYSLOG`: "journal", "file" or
/// "memory" (the in-memory store tests read). Without it: the systemd journal when its socket
/// exists, else the JSON-lines file in the app data container's `Logs/`.
class SystemLog final
{
public:
    enum class SinkKind {
        Journal,
        File,
        Memory,
    };

    SystemLog() = delete;

    static SystemLogConnection *open(const QString &identity, const QString &facility, int options);
    static void close(SystemLogConnection *connection);
    /// A new, empty record; null when none can be made.
    static std::unique_ptr<SystemLogMessage> newMessage();
    static void setFilter(SystemLogConnection *connection, quint32 mask);
    /// Writes the record unless its "Level" (0–7) is filtered out. A level outside the scale is
    /// not subject to the mask.
    static void send(SystemLogConnection *connection, const SystemLogMessage &message);

    /// The plain log: "date time process[pid:tid] text" on standard error.
    static void plainLog(const QString &text);

    static SinkKind configuredSinkKind();
    static QString logFilePath();
};
