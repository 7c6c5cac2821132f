#include "platform/quota/KVQOffer.h"

#include "core/DRLogging.h"
#include "platform/drive/ServiceFile.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

std::shared_ptr<KVQOffer> KVQOffer::offerFromServiceFile(const QString &path)
{
    const std::optional<QJsonObject> object = ServiceFile::readObject(path);
    if (!object || !object->contains(QStringLiteral("level"))) {
        return nullptr;
    }
    const std::optional<qint64> level = ServiceFile::wholeNumber(object->value(QStringLiteral("level")));
    if (!level) {
        DRLog(LOG_ERR, "Ignoring %@: its offer level is not a whole number from 0", path);
        return nullptr;
    }
    return std::make_shared<KVQOffer>(*level, object->value(QStringLiteral("title")).toString());
}
