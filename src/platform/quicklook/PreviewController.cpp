#include "platform/quicklook/PreviewController.h"

#include "platform/drive/URLResourceValues.h"
#include "platform/types/UniformType.h"

#include <QImageReader>

bool PreviewController::canPreviewItem(const QUrl &url)
{
    std::optional<Error> error;
    const auto values = URLResourceValues::promisedItemResourceValuesForKeys(
        url, {URLResourceKey::TypeIdentifier, URLResourceKey::IsDirectory}, &error);
    if (!values || values->value(URLResourceKey::IsDirectory).toBool()) {
        return false;
    }
    return canPreviewType(values->value(URLResourceKey::TypeIdentifier).toString());
}

bool PreviewController::canPreviewType(const QString &typeIdentifier)
{
    if (typeIdentifier.isEmpty()) {
        return false;
    }
    static const QList<QByteArray> imageTypes = QImageReader::supportedMimeTypes();
    return imageTypes.contains(typeIdentifier.toLatin1()) || typeIdentifier == QLatin1String("image/svg+xml")
        || UniformType::conformsTo(typeIdentifier, UniformType::PDF)
        || UniformType::conformsTo(typeIdentifier, QStringLiteral("text/plain"))
        || UniformType::conformsTo(typeIdentifier, QStringLiteral("text/markdown"))
        || UniformType::conformsTo(typeIdentifier, UniformType::Audio)
        || UniformType::conformsTo(typeIdentifier, UniformType::Movie);
}
