#include "platform/foundation/DispatchQueue.h"

#include "platform/foundation/ManualDispatchClock.h"

#include <QCoreApplication>
#include <QThreadPool>
#include <QTimer>

namespace {

thread_local QString t_queueLabel;
thread_local bool t_hasQueueLabel = false;

const QString &mainQueueLabel()
{
    static const QString label = QStringLiteral("com.quillmere.main-thread");
    return label;
}

} // namespace

/// The thread behind a serial queue: it labels itself and runs an event loop whose posted
/// events are the queue's blocks, in submission order.
class QueueThread final : public QThread
{
public:
    explicit QueueThread(const QString &label)
        : m_label(label)
    {
        setObjectName(label);
        m_context.moveToThread(this);
    }

    QObject *context() { return &m_context; }

protected:
    void run() override
    {
        DispatchQueue::setCurrentThreadLabel(m_label);
        exec();
        m_context.moveToThread(nullptr);
    }

private:
    QString m_label;
    QObject m_context;
};

DispatchQueue::DispatchQueue(const QString &label, QThread::Priority priority)
    : m_label(label)
    , m_thread(std::make_unique<QueueThread>(label))
{
    m_thread->start(priority);
}

DispatchQueue::DispatchQueue(MainTag)
    : m_label(mainQueueLabel())
    , m_isMain(true)
{
}

DispatchQueue::~DispatchQueue()
{
    if (m_thread && QThread::currentThread() == m_thread.get()) {
        // the queue's owner went away inside one of the queue's own blocks (its last strong
        // reference was that block's): the thread can't wait for itself, so it ends after this
        // block and is freed by the thread that made it
        QueueThread *thread = m_thread.release();
        QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
        thread->quit();
        return;
    }
    if (m_thread) {
        // queued after every submitted block, so none of them is lost
        async([] { QThread::currentThread()->quit(); });
        m_thread->wait();
    }
}

QObject *DispatchQueue::context() const
{
    return m_isMain ? QCoreApplication::instance() : m_thread->context();
}

bool DispatchQueue::isCurrent() const
{
    if (m_isMain) {
        return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
    }
    return QThread::currentThread() == m_thread.get();
}

void DispatchQueue::async(std::function<void()> block)
{
    QObject *target = context();
    if (!target) {
        return;
    }
    QMetaObject::invokeMethod(target, std::move(block), Qt::QueuedConnection);
}

void DispatchQueue::sync(const std::function<void()> &block)
{
    if (isCurrent()) {
        block();
        return;
    }
    QObject *target = context();
    if (!target) {
        block();
        return;
    }
    QMetaObject::invokeMethod(target, block, Qt::BlockingQueuedConnection);
}

void DispatchQueue::asyncAfter(int msec, std::function<void()> block)
{
    if (auto *clock = ManualDispatchClock::installed()) {
        clock->addDeferredBlock(this, std::chrono::milliseconds(msec), std::move(block));
        return;
    }
    QObject *target = context();
    if (!target) {
        return;
    }
    async([target, msec, block = std::move(block)]() mutable {
        QTimer::singleShot(msec, target, std::move(block));
    });
}

DispatchQueue *DispatchQueue::main()
{
    static DispatchQueue *queue = new DispatchQueue(MainTag{}); // lives until exit by design
    return queue;
}

QString DispatchQueue::currentLabel()
{
    if (t_hasQueueLabel) {
        return t_queueLabel;
    }
    if (QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread()) {
        return mainQueueLabel();
    }
    return {};
}

void DispatchQueue::setCurrentThreadLabel(const QString &label)
{
    t_queueLabel = label;
    t_hasQueueLabel = !label.isEmpty();
}

void DispatchQueue::globalAsync(std::function<void()> block)
{
    QThreadPool::globalInstance()->start([block = std::move(block)] {
        DispatchQueue::setCurrentThreadLabel(QStringLiteral("com.quillmere.root.default-qos"));
        block();
        DispatchQueue::setCurrentThreadLabel({});
    });
}
