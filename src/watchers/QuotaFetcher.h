#pragma once

#include <QObject>
#include <QPointer>

#include <atomic>
#include <memory>

class DispatchQueue;
class DispatchSourceTimer;

/// Asks the drive service, periodically and on demand, how many bytes of the user's storage are
/// still free, and tells its delegate each value on the main queue. It fetches only while the
/// app is active and the network watcher reports a connection.
///
/// Made with `create()` and held strongly by its owner; every deferred block holds it weakly,
/// so pending work never keeps a released fetcher alive.
class QuotaFetcher final : public std::enable_shared_from_this<QuotaFetcher>
{
    struct PrivateTag { };

public:
    static std::shared_ptr<QuotaFetcher> create();
    explicit QuotaFetcher(PrivateTag);
    ~QuotaFetcher();
    Q_DISABLE_COPY_MOVE(QuotaFetcher)

    /// Weak: an object that may implement QuotaFetcherDelegate.
    QObject *delegate() const { return m_delegate.data(); }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }
    quint64 freeBytes() const { return m_freeBytes; }
    bool canFetch() const { return m_canFetch.load(); }
    DispatchQueue *queue() const { return m_queue.get(); }
    DispatchSourceTimer *timer() const { return m_timer.get(); }

    /// (Re)starts the periodic fetch: at once, then every `seconds`, with a leeway of one second.
    void runWithInterval(double seconds);
    void fetchNow();
    /// The fetch itself, on the fetcher's queue.
    void performFetch();
    /// On the main queue: keeps the value and tells the delegate.
    void notify(quint64 freeBytes);

    void didBecomeActiveNotification();
    void willResignActiveNotification();

private:
    QPointer<QObject> m_delegate;
    quint64 m_freeBytes = 0;
    std::unique_ptr<DispatchQueue> m_queue;
    std::unique_ptr<DispatchSourceTimer> m_timer;
    std::atomic<bool> m_canFetch{true};
    /// Owns the notification registrations: they end with the fetcher.
    std::unique_ptr<QObject> m_notificationContext;
};
