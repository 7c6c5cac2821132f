// What starting costs: from starting the app on a drive whose root holds 40 documents to the
// first frame that shows them, beside a bare Qt Widgets window with one list of as many rows
// started the same way in the same run (both offscreen, both timed from the process's start to
// its "first frame" line). Prints the medians and their ratio: for the starts of every day,
// which find the icon cache of an earlier start, and for a first start, which makes it.

#include "BenchDrive.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTextStream>

#include <algorithm>

namespace {

constexpr int DocumentCount = 40;
constexpr int Rounds = 7;

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

/// Milliseconds from starting `program` to its first frame; -1 when it shows none.
double timeToFirstFrame(const QString &program, const QStringList &arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("AEROVA_QUIT_AFTER_FIRST_FRAME"), QStringLiteral("1"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    QByteArray output;
    while (!output.contains("first frame\n") && process.waitForReadyRead(30000)) {
        output += process.readAllStandardOutput();
    }
    const double ms = timer.nsecsElapsed() / 1e6;
    process.waitForFinished(30000);
    return output.contains("first frame\n") ? ms : -1;
}

} // namespace

int main(int argc, char *argv[])
{
    BenchDrive drive(argc, argv);
    for (int i = 0; i < DocumentCount; ++i) {
        QFile file(BenchDrive::root() + QStringLiteral("/Document %1.txt").arg(i, 2, 10, QLatin1Char('0')));
        file.open(QIODevice::WriteOnly);
        file.write("a document\n");
    }
    const QString iconCache = drive.home() + QStringLiteral("/App/Library/Caches/Icons");
    QList<double> app, firstStart, bare;
    for (int round = 0; round < Rounds; ++round) {
        QDir(iconCache).removeRecursively();
        firstStart << timeToFirstFrame(QStringLiteral(AEROVA_APP_PATH), {});
        app << timeToFirstFrame(QStringLiteral(AEROVA_APP_PATH), {});
        bare << timeToFirstFrame(QStringLiteral(AEROVA_COLDSTART_REFERENCE_PATH), {QString::number(DocumentCount)});
    }
    QTextStream out(stdout);
    if (std::min({median(app), median(firstStart), median(bare)}) < 0) {
        out << "bench_ColdStart: a program showed no first frame\n";
        return 1;
    }
    out << QStringLiteral("start to the first frame, medians of %1 runs (offscreen)\n").arg(Rounds);
    out << QStringLiteral("  the app on a drive root of %1 documents: %2 ms\n").arg(DocumentCount).arg(median(app), 0, 'f', 1);
    out << QStringLiteral("  the same, a first start (no icon cache): %1 ms\n").arg(median(firstStart), 0, 'f', 1);
    out << QStringLiteral("  a bare Qt Widgets window with one list:  %1 ms\n").arg(median(bare), 0, 'f', 1);
    out << QStringLiteral("  ratio: %1x (the goal: at most 2x); a first start: %2x\n")
               .arg(median(app) / median(bare), 0, 'f', 2)
               .arg(median(firstStart) / median(bare), 0, 'f', 2);
    return 0;
}
