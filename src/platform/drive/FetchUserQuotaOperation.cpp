#include "platform/drive/FetchUserQuotaOperation.h"

#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/PromiseStore.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

std::atomic<int> g_created{0};

Error cloudError(int code, const QString &description)
{
    return Error(QString::fromLatin1(CloudErrorDomain), code,
                 {{QString::fromLatin1(ErrorKey::LocalizedDescription), description}});
}

/// Reads the quota file, consuming a requested failure so that only the next fetch fails.
std::optional<QJsonObject> takeQuota(std::optional<Error> *error)
{
    QFile file(DriveLayout::quotaFile());
    if (!file.open(QIODevice::ReadOnly)) {
        *error = cloudError(CloudServiceUnavailableError, QStringLiteral("The drive has no storage plan."));
        return std::nullopt;
    }
    QJsonObject quota = QJsonDocument::fromJson(file.readAll()).object();
    file.close();
    if (const QString failure = quota.value(QStringLiteral("failNext")).toString(); !failure.isEmpty()) {
        quota.remove(QStringLiteral("failNext"));
        QSaveFile rewrite(DriveLayout::quotaFile());
        if (rewrite.open(QIODevice::WriteOnly)) {
            rewrite.write(QJsonDocument(quota).toJson());
            rewrite.commit();
        }
        *error = cloudError(CloudServiceUnavailableError, failure);
        return std::nullopt;
    }
    return quota;
}

} // namespace

FetchUserQuotaOperation::FetchUserQuotaOperation()
{
    ++g_created;
}

int FetchUserQuotaOperation::createdCount()
{
    return g_created.load();
}

void FetchUserQuotaOperation::main()
{
    std::optional<Error> error;
    quint64 remaining = 0;
    if (!DriveFileManager::ubiquityIdentityToken()) {
        error = cloudError(CloudNotAuthenticatedError, QStringLiteral("No account is signed in."));
    } else if (!PromiseStore::isStoreReachable()) {
        error = cloudError(CloudNetworkUnavailableError, QStringLiteral("The drive service cannot be reached."));
    } else if (const auto quota = takeQuota(&error)) {
        const double plan = quota->value(QStringLiteral("plan")).toDouble();
        const double used = quota->value(QStringLiteral("used")).toDouble();
        remaining = plan > used ? quint64(plan - used) : 0;
    }
    if (m_completion) {
        m_completion(remaining, error);
    }
}
