#include "credentials/Credentials.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/ServiceFile.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <qt6keychain/keychain.h>

#include <sys/stat.h>

namespace {

const QString keychainService = QStringLiteral("com.quillmere.AerovaDrive");

/// Runs a keychain job to its end; the error text, empty on success.
QString runJob(QKeychain::Job *job)
{
    job->setAutoDelete(false);
    QEventLoop loop;
    QObject::connect(job, &QKeychain::Job::finished, &loop, &QEventLoop::quit);
    job->start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    return job->error() == QKeychain::NoError ? QString() : job->errorString();
}

} // namespace

QString Credentials::keychainKey(const RemoteAccount &account)
{
    return account.server.toString(QUrl::FullyEncoded) + QLatin1Char(' ') + account.user;
}

QString Credentials::read(const RemoteAccount &account, QString *error)
{
    // the file is there only when the user asked for it: it wins
    if (const auto stored = ServiceFile::readObject(DriveLayout::credentialsFile())) {
        if (stored->value(QStringLiteral("key")).toString() == keychainKey(account)) {
            return stored->value(QStringLiteral("password")).toString();
        }
    }
    QKeychain::ReadPasswordJob job(keychainService);
    job.setKey(keychainKey(account));
    const QString jobError = runJob(&job);
    if (!jobError.isEmpty()) {
        if (error) {
            *error = jobError;
        }
        return {};
    }
    return job.textData();
}

bool Credentials::store(const RemoteAccount &account, const QString &password, Storage storage, QString *error)
{
    if (storage == Storage::File) {
        QDir().mkpath(DriveLayout::servicePath());
        QSaveFile file(DriveLayout::credentialsFile());
        // readable by the user alone from the first byte on
        const mode_t previous = ::umask(0077);
        const bool opened = file.open(QIODevice::WriteOnly);
        ::umask(previous);
        if (!opened) {
            *error = file.errorString();
            return false;
        }
        file.write(QJsonDocument(QJsonObject{{QStringLiteral("key"), keychainKey(account)},
                                             {QStringLiteral("password"), password}})
                       .toJson());
        if (!file.commit()) {
            *error = file.errorString();
            return false;
        }
        return true;
    }
    QKeychain::WritePasswordJob job(keychainService);
    job.setKey(keychainKey(account));
    job.setTextData(password);
    *error = runJob(&job);
    return error->isEmpty();
}

void Credentials::forget(const RemoteAccount &account)
{
    QFile::remove(DriveLayout::credentialsFile());
    QKeychain::DeletePasswordJob job(keychainService);
    job.setKey(keychainKey(account));
    runJob(&job);
}
