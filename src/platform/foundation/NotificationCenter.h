#pragma once

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <vector>

/// What an observer receives: the notification's name, the object that posted it and extra data.
struct Notification {
    QString name;
    const void *object = nullptr;
    QVariantMap userInfo;
};

/// Names of the notifications the platform posts.
namespace NotificationName {
inline const QString ApplicationDidBecomeActive = QStringLiteral("ApplicationDidBecomeActiveNotification");
inline const QString ApplicationWillResignActive = QStringLiteral("ApplicationWillResignActiveNotification");
inline const QString UbiquityIdentityDidChange = QStringLiteral("UbiquityIdentityDidChangeNotification");
inline const QString UbiquitousKeyValueStoreDidChangeExternally
    = QStringLiteral("UbiquitousKeyValueStoreDidChangeExternallyNotification");
/// The drive service's upgrade offer changed (its offer file was written).
inline const QString DriveServiceOfferDidChange = QStringLiteral("DriveServiceOfferDidChangeNotification");
/// The drive service's network override changed (its network file was written or removed).
inline const QString DriveServiceNetworkDidChange = QStringLiteral("DriveServiceNetworkDidChangeNotification");
} // namespace NotificationName

/// The in-process notification centre: observers by name, delivered synchronously on the
/// posting thread. An observer is removed with `removeObserver` or when its context object is
/// destroyed.
class NotificationCenter final
{
public:
    using Handler = std::function<void(const Notification &)>;

    NotificationCenter() = default;
    Q_DISABLE_COPY_MOVE(NotificationCenter)

    static NotificationCenter *defaultCenter();

    /// Registers `handler` for `name`; `context` owns the registration.
    void addObserver(const QObject *context, const QString &name, Handler handler);
    void removeObserver(const QObject *context, const QString &name = {});
    void post(const QString &name, const void *object = nullptr, const QVariantMap &userInfo = {});

private:
    struct Observer {
        QPointer<const QObject> context;
        const QObject *key = nullptr;
        QString name;
        Handler handler;
    };

    QMutex m_mutex;
    std::vector<Observer> m_observers;
};
