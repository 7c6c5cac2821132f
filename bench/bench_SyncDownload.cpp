// What a download from a server costs: a 200 MiB document on Apache mod_dav_fs (127.0.0.1)
// downloaded through the sync service (the app's side asks over the socket, the service
// receives it, the app gives it its name: what the download screen's coordinated read does),
// beside curl(1) fetching the same document from the same server in the same run. Prints both
// times, the download's speed as a share of curl's, and whether the bytes are the server's.

#include "credentials/Credentials.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/SyncServiceClient.h"
#include "support/WebDavTestServer.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <algorithm>

namespace {

constexpr qint64 FileSize = 200LL * 1024 * 1024;
constexpr int Rounds = 3;

QByteArray fileHash(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

bool waitForSync(SyncServiceClient &client)
{
    QString error;
    client.request(QJsonObject{{QStringLiteral("op"), QStringLiteral("sync")}}, &error);
    QDeadlineTimer deadline(60000);
    while (!deadline.hasExpired()) {
        const auto status = client.request(QJsonObject{{QStringLiteral("op"), QStringLiteral("status")}}, &error);
        if (status && !status->value(QStringLiteral("running")).toBool() && status->contains(QStringLiteral("lastSync"))) {
            return true;
        }
        QThread::msleep(50);
    }
    return false;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir home;
    qputenv("AEROVA_HOME", home.path().toUtf8());
    qputenv("AEROVA_SYSLOG", "memory");
    QDir().mkpath(DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.quillmere.AerovaDrive"));

    WebDavTestServer server(WebDavTestServer::Kind::Apache);
    QString error;
    if (!server.start(&error)) {
        out << "bench_SyncDownload: " << error << '\n';
        return 1;
    }
    QFile content(server.servedFolder() + QStringLiteral("/Big.bin"));
    if (!content.open(QIODevice::WriteOnly)) {
        return 1;
    }
    QByteArray block(1 << 20, '\0');
    for (qint64 written = 0; written < FileSize; written += block.size()) {
        block[0] = char(written >> 20);
        content.write(block);
    }
    content.close();
    const QByteArray expected = fileHash(content.fileName());

    const RemoteAccount account{server.url(), server.user()};
    account.signIn();
    Credentials::store(account, server.password(), Credentials::Storage::File, &error);
    QProcess service;
    service.start(QStringLiteral(AEROVA_SYNCD_PATH), {});
    std::unique_ptr<SyncServiceClient> client;
    for (int i = 0; i < 100 && !client; ++i) {
        QThread::msleep(50);
        client = SyncServiceClient::connect(&error, false);
    }
    if (!client || !waitForSync(*client)) {
        out << "bench_SyncDownload: the sync service did not start: " << error << '\n';
        return 1;
    }

    const QString item = DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.quillmere.AerovaDrive/Big.bin");
    QList<double> downloads;
    QList<double> curls;
    bool intact = true;
    for (int round = 0; round < Rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        const std::optional<Error> failed = PromiseStore::materialize(item, nullptr);
        downloads << timer.nsecsElapsed() / 1e9;
        intact = intact && !failed && fileHash(item) == expected;
        QFile::remove(item);
        const QString curlOut = home.filePath(QStringLiteral("curl.bin"));
        timer.restart();
        QProcess::execute(QStringLiteral("curl"), {QStringLiteral("-s"), QStringLiteral("-u"),
                                                  server.user() + QLatin1Char(':') + server.password(),
                                                  QStringLiteral("-o"), curlOut, server.url(QStringLiteral("Big.bin")).toString()});
        curls << timer.nsecsElapsed() / 1e9;
        intact = intact && fileHash(curlOut) == expected;
        QFile::remove(curlOut);
        // a deletion on the device stays deleted: the next round starts the journal afresh to
        // have the promise back
        client->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
        service.waitForFinished(10000);
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(DriveLayout::syncJournalFile() + suffix);
        }
        service.start(QStringLiteral(AEROVA_SYNCD_PATH), {});
        client.reset();
        for (int i = 0; i < 100 && !client; ++i) {
            QThread::msleep(50);
            client = SyncServiceClient::connect(&error, false);
        }
        if (!client || !waitForSync(*client)) {
            out << "bench_SyncDownload: the sync service did not come back\n";
            return 1;
        }
    }
    client->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
    service.waitForFinished(10000);

    const double download = median(downloads);
    const double curl = median(curls);
    out << QStringLiteral("200 MiB from Apache mod_dav_fs on 127.0.0.1, medians of %1 runs\n").arg(Rounds);
    out << QStringLiteral("through the sync service: %1 s (%2 MiB/s)\n").arg(download, 0, 'f', 3).arg(200 / download, 0, 'f', 0);
    out << QStringLiteral("curl:                     %1 s (%2 MiB/s)\n").arg(curl, 0, 'f', 3).arg(200 / curl, 0, 'f', 0);
    out << QStringLiteral("download speed: %1 % of curl's (goal >= 90 %)\n").arg(100 * curl / download, 0, 'f', 0);
    out << "bytes intact: " << (intact ? "yes" : "no") << '\n';
    return intact ? 0 : 1;
}
