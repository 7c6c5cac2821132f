// What opening a big folder costs: a folder of 100,000 documents listed by a folder list up to
// its first painted frame, beside a bare readdir(3) + stat(2) of the same folder in the same
// run. Also times single scroll steps through the folder (each a painted frame) and prints the
// peak memory of the process.

#include "BenchDrive.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/lists/DocumentListController.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <QListView>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextStream>

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int ItemCount = 100000;
constexpr int Rounds = 3;

void makeDocuments(const QString &folder)
{
    QDir().mkpath(folder);
    for (int i = 0; i < ItemCount; ++i) {
        const QByteArray path = (folder + QStringLiteral("/Document %1.txt").arg(i, 6, 10, QLatin1Char('0'))).toLocal8Bit();
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

double readdirAndStat(const QString &folder)
{
    QElapsedTimer timer;
    timer.start();
    const QByteArray base = folder.toLocal8Bit() + '/';
    DIR *dir = ::opendir(base.constData());
    int seen = 0;
    while (const dirent *entry = ::readdir(dir)) {
        struct stat st;
        const QByteArray path = base + entry->d_name;
        if (::stat(path.constData(), &st) == 0) {
            ++seen;
        }
    }
    ::closedir(dir);
    Q_UNUSED(seen)
    return timer.nsecsElapsed() / 1e6;
}

double openToFirstFrame(const QUrl &folder, const QSize &size)
{
    QElapsedTimer timer;
    timer.start();
    DocumentListController list(folder, nullptr);
    QWidget *view = list.view();
    view->resize(size);
    const QPixmap frame = view->grab();
    const double ms = timer.nsecsElapsed() / 1e6;
    if (list.containedItemCount() != ItemCount || frame.isNull()) {
        QTextStream(stderr) << "unexpected: " << list.containedItemCount() << " items\n";
    }
    return ms;
}

double slowestScrollFrame(const QUrl &folder, const QSize &size)
{
    DocumentListController list(folder, nullptr);
    QWidget *view = list.view();
    view->resize(size);
    view->grab();
    QScrollBar *bar = list.listView()->verticalScrollBar();
    double slowest = 0;
    for (int step = 1; step <= 20; ++step) {
        QElapsedTimer timer;
        timer.start();
        bar->setValue(bar->maximum() * step / 20);
        view->grab();
        slowest = std::max(slowest, timer.nsecsElapsed() / 1e6);
    }
    return slowest;
}

struct ChangeFigures {
    double listedAfterMs = 0;
    double longestStallMs = 0;
};

/// One document added to the open folder: how long until the list shows it, and the longest
/// the main thread was away from its event loop meanwhile (what a scrolling user would feel).
ChangeFigures documentAddedWhileOpen(const QString &folder, const QSize &size)
{
    DocumentListController list(QUrl::fromLocalFile(folder), nullptr);
    QWidget *view = list.view();
    view->resize(size);
    view->grab();
    const QString added = folder + QStringLiteral("/Added while open.txt");
    ChangeFigures figures;
    QElapsedTimer sinceWrite;
    QElapsedTimer sinceTick;
    QTimer ticker;
    ticker.setInterval(5);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        figures.longestStallMs = std::max(figures.longestStallMs, sinceTick.nsecsElapsed() / 1e6);
        sinceTick.restart();
    });
    const int fd = ::open(added.toLocal8Bit().constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd >= 0) {
        ::close(fd);
    }
    sinceWrite.start();
    sinceTick.start();
    ticker.start();
    while (list.containedItemCount() != ItemCount + 1 && sinceWrite.elapsed() < 30000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    figures.listedAfterMs = sinceWrite.nsecsElapsed() / 1e6;
    ticker.stop();
    QFile::remove(added);
    return figures;
}

long peakMemoryKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main(int argc, char *argv[])
{
    BenchDrive drive(argc, argv);
    const QString folder = BenchDrive::root()
        + QStringLiteral("/Big");
    QTextStream out(stdout);
    out << "making " << ItemCount << " documents in one folder…\n";
    out.flush();
    makeDocuments(folder);
    const long memoryBefore = peakMemoryKiB();

    const QSize phone(390, 700);
    double bare = 1e300;
    double open = 1e300;
    for (int round = 0; round < Rounds; ++round) {
        bare = std::min(bare, readdirAndStat(folder));
        open = std::min(open, openToFirstFrame(QUrl::fromLocalFile(folder), phone));
    }
    const double scroll = slowestScrollFrame(QUrl::fromLocalFile(folder), phone);
    const long memoryOpen = peakMemoryKiB();
    const ChangeFigures change = documentAddedWhileOpen(folder, phone);
    out << QStringLiteral("readdir + stat of %1 items:        %2 ms\n").arg(ItemCount).arg(bare, 0, 'f', 1);
    out << QStringLiteral("folder list to its first frame:   %1 ms  (%2x the bare read)\n")
               .arg(open, 0, 'f', 1)
               .arg(open / bare, 0, 'f', 2);
    out << QStringLiteral("slowest of 20 scroll steps:       %1 ms per frame\n").arg(scroll, 0, 'f', 1);
    out << QStringLiteral("peak memory: %1 MiB (%2 MiB before opening)\n")
               .arg(memoryOpen / 1024.0, 0, 'f', 1)
               .arg(memoryBefore / 1024.0, 0, 'f', 1);
    out << QStringLiteral("a document added while open:      listed after %1 ms, longest main-thread stall %2 ms\n")
               .arg(change.listedAfterMs, 0, 'f', 1)
               .arg(change.longestStallMs, 0, 'f', 1);
    out << QStringLiteral("peak memory after the change:     %1 MiB\n").arg(peakMemoryKiB() / 1024.0, 0, 'f', 1);
    return 0;
}
