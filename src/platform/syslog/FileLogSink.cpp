#include "platform/syslog/FileLogSink.h"

#include "platform/syslog/SystemLogMessage.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

QByteArray jsonString(const QString &text)
{
    // a one-element array is the cheapest way to have Qt escape a string as JSON
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

} // namespace

FileLogSink::FileLogSink(const QString &path)
    : m_path(path)
    , m_file(path)
{
}

QByteArray FileLogSink::jsonLine(const SystemLogMessage &message)
{
    QByteArray line = "{";
    bool first = true;
    for (const auto &[key, value] : message.pairs()) {
        if (!first) {
            line += ',';
        }
        first = false;
        line += jsonString(key) + ':' + jsonString(value);
    }
    return line + '}';
}

void FileLogSink::write(const SystemLogMessage &message)
{
    QMutexLocker locker(&m_mutex);
    if (!m_file.isOpen()) {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
            return;
        }
    }
    m_file.write(jsonLine(message) + '\n');
}
