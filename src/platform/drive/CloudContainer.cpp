#include "platform/drive/CloudContainer.h"

#include "platform/drive/CloudDatabase.h"

std::shared_ptr<CloudContainer> CloudContainer::containerWithIdentifier(const QString &identifier)
{
    return std::shared_ptr<CloudContainer>(new CloudContainer(identifier));
}

CloudContainer::CloudContainer(const QString &identifier)
    : m_identifier(identifier)
    , m_privateDatabase(std::make_shared<CloudDatabase>())
{
}
