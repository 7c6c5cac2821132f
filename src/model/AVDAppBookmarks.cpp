#include "model/AVDAppBookmarks.h"

#include "platform/drive/KDURL.h"
#include "platform/drive/PromiseURL.h"

QUrl avd_URLByResolvingBookmark(const QUrl &url)
{
    if (!kd_isExternalDocumentReference(url)) {
        return {};
    }
    std::optional<Error> ignored;
    const QUrl target = kd_URLByResolvingExternalDocumentReferenceWithError(url, &ignored);
    if (target.isEmpty()) {
        return {};
    }
    const QUrl logical = avd_URLByResolvingPromise(target);
    return logical.isEmpty() ? target : logical;
}

QUrl avd_URLByResolvingPromise(const QUrl &url)
{
    if (!IsItemPromiseAtURL(url)) {
        return {};
    }
    const QUrl logical = CopyLogicalURLOfPromiseAtURL(url);
    PromiseSetPhysicalURL(logical, url);
    return logical;
}
