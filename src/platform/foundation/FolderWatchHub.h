#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <future>
#include <optional>

#include <sys/stat.h>

class FolderEntryWatcher;
class QSocketNotifier;

/// The one kernel watch (inotify) of the process that every `FolderEntryWatcher` shares.
///
/// Opening a watch of its own for each folder list would cost more than the list: the kernel
/// closes such a watch only after a grace period, 12 to 16 ms during which the closing thread
/// waits, each time a list is closed. Shared, a folder costs one watch descriptor, added and
/// removed in microseconds; two lists of one folder share its descriptor. It lives on the main
/// thread and is used only there.
class FolderWatchHub final : public QObject
{
    Q_OBJECT

public:
    static FolderWatchHub *instance();
    /// The hub when there is one: nothing once the application is gone.
    static FolderWatchHub *existingInstance();

    /// A watch of a folder the kernel was asked for, not yet handed to its watcher.
    struct Ahead {
        int descriptor = -1; ///< the kernel's descriptor; -1 when it gave none
        int error = 0;       ///< then, the reason (errno)
        /// The folder's status right after the watch began: whoever read the folder meanwhile
        /// compares it with the status before the read to know whether a change may be missing.
        std::optional<struct stat> statusAfter;
    };

    /// Asks the kernel to watch `folder` from now on, on a thread of its own when `beside` is
    /// set: for a large folder the kernel marks every entry it holds in memory (9 ms for
    /// 100,000), which the caller's reading of the folder can then share the processors with.
    /// No change is lost before `adopt`: the kernel keeps them until the event loop runs again.
    std::future<Ahead> watchAhead(const QString &folder, bool beside);
    /// Starts telling `watcher` of the folder's entries with a watch asked for ahead; 0, or the
    /// reason (errno) the kernel gave none.
    int adopt(const Ahead &ahead, FolderEntryWatcher *watcher);
    void remove(FolderEntryWatcher *watcher);

private:
    FolderWatchHub();
    static Ahead addWatch(int fd, const QString &folder);
    ~FolderWatchHub() override;
    void readEvents();

    int m_fd = -1;
    /// Why the kernel gave no watch, when it did not.
    int m_openError = 0;
    QSocketNotifier *m_notifier = nullptr;
    QHash<int, QList<QPointer<FolderEntryWatcher>>> m_watchersOfDescriptor;
    QHash<FolderEntryWatcher *, int> m_descriptorOfWatcher;
};
