#include "platform/drive/FileCoordinationCenter.h"

#include "platform/drive/FilePresenter.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/CancellationToken.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/OperationQueue.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QSet>

#include <chrono>
#include <semaphore>
#include <sys/stat.h>

namespace {

QString presenterPath(const FilePresenter &presenter)
{
    const QUrl url = presenter.presentedItemURL();
    return url.isLocalFile() ? QDir::cleanPath(url.toLocalFile()) : QString();
}

} // namespace

FileCoordinationCenter *FileCoordinationCenter::shared()
{
    static FileCoordinationCenter *center = new FileCoordinationCenter(); // lives until exit by design
    return center;
}

FileCoordinationCenter::FileCoordinationCenter()
    : m_defaultQueue(std::make_unique<OperationQueue>(QStringLiteral("com.quillmere.AerovaDrive.presenters")))
    , m_watchQueue(std::make_unique<DispatchQueue>(QStringLiteral("com.quillmere.AerovaDrive.filewatch")))
{
    m_defaultQueue->setMaxConcurrentOperationCount(1);
    m_watchQueue->sync([this] {
        m_watcher = new QFileSystemWatcher(m_watchQueue->context()); // owned by the watch queue's context
        QObject::connect(m_watcher, &QFileSystemWatcher::fileChanged, m_watcher,
                         [this](const QString &path) { onFileSystemEvent(path); });
        QObject::connect(m_watcher, &QFileSystemWatcher::directoryChanged, m_watcher,
                         [this](const QString &path) { onFileSystemEvent(path); });
    });
}

FileCoordinationCenter::~FileCoordinationCenter() = default;

bool FileCoordinationCenter::isInside(const QString &path, const QString &folder)
{
    return path.size() > folder.size() && path.startsWith(folder)
        && (folder.endsWith(QLatin1Char('/')) || path.at(folder.size()) == QLatin1Char('/'));
}

bool FileCoordinationCenter::overlaps(const QString &a, const QString &b)
{
    return a == b || isInside(a, b) || isInside(b, a);
}

FileCoordinationCenter::ItemState FileCoordinationCenter::stateOf(const QString &path)
{
    ItemState state;
    struct stat st;
    if (!path.isEmpty() && ::lstat(FilePath::encode(path).constData(), &st) == 0) {
        state.real = true;
        state.modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
        state.size = S_ISDIR(st.st_mode) ? -1 : qint64(st.st_size);
        state.device = st.st_dev;
        state.inode = st.st_ino;
        return state;
    }
    const QByteArray placeholder = FilePath::encode(PromisePlaceholder::placeholderPathFor(path));
    if (!path.isEmpty() && ::lstat(placeholder.constData(), &st) == 0) {
        state.promise = true;
        state.modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
        state.size = qint64(st.st_size);
        state.device = st.st_dev;
        state.inode = st.st_ino;
    }
    return state;
}

QString FileCoordinationCenter::renamedItemPath(const QString &path, const ItemState &before)
{
    if (!before.exists() || before.inode == 0) {
        return {};
    }
    const QString folder = QFileInfo(path).absolutePath();
    // the folder read names each entry's file: only the one with the item's number is looked at
    for (const FilePath::Entry &entry : FilePath::entries(folder)) {
        // a real item keeps its visible name's file; a promise travels as its placeholder
        const bool placeholder = PromisePlaceholder::isPlaceholderName(entry.name);
        if (entry.inode != before.inode || placeholder != before.promise) {
            continue;
        }
        const QString candidate = folder + QLatin1Char('/') + entry.name;
        const std::optional<struct stat> st = FilePath::linkStatus(candidate);
        if (st && quint64(st->st_dev) == before.device && quint64(st->st_ino) == before.inode) {
            return placeholder ? PromisePlaceholder::logicalPathFor(candidate) : candidate;
        }
    }
    return {};
}

bool FileCoordinationCenter::conflicts(quint64 owner, const QList<Claim> &claims) const
{
    for (const ActiveClaim &active : m_claims) {
        if (active.owner == owner) {
            continue;
        }
        for (const Claim &claim : claims) {
            if ((claim.write || active.claim.write) && overlaps(claim.path, active.claim.path)) {
                return true;
            }
        }
    }
    return false;
}

