#include "platform/syslog/SystemLogMessage.h"

#include <QStringList>

void SystemLogMessage::set(const QString &key, const QString &value)
{
    for (auto &pair : m_pairs) {
        if (pair.first == key) {
            pair.second = value;
            return;
        }
    }
    m_pairs.append({key, value});
}

QString SystemLogMessage::value(const QString &key) const
{
    for (const auto &pair : m_pairs) {
        if (pair.first == key) {
            return pair.second;
        }
    }
    return {};
}

bool SystemLogMessage::contains(const QString &key) const
{
    for (const auto &pair : m_pairs) {
        if (pair.first == key) {
            return true;
        }
    }
    return false;
}

QStringList SystemLogMessage::keys() const
{
    QStringList result;
    result.reserve(m_pairs.size());
    for (const auto &pair : m_pairs) {
        result << pair.first;
    }
    return result;
}
