#include "platform/drive/DriveServiceMonitor.h"

#include "platform/drive/DriveLayout.h"
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
    }
}

} // namespace

void DriveServiceMonitor::ensureStarted()
{
    static std::once_flag started;
    std::call_once(started, [] {
        static auto *queue = new DispatchQueue(QStringLiteral("com.quillmere.AerovaDrive.service")); // lives until exit
        const QStringList files{DriveLayout::accountFile(), DriveLayout::kvstoreFile(), DriveLayout::offerFile(),
                                DriveLayout::networkFile()};
        queue->sync([files] {
            new FileContentWatcher(files, postChange, queue->context()); // owned by the queue's context
        });
    });
}
