#pragma once

#include <QString>

#include <functional>

class DispatchQueue;

/// System-wide notifications by name, delivered to a handler on a chosen queue.
///
/// The managed-defaults notification ("com.quillmere.managedconfiguration.defaultsdidchange")
/// fires when the standard defaults file changes on disk (any process writing it) and when the
/// process receives SIGHUP, so that `kill -HUP` makes a running app re-read its log level.
/// `post` delivers a notification to this process's handlers at once. A change written after
/// `registerForName` has returned is always notified.
class SystemNotification final
{
public:
    SystemNotification() = delete;

    static const QString ManagedDefaultsDidChange;

    static void registerForName(const QString &name, DispatchQueue *queue, std::function<void()> handler);
    static void post(const QString &name);

    /// Stops delivering to `queue`; called before a queue that was registered goes away.
    static void unregisterQueue(DispatchQueue *queue);
};
