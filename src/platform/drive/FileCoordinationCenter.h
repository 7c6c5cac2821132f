#pragma once

#include "platform/foundation/Error.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QSet>
#include <QString>
#include <QWaitCondition>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class CancellationToken;
class DispatchQueue;
class FilePresenter;
class OperationQueue;
class QFileSystemWatcher;

/// The process-wide side of file coordination: the access claims of every coordinator, the
/// registered presenters with what each last knew of its item, and a watch of the file system
/// that tells presenters of changes made outside this process's coordinators.
class FileCoordinationCenter final
{
public:
    struct Claim {
        QString path;
        bool write = false;
    };

    /// What a presenter's item looks like on disk: a real item, a promise, or nothing.
    struct ItemState {
        bool real = false;
        bool promise = false;
        qint64 modifiedNs = 0;
        qint64 size = -1;
        // which file it is (the placeholder's, for a promise): a rename keeps it
        quint64 device = 0;
        quint64 inode = 0;
        bool operator==(const ItemState &other) const = default;
        bool exists() const { return real || promise; }
    };

    static FileCoordinationCenter *shared();
    ~FileCoordinationCenter();

    /// Waits until no other owner's claim conflicts with these; fails with 3072 when cancelled.
    std::optional<Error> acquire(quint64 owner, const QList<Claim> &claims, CancellationToken *cancel);
    /// Records what the owner's presenters now see under `paths`, then drops the owner's claims.
    void release(quint64 owner, const QList<QString> &paths);

    void addPresenter(const std::shared_ptr<FilePresenter> &presenter);
    void removePresenter(FilePresenter *presenter);
    QList<std::shared_ptr<FilePresenter>> presenters();

    enum class Relation {
        Exactly,
        SameOrInside,
        Ancestor,
    };
    /// The presenters whose item relates to `path` so, leaving out `excluded`.
    QList<std::shared_ptr<FilePresenter>> presentersFor(const QString &path, Relation relation,
                                                       const FilePresenter *excluded);
    /// Runs `message` on the presenter's queue.
    void deliver(const std::shared_ptr<FilePresenter> &presenter, std::function<void(FilePresenter &)> message);
    /// Runs `message` on the presenter's queue and waits for it to call its completion (at most
    /// ten seconds: a presenter that never answers must not block the drive).
    void deliverAndWait(const std::shared_ptr<FilePresenter> &presenter,
                        std::function<void(FilePresenter &, std::function<void(std::optional<Error>)>)> message);
    /// After a move, presenters of the item carry its new URL as their known path.
    void notePresenterMoved(FilePresenter *presenter, const QString &newPath);

    static ItemState stateOf(const QString &path);
    static bool overlaps(const QString &a, const QString &b);
    static bool isInside(const QString &path, const QString &folder);

private:
    FileCoordinationCenter();

    struct PresenterRecord {
        std::weak_ptr<FilePresenter> presenter;
        FilePresenter *key = nullptr;
        QString path;
        ItemState state;
        bool told = false; // told of its deletion; nothing more until it exists again
    };
    struct ActiveClaim {
        quint64 owner;
        Claim claim;
    };

    bool conflicts(quint64 owner, const QList<Claim> &claims) const;
    void rewatch();
    void onFileSystemEvent(const QString &path);
    /// Where an item that left `path` went when another process renamed it in its folder:
    /// the entry there that is the same file (a rename keeps the file, so the change
    /// notifications of its two names pair up). Empty when it is gone. One read of the folder,
    /// paid only when a presented item disappears.
    static QString renamedItemPath(const QString &path, const ItemState &before);

    QMutex m_mutex;
    QWaitCondition m_released;
    std::vector<ActiveClaim> m_claims;
    std::vector<PresenterRecord> m_records;
    /// The paths the watch covers, to skip the watch queue when nothing changes.
    QSet<QString> m_watched;
    std::unique_ptr<OperationQueue> m_defaultQueue;
    std::unique_ptr<DispatchQueue> m_watchQueue;
    QFileSystemWatcher *m_watcher = nullptr; // lives on m_watchQueue's thread
};
