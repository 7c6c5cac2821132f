#pragma once

#include <QString>

/// What the icon lookup knows of a document: its name and type, without its content.
class DocumentProxy final
{
public:
    /// `mimeType` may be empty: the type identifier (a MIME name itself) then decides.
    static DocumentProxy documentProxyForName_type_MIMEType(const QString &name, const QString &typeIdentifier,
                                                            const QString &mimeType);

    QString name() const { return m_name; }
    QString typeIdentifier() const { return m_typeIdentifier; }
    QString MIMEType() const { return m_mimeType; }
    /// The MIME type the icon stands for: the given one, else the type identifier's, else the
    /// one the name suggests.
    QString effectiveMimeType() const;

private:
    QString m_name;
    QString m_typeIdentifier;
    QString m_mimeType;
};
