#pragma once

#include <QString>
#include <QStringList>

/// The storage-upgrade offer of the drive service: how urgent it is (`level`: 0 no need,
/// 1 storage filling up, 2 nearly full, 3 full) and the title it is presented with.
class KVQOffer final
{
public:
    KVQOffer(qint64 level, const QString &title)
        : m_level(level)
        , m_title(title)
    {
    }

    qint64 level() const { return m_level; }
    QString title() const { return m_title; }
    bool operator==(const KVQOffer &other) const = default;

    /// The offer in the service's offer file, or null when there is none or it cannot be read.
    static std::shared_ptr<KVQOffer> offerFromServiceFile(const QString &path);

private:
    qint64 m_level = 0;
    QString m_title;
};
