// A name typed by the user or arriving from elsewhere, checked before anything is written; and a
// name as the kernel gives it, which must come back byte for byte.

#include "FuzzDrive.h"

#include "model/FileUtils.h"
#include "platform/foundation/FilePath.h"

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    // a path the kernel gives holds no NUL; any other bytes must come back as they were
    if (!bytes.contains('\0') && FilePath::encode(FilePath::decode(bytes)) != bytes) {
        std::abort(); // a name on disk that an operation would not reach
    }
    // as UTF-16 too, which carries lone surrogates that UTF-8 cannot
    const QString utf8 = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString utf16(reinterpret_cast<const QChar *>(data), qsizetype(size / 2));
    for (const QString &name : {utf8, utf16}) {
        if (FileUtils::isValidFilename(name)) {
            if (name.isEmpty() || name.startsWith(QLatin1Char('.')) || name.contains(QLatin1Char('/'))
                || name.contains(QLatin1Char(':'))) {
                std::abort();
            }
            for (qsizetype i = 0; i < name.size(); ++i) {
                const QChar c = name.at(i);
                if (c.isHighSurrogate() && (i + 1 == name.size() || !name.at(i + 1).isLowSurrogate())) {
                    std::abort(); // a lone surrogate accepted
                }
                if (c.isHighSurrogate()) {
                    ++i;
                } else if (c.isLowSurrogate()) {
                    std::abort();
                }
            }
        }
        FileUtils::stringByUniquingPathInsideDirectory_forBasename(DriveLayout::mobileDocumentsPath(), name);
    }
    return 0;
}