std::optional<Error> FileCoordinationCenter::acquire(quint64 owner, const QList<Claim> &claims,
                                                     CancellationToken *cancel)
{
    QMutexLocker locker(&m_mutex);
    while (conflicts(owner, claims)) {
        if (cancel && cancel->isCancelled()) {
            return Error::fileError(UserCancelledError);
        }
        // wake now and then to notice a cancel, which does not signal this condition
        m_released.wait(&m_mutex, 50);
    }
    if (cancel && cancel->isCancelled()) {
        return Error::fileError(UserCancelledError);
    }
    for (const Claim &claim : claims) {
        m_claims.push_back(ActiveClaim{owner, claim});
    }
    return std::nullopt;
}

void FileCoordinationCenter::release(quint64 owner, const QList<QString> &paths)
{
    {
        QMutexLocker locker(&m_mutex);
        // what presenters see now is the result of this access, already told: the file
        // system's echo of it must not be reported again
        for (PresenterRecord &record : m_records) {
            for (const QString &path : paths) {
                if (overlaps(record.path, path)) {
                    record.state = stateOf(record.path);
                    if (record.state.exists()) {
                        record.told = false;
                    }
                }
            }
        }
        std::erase_if(m_claims, [owner](const ActiveClaim &a) { return a.owner == owner; });
    }
    m_released.wakeAll();
    rewatch();
}

void FileCoordinationCenter::addPresenter(const std::shared_ptr<FilePresenter> &presenter)
{
    if (!presenter) {
        return;
    }
    {
        QMutexLocker locker(&m_mutex);
        for (const PresenterRecord &record : m_records) {
            if (record.key == presenter.get()) {
                return;
            }
        }
        const QString path = presenterPath(*presenter);
        m_records.push_back(PresenterRecord{presenter, presenter.get(), path, stateOf(path), false});
    }
    rewatch();
}

void FileCoordinationCenter::removePresenter(FilePresenter *presenter)
{
    {
        QMutexLocker locker(&m_mutex);
        std::erase_if(m_records, [presenter](const PresenterRecord &r) { return r.key == presenter; });
    }
    rewatch();
}

QList<std::shared_ptr<FilePresenter>> FileCoordinationCenter::presenters()
{
    QMutexLocker locker(&m_mutex);
    QList<std::shared_ptr<FilePresenter>> result;
    for (const PresenterRecord &record : m_records) {
        if (auto presenter = record.presenter.lock()) {
            result << presenter;
        }
    }
    return result;
}

QList<std::shared_ptr<FilePresenter>> FileCoordinationCenter::presentersFor(const QString &path, Relation relation,
                                                                            const FilePresenter *excluded)
{
    QList<std::shared_ptr<FilePresenter>> result;
    QMutexLocker locker(&m_mutex);
    for (PresenterRecord &record : m_records) {
        if (record.key == excluded) {
            continue;
        }
        auto presenter = record.presenter.lock();
        if (!presenter) {
            continue;
        }
        record.path = presenterPath(*presenter);
        const bool related = relation == Relation::Exactly  ? record.path == path
            : relation == Relation::SameOrInside            ? (record.path == path || isInside(record.path, path))
                                                            : isInside(path, record.path);
        if (related) {
            result << presenter;
        }
    }
    return result;
}

void FileCoordinationCenter::deliver(const std::shared_ptr<FilePresenter> &presenter,
                                     std::function<void(FilePresenter &)> message)
{
    OperationQueue *queue = presenter->presentedItemOperationQueue();
    std::weak_ptr<FilePresenter> weak = presenter;
    (queue ? queue : m_defaultQueue.get())->addOperation([weak, message = std::move(message)] {
        if (auto alive = weak.lock()) {
            message(*alive);
        }
    });
}

void FileCoordinationCenter::deliverAndWait(
    const std::shared_ptr<FilePresenter> &presenter,
    std::function<void(FilePresenter &, std::function<void(std::optional<Error>)>)> message)
{
    auto answered = std::make_shared<std::binary_semaphore>(0);
    auto once = std::make_shared<std::atomic<bool>>(false);
    deliver(presenter, [answered, once, message = std::move(message)](FilePresenter &p) {
        message(p, [answered, once](std::optional<Error>) {
            if (!once->exchange(true)) {
                answered->release();
            }
        });
    });
    answered->try_acquire_for(std::chrono::seconds(10));
}

