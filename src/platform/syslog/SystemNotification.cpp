#include "platform/syslog/SystemNotification.h"

#include "platform/foundation/AerovaHome.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FileContentWatcher.h"

#include <QMutex>
#include <QSocketNotifier>

#include <algorithm>
#include <csignal>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

const QString SystemNotification::ManagedDefaultsDidChange
    = QStringLiteral("com.quillmere.managedconfiguration.defaultsdidchange");

namespace {

struct Registration {
    QString name;
    DispatchQueue *queue;
    std::function<void()> handler;
};

// Never destroyed: the monitor's thread may still post while the process exits (the defaults
// file's folder is often removed on the way out), after static objects would have been torn down.
QMutex &registrationsMutex()
{
    static auto *mutex = new QMutex;
    return *mutex;
}

std::vector<Registration> &registrations()
{
    static auto *list = new std::vector<Registration>;
    return *list;
}

int g_signalPipe[2] = {-1, -1};

void onSighup(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(g_signalPipe[1], &byte, 1);
}

/// Watches the standard defaults file (and its folder, since the file is replaced on every
/// save) and SIGHUP, and posts the managed-defaults notification for either.
void startDefaultsMonitor()
{
    static DispatchQueue *monitorQueue = new DispatchQueue(QStringLiteral("com.quillmere.aerovadriveapp.notifyd"));
    // synchronously: a change written right after registering must already be seen as a change
    monitorQueue->sync([] {
        const QString file = AerovaHome::defaultsFile();
        // lives as long as the queue
        auto *watcher = new FileContentWatcher({file}, [](const QString &) {
            SystemNotification::post(SystemNotification::ManagedDefaultsDidChange);
        }, monitorQueue->context());

        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signalPipe) == 0) {
            struct sigaction action = {};
            action.sa_handler = onSighup;
            sigemptyset(&action.sa_mask);
            action.sa_flags = SA_RESTART;
            ::sigaction(SIGHUP, &action, nullptr);
            auto *notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, watcher);
            QObject::connect(notifier, &QSocketNotifier::activated, watcher, [] {
                char byte = 0;
                [[maybe_unused]] const auto got = ::read(g_signalPipe[0], &byte, 1);
                SystemNotification::post(SystemNotification::ManagedDefaultsDidChange);
            });
        }
    });
}

} // namespace

void SystemNotification::registerForName(const QString &name, DispatchQueue *queue, std::function<void()> handler)
{
    bool startMonitor = false;
    {
        QMutexLocker locker(&registrationsMutex());
        std::vector<Registration> &list = registrations();
        startMonitor = name == ManagedDefaultsDidChange
            && std::none_of(list.begin(), list.end(),
                            [&](const Registration &r) { return r.name == ManagedDefaultsDidChange; });
        list.push_back(Registration{name, queue, std::move(handler)});
    }
    if (startMonitor) {
        startDefaultsMonitor();
    }
}

void SystemNotification::post(const QString &name)
{
    std::vector<Registration> matching;
    {
        QMutexLocker locker(&registrationsMutex());
        for (const Registration &r : registrations()) {
            if (r.name == name) {
                matching.push_back(r);
            }
        }
    }
    for (const Registration &r : matching) {
        r.queue->async(r.handler);
    }
}

void SystemNotification::unregisterQueue(DispatchQueue *queue)
{
    QMutexLocker locker(&registrationsMutex());
    std::erase_if(registrations(), [queue](const Registration &r) { return r.queue == queue; });
}
