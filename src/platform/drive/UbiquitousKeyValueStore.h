#pragma once

#include <QMutex>
#include <QStringList>
#include <QVariantMap>

/// Small values the drive keeps in step across the user's devices (the tag definitions among
/// them), stored by the drive service in `Service/kvstore.json`.
///
/// Values written by another process or device reach the app as the changed-externally
/// notification (`NotificationName::UbiquitousKeyValueStoreDidChangeExternally`, object: the
/// store, user info: "ChangeReason" and "ChangedKeys"), posted after the store has reloaded.
class UbiquitousKeyValueStore final
{
public:
    /// Why values changed, in the notification's "ChangeReason".
    enum ChangeReason { ServerChange = 0, InitialSyncChange = 1, QuotaViolationChange = 2, AccountChange = 3 };

    static UbiquitousKeyValueStore *defaultStore();

    QVariant objectForKey(const QString &key) const;
    /// The value when it is a dictionary; empty otherwise.
    QVariantMap dictionaryForKey(const QString &key) const;
    QVariantMap dictionaryRepresentation() const;
    /// Stores a value and writes the store at once (used by the control program; the app itself
    /// only reads).
    bool setObject_forKey(const QVariant &value, const QString &key);
    void removeObjectForKey(const QString &key);
    /// Re-reads what the service holds now.
    bool synchronize();

    /// Called by the service monitor when the file changed: reloads and posts the notification
    /// with the keys whose values differ.
    void reloadAfterExternalChange();

private:
    UbiquitousKeyValueStore();
    Q_DISABLE_COPY_MOVE(UbiquitousKeyValueStore)

    static QVariantMap readFile();
    bool writeFile(const QVariantMap &values) const;

    mutable QMutex m_mutex;
    QVariantMap m_values;
};
