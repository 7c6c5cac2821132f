// What moving costs: 10,000 documents moved by the browser into a folder that already holds
// documents of the same names (each lands under the next free name, nothing is overwritten),
// beside renameat2(2) of the same number of documents to the same free names in the same run.
// Prints both times, their ratio, and checks that every document arrived.

#include "BenchDrive.h"
#include "browser/NavController.h"
#include "core/DRLogging.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int ItemCount = 10000;

QString nameOf(int i)
{
    return QStringLiteral("Document %1.txt").arg(i, 5, 10, QLatin1Char('0'));
}

QString freeNameOf(int i)
{
    return QStringLiteral("Document %1 2.txt").arg(i, 5, 10, QLatin1Char('0'));
}

void makeDocuments(const QString &folder)
{
    QDir().mkpath(folder);
    for (int i = 0; i < ItemCount; ++i) {
        const QByteArray path = (folder + QLatin1Char('/') + nameOf(i)).toLocal8Bit();
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

/// Source and target of one run: the target already holds every name.
struct Run {
    QString source;
    QString target;
};

Run prepare(const QString &root, const QString &name)
{
    const Run run{root + QLatin1Char('/') + name + QStringLiteral("/Source"),
                  root + QLatin1Char('/') + name + QStringLiteral("/Target")};
    makeDocuments(run.source);
    makeDocuments(run.target);
    return run;
}

double bareRenames(const Run &run)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < ItemCount; ++i) {
        const QByteArray from = (run.source + QLatin1Char('/') + nameOf(i)).toLocal8Bit();
        const QByteArray to = (run.target + QLatin1Char('/') + freeNameOf(i)).toLocal8Bit();
        ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE);
    }
    return timer.nsecsElapsed() / 1e6;
}

double browserMove(NavController &browser, const Run &run, int *failures)
{
    QList<QUrl> items;
    items.reserve(ItemCount);
    for (int i = 0; i < ItemCount; ++i) {
        items.append(QUrl::fromLocalFile(run.source + QLatin1Char('/') + nameOf(i)));
    }
    QElapsedTimer timer;
    timer.start();
    *failures = int(browser.moveItemsToDirectory_toDirectory(items, QUrl::fromLocalFile(run.target)).size());
    return timer.nsecsElapsed() / 1e6;
}

bool everyDocumentArrived(const Run &run)
{
    return QDir(run.source).isEmpty() && QDir(run.target).entryList(QDir::Files).size() == 2 * ItemCount
        && QFileInfo::exists(run.target + QLatin1Char('/') + freeNameOf(ItemCount - 1));
}

} // namespace

int main(int argc, char *argv[])
{
    BenchDrive drive(argc, argv);
    DRLogSetLevel(LOG_NOTICE); // the app's default level: moves log at info and debug
    const QString root = BenchDrive::root();
    QTextStream out(stdout);
    out << "making 2 × 2 × " << ItemCount << " documents…\n";
    out.flush();
    const Run bare = prepare(root, QStringLiteral("Bare"));
    const Run moved = prepare(root, QStringLiteral("Moved"));

    NavController browser;
    const double renameMs = bareRenames(bare);
    int failures = 0;
    const double moveMs = browserMove(browser, moved, &failures);
    out << QStringLiteral("renameat2 of %1 documents to free names:     %2 ms\n").arg(ItemCount).arg(renameMs, 0, 'f', 1);
    out << QStringLiteral("browser move of %1 clashing documents:       %2 ms  (%3x renameat2, %4 µs a document)\n")
               .arg(ItemCount)
               .arg(moveMs, 0, 'f', 1)
               .arg(moveMs / renameMs, 0, 'f', 2)
               .arg(moveMs * 1000 / ItemCount, 0, 'f', 1);
    out << QStringLiteral("failures: %1; every document arrived, none overwritten: %2\n")
               .arg(failures)
               .arg(everyDocumentArrived(moved) && everyDocumentArrived(bare) ? QStringLiteral("yes") : QStringLiteral("NO"));
    return 0;
}
