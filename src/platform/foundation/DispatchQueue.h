#pragma once

#include <QObject>
#include <QString>
#include <QThread>

#include <functional>
#include <memory>

class QueueThread;

/// A serial queue of blocks with a label, run in order on a thread of its own.
///
/// `main()` is the queue of the GUI thread. Blocks that end on another queue hand their result
/// to the main queue with `DispatchQueue::main()->async(...)`. The global concurrent queue is
/// Qt's global thread pool (`globalAsync`). Timers of a queue are QTimers living on its thread
/// (see DispatchSourceTimer), parented to `context()`.
class DispatchQueue final
{
public:
    /// `priority` maps the queue's quality of service: background work runs at the lowest
    /// thread priority.
    explicit DispatchQueue(const QString &label, QThread::Priority priority = QThread::NormalPriority);
    /// Runs the blocks already submitted, then stops the thread.
    ~DispatchQueue();
    Q_DISABLE_COPY_MOVE(DispatchQueue)

    QString label() const { return m_label; }

    /// Submits a block; returns at once.
    void async(std::function<void()> block);
    /// Runs a block on the queue and waits for it. Called from the queue itself, the block runs
    /// at once instead of deadlocking.
    void sync(const std::function<void()> &block);
    /// Submits a block to run after `msec` milliseconds (on the manual clock, when one is installed).
    void asyncAfter(int msec, std::function<void()> block);

    /// The object living on the queue's thread: the context of its connections and timers.
    QObject *context() const;
    /// Whether the calling thread is this queue's thread.
    bool isCurrent() const;

    /// The queue of the GUI thread (the thread of the QCoreApplication).
    static DispatchQueue *main();
    /// The label of the queue the caller runs on; empty when the thread has none.
    static QString currentLabel();
    /// Gives the calling thread a label for `currentLabel()`, for threads this class did not start.
    static void setCurrentThreadLabel(const QString &label);
    /// Submits a block to the global concurrent queue.
    static void globalAsync(std::function<void()> block);

private:
    struct MainTag { };
    explicit DispatchQueue(MainTag);

    QString m_label;
    std::unique_ptr<QueueThread> m_thread;
    bool m_isMain = false;
};