void FileCoordinationCenter::notePresenterMoved(FilePresenter *presenter, const QString &newPath)
{
    QMutexLocker locker(&m_mutex);
    for (PresenterRecord &record : m_records) {
        if (record.key == presenter) {
            record.path = newPath;
        }
    }
}

void FileCoordinationCenter::rewatch()
{
    QSet<QString> wanted;
    {
        QMutexLocker locker(&m_mutex);
        for (const PresenterRecord &record : m_records) {
            if (record.path.isEmpty()) {
                continue;
            }
            wanted.insert(QFileInfo(record.path).absolutePath());
            if (record.state.real) {
                wanted.insert(record.path);
            }
        }
        if (wanted == m_watched) {
            return; // most accesses touch nothing presented: no need to wake the watch
        }
        m_watched = wanted;
    }
    // waited for: a change made right after a presenter was added must not slip by unwatched
    m_watchQueue->sync([this, wanted] {
        const QStringList current = m_watcher->files() + m_watcher->directories();
        QStringList stale;
        for (const QString &path : current) {
            if (!wanted.contains(path)) {
                stale << path;
            }
        }
        if (!stale.isEmpty()) {
            m_watcher->removePaths(stale);
        }
        QStringList added;
        for (const QString &path : wanted) {
            if (!current.contains(path) && FilePath::status(path)) {
                added << path;
            }
        }
        if (!added.isEmpty()) {
            m_watcher->addPaths(added);
            // what changed between reading the presenters' states and arming the watch is told now
            for (const QString &path : std::as_const(added)) {
                onFileSystemEvent(path);
            }
        }
    });
}

void FileCoordinationCenter::onFileSystemEvent(const QString &eventPath)
{
    struct Message {
        std::shared_ptr<FilePresenter> presenter;
        bool deleted;
        QString movedTo; // set when another process renamed the item
    };
    std::vector<Message> messages;
    {
        QMutexLocker locker(&m_mutex);
        for (PresenterRecord &record : m_records) {
            if (record.path.isEmpty() || !(record.path == eventPath || QFileInfo(record.path).absolutePath() == eventPath)) {
                continue;
            }
            const bool claimed = std::any_of(m_claims.begin(), m_claims.end(), [&](const ActiveClaim &a) {
                return overlaps(a.claim.path, record.path);
            });
            if (claimed) {
                continue; // the coordinator doing it tells, and records the result when done
            }
            const ItemState now = stateOf(record.path);
            if (now == record.state) {
                continue;
            }
            const bool gone = record.state.exists() && !now.exists();
            const QString movedTo = gone ? renamedItemPath(record.path, record.state) : QString();
            if (!movedTo.isEmpty()) {
                // renamed by another process: followed as a move in the app is
                record.path = movedTo;
                record.state = stateOf(movedTo);
                record.told = false;
                if (auto presenter = record.presenter.lock()) {
                    messages.push_back(Message{presenter, false, movedTo});
                }
                continue;
            }
            const bool deleted = gone;
            record.state = now;
            auto presenter = record.presenter.lock();
            if (!presenter || (deleted && record.told) || (!deleted && !now.exists())) {
                continue;
            }
            record.told = deleted;
            messages.push_back(Message{presenter, deleted, QString()});
        }
    }
    for (const Message &message : messages) {
        if (!message.movedTo.isEmpty()) {
            deliver(message.presenter, [newURL = QUrl::fromLocalFile(message.movedTo)](FilePresenter &p) {
                p.presentedItemDidMoveToURL(newURL);
            });
        } else if (message.deleted) {
            deliver(message.presenter, [](FilePresenter &p) {
                p.accommodatePresentedItemDeletionWithCompletionHandler([](std::optional<Error>) { });
            });
        } else {
            deliver(message.presenter, [](FilePresenter &p) { p.presentedItemDidChange(); });
        }
    }
    rewatch();
}
