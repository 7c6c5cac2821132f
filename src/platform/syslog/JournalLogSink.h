#pragma once

#include "platform/syslog/SystemLogSink.h"

#include <QString>

/// Writes records to the systemd journal. The journal drops fields whose names are not upper-case
/// letters, digits and '_', so every key is upper-cased ("Time" becomes TIME, "DRLogToFile"
/// DRLOGTOFILE); MESSAGE, PRIORITY and SYSLOG_IDENTIFIER are set as well, so that
/// `journalctl -t aerovadrive` shows the app's lines.
class JournalLogSink final : public SystemLogSink
{
public:
    explicit JournalLogSink(const QString &identifier);
    void write(const SystemLogMessage &message) override;

    /// The journal field name of a record key.
    static QByteArray fieldName(const QString &key);

private:
    QByteArray m_identifier;
};
