#pragma once

#include <QByteArray>
#include <QVariantMap>

/// The keyed store a screen writes its state into when the app saves it, and reads it back
/// from at the next launch. Values are kept under string keys; `archivedData` is the form
/// written to disk.
class StateCoder final
{
public:
    StateCoder() = default;
    explicit StateCoder(const QVariantMap &values)
        : m_values(values)
    {
    }

    void encodeObject_forKey(const QVariant &value, const QString &key) { m_values.insert(key, value); }
    void encodeInteger_forKey(qint64 value, const QString &key) { m_values.insert(key, value); }
    QVariant decodeObjectForKey(const QString &key) const { return m_values.value(key); }
    /// The integer under the key; 0 when absent or not a number.
    qint64 decodeIntegerForKey(const QString &key) const { return m_values.value(key).toLongLong(); }
    bool containsValueForKey(const QString &key) const { return m_values.contains(key); }
    QVariantMap values() const { return m_values; }

    QByteArray archivedData() const;
    static StateCoder fromArchivedData(const QByteArray &data);

private:
    QVariantMap m_values;
};
