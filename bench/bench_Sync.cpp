// What a sync costs: the first sync of a remote tree of 10,000 documents in 100 folders on a
// real WebDAV server (Apache mod_dav_fs on 127.0.0.1), and a poll of it when nothing changed,
// each beside a bare PROPFIND walk of the same tree by the same client in the same run. Prints
// the medians, the ratios, and whether the quiet poll wrote anything to disk.
//
// A first sync also makes a placeholder file for every document, which no walk does: the bench
// measures that floor too (the same number of small files created, written and renamed into
// place in the same file system, nothing else), so a ratio can be read against what the disk
// allows.

#include "platform/drive/DriveLayout.h"
#include "platform/foundation/AerovaHome.h"
#include "support/WebDavTestServer.h"
#include "sync/DavClient.h"
#include "sync/RemoteScanner.h"
#include "sync/SyncEngine.h"
#include "sync/SyncJournal.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int Folders = 100;
constexpr int DocumentsPerFolder = 100;
constexpr int Rounds = 3;

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

bool fillServer(const QString &root)
{
    const QByteArray content(1024, 'x');
    for (int f = 0; f < Folders; ++f) {
        const QString folder = root + QStringLiteral("/Folder %1").arg(f, 3, 10, QLatin1Char('0'));
        if (!QDir().mkpath(folder)) {
            return false;
        }
        for (int d = 0; d < DocumentsPerFolder; ++d) {
            QFile file(folder + QStringLiteral("/Document %1.txt").arg(d, 3, 10, QLatin1Char('0')));
            if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
                return false;
            }
        }
    }
    return true;
}

double bareWalkSeconds(DavClient *client, qsizetype *items)
{
    QElapsedTimer timer;
    timer.start();
    RemoteScanner scanner(client);
    DavError error;
    const auto tree = scanner.scan(&error);
    *items = tree ? tree->size() : -1;
    return timer.nsecsElapsed() / 1e9;
}

/// Creates what a first sync leaves on disk, bare: a folder per remote folder and a small file
/// per document, each written under a temporary name and renamed into place.
double bareCreationSeconds(const QString &root)
{
    const QByteArray content(300, 'x');
    QDir().mkpath(root);
    QElapsedTimer timer;
    timer.start();
    for (int f = 0; f < Folders; ++f) {
        const QByteArray folder = QFile::encodeName(root + QStringLiteral("/Folder %1").arg(f));
        ::mkdir(folder.constData(), 0755);
        for (int d = 0; d < DocumentsPerFolder; ++d) {
            QByteArray temp = folder + "/.promise-XXXXXX";
            const int fd = ::mkostemp(temp.data(), O_CLOEXEC);
            if (fd < 0 || ::write(fd, content.constData(), size_t(content.size())) != content.size()) {
                return -1;
            }
            ::close(fd);
            const QByteArray name = folder + "/.Document " + QByteArray::number(d) + ".txt.promise";
            ::rename(temp.constData(), name.constData());
        }
    }
    const double seconds = timer.nsecsElapsed() / 1e9;
    QDir(root).removeRecursively();
    return seconds;
}

/// The journal's files as they are on disk: a quiet poll must leave them as they were.
QString journalFingerprint()
{
    QString print;
    for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
        const QFileInfo info(DriveLayout::syncJournalFile() + suffix);
        print += QStringLiteral("%1:%2:%3 ").arg(info.exists()).arg(info.size()).arg(info.lastModified().toMSecsSinceEpoch());
    }
    return print;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir home;
    qputenv("AEROVA_HOME", home.path().toUtf8());
    qputenv("AEROVA_SYSLOG", "memory");

    WebDavTestServer server(WebDavTestServer::Kind::Apache);
    QString error;
    if (!server.start(&error) || !fillServer(server.servedFolder())) {
        out << "bench_Sync: cannot set up the server: " << error << '\n';
        return 1;
    }
    DavClient client(server.url(), server.user(), server.password());

    QList<double> walks;
    QList<double> creations;
    QList<double> firstSyncs;
    QList<double> polls;
    bool pollWrote = false;
    bool complete = true;
    for (int round = 0; round < Rounds; ++round) {
        qsizetype items = 0;
        walks << bareWalkSeconds(&client, &items);
        complete = complete && items == Folders + Folders * DocumentsPerFolder;

        creations << bareCreationSeconds(home.path() + QStringLiteral("/bare"));

        QDir(DriveLayout::mobileDocumentsPath()).removeRecursively();
        QDir().mkpath(DriveLayout::mobileDocumentsPath() + QStringLiteral("/com.quillmere.AerovaDrive"));
        QDir().mkpath(DriveLayout::servicePath());
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(DriveLayout::syncJournalFile() + suffix);
        }
        SyncJournal journal(DriveLayout::syncJournalFile());
        if (!journal.open(&error)) {
            out << "bench_Sync: " << error << '\n';
            return 1;
        }
        QElapsedTimer timer;
        timer.start();
        const SyncOutcome first = SyncEngine(&client, &journal).run();
        firstSyncs << timer.nsecsElapsed() / 1e9;
        complete = complete && first.succeeded && first.changes == Folders + Folders * DocumentsPerFolder;

        const QString before = journalFingerprint();
        timer.restart();
        const SyncOutcome poll = SyncEngine(&client, &journal).run();
        polls << timer.nsecsElapsed() / 1e9;
        complete = complete && poll.succeeded && poll.changes == 0;
        pollWrote = pollWrote || journalFingerprint() != before;
    }
    const double walk = median(walks);
    out << QStringLiteral("remote tree: %1 documents in %2 folders, Apache mod_dav_fs on 127.0.0.1, medians of %3 runs\n")
               .arg(Folders * DocumentsPerFolder)
               .arg(Folders)
               .arg(Rounds);
    out << QStringLiteral("bare PROPFIND walk:   %1 s\n").arg(walk, 0, 'f', 3);
    out << QStringLiteral("first sync:           %1 s  (%2x the walk; goal <= 1.5x)\n")
               .arg(median(firstSyncs), 0, 'f', 3)
               .arg(median(firstSyncs) / walk, 0, 'f', 2);
    const double floor = walk + median(creations);
    out << QStringLiteral("walk + bare creation of the placeholders' files: %1 s (the disk's floor for a first sync)\n")
               .arg(floor, 0, 'f', 3);
    out << QStringLiteral("first sync against that floor: %1x\n").arg(median(firstSyncs) / floor, 0, 'f', 2);
    out << QStringLiteral("poll, nothing changed: %1 s  (%2x the walk; goal <= 1.2x)\n")
               .arg(median(polls), 0, 'f', 3)
               .arg(median(polls) / walk, 0, 'f', 2);
    out << "quiet poll wrote to disk: " << (pollWrote ? "yes" : "no") << '\n';
    out << "every item synced: " << (complete ? "yes" : "no") << '\n';
    return complete && !pollWrote ? 0 : 1;
}
