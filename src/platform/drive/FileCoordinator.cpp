#include "platform/drive/FileCoordinator.h"

#include "platform/drive/FileCoordinationCenter.h"
#include "platform/drive/FilePresenter.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/PromiseStore.h"
#include "platform/foundation/CancellationToken.h"
#include "platform/foundation/FilePath.h"

#include <QDir>
#include <QFileInfo>

#include <atomic>

namespace {

std::atomic<quint64> g_nextCoordinator{1};

QString cleanPath(const QUrl &url)
{
    return url.isLocalFile() ? QDir::cleanPath(url.toLocalFile()) : QString();
}

Error invalidURLError(const QUrl &url)
{
    return Error::fileError(FileNoSuchFileError, {{QString::fromLatin1(ErrorKey::URL), url}});
}

} // namespace

FileCoordinator::FileCoordinator(FilePresenter *filePresenterToExclude)
    : m_id(g_nextCoordinator++)
    , m_excludedPresenter(filePresenterToExclude)
    , m_cancel(std::make_shared<CancellationToken>())
{
}

FileCoordinator::~FileCoordinator() = default;

void FileCoordinator::addFilePresenter(const std::shared_ptr<FilePresenter> &presenter)
{
    FileCoordinationCenter::shared()->addPresenter(presenter);
}

void FileCoordinator::removeFilePresenter(FilePresenter *presenter)
{
    FileCoordinationCenter::shared()->removePresenter(presenter);
}

QList<std::shared_ptr<FilePresenter>> FileCoordinator::filePresenters()
{
    return FileCoordinationCenter::shared()->presenters();
}

void FileCoordinator::cancel()
{
    m_cancel->cancel();
}

std::optional<Error> FileCoordinator::beginAccess(const QList<FileCoordinationCenter::Claim> &claims)
{
    return FileCoordinationCenter::shared()->acquire(m_id, claims, m_cancel.get());
}

void FileCoordinator::endAccess(const QList<FileCoordinationCenter::Claim> &claims, const QList<QString> &changedPaths)
{
    QList<QString> paths = changedPaths;
    for (const auto &claim : claims) {
        paths << claim.path;
    }
    FileCoordinationCenter::shared()->release(m_id, paths);
}

void FileCoordinator::coordinateReadingItemAtURL_options_error_byAccessor(
    const QUrl &url, ReadingOptions options, std::optional<Error> *error, const std::function<void(const QUrl &)> &reader)
{
    const QString asked = url.isLocalFile() ? url.toLocalFile() : QString();
    QString path = FilePath::cleanPath(asked);
    if (path.isEmpty()) {
        if (error) {
            *error = invalidURLError(url);
        }
        return;
    }
    if (options & ReadingResolvesSymbolicLink) {
        if (const std::optional<struct stat> st = FilePath::linkStatus(path); st && S_ISLNK(st->st_mode)) {
            path = QDir::cleanPath(FilePath::linkTarget(path));
        }
    }
    const QList<FileCoordinationCenter::Claim> claims{{path, false}};
    if (auto denied = beginAccess(claims)) {
        if (error) {
            *error = denied;
        }
        return;
    }
    const bool wantsContent = !(options & ReadingImmediatelyAvailableMetadataOnly);
    if (wantsContent && PromisePlaceholder::isPromisedItem(path)) {
        if (auto failed = PromiseStore::materialize(path, m_cancel.get())) {
            endAccess(claims, {});
            if (error) {
                *error = failed;
            }
            return;
        }
        auto *center = FileCoordinationCenter::shared();
        for (const auto &presenter : center->presentersFor(path, FileCoordinationCenter::Relation::Exactly,
                                                          m_excludedPresenter)) {
            center->deliver(presenter, [](FilePresenter &p) { p.presentedItemDidChange(); });
        }
    }
    // the URL asked about is handed on as it is when it already names the path read, and only it
    const bool asItIs = asked == path && !url.hasQuery() && !url.hasFragment();
    reader(asItIs ? url : QUrl::fromLocalFile(path));
    endAccess(claims, {});
}

