// Tag data from outside: the tag dictionary in the key-value store (written by the desktop's
// file manager on another device) and a file's `user.xdg.tags` attribute.

#include "FuzzDrive.h"

#include "model/FileTags.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/UbiquitousKeyValueStore.h"

#include <sys/xattr.h>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    FuzzDrive::setUp(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    FuzzDrive::write(DriveLayout::kvstoreFile(), bytes);
    UbiquitousKeyValueStore::defaultStore()->reloadAfterExternalChange();
    FileTags::_tagColorsDidChange();
    const QHash<QString, QColor> colors = FileTags::tagColorsByTag();
    FileTags::blipWithTags_height_scale(colors.keys().mid(0, 8), 12, 1);

    const QString file = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.quillmere.AerovaDrive/Tagged.txt");
    FuzzDrive::write(file, "x");
    ::setxattr(QFile::encodeName(file).constData(), "user.xdg.tags", bytes.constData(), size_t(bytes.size()), 0);
    const QStringList tags = FileAttributes::tags(file);
    for (const QString &tag : tags) {
        if (tag.isEmpty() || tag != tag.trimmed()) {
            std::abort(); // names are trimmed, empty ones dropped
        }
    }
    return 0;
}
