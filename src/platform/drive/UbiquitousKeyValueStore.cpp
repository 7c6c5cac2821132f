#include "platform/drive/UbiquitousKeyValueStore.h"

#include "platform/drive/ServiceFile.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/foundation/NotificationCenter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

UbiquitousKeyValueStore *UbiquitousKeyValueStore::defaultStore()
{
    static auto *store = new UbiquitousKeyValueStore; // one per process, lives until exit
    return store;
}

UbiquitousKeyValueStore::UbiquitousKeyValueStore()
    : m_values(readFile())
{
    DriveServiceMonitor::ensureStarted();
}

QVariant UbiquitousKeyValueStore::objectForKey(const QString &key) const
{
    QMutexLocker lock(&m_mutex);
    return m_values.value(key);
}

QVariantMap UbiquitousKeyValueStore::dictionaryForKey(const QString &key) const
{
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

QVariantMap UbiquitousKeyValueStore::dictionaryRepresentation() const
{
    QMutexLocker lock(&m_mutex);
    return m_values;
}

bool UbiquitousKeyValueStore::setObject_forKey(const QVariant &value, const QString &key)
{
    QMutexLocker lock(&m_mutex);
    QVariantMap values = readFile(); // never drop what another writer stored meanwhile
    values.insert(key, value);
    if (!writeFile(values)) {
        return false;
    }
    m_values = values;
    return true;
}

void UbiquitousKeyValueStore::removeObjectForKey(const QString &key)
{
    QMutexLocker lock(&m_mutex);
    QVariantMap values = readFile();
    values.remove(key);
    if (writeFile(values)) {
        m_values = values;
    }
}

bool UbiquitousKeyValueStore::synchronize()
{
    QMutexLocker lock(&m_mutex);
    m_values = readFile();
    return true;
}

void UbiquitousKeyValueStore::reloadAfterExternalChange()
{
    QStringList changedKeys;
    {
        // read under the lock: a read that began before one of our own writes must not undo it
        QMutexLocker lock(&m_mutex);
        const QVariantMap values = readFile();
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            if (m_values.value(it.key()) != it.value()) {
                changedKeys << it.key();
            }
        }
        for (auto it = m_values.cbegin(); it != m_values.cend(); ++it) {
            if (!values.contains(it.key())) {
                changedKeys << it.key();
            }
        }
        m_values = values;
    }
    if (changedKeys.isEmpty()) {
        return;
    }
    NotificationCenter::defaultCenter()->post(NotificationName::UbiquitousKeyValueStoreDidChangeExternally, this,
                                              {{QStringLiteral("ChangeReason"), int(ServerChange)},
                                               {QStringLiteral("ChangedKeys"), changedKeys}});
}

QVariantMap UbiquitousKeyValueStore::readFile()
{
    return ServiceFile::readObject(DriveLayout::kvstoreFile()).value_or(QJsonObject()).toVariantMap();
}

bool UbiquitousKeyValueStore::writeFile(const QVariantMap &values) const
{
    const QString path = DriveLayout::kvstoreFile();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    const QByteArray json = QJsonDocument(QJsonObject::fromVariantMap(values)).toJson();
    return file.open(QIODevice::WriteOnly) && file.write(json) == json.size() && file.commit();
}
