// A format from outside the code (a translation, a file): it must never allocate or print
// without bound.

#include "FuzzDrive.h"

#include "platform/foundation/StringFormat.h"

#include <QUrl>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString format = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString text = StringFormat::format(format, FormatArgs{FormatArg(QStringLiteral("text")), FormatArg(42),
                                                                 FormatArg(-7.5), FormatArg(QUrl(QStringLiteral("file:///x"))),
                                                                 FormatArg(nullptr)});
    // every conversion prints at most its field of 1024 and its value
    if (text.size() > (format.size() + 1) * 1400) {
        std::abort();
    }
    return 0;
}
