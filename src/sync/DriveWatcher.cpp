#include "sync/DriveWatcher.h"

#include "core/DRLogging.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/InotifyEvents.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstring>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// what a program does to a document or a folder, not who looked at it
constexpr uint32_t watchedEvents = IN_CREATE | IN_DELETE | IN_CLOSE_WRITE | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO
    | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK;

bool isFolder(const QString &path, FilePath::EntryKind kind)
{
    if (kind != FilePath::EntryKind::Unknown) {
        return kind == FilePath::EntryKind::Folder;
    }
    const auto st = FilePath::linkStatus(path);
    return st && S_ISDIR(st->st_mode);
}

} // namespace

DriveWatcher::DriveWatcher(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{
    m_quiet.setSingleShot(true);
    connect(&m_quiet, &QTimer::timeout, this, [this] {
        m_firstUnsent.invalidate();
        emit changed();
    });
}

DriveWatcher::~DriveWatcher()
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

bool DriveWatcher::start()
{
    m_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0) {
        DRLog(LOG_WARNING, "Cannot watch the drive for changes (%@): they are found at the next poll", QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &DriveWatcher::readEvents);
    watchTree(m_folder);
    return true;
}

void DriveWatcher::watchTree(const QString &folder)
{
    if (!watch(folder)) {
        return;
    }
    FilePath::walk(folder, [this](const QString &path, const FilePath::Entry &entry) {
        if (!isFolder(path, entry.kind)) {
            return FilePath::WalkStep::Continue;
        }
        return watch(path) ? FilePath::WalkStep::Continue : FilePath::WalkStep::SkipChildren;
    });
}

bool DriveWatcher::watch(const QString &folder)
{
    const int wd = ::inotify_add_watch(m_fd, FilePath::encode(folder).constData(), watchedEvents);
    if (wd >= 0) {
        m_folders.insert(wd, folder);
        return true;
    }
    if (errno == ENOSPC && !m_warnedFull) {
        m_warnedFull = true;
        DRLog(LOG_WARNING, "The system allows no more watched folders (%@ are watched): changes in the others are found at the next poll",
              int(m_folders.size()));
    }
    return false;
}

void DriveWatcher::readEvents()
{
    const bool any = InotifyEvents::readAll(m_fd, [this](const struct inotify_event &event, QByteArrayView name) {
        if (event.mask & IN_IGNORED) {
            m_folders.remove(event.wd); // the folder is gone or moved away
            return;
        }
        if (event.mask & IN_Q_OVERFLOW || !(event.mask & IN_ISDIR) || !(event.mask & (IN_CREATE | IN_MOVED_TO))) {
            return;
        }
        // a folder made or moved in: what it already holds is watched too
        const QString folder = m_folders.value(event.wd);
        if (!folder.isEmpty() && !name.isEmpty()) {
            watchTree(folder + QLatin1Char('/') + FilePath::decode(name));
        }
    });
    if (!any) {
        return;
    }
    if (!m_firstUnsent.isValid()) {
        m_firstUnsent.start();
    }
    // each change puts the run off until the drive is quiet, but not without end
    m_quiet.start(m_firstUnsent.hasExpired(longestDelayMs) ? 0 : m_quietMs);
}
