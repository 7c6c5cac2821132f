#include "platform/foundation/FolderWatchHub.h"

#include "platform/foundation/FilePath.h"
#include "platform/foundation/FolderEntryWatcher.h"
#include "platform/foundation/InotifyEvents.h"

#include <QCoreApplication>
#include <QSet>
#include <QSocketNotifier>
#include <QThread>

#include <cerrno>

#include <sys/inotify.h>
#include <unistd.h>

namespace {

// what changes a row: an entry coming or going, new content, new tags; not who read it
constexpr uint32_t WatchedEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB
    | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

} // namespace

namespace {
QPointer<FolderWatchHub> theHub;
} // namespace

FolderWatchHub *FolderWatchHub::instance()
{
    if (!theHub) {
        // owned by the application: it goes before the event loop it listens on
        theHub = new FolderWatchHub;
    }
    return theHub;
}

FolderWatchHub *FolderWatchHub::existingInstance()
{
    return theHub;
}

FolderWatchHub::FolderWatchHub()
    : QObject(QCoreApplication::instance())
    , m_fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    m_openError = m_fd < 0 ? errno : 0;
    if (m_fd >= 0) {
        m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &FolderWatchHub::readEvents);
    }
}

FolderWatchHub::~FolderWatchHub()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

std::future<FolderWatchHub::Ahead> FolderWatchHub::watchAhead(const QString &folder, bool beside)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (m_fd >= 0 && beside) {
        // the kernel's calls on the descriptor are safe from any thread; the hub's own books
        // are kept on its thread, by adopt
        return std::async(std::launch::async, [fd = m_fd, folder] { return addWatch(fd, folder); });
    }
    std::promise<Ahead> now;
    now.set_value(m_fd < 0 ? Ahead{-1, m_openError, std::nullopt} : addWatch(m_fd, folder));
    return now.get_future();
}

FolderWatchHub::Ahead FolderWatchHub::addWatch(int fd, const QString &folder)
{
    // the same folder twice gives the same descriptor: both watchers hear of it
    const QByteArray path = FilePath::encode(folder);
    const int wd = ::inotify_add_watch(fd, path.constData(), WatchedEvents);
    if (wd < 0) {
        return {-1, errno, std::nullopt};
    }
    return {wd, 0, FilePath::status(folder)};
}

int FolderWatchHub::adopt(const Ahead &ahead, FolderEntryWatcher *watcher)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (ahead.descriptor < 0) {
        return ahead.error;
    }
    m_watchersOfDescriptor[ahead.descriptor].append(watcher);
    m_descriptorOfWatcher.insert(watcher, ahead.descriptor);
    return 0;
}

void FolderWatchHub::remove(FolderEntryWatcher *watcher)
{
    const auto found = m_descriptorOfWatcher.constFind(watcher);
    if (found == m_descriptorOfWatcher.constEnd()) {
        return;
    }
    const int wd = *found;
    m_descriptorOfWatcher.erase(found);
    QList<QPointer<FolderEntryWatcher>> &watchers = m_watchersOfDescriptor[wd];
    watchers.removeIf([watcher](const QPointer<FolderEntryWatcher> &each) { return !each || each == watcher; });
    if (watchers.isEmpty()) {
        m_watchersOfDescriptor.remove(wd);
        ::inotify_rm_watch(m_fd, wd);
    }
}

void FolderWatchHub::readEvents()
{
    QHash<int, QStringList> namesOf;
    QHash<int, QSet<QString>> seenOf;
    QSet<int> lost;
    bool overflowed = false;
    InotifyEvents::readAll(m_fd, [&](const struct inotify_event &event, QByteArrayView rawName) {
        if (event.mask & IN_Q_OVERFLOW) {
            overflowed = true; // names lost in every folder
            return;
        }
        if (event.mask & IN_MOVE_SELF) {
            // moved away, the folder is no longer the one listed: its watch goes
            ::inotify_rm_watch(m_fd, event.wd);
        }
        if (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
            lost.insert(event.wd);
            return;
        }
        if (rawName.isEmpty()) {
            return;
        }
        const QString name = FilePath::decode(rawName);
        QSet<QString> &seen = seenOf[event.wd];
        if (!seen.contains(name)) {
            seen.insert(name);
            namesOf[event.wd].append(name);
        }
    });
    // the watchers are told once all is read: one may be removed while another is told
    const QHash<int, QList<QPointer<FolderEntryWatcher>>> watchers = m_watchersOfDescriptor;
    for (auto it = watchers.constBegin(); it != watchers.constEnd(); ++it) {
        const bool reread = overflowed || lost.contains(it.key());
        for (const QPointer<FolderEntryWatcher> &watcher : it.value()) {
            if (!watcher) {
                continue;
            }
            if (reread) {
                watcher->namesLost();
            } else if (const auto names = namesOf.constFind(it.key()); names != namesOf.constEnd()) {
                watcher->entriesReported(*names);
            }
        }
    }
    for (const int wd : std::as_const(lost)) {
        // the kernel dropped the watch with the folder: a descriptor may come back for another
        if (const auto gone = m_watchersOfDescriptor.constFind(wd); gone != m_watchersOfDescriptor.constEnd()) {
            for (const QPointer<FolderEntryWatcher> &watcher : *gone) {
                m_descriptorOfWatcher.remove(watcher.data());
            }
            m_watchersOfDescriptor.erase(gone);
        }
    }
}
