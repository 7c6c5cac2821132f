#include "platform/drive/Progress.h"

#include <QDir>

#include <vector>

namespace {

struct Subscriber {
    QUrl url;
    Progress::PublishingHandler handler;
};

struct Publication {
    std::weak_ptr<Progress> progress;
    // unpublishing handlers of the subscribers that were told, by subscriber token
    std::map<int, std::function<void()>> unpublishers;
};

QMutex g_mutex;
int g_nextSubscriber = 1;
std::map<int, Subscriber> g_subscribers;
std::map<const Progress *, Publication> g_publications;

QString cleanPath(const QUrl &url)
{
    return QDir::cleanPath(url.toLocalFile());
}

bool matches(const QUrl &subscribed, const QUrl &fileURL)
{
    const QString s = cleanPath(subscribed);
    const QString f = cleanPath(fileURL);
    return !s.isEmpty() && (s == f || QDir::cleanPath(f + QStringLiteral("/..")) == s);
}

} // namespace

Progress::Progress(qint64 totalUnitCount)
    : m_total(totalUnitCount)
{
}

qint64 Progress::totalUnitCount() const
{
    QMutexLocker locker(&m_mutex);
    return m_total;
}

void Progress::setTotalUnitCount(qint64 count)
{
    {
        QMutexLocker locker(&m_mutex);
        m_total = count;
    }
    notify(QStringLiteral("totalUnitCount"));
    notify(QStringLiteral("fractionCompleted"));
}

qint64 Progress::completedUnitCount() const
{
    QMutexLocker locker(&m_mutex);
    return m_completed;
}

void Progress::setCompletedUnitCount(qint64 count)
{
    {
        QMutexLocker locker(&m_mutex);
        m_completed = count;
    }
    notify(QStringLiteral("completedUnitCount"));
    notify(QStringLiteral("fractionCompleted"));
}

QString Progress::description() const
{
    QMutexLocker locker(&m_mutex);
    const double fraction = m_total <= 0 ? 0.0 : double(m_completed) / double(m_total);
    return QStringLiteral("<Progress %1: %2 of %3 (%4) kind %5>")
        .arg(m_fileURL.toLocalFile())
        .arg(m_completed)
        .arg(m_total)
        .arg(fraction, 0, 'f', 3)
        .arg(m_kind.isEmpty() ? QStringLiteral("(none)") : m_kind);
}

double Progress::fractionCompleted() const
{
    QMutexLocker locker(&m_mutex);
    if (m_total <= 0) {
        return 0.0;
    }
    return double(m_completed) / double(m_total);
}

bool Progress::isFinished() const
{
    QMutexLocker locker(&m_mutex);
    return m_total >= 0 && m_completed >= m_total;
}

QString Progress::kind() const
{
    QMutexLocker locker(&m_mutex);
    return m_kind;
}

void Progress::setKind(const QString &kind)
{
    QMutexLocker locker(&m_mutex);
    m_kind = kind;
}

QUrl Progress::fileURL() const
{
    QMutexLocker locker(&m_mutex);
    return m_fileURL;
}

void Progress::setFileURL(const QUrl &url)
{
    QMutexLocker locker(&m_mutex);
    m_fileURL = url;
}

int Progress::addObserver(const QString &keyPath, Observer observer)
{
    QMutexLocker locker(&m_mutex);
    const int token = m_nextToken++;
    m_observers.emplace(token, std::make_pair(keyPath, std::move(observer)));
    return token;
}

void Progress::removeObserver(int token)
{
    QMutexLocker locker(&m_mutex);
    m_observers.erase(token);
}

void Progress::notify(const QString &keyPath)
{
    std::vector<Observer> toCall;
    {
        QMutexLocker locker(&m_mutex);
        for (const auto &[token, entry] : m_observers) {
            if (entry.first == keyPath) {
                toCall.push_back(entry.second);
            }
        }
    }
    for (const Observer &observer : toCall) {
        observer(*this);
    }
}

void Progress::publish()
{
    std::vector<std::pair<int, Progress::PublishingHandler>> toTell;
    {
        QMutexLocker locker(&g_mutex);
        if (m_published) {
            return;
        }
        m_published = true;
        g_publications[this].progress = weak_from_this();
        for (const auto &[token, subscriber] : g_subscribers) {
            if (matches(subscriber.url, fileURL())) {
                toTell.emplace_back(token, subscriber.handler);
            }
        }
    }
    auto self = shared_from_this();
    for (const auto &[token, handler] : toTell) {
        std::function<void()> unpublisher = handler(self);
        QMutexLocker locker(&g_mutex);
        g_publications[this].unpublishers[token] = std::move(unpublisher);
    }
}

void Progress::unpublish()
{
    std::map<int, std::function<void()>> unpublishers;
    {
        QMutexLocker locker(&g_mutex);
        if (!m_published) {
            return;
        }
        m_published = false;
        unpublishers = std::move(g_publications[this].unpublishers);
        g_publications.erase(this);
    }
    for (const auto &[token, unpublisher] : unpublishers) {
        if (unpublisher) {
            unpublisher();
        }
    }
}

int Progress::addSubscriberForFileURL(const QUrl &url, PublishingHandler handler)
{
    std::vector<std::shared_ptr<Progress>> alreadyPublished;
    int token = 0;
    {
        QMutexLocker locker(&g_mutex);
        token = g_nextSubscriber++;
        g_subscribers.emplace(token, Subscriber{url, handler});
        for (const auto &[key, publication] : g_publications) {
            if (auto progress = publication.progress.lock(); progress && matches(url, progress->fileURL())) {
                alreadyPublished.push_back(progress);
            }
        }
    }
    for (const auto &progress : alreadyPublished) {
        std::function<void()> unpublisher = handler(progress);
        QMutexLocker locker(&g_mutex);
        if (auto it = g_publications.find(progress.get()); it != g_publications.end()) {
            it->second.unpublishers[token] = std::move(unpublisher);
        }
    }
    return token;
}

void Progress::removeSubscriber(int token)
{
    QMutexLocker locker(&g_mutex);
    g_subscribers.erase(token);
    for (auto &[key, publication] : g_publications) {
        publication.unpublishers.erase(token);
    }
}
