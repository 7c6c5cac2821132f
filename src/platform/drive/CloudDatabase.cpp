#include "platform/drive/CloudDatabase.h"

#include "platform/drive/FetchUserQuotaOperation.h"

#include <QThreadPool>

void CloudDatabase::addOperation(const std::shared_ptr<FetchUserQuotaOperation> &operation)
{
    if (!operation) {
        return;
    }
    QThreadPool::globalInstance()->start([operation] {
        QThread::currentThread()->setPriority(operation->qualityOfService());
        operation->main();
        QThread::currentThread()->setPriority(QThread::NormalPriority);
    });
}
