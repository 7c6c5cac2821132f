#include "platform/types/UniformType.h"

#include <QHash>
#include <QMimeDatabase>
#include <QMutex>

const QString UniformType::Image = QStringLiteral("public.image");
const QString UniformType::Movie = QStringLiteral("public.movie");
const QString UniformType::Audio = QStringLiteral("public.audio");
const QString UniformType::PDF = QStringLiteral("com.adobe.pdf");
const QString UniformType::Data = QStringLiteral("public.data");
const QString UniformType::Content = QStringLiteral("public.content");
const QString UniformType::Item = QStringLiteral("public.item");
const QString UniformType::Folder = QStringLiteral("inode/directory");
const QString UniformType::SymbolicLink = QStringLiteral("inode/symlink");

namespace {

QString familyOf(const QString &abstractType)
{
    if (abstractType == UniformType::Image) {
        return QStringLiteral("image/");
    }
    if (abstractType == UniformType::Movie) {
        return QStringLiteral("video/");
    }
    if (abstractType == UniformType::Audio) {
        return QStringLiteral("audio/");
    }
    return {};
}

QString mimeNameOf(const QString &type)
{
    return type == UniformType::PDF ? QStringLiteral("application/pdf") : type;
}

} // namespace

QString UniformType::preferredIdentifierForExtension(const QString &extension)
{
    if (extension.isEmpty()) {
        return {};
    }
    const QMimeDatabase db;
    const QList<QMimeType> types = db.mimeTypesForFileName(QStringLiteral("x.") + extension);
    if (types.isEmpty() || types.first().isDefault()) {
        return {};
    }
    return types.first().name();
}

bool UniformType::conformsTo(const QString &type, const QString &conformingTo)
{
    if (type.isEmpty() || conformingTo.isEmpty()) {
        return false;
    }
    if (conformingTo == Data || conformingTo == Content || conformingTo == Item) {
        return true;
    }
    const QMimeDatabase db;
    const QMimeType mime = db.mimeTypeForName(mimeNameOf(type));
    const QString family = familyOf(conformingTo);
    if (!family.isEmpty()) {
        if (type.startsWith(family)) {
            return true;
        }
        if (!mime.isValid()) {
            return false;
        }
        const QStringList ancestors = mime.allAncestors();
        return std::any_of(ancestors.begin(), ancestors.end(), [&](const QString &a) { return a.startsWith(family); });
    }
    const QString target = mimeNameOf(conformingTo);
    if (mimeNameOf(type) == target) {
        return true;
    }
    return mime.isValid() && mime.inherits(target);
}

QString UniformType::localizedDescription(const QString &type)
{
    // reading a type's comment parses its database entry: every listed item asks, so keep them
    static QMutex mutex;
    static QHash<QString, QString> descriptions;
    QMutexLocker lock(&mutex);
    if (const auto found = descriptions.constFind(type); found != descriptions.cend()) {
        return *found;
    }
    const QMimeType mime = QMimeDatabase().mimeTypeForName(mimeNameOf(type));
    const QString description = mime.isValid() ? mime.comment() : QString();
    descriptions.insert(type, description);
    return description;
}
