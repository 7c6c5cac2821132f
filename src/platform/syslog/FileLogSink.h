#pragma once

#include "platform/syslog/SystemLogSink.h"

#include <QFile>
#include <QMutex>
#include <QString>

/// Appends each record as one JSON object per line, with the record's keys exactly as written
/// and in their order, to a file (by default `Logs/aerovadrive.jsonl` in the app's data
/// container). Read it with `tail -f` or `jq`.
class FileLogSink final : public SystemLogSink
{
public:
    explicit FileLogSink(const QString &path);
    void write(const SystemLogMessage &message) override;

    QString path() const { return m_path; }
    /// The JSON line of a record, without the line break.
    static QByteArray jsonLine(const SystemLogMessage &message);

private:
    QString m_path;
    QMutex m_mutex;
    QFile m_file;
};
