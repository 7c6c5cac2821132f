#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>

class QSocketNotifier;

/// Tells the sync service when something in the drive changed: an editor saving a document,
/// a copy from the desktop's file manager, a move in the app. It watches every folder of the
/// drive with inotify (new folders as they come, never through a link), and says `changed`
/// once the drive has been quiet for `quietMs`, so a document being written is sent once,
/// whole. Where the system allows no more watches, what changes in the folders left out is
/// found by the next poll.
class DriveWatcher final : public QObject
{
    Q_OBJECT
public:
    static constexpr int defaultQuietMs = 2500;
    /// A drive never quiet (a program writing a log without end) is synced this often still.
    static constexpr int longestDelayMs = 60'000;

    explicit DriveWatcher(const QString &folder, QObject *parent = nullptr);
    ~DriveWatcher() override;

    /// Starts watching; false when inotify is not available (the polls still find changes).
    bool start();
    void setQuietMs(int ms) { m_quietMs = ms; }
    /// How many folders are watched.
    int watchedFolders() const { return int(m_folders.size()); }

signals:
    void changed();

private:
    void watchTree(const QString &folder);
    bool watch(const QString &folder);
    void readEvents();

    QString m_folder;
    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
    QHash<int, QString> m_folders; // by watch descriptor
    QTimer m_quiet;
    int m_quietMs = defaultQuietMs;
    QElapsedTimer m_firstUnsent; // the first change not yet announced
    bool m_warnedFull = false;
};
