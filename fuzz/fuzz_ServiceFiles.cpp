// The drive service's files, written by other processes: the containers, the account, the
// quota, the offer, the key-value store and the network override.

#include "FuzzDrive.h"

#include "platform/drive/DriveFileManager.h"
#include "platform/drive/FetchUserQuotaOperation.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/UbiquitousKeyValueStore.h"
#include "platform/quota/KVQOffer.h"

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    for (const QString &file : {DriveLayout::containersFile(), DriveLayout::accountFile(), DriveLayout::quotaFile(),
                                DriveLayout::offerFile(), DriveLayout::kvstoreFile(), DriveLayout::networkFile(),
                                DriveLayout::storeRateFile()}) {
        FuzzDrive::write(file, bytes);
    }
    for (const auto &container : KDContainer::allContainers()) {
        const QString path = container->containerURL().toLocalFile();
        if (!path.startsWith(DriveLayout::mobileDocumentsPath() + QLatin1Char('/')) || path.contains(QStringLiteral("/../"))) {
            std::abort(); // a container outside the drive
        }
    }
    DriveFileManager::ubiquityIdentityToken();
    FetchUserQuotaOperation operation;
    operation.main();
    KVQOffer::offerFromServiceFile(DriveLayout::offerFile());
    UbiquitousKeyValueStore::defaultStore()->reloadAfterExternalChange();
    PromiseStore::storeRate();
    PromiseStore::isStoreReachable();
    return 0;
}
