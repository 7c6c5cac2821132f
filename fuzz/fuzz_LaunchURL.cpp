// A URL of the app's scheme, as a launcher or another process sends it: decoded, mapped to an
// item and judged against the drive.

#include "FuzzDrive.h"

#include "app/AppDelegate.h"
#include "platform/drive/KDURL.h"

#include <QUrl>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QUrl url(QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size)));
    QUrl file;
    PreviewMode mode = PreviewModePreview;
    if (AppDelegate::fileURLAndModeForURL(url, &file, &mode)) {
        const QString resolved = kd_resolvedPathInMobileDocuments(file);
        if (!resolved.isNull() && !resolved.startsWith(QDir::cleanPath(DriveLayout::mobileDocumentsPath()))) {
            std::abort(); // a path approved outside the drive
        }
        kd_pathRelativeToMobileDocuments(file);
    }
    return 0;
}
