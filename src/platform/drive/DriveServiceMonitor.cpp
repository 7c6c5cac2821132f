#include "platform/drive/DriveServiceMonitor.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/UbiquitousKeyValueStore.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FileContentWatcher.h"
#include "platform/foundation/NotificationCenter.h"

#include <mutex>

namespace {

void postChange(const QString &file)
{
    NotificationCenter *center = NotificationCenter::defaultCenter();
    if (file == DriveLayout::accountFile()) {
        center->post(NotificationName::UbiquityIdentityDidChange);
    } else if (file == DriveLayout::kvstoreFile()) {
        UbiquitousKeyValueStore::defaultStore()->reloadAfterExternalChange();
    } else if (file == DriveLayout::offerFile()) {
        center->post(NotificationName::DriveServiceOfferDidChange);
    } else if (file == DriveLayout::networkFile()) {
        center->post(NotificationName::DriveServiceNetworkDidChange);
    } else if (file == DriveLayout::syncStatusFile()) {
        // the server refusing the password signs the drive out, and a new sign-in back in
        static bool needed = false;
        if (const bool now = RemoteAccount::needsSignIn(); now != needed) {
            needed = now;
            center->post(NotificationName::UbiquityIdentityDidChange);
        }
    }
}

DispatchQueue *g_queue = nullptr;
FileContentWatcher *g_watcher = nullptr;

} // namespace

void DriveServiceMonitor::ensureStarted()
{
    static std::once_flag started;
    std::call_once(started, [] {
        g_queue = new DispatchQueue(QStringLiteral("com.quillmere.AerovaDrive.service")); // lives until exit
        const QStringList files{DriveLayout::accountFile(), DriveLayout::kvstoreFile(), DriveLayout::offerFile(),
                                DriveLayout::networkFile(), DriveLayout::syncStatusFile()};
        g_queue->sync([files] {
            g_watcher = new FileContentWatcher(files, postChange, g_queue->context()); // owned by the queue's context
        });
    });
}

void DriveServiceMonitor::flush()
{
    ensureStarted();
    g_queue->sync([] { g_watcher->recheck(); });
}
