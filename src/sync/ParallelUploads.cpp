#include "sync/ParallelUploads.h"

#include "sync/DavClient.h"
#include "sync/RemotePropagator.h"

#include <QSet>
#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

QList<ParallelUploads::Result> ParallelUploads::send(const DavClient &client, bool looksBeforeWriting,
                                                     const QList<SyncAction> &actions)
{
    QList<Result> results(actions.size());
    std::atomic<qsizetype> next{0};
    std::atomic<bool> serverFull{false};
    // a stopping service sends nothing more
    QThread *caller = QThread::currentThread();
    const auto work = [&] {
        const std::unique_ptr<DavClient> own = client.sibling();
        RemotePropagator sender(own.get());
        sender.setLooksBeforeWriting(looksBeforeWriting);
        QSet<QString> checkedFolders;
        for (qsizetype index = next++; index < actions.size() && !serverFull && !caller->isInterruptionRequested(); index = next++) {
            Result &result = results[index];
            result.tried = true;
            result.done = sender.apply(actions.at(index), &result.records, &result.failure, &checkedFolders);
            result.answer = result.done ? DavError() : sender.lastServerError();
            if (result.answer.kind == DavError::Kind::ServerFull) {
                serverFull = true;
            }
        }
    };
    std::vector<std::thread> threads;
    const int count = int(std::min<qsizetype>(connections, actions.size()));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    return results;
}
