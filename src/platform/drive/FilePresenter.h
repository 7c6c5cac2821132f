#pragma once

#include "platform/foundation/Error.h"

#include <QUrl>

#include <functional>
#include <optional>

class OperationQueue;

/// An object that shows an item of the drive and wants to hear when it changes, moves or goes
/// away. Register it with `FileCoordinator::addFilePresenter`; messages arrive on its
/// operation queue (or a queue of the coordinator's when it has none), whether the change was
/// made through a coordinator of this process, by the drive service, or by another process.
///
/// `presentedItemURL` is asked from other threads and must be safe to call from them.
class FilePresenter
{
public:
    using CompletionHandler = std::function<void(std::optional<Error>)>;

    virtual ~FilePresenter() = default;

    virtual QUrl presentedItemURL() const = 0;
    virtual OperationQueue *presentedItemOperationQueue() const { return nullptr; }

    virtual void presentedItemDidChange() { }
    virtual void presentedItemDidMoveToURL(const QUrl &newURL) { Q_UNUSED(newURL) }
    /// The item is about to be deleted; the deletion waits for `completion`.
    virtual void accommodatePresentedItemDeletionWithCompletionHandler(CompletionHandler completion)
    {
        completion(std::nullopt);
    }
    /// An item inside the presented one (a package) is about to be deleted.
    virtual void accommodatePresentedSubitemDeletionAtURL_completionHandler(const QUrl &url, CompletionHandler completion)
    {
        Q_UNUSED(url)
        completion(std::nullopt);
    }
};
