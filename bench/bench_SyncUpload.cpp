// What sending the device's changes costs: 1,000 small documents made on the device, and one
// document of 200 MiB, each sent to Apache mod_dav_fs (127.0.0.1) by a sync run, beside curl(1)
// sending the same files to the same server in the same run (the 1,000 in one curl, over one
// connection). Prints the medians, the sync's time as a multiple of curl's for the small ones,
// its speed as a share of curl's for the large one, and whether the server holds the bytes.

#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "support/WebDavTestServer.h"
#include "sync/DavClient.h"
#include "sync/LocalScanner.h"
#include "sync/SyncEngine.h"
#include "sync/SyncJournal.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>

namespace {

constexpr int SmallCount = 1000;
constexpr int SmallSize = 2048;
constexpr qint64 LargeSize = 200LL * 1024 * 1024;
constexpr int Rounds = 3;

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

QByteArray fileHash(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

QString driveRoot()
{
    return DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID;
}

/// An empty drive and a journal of an account that has synced before: all it holds is new.
bool freshDrive()
{
    QDir(DriveLayout::mobileDocumentsPath()).removeRecursively();
    QDir().mkpath(driveRoot());
    QDir().mkpath(DriveLayout::servicePath());
    for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
        QFile::remove(DriveLayout::syncJournalFile() + suffix);
    }
    SyncJournal journal(DriveLayout::syncJournalFile());
    QString error;
    return journal.open(&error) && journal.setValue(QStringLiteral("sendSince"), QStringLiteral("0"));
}

/// One sync run of the drive against `folder` on `server`: its time in seconds, -1 on failure.
double timedSync(WebDavTestServer &server, const QString &folder, int expectedChanges)
{
    DavClient client(server.url(folder + QLatin1Char('/')), server.user(), server.password());
    SyncJournal journal(DriveLayout::syncJournalFile());
    QString error;
    if (!journal.open(&error)) {
        return -1;
    }
    QElapsedTimer timer;
    timer.start();
    const SyncOutcome outcome = SyncEngine(&client, &journal).run();
    const double seconds = timer.nsecsElapsed() / 1e9;
    if (!outcome.succeeded || outcome.changes != expectedChanges) {
        QTextStream(stdout) << "bench_SyncUpload: the sync made " << outcome.changes << " changes: " << outcome.error << ' '
                            << outcome.failures.join(u'\n') << '\n';
        return -1;
    }
    return seconds;
}

double timedCurl(const QStringList &arguments)
{
    QElapsedTimer timer;
    timer.start();
    const int status = QProcess::execute(QStringLiteral("curl"), arguments);
    return status == 0 ? timer.nsecsElapsed() / 1e9 : -1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir home;
    qputenv("AEROVA_HOME", home.path().toUtf8());
    qputenv("AEROVA_SYSLOG", "memory");
    LocalScanner::setSettleMs(0); // the documents are whole when the run begins

    WebDavTestServer server(WebDavTestServer::Kind::Apache);
    QString error;
    if (!server.start(&error)) {
        out << "bench_SyncUpload: " << error << '\n';
        return 1;
    }
    const QString credentials = server.user() + QLatin1Char(':') + server.password();

    // the same small documents for the sync and for curl
    const QString sources = home.filePath(QStringLiteral("sources"));
    QDir().mkpath(sources);
    for (int i = 0; i < SmallCount; ++i) {
        QFile file(sources + QStringLiteral("/Note %1.txt").arg(i, 4, 10, QLatin1Char('0')));
        file.open(QIODevice::WriteOnly);
        file.write(QByteArray(SmallSize, char('a' + i % 26)));
    }
    const QString large = home.filePath(QStringLiteral("Big.bin"));
    {
        QFile file(large);
        file.open(QIODevice::WriteOnly);
        QByteArray block(1 << 20, '\0');
        for (qint64 written = 0; written < LargeSize; written += block.size()) {
            block[0] = char(written >> 20);
            file.write(block);
        }
    }
    const QByteArray largeHash = fileHash(large);

    QList<double> smallSyncs, smallCurls, largeSyncs, largeCurls;
    bool intact = true;
    for (int round = 0; round < Rounds; ++round) {
        // 1,000 small documents: one folder made, 1,000 sent
        if (!freshDrive() || !QDir().mkpath(driveRoot() + QStringLiteral("/Notes"))) {
            return 1;
        }
        for (const QString &name : QDir(sources).entryList(QDir::Files)) {
            QFile::copy(sources + QLatin1Char('/') + name, driveRoot() + QStringLiteral("/Notes/") + name);
        }
        const QString syncFolder = QStringLiteral("small-sync-%1").arg(round);
        server.mkcol(syncFolder);
        smallSyncs << timedSync(server, syncFolder, SmallCount + 1);
        intact = intact && QDir(server.servedFolder() + QLatin1Char('/') + syncFolder + QStringLiteral("/Notes")).count() == uint(SmallCount + 2);

        const QString curlFolder = QStringLiteral("small-curl-%1").arg(round);
        server.mkcol(curlFolder);
        server.mkcol(curlFolder + QStringLiteral("/Notes"));
        QFile config(home.filePath(QStringLiteral("curl-small.conf")));
        config.open(QIODevice::WriteOnly);
        for (const QString &name : QDir(sources).entryList(QDir::Files)) {
            config.write("upload-file = \"" + (sources + QLatin1Char('/') + name).toUtf8() + "\"\n");
            config.write("url = \"" + server.url(curlFolder + QStringLiteral("/Notes/") + name).toEncoded() + "\"\n");
        }
        config.close();
        smallCurls << timedCurl({QStringLiteral("-s"), QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("-u"), credentials,
                                 QStringLiteral("-K"), config.fileName()});

        // one document of 200 MiB
        if (!freshDrive() || !QFile::copy(large, driveRoot() + QStringLiteral("/Big.bin"))) {
            return 1;
        }
        const QString largeFolder = QStringLiteral("large-sync-%1").arg(round);
        server.mkcol(largeFolder);
        largeSyncs << timedSync(server, largeFolder, 1);
        intact = intact && fileHash(server.servedFolder() + QLatin1Char('/') + largeFolder + QStringLiteral("/Big.bin")) == largeHash;
        const QString largeCurlFolder = QStringLiteral("large-curl-%1").arg(round);
        server.mkcol(largeCurlFolder);
        largeCurls << timedCurl({QStringLiteral("-s"), QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("-u"), credentials,
                                 QStringLiteral("-T"), large, server.url(largeCurlFolder + QStringLiteral("/Big.bin")).toString()});
        // the server's copies take the disk's room: each round's go
        for (const QString &folder : {syncFolder, curlFolder, largeFolder, largeCurlFolder}) {
            QDir(server.servedFolder() + QLatin1Char('/') + folder).removeRecursively();
        }
    }
    if (std::any_of(smallSyncs.cbegin(), smallSyncs.cend(), [](double s) { return s < 0; })
        || std::any_of(largeSyncs.cbegin(), largeSyncs.cend(), [](double s) { return s < 0; })) {
        return 1;
    }

    const double smallSync = median(smallSyncs), smallCurl = median(smallCurls);
    const double largeSync = median(largeSyncs), largeCurl = median(largeCurls);
    out << QStringLiteral("to Apache mod_dav_fs on 127.0.0.1, medians of %1 runs\n").arg(Rounds);
    out << QStringLiteral("%1 documents of %2 bytes, made on the device\n").arg(SmallCount).arg(SmallSize);
    out << QStringLiteral("  one sync run: %1 s\n").arg(smallSync, 0, 'f', 3);
    out << QStringLiteral("  curl:         %1 s\n").arg(smallCurl, 0, 'f', 3);
    out << QStringLiteral("  sync / curl:  %1x (the goal: at most 2x)\n").arg(smallSync / smallCurl, 0, 'f', 2);
    out << QStringLiteral("one document of 200 MiB\n");
    out << QStringLiteral("  one sync run: %1 s (%2 MiB/s)\n").arg(largeSync, 0, 'f', 3).arg(200 / largeSync, 0, 'f', 0);
    out << QStringLiteral("  curl:         %1 s (%2 MiB/s)\n").arg(largeCurl, 0, 'f', 3).arg(200 / largeCurl, 0, 'f', 0);
    out << QStringLiteral("  sync speed:   %1 % of curl's (the goal: at least 90 %)\n").arg(100 * largeCurl / largeSync, 0, 'f', 0);
    out << QStringLiteral("the server holds every byte: %1\n").arg(intact ? QStringLiteral("yes") : QStringLiteral("NO"));
    return intact ? 0 : 1;
}
