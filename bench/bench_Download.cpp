// What a download costs: a promised document of 200 MiB brought here by the preview's download
// (a coordinated read that the drive service answers from its store), beside cp(1) of the same
// content in the same run. Prints both times, the download's speed as a share of cp's, and
// checks that the downloaded bytes are the store's.

#include "BenchDrive.h"
#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/ui/NavigationController.h"
#include "preview/DownloadView.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewItemManager.h"
#include "preview/QuickLookItemController.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

namespace {
constexpr qint64 FileSize = 200LL * 1024 * 1024;
constexpr int Rounds = 3;

bool writeContent(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QByteArray block(1 << 20, '\0');
    for (int i = 0; i < block.size(); ++i) {
        block[i] = char((i * 131) ^ (i >> 7));
    }
    for (qint64 written = 0; written < FileSize; written += block.size()) {
        block[0] = char(written >> 20); // no two blocks alike
        if (file.write(block) != block.size()) {
            return false;
        }
    }
    return true;
}

QByteArray hashOf(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

double copyWithCp(const QString &from, const QString &to)
{
    QFile::remove(to);
    QElapsedTimer timer;
    timer.start();
    QProcess::execute(QStringLiteral("cp"), {from, to});
    return timer.nsecsElapsed() / 1e6;
}

/// The preview's download of the promised item, from the tap on Download to the file here.
double downloadByThePreview(const QString &path, NavigationController *navigation)
{
    auto manager = PreviewItemManager::create();
    manager->setNavigationController(navigation);
    manager->previewItem(DRItem::initWithURL(QUrl::fromLocalFile(path)));
    auto *screen = qobject_cast<PreviewDownloadViewController *>(navigation->topViewController());
    if (!screen) {
        return 0;
    }
    QElapsedTimer timer;
    timer.start();
    screen->downloadView_didPressStartDownload(screen->downloadView(), QUrl::fromLocalFile(path));
    QDeadlineTimer limit(120000);
    while (!limit.hasExpired() && !qobject_cast<QuickLookItemController *>(navigation->topViewController())) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    const double ms = timer.nsecsElapsed() / 1e6;
    manager->unregisterAsFilePresenter();
    navigation->setViewControllers({navigation->viewControllers().first()}, false);
    return ms;
}
} // namespace

int main(int argc, char *argv[])
{
    BenchDrive drive(argc, argv);
    DriveSetup::setNetwork(QStringLiteral("cellular")); // no automatic start: the bench taps
    DRLogSetLevel(LOG_NOTICE);
    const QString root = BenchDrive::root();
    const QString path = root + QStringLiteral("/Big Video.bin");
    QTextStream out(stdout);
    out << "making a promised document of 200 MiB…\n";
    out.flush();
    if (!writeContent(path)) {
        out << "could not write " << path << '\n';
        return 1;
    }
    const QByteArray expected = hashOf(path);
    const QString copySource = drive.home() + QStringLiteral("/source.bin");
    QFile::copy(path, copySource);
    DriveSetup::promise(path);

    NavigationController navigation;
    navigation.setViewControllers({new ViewController}, false);
    double cp = 1e300;
    double download = 1e300;
    bool intact = true;
    for (int round = 0; round < Rounds; ++round) {
        cp = std::min(cp, copyWithCp(copySource, drive.home() + QStringLiteral("/copy.bin")));
        download = std::min(download, downloadByThePreview(path, &navigation));
        intact = intact && QFileInfo(path).size() == FileSize && !PromisePlaceholder::isPromisedItem(path);
        if (round == 0) {
            intact = intact && hashOf(path) == expected;
        }
        DriveFileManager::evictUbiquitousItemAtURL_error(QUrl::fromLocalFile(path), nullptr);
    }
    out << QStringLiteral("cp(1) of 200 MiB:                   %1 ms\n").arg(cp, 0, 'f', 1);
    out << QStringLiteral("download of the promised 200 MiB:   %1 ms  (%2 % of cp's speed)\n")
               .arg(download, 0, 'f', 1)
               .arg(100.0 * cp / download, 0, 'f', 1);
    out << QStringLiteral("downloaded bytes are the store's: %1\n").arg(intact ? QStringLiteral("yes") : QStringLiteral("NO"));
    return intact ? 0 : 1;
}
