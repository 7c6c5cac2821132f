#include "platform/syslog/JournalLogSink.h"

#include "platform/syslog/SystemLogMessage.h"

#include <systemd/sd-journal.h>

#include <vector>

JournalLogSink::JournalLogSink(const QString &identifier)
    : m_identifier(identifier.toUtf8())
{
}

QByteArray JournalLogSink::fieldName(const QString &key)
{
    QByteArray name;
    for (const QChar c : key) {
        const char l = c.toUpper().toLatin1();
        name += ((l >= 'A' && l <= 'Z') || (l >= '0' && l <= '9')) ? l : '_';
    }
    if (name.isEmpty() || name.at(0) == '_' || (name.at(0) >= '0' && name.at(0) <= '9')) {
        name.prepend("X");
    }
    return name;
}

void JournalLogSink::write(const SystemLogMessage &message)
{
    std::vector<QByteArray> fields;
    fields.reserve(message.pairs().size() + 3);
    for (const auto &[key, value] : message.pairs()) {
        fields.push_back(fieldName(key) + '=' + value.toUtf8());
    }
    bool levelOk = false;
    const int level = message.value(QStringLiteral("Level")).toInt(&levelOk);
    const int priority = levelOk && level >= 0 && level <= 7 ? level : 7;
    fields.push_back("MESSAGE=" + message.value(QStringLiteral("Message")).toUtf8());
    fields.push_back("PRIORITY=" + QByteArray::number(priority));
    fields.push_back("SYSLOG_IDENTIFIER=" + m_identifier);

    std::vector<iovec> iov;
    iov.reserve(fields.size());
    for (QByteArray &field : fields) {
        iov.push_back(iovec{field.data(), size_t(field.size())});
    }
    sd_journal_sendv(iov.data(), int(iov.size()));
}
