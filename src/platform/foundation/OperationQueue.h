#pragma once

#include <QString>
#include <QThread>
#include <QThreadPool>

#include <functional>

/// A named pool of worker threads for operations that may run side by side (the file
/// presenters' queues, the shared thumbnail queue). A background queue runs its threads at the
/// lowest priority. `maxConcurrentOperationCount` of 1 makes it serial.
class OperationQueue final
{
public:
    explicit OperationQueue(const QString &name = {}, QThread::Priority priority = QThread::InheritPriority);
    ~OperationQueue();
    Q_DISABLE_COPY_MOVE(OperationQueue)

    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    void setMaxConcurrentOperationCount(int count);
    int maxConcurrentOperationCount() const;

    void addOperation(std::function<void()> operation);
    /// Drops the operations that have not started yet; those running go on to their end.
    void cancelAllOperations();
    /// Blocks until every operation submitted so far has finished.
    void waitUntilAllOperationsAreFinished();

private:
    QString m_name;
    QThreadPool m_pool;
};
