#include "platform/foundation/FolderEntryWatcher.h"

#include "core/DRLogging.h"
#include "platform/foundation/FilePath.h"

#include <QFileSystemWatcher>
#include <QSet>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>

#include <sys/inotify.h>
#include <unistd.h>

namespace {

// what changes a row: an entry coming or going, new content, new tags; not who read it
constexpr uint32_t WatchedEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ATTRIB
    | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

} // namespace

FolderEntryWatcher::FolderEntryWatcher(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{
    m_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd >= 0 && ::inotify_add_watch(m_fd, FilePath::encode(folder).constData(), WatchedEvents) >= 0) {
        m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
        connect(m_notifier, &QSocketNotifier::activated, this, &FolderEntryWatcher::readEvents);
        return;
    }
    DRLog(LOG_WARNING, "Cannot watch %@ by name (%@): every change in it reads it again", folder,
          QString::fromLocal8Bit(std::strerror(errno)));
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_fallback = new QFileSystemWatcher(this);
    m_fallback->addPath(folder);
    connect(m_fallback, &QFileSystemWatcher::directoryChanged, this, &FolderEntryWatcher::rereadNeeded);
}

FolderEntryWatcher::~FolderEntryWatcher()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

void FolderEntryWatcher::readEvents()
{
    alignas(struct inotify_event) char buffer[64 * 1024];
    QStringList names;
    QSet<QString> seen;
    bool reread = false;
    for (;;) {
        const ssize_t length = ::read(m_fd, buffer, sizeof buffer);
        if (length <= 0) {
            break; // EAGAIN: all read
        }
        for (ssize_t offset = 0; offset < length;) {
            const auto *event = reinterpret_cast<const struct inotify_event *>(buffer + offset);
            offset += ssize_t(sizeof(struct inotify_event)) + event->len;
            if (event->mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
                reread = true;
                continue;
            }
            if (event->len == 0) {
                continue;
            }
            const QString name = FilePath::decode(QByteArrayView(event->name, qsizetype(std::strlen(event->name))));
            if (!seen.contains(name)) {
                seen.insert(name);
                names.append(name);
            }
        }
    }
    if (reread) {
        // the names are lost: whatever changed is found by reading the folder again
        DRLog(LOG_INFO, "Lost track of the changes in %@: reading it again", m_folder);
        Q_EMIT rereadNeeded();
        return;
    }
    if (!names.isEmpty()) {
        Q_EMIT entriesChanged(names);
    }
}
