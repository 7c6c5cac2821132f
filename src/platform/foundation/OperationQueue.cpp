#include "platform/foundation/OperationQueue.h"

#include "platform/foundation/DispatchQueue.h"

OperationQueue::OperationQueue(const QString &name, QThread::Priority priority)
    : m_name(name)
{
    m_pool.setThreadPriority(priority);
    m_pool.setObjectName(name);
}

OperationQueue::~OperationQueue()
{
    m_pool.waitForDone();
}

void OperationQueue::setMaxConcurrentOperationCount(int count)
{
    m_pool.setMaxThreadCount(count);
}

int OperationQueue::maxConcurrentOperationCount() const
{
    return m_pool.maxThreadCount();
}

void OperationQueue::addOperation(std::function<void()> operation)
{
    m_pool.start([label = m_name, operation = std::move(operation)] {
        DispatchQueue::setCurrentThreadLabel(label);
        operation();
        DispatchQueue::setCurrentThreadLabel({});
    });
}

void OperationQueue::cancelAllOperations()
{
    m_pool.clear();
}

void OperationQueue::waitUntilAllOperationsAreFinished()
{
    m_pool.waitForDone();
}
