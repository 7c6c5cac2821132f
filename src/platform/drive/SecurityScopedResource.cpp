#include "platform/drive/SecurityScopedResource.h"

bool startAccessingSecurityScopedResource(const QUrl &url)
{
    Q_UNUSED(url)
    return false;
}

void stopAccessingSecurityScopedResource(const QUrl &url)
{
    Q_UNUSED(url)
}
