#pragma once

#include <QtGlobal>

#include <memory>

class FetchUserQuotaOperation;

/// The user's private database of the drive service. Operations added run on worker threads.
class CloudDatabase final
{
public:
    CloudDatabase() = default;
    Q_DISABLE_COPY_MOVE(CloudDatabase)

    void addOperation(const std::shared_ptr<FetchUserQuotaOperation> &operation);
};
