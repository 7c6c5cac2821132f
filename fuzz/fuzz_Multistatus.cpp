// What a WebDAV server answers: a PROPFIND multistatus (hrefs, names, sizes, tags, quota) and
// the dates in it. Every resource the parser keeps must name a place below the signed-in
// folder that the drive can hold.

#include "FuzzDrive.h"

#include "sync/HttpDate.h"
#include "sync/MultistatusParser.h"
#include "sync/RemoteMapping.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QUrl base(QStringLiteral("https://cloud.example.org/remote.php/dav/files/alice/"));
    QString error;
    QStringList refused;
    const auto resources = MultistatusParser::parse(bytes, base, base, &error, &refused);
    if (resources) {
        for (const DavResource &resource : *resources) {
            for (const QString &name : resource.path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
                if (name == QLatin1String(".") || name == QLatin1String("..") || name.contains(QChar(0))) {
                    std::abort(); // a name no file may have came through
                }
            }
            if (resource.size < -1 || resource.size > MultistatusParser::maximumSize) {
                std::abort();
            }
            if (const std::optional<QString> local = RemoteMapping::localPathFor(resource.path);
                local && !local->startsWith(DriveLayout::mobileDocumentsPath() + QLatin1Char('/'))) {
                std::abort(); // a place outside the drive
            }
        }
    } else if (error.isEmpty()) {
        std::abort(); // a refusal always says why
    }
    HttpDate::parse(bytes.left(64));
    return 0;
}
