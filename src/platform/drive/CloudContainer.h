#pragma once

#include <QString>

#include <memory>

class CloudDatabase;

/// The drive service's cloud database container of the drive.
inline const QString KDUbiquitousCloudKitContainerIdentifier = QStringLiteral("cloud.com.quillmere.AerovaDrive");

/// A cloud database container: the user's private database lives in it.
class CloudContainer final
{
public:
    static std::shared_ptr<CloudContainer> containerWithIdentifier(const QString &identifier);

    QString containerIdentifier() const { return m_identifier; }
    std::shared_ptr<CloudDatabase> privateCloudDatabase() const { return m_privateDatabase; }

private:
    explicit CloudContainer(const QString &identifier);

    QString m_identifier;
    std::shared_ptr<CloudDatabase> m_privateDatabase;
};
