#pragma once

#include <QList>
#include <QString>

#include <utility>

/// One structured record of the system log: string keys with string values, kept in the order
/// they were first set (setting a key again replaces its value in place).
class SystemLogMessage final
{
public:
    void set(const QString &key, const QString &value);
    QString value(const QString &key) const;
    bool contains(const QString &key) const;
    QStringList keys() const;
    const QList<std::pair<QString, QString>> &pairs() const { return m_pairs; }

private:
    QList<std::pair<QString, QString>> m_pairs;
};
