// A placeholder of a promised item, as the service writes it from what a server sent.

#include "FuzzDrive.h"

#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/URLResourceValues.h"

#include <QUrl>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString logical = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.quillmere.AerovaDrive/Item.pdf");
    const QString placeholderPath = PromisePlaceholder::placeholderPathFor(logical);
    // the placeholder cache keys on the file's times and size: a fresh name each run
    QFile::remove(placeholderPath);
    FuzzDrive::write(placeholderPath, QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    std::optional<Error> error;
    if (const auto placeholder = PromisePlaceholder::read(placeholderPath, &error)) {
        const QString content = placeholder->storeFilePath();
        if (!content.isEmpty() && !content.startsWith(DriveLayout::storePath() + QLatin1Char('/'))) {
            std::abort(); // a store key that leads out of the store
        }
        if (placeholder->size < -1) {
            std::abort();
        }
    }
    URLResourceValues::promisedItemResourceValuesForKeys(QUrl::fromLocalFile(logical),
                                                         {URLResourceKey::FileSize, URLResourceKey::TypeIdentifier,
                                                          URLResourceKey::ThumbnailDictionary},
                                                         &error);
    return 0;
}
