// What making an item record costs, against the floor of asking the file system: the record of
// each of 10,000 real files and of 10,000 promised items, each set timed beside a bare stat(2)
// and a bare getxattr(2) of the same files in the same run. Prints the time per item, its ratio
// to the stat, and the allowance of three stats and one getxattr.

#include "model/DRItem.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <sys/stat.h>
#include <sys/xattr.h>

namespace {

constexpr int ItemCount = 10000;
constexpr int Rounds = 3;

QStringList makeRealFiles(const QString &folder)
{
    QDir().mkpath(folder);
    QStringList paths;
    for (int i = 0; i < ItemCount; ++i) {
        const QString path = folder + QStringLiteral("/Document %1.txt").arg(i, 5, 10, QLatin1Char('0'));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write("content of a document\n");
        paths << path;
    }
    return paths;
}

/// Promised items as the service leaves them: placeholders only, the content in the store.
QStringList makePromisedItems(const QString &folder)
{
    QDir().mkpath(folder);
    QStringList paths;
    for (int i = 0; i < ItemCount; ++i) {
        const QString path = folder + QStringLiteral("/Photo %1.jpg").arg(i, 5, 10, QLatin1Char('0'));
        PromisePlaceholder placeholder;
        placeholder.name = QStringLiteral("Photo %1.jpg").arg(i);
        placeholder.size = 2400000 + i;
        placeholder.creationDate = QDateTime::currentDateTimeUtc();
        placeholder.modificationDate = placeholder.creationDate;
        placeholder.mimeType = QStringLiteral("image/jpeg");
        placeholder.storeKey = PromisePlaceholder::newStoreKey();
        placeholder.write(PromisePlaceholder::placeholderPathFor(path), true);
        paths << path;
    }
    return paths;
}

/// The best of a few rounds, in nanoseconds per item.
template <typename Work>
double bestNsPerItem(const QStringList &paths, Work work)
{
    double best = 0;
    for (int round = 0; round < Rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        for (const QString &path : paths) {
            work(path);
        }
        const double perItem = double(timer.nsecsElapsed()) / double(paths.size());
        best = round == 0 ? perItem : std::min(best, perItem);
    }
    return best;
}

void measure(QTextStream &out, const QString &what, const QStringList &paths, const QStringList &statPaths)
{
    int made = 0;
    const double statNs = bestNsPerItem(statPaths, [](const QString &path) {
        struct stat st;
        ::stat(QFile::encodeName(path).constData(), &st);
    });
    const double getxattrNs = bestNsPerItem(statPaths, [](const QString &path) {
        char value[256];
        ::lgetxattr(QFile::encodeName(path).constData(), "user.xdg.tags", value, sizeof value);
    });
    const double recordNs = bestNsPerItem(paths, [&made](const QString &path) {
        made += DRItem::initWithURL(QUrl::fromLocalFile(path)) ? 1 : 0;
    });
    const double allowanceNs = 3 * statNs + getxattrNs;
    out << what
        << QStringLiteral(": DRItem::initWithURL %1 µs/item, stat %2 µs/item, getxattr %3 µs/item, ratio %4x the stat; "
                          "3 stats + 1 getxattr = %5 µs, the record takes %6 of it (%7 records)\n")
               .arg(recordNs / 1000.0, 0, 'f', 2)
               .arg(statNs / 1000.0, 0, 'f', 2)
               .arg(getxattrNs / 1000.0, 0, 'f', 2)
               .arg(recordNs / statNs, 0, 'f', 1)
               .arg(allowanceNs / 1000.0, 0, 'f', 2)
               .arg(QStringLiteral("%1 %").arg(100.0 * recordNs / allowanceNs, 0, 'f', 0))
               .arg(made / Rounds);
    out.flush();
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir home;
    qputenv("AEROVA_HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.path() + QStringLiteral("/cache")));
    qputenv("AEROVA_SYSLOG", "memory");
    QCoreApplication app(argc, argv);
    DriveSetup::initialize();
    const QString drive = DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID;

    QTextStream out(stdout);
    const QStringList real = makeRealFiles(drive + QStringLiteral("/Real"));
    measure(out, QStringLiteral("10,000 real files"), real, real);

    const QStringList promised = makePromisedItems(drive + QStringLiteral("/Promised"));
    QStringList placeholders;
    for (const QString &path : promised) {
        placeholders << PromisePlaceholder::placeholderPathFor(path);
    }
    measure(out, QStringLiteral("10,000 promised items"), promised, placeholders);
    return 0;
}