void FileCoordinator::accommodateDeletion(const QString &path)
{
    auto *center = FileCoordinationCenter::shared();
    for (const auto &presenter : center->presentersFor(path, FileCoordinationCenter::Relation::SameOrInside,
                                                      m_excludedPresenter)) {
        center->deliverAndWait(presenter, [](FilePresenter &p, FilePresenter::CompletionHandler done) {
            p.accommodatePresentedItemDeletionWithCompletionHandler(std::move(done));
        });
    }
    const QUrl url = QUrl::fromLocalFile(path);
    for (const auto &presenter : center->presentersFor(path, FileCoordinationCenter::Relation::Ancestor,
                                                      m_excludedPresenter)) {
        center->deliverAndWait(presenter, [url](FilePresenter &p, FilePresenter::CompletionHandler done) {
            p.accommodatePresentedSubitemDeletionAtURL_completionHandler(url, std::move(done));
        });
    }
}

void FileCoordinator::coordinateWritingItemAtURL_options_error_byAccessor(const QUrl &url, WritingOptions options,
                                                                         std::optional<Error> *error,
                                                                         const std::function<void(const QUrl &)> &writer)
{
    coordinateWritingItemAtURL_options_writingItemAtURL_options_error_byAccessor(
        url, options, QUrl(), 0, error, [&writer](const QUrl &first, const QUrl &) { writer(first); });
}

void FileCoordinator::coordinateWritingItemAtURL_options_writingItemAtURL_options_error_byAccessor(
    const QUrl &url1, WritingOptions options1, const QUrl &url2, WritingOptions options2, std::optional<Error> *error,
    const std::function<void(const QUrl &, const QUrl &)> &writer)
{
    const QString path1 = cleanPath(url1);
    const QString path2 = url2.isEmpty() ? QString() : cleanPath(url2);
    if (path1.isEmpty() || (!url2.isEmpty() && path2.isEmpty())) {
        if (error) {
            *error = invalidURLError(path1.isEmpty() ? url1 : url2);
        }
        return;
    }
    QList<FileCoordinationCenter::Claim> claims{{path1, true}};
    if (!path2.isEmpty()) {
        claims << FileCoordinationCenter::Claim{path2, true};
    }
    if (auto denied = beginAccess(claims)) {
        if (error) {
            *error = denied;
        }
        return;
    }
    // presenters make way before their item is deleted
    if (options1 & WritingForDeleting) {
        accommodateDeletion(path1);
    }
    if (!path2.isEmpty() && (options2 & WritingForDeleting)) {
        accommodateDeletion(path2);
    }

    m_moves.clear();
    writer(QUrl::fromLocalFile(path1), path2.isEmpty() ? QUrl() : QUrl::fromLocalFile(path2));

    auto *center = FileCoordinationCenter::shared();
    QList<QString> changed;
    QList<FilePresenter *> moved;
    for (const auto &[from, to] : std::as_const(m_moves)) {
        changed << to;
        const auto presenters = center->presentersFor(from, FileCoordinationCenter::Relation::SameOrInside, m_excludedPresenter);
        // looked at on disk only when somebody follows the item: a batch of moves costs no extra call each
        if (presenters.isEmpty() || !FileCoordinationCenter::stateOf(to).exists()) {
            continue; // nobody to tell, or the move did not happen
        }
        for (const auto &presenter : presenters) {
            const QString oldPath = QDir::cleanPath(presenter->presentedItemURL().toLocalFile());
            const QString newPath = to + oldPath.mid(from.size());
            center->notePresenterMoved(presenter.get(), newPath);
            moved << presenter.get();
            center->deliver(presenter, [newURL = QUrl::fromLocalFile(newPath)](FilePresenter &p) {
                p.presentedItemDidMoveToURL(newURL);
            });
        }
    }
    const QList<std::pair<QString, WritingOptions>> written{{path1, options1}, {path2, options2}};
    for (const auto &[path, options] : written) {
        if (path.isEmpty() || (options & (WritingForDeleting | WritingForMoving))) {
            continue;
        }
        for (const auto &presenter : center->presentersFor(path, FileCoordinationCenter::Relation::Exactly,
                                                          m_excludedPresenter)) {
            if (!moved.contains(presenter.get()) && FileCoordinationCenter::stateOf(path).exists()) {
                center->deliver(presenter, [](FilePresenter &p) { p.presentedItemDidChange(); });
            }
        }
    }
    endAccess(claims, changed);
}

void FileCoordinator::itemAtURL_willMoveToURL(const QUrl &oldURL, const QUrl &newURL)
{
    m_moves.append({cleanPath(oldURL), cleanPath(newURL)});
}

void FileCoordinator::itemAtURL_didMoveToURL(const QUrl &oldURL, const QUrl &newURL)
{
    // the move was announced by itemAtURL_willMoveToURL; presenters follow once the writer is done
    Q_UNUSED(oldURL)
    Q_UNUSED(newURL)
}
