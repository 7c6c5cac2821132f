#include "platform/drive/PromiseURL.h"

#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"

#include <QFileInfo>

bool IsItemPromiseAtURL(const QUrl &url)
{
    const QString path = url.toLocalFile();
    if (PromisePlaceholder::isPlaceholderName(QFileInfo(path).fileName())) {
        return FilePath::exists(path) && !FilePath::exists(PromisePlaceholder::logicalPathFor(path));
    }
    return PromisePlaceholder::isPromisedItem(path);
}

QUrl CopyLogicalURLOfPromiseAtURL(const QUrl &url)
{
    const QString logical = PromisePlaceholder::logicalPathFor(url.toLocalFile());
    return logical.isEmpty() ? url : QUrl::fromLocalFile(logical);
}

QUrl PromiseCopyPhysicalURL(const QUrl &url)
{
    const QString path = url.toLocalFile();
    if (path.isEmpty() || !PromisePlaceholder::isPromisedItem(path)) {
        return url;
    }
    return QUrl::fromLocalFile(PromisePlaceholder::placeholderPathFor(path));
}

bool PromiseSetPhysicalURL(const QUrl &logicalURL, const QUrl &physicalURL)
{
    return PromisePlaceholder::placeholderPathFor(logicalURL.toLocalFile()) == physicalURL.toLocalFile();
}
