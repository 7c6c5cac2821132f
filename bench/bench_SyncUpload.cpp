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

/// The 1,000 small documents: one folder made and 1,000 sent by a sync run, then curl.
std::pair<double, double> measureSmall(WebDavTestServer &server, const QString &sources, int round, bool *intact)
{
    const QString credentials = server.user() + QLatin1Char(':') + server.password();
    const QString syncFolder = QStringLiteral("small-sync-%1").arg(round);
    const QString curlFolder = QStringLiteral("small-curl-%1").arg(round);
    if (!freshDrive() || !QDir().mkpath(driveRoot() + QStringLiteral("/Notes"))) {
        return {-1, -1};
    }
    const QStringList names = QDir(sources).entryList(QDir::Files);
    for (const QString &name : names) {
        QFile::copy(sources + QLatin1Char('/') + name, driveRoot() + QStringLiteral("/Notes/") + name);
    }
    server.mkcol(syncFolder);
    const double sync = timedSync(server, syncFolder, SmallCount + 1);
    *intact = *intact && QDir(server.servedFolder() + QLatin1Char('/') + syncFolder + QStringLiteral("/Notes")).count() == uint(SmallCount + 2);

    server.mkcol(curlFolder);
    server.mkcol(curlFolder + QStringLiteral("/Notes"));
    QFile config(QDir(sources).filePath(QStringLiteral("../curl-small.conf")));
    config.open(QIODevice::WriteOnly);
    for (const QString &name : names) {
        config.write("upload-file = \"" + (sources + QLatin1Char('/') + name).toUtf8() + "\"\n");
        config.write("url = \"" + server.url(curlFolder + QStringLiteral("/Notes/") + name).toEncoded() + "\"\n");
        config.write("output = \"/dev/null\"\n");
    }
    config.close();
    const double curl = timedCurl({QStringLiteral("-s"), QStringLiteral("-u"), credentials, QStringLiteral("-K"), config.fileName()});
    // the server's copies take the disk's room: each round's go
    for (const QString &folder : {syncFolder, curlFolder}) {
        QDir(server.servedFolder() + QLatin1Char('/') + folder).removeRecursively();
    }
    return {sync, curl};
}

/// The document of 200 MiB: sent by a sync run, then by curl.
std::pair<double, double> measureLarge(WebDavTestServer &server, const QString &large, const QByteArray &largeHash, int round,
                                       bool *intact)
{
    const QString credentials = server.user() + QLatin1Char(':') + server.password();
    const QString syncFolder = QStringLiteral("large-sync-%1").arg(round);
    const QString curlFolder = QStringLiteral("large-curl-%1").arg(round);
    if (!freshDrive() || !QFile::copy(large, driveRoot() + QStringLiteral("/Big.bin"))) {
        return {-1, -1};
    }
    server.mkcol(syncFolder);
    const double sync = timedSync(server, syncFolder, 1);
    *intact = *intact && fileHash(server.servedFolder() + QLatin1Char('/') + syncFolder + QStringLiteral("/Big.bin")) == largeHash;
    server.mkcol(curlFolder);
    const double curl = timedCurl({QStringLiteral("-s"), QStringLiteral("-o"), QStringLiteral("/dev/null"), QStringLiteral("-u"), credentials,
                                   QStringLiteral("-T"), large, server.url(curlFolder + QStringLiteral("/Big.bin")).toString()});
    for (const QString &folder : {syncFolder, curlFolder}) {
        QDir(server.servedFolder() + QLatin1Char('/') + folder).removeRecursively();
    }
    return {sync, curl};
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

    // "small" or "large" runs one half alone
    const QString only = app.arguments().value(1);
    QList<double> smallSyncs, smallCurls, largeSyncs, largeCurls;
    bool intact = true;
    for (int round = 0; round < Rounds; ++round) {
        if (only != QLatin1String("large")) {
            const auto [sync, curl] = measureSmall(server, sources, round, &intact);
            smallSyncs << sync;
            smallCurls << curl;
        }
        if (only != QLatin1String("small")) {
            const auto [sync, curl] = measureLarge(server, large, largeHash, round, &intact);
            largeSyncs << sync;
            largeCurls << curl;
        }
    }
    if (std::any_of(smallSyncs.cbegin(), smallSyncs.cend(), [](double s) { return s < 0; })
        || std::any_of(largeSyncs.cbegin(), largeSyncs.cend(), [](double s) { return s < 0; })) {
        return 1;
    }

    out << QStringLiteral("to Apache mod_dav_fs on 127.0.0.1, medians of %1 runs\n").arg(Rounds);
    if (!smallSyncs.isEmpty()) {
        const double sync = median(smallSyncs), curl = median(smallCurls);
        out << QStringLiteral("%1 documents of %2 bytes, made on the device\n").arg(SmallCount).arg(SmallSize);
        out << QStringLiteral("  one sync run: %1 s\n").arg(sync, 0, 'f', 3);
        out << QStringLiteral("  curl:         %1 s\n").arg(curl, 0, 'f', 3);
        out << QStringLiteral("  sync / curl:  %1x (the goal: at most 2x)\n").arg(sync / curl, 0, 'f', 2);
    }
    if (!largeSyncs.isEmpty()) {
        const double sync = median(largeSyncs), curl = median(largeCurls);
        out << QStringLiteral("one document of 200 MiB\n");
        out << QStringLiteral("  one sync run: %1 s (%2 MiB/s)\n").arg(sync, 0, 'f', 3).arg(200 / sync, 0, 'f', 0);
        out << QStringLiteral("  curl:         %1 s (%2 MiB/s)\n").arg(curl, 0, 'f', 3).arg(200 / curl, 0, 'f', 0);
        out << QStringLiteral("  sync speed:   %1 % of curl's (the goal: at least 90 %)\n").arg(100 * curl / sync, 0, 'f', 0);
    }
    out << QStringLiteral("the server holds every byte: %1\n").arg(intact ? QStringLiteral("yes") : QStringLiteral("NO"));
    return intact ? 0 : 1;
}
