#include "platform/quota/KVQOffer.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

std::shared_ptr<KVQOffer> KVQOffer::offerFromServiceFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return nullptr;
    }
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject() || !document.object().contains(QStringLiteral("level"))) {
        return nullptr;
    }
    const QJsonObject object = document.object();
    return std::make_shared<KVQOffer>(object.value(QStringLiteral("level")).toInteger(),
                                      object.value(QStringLiteral("title")).toString());
}
