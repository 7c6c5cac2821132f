// What a log call costs its caller: below the level (one comparison, no formatting) and kept
// (formatting on the caller's thread, writing handed to the log's queue).

#include "core/DRLogging.h"
#include "core/DROSLClient.h"
#include "platform/foundation/DispatchQueue.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QUrl>

#include <benchmark/benchmark.h>

static void BM_DRLogBelowLevel(benchmark::State &state)
{
    DRLogSetLevel(LOG_INFO);
    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/drive/Report.pdf"));
    for (auto _ : state) {
        DRLog(LOG_DEBUG, "Moving src1:  '%@'", url);
    }
}
BENCHMARK(BM_DRLogBelowLevel);

static void BM_DRLogKept(benchmark::State &state)
{
    DRLogSetLevel(LOG_INFO);
    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/drive/Report.pdf"));
    for (auto _ : state) {
        DRLog(LOG_INFO, "Moving src1:  '%@' %d", url, 42);
    }
    // after the timed loop: let the queue catch up, so runs do not pile up on each other
    DROSLClient::OSLClient()->logQueue()->sync([] { });
}
BENCHMARK(BM_DRLogKept)->Iterations(200000);

int main(int argc, char **argv)
{
    QTemporaryDir home;
    qputenv("AEROVA_HOME", QFile::encodeName(home.path()));
    qputenv("AEROVA_SYSLOG", "memory");
    QCoreApplication app(argc, argv);
    // the plain line goes to standard error: keep it out of the figures' output
    if (!freopen("/dev/null", "w", stderr)) {
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
