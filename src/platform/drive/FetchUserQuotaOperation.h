#pragma once

#include "platform/foundation/Error.h"

#include <QThread>

#include <atomic>
#include <functional>
#include <optional>

/// Failures of the drive's cloud database.
inline constexpr const char CloudErrorDomain[] = "AerovaCloudErrorDomain";
enum CloudErrorCode : int {
    CloudNetworkUnavailableError = 3,
    CloudServiceUnavailableError = 6,
    CloudNotAuthenticatedError = 9,
};

/// Asks the drive service how many bytes of the user's storage are still free: the plan's size
/// less what is used (`Service/quota.json`: {"plan": bytes, "used": bytes}). The answer comes on
/// a worker thread, never the caller's. The quota file may ask for the next fetch to fail
/// ("failNext": message), which the control program uses to show the failure path.
class FetchUserQuotaOperation final
{
public:
    using Completion = std::function<void(quint64 remainingQuotaBytes, const std::optional<Error> &error)>;

    FetchUserQuotaOperation();
    Q_DISABLE_COPY_MOVE(FetchUserQuotaOperation)

    QThread::Priority qualityOfService() const { return m_qualityOfService; }
    /// Utility work runs below normal priority.
    void setQualityOfService(QThread::Priority priority) { m_qualityOfService = priority; }
    bool allowsCellularAccess() const { return m_allowsCellularAccess; }
    void setAllowsCellularAccess(bool allows) { m_allowsCellularAccess = allows; }
    void setFetchUserQuotaCompletionBlock(Completion completion) { m_completion = std::move(completion); }

    /// Runs the fetch where the caller is and calls the completion (used by the database).
    void main();

    /// How many operations this process has made, for diagnostics.
    static int createdCount();

private:
    QThread::Priority m_qualityOfService = QThread::NormalPriority;
    bool m_allowsCellularAccess = true;
    Completion m_completion;
};
