#include "platform/types/DocumentProxy.h"

#include <QMimeDatabase>

DocumentProxy DocumentProxy::documentProxyForName_type_MIMEType(const QString &name, const QString &typeIdentifier,
                                                                const QString &mimeType)
{
    DocumentProxy proxy;
    proxy.m_name = name;
    proxy.m_typeIdentifier = typeIdentifier;
    proxy.m_mimeType = mimeType;
    return proxy;
}

QString DocumentProxy::effectiveMimeType() const
{
    const QMimeDatabase db;
    for (const QString &candidate : {m_mimeType, m_typeIdentifier}) {
        if (!candidate.isEmpty() && db.mimeTypeForName(candidate).isValid()) {
            return db.mimeTypeForName(candidate).name();
        }
    }
    return db.mimeTypeForFile(m_name, QMimeDatabase::MatchExtension).name();
}
