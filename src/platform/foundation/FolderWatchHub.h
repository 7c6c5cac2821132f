#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

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

    /// Starts telling `watcher` of `folder`'s entries; 0, or the reason (errno) the kernel cannot.
    int add(const QString &folder, FolderEntryWatcher *watcher);
    void remove(FolderEntryWatcher *watcher);

private:
    FolderWatchHub();
    ~FolderWatchHub() override;
    void readEvents();

    int m_fd = -1;
    /// Why the kernel gave no watch, when it did not.
    int m_openError = 0;
    QSocketNotifier *m_notifier = nullptr;
    QHash<int, QList<QPointer<FolderEntryWatcher>>> m_watchersOfDescriptor;
    QHash<FolderEntryWatcher *, int> m_descriptorOfWatcher;
};
