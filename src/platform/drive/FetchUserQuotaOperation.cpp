#include "platform/drive/FetchUserQuotaOperation.h"

#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/ServiceFile.h"
#include "platform/drive/SyncServiceClient.h"

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
    std::optional<Error> readError;
    std::optional<QJsonObject> read = ServiceFile::readObject(DriveLayout::quotaFile(), &readError);
    if (!read) {
        *error = cloudError(CloudServiceUnavailableError, readError ? readError->localizedDescription()
                                                                    : QStringLiteral("The drive has no storage plan."));
        return std::nullopt;
    }
    QJsonObject quota = *read;
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

/// The free space of a server account (RFC 4331), asked of the sync service; a server that
/// does not report it is a failed fetch.
std::optional<quint64> fetchServerQuota(std::optional<Error> *error)
{
    QString failure;
    std::optional<QJsonObject> answer;
    if (const auto service = SyncServiceClient::connect(&failure)) {
        answer = service->request(QJsonObject{{QStringLiteral("op"), QStringLiteral("quota")}}, &failure);
    }
    if (answer && answer->contains(QStringLiteral("failed"))) {
        failure = answer->value(QStringLiteral("failed")).toString();
    }
    const std::optional<qint64> available = answer ? ServiceFile::wholeNumber(answer->value(QStringLiteral("available")))
                                                   : std::nullopt;
    if (!available) {
        *error = cloudError(CloudServiceUnavailableError,
                            failure.isEmpty() ? QStringLiteral("The server's free space is unknown.") : failure);
        return std::nullopt;
    }
    return quint64(*available);
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
    } else if (RemoteAccount::current()) {
        remaining = fetchServerQuota(&error).value_or(0);
    } else if (const auto quota = takeQuota(&error)) {
        const std::optional<qint64> plan = ServiceFile::wholeNumber(quota->value(QStringLiteral("plan")));
        const QJsonValue usedValue = quota->value(QStringLiteral("used"));
        const std::optional<qint64> used = usedValue.isUndefined() ? 0 : ServiceFile::wholeNumber(usedValue);
        if (!plan || !used) {
            error = cloudError(CloudServiceUnavailableError,
                               QStringLiteral("The file %1 holds no usable plan and use: each must be a whole number "
                                              "of bytes from 0 to 2^53.")
                                   .arg(DriveLayout::quotaFile()));
        } else {
            remaining = *plan > *used ? quint64(*plan - *used) : 0;
        }
    }
    if (m_completion) {
        m_completion(remaining, error);
    }
}
