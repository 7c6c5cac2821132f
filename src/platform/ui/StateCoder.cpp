#include "platform/ui/StateCoder.h"

#include <QDataStream>
#include <QIODevice>

QByteArray StateCoder::archivedData() const
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << m_values;
    return data;
}

StateCoder StateCoder::fromArchivedData(const QByteArray &data)
{
    QDataStream stream(data);
    stream.setVersion(QDataStream::Qt_6_4);
    QVariantMap values;
    stream >> values;
    if (stream.status() != QDataStream::Ok) {
        return {};
    }
    return StateCoder(values);
}
