#pragma once

#include "platform/drive/FileCoordinationCenter.h"
#include "platform/foundation/Error.h"

#include <QList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

class CancellationToken;
class FilePresenter;

/// Coordinated access to items of the drive.
///
/// Readers of an item run alongside each other; a writer waits for every other access to the
/// item, to the folders holding it and to anything inside it, and everyone else waits for it.
/// Presenters of the item are told before it is deleted (the deletion waits for them) and after
/// it changed or moved. A coordinated read without the metadata-only option of a promised item
/// asks the drive service to download it first and blocks until it is here; `cancel` ends such
/// a read (or any wait for access) with error 3072 and leaves the promise as it was.
///
/// A coordinator made with a presenter sends that presenter no messages about its own work.
class FileCoordinator final
{
public:
    enum ReadingOption : unsigned {
        ReadingWithoutChanges = 1,
        ReadingResolvesSymbolicLink = 2,
        ReadingImmediatelyAvailableMetadataOnly = 4,
        ReadingForUploading = 8,
    };
    enum WritingOption : unsigned {
        WritingForDeleting = 1,
        WritingForMoving = 2,
        WritingForMerging = 4,
        WritingForReplacing = 8,
        WritingContentIndependentMetadataOnly = 16,
    };
    using ReadingOptions = unsigned;
    using WritingOptions = unsigned;

    explicit FileCoordinator(FilePresenter *filePresenterToExclude = nullptr);
    ~FileCoordinator();
    Q_DISABLE_COPY_MOVE(FileCoordinator)

    static void addFilePresenter(const std::shared_ptr<FilePresenter> &presenter);
    static void removeFilePresenter(FilePresenter *presenter);
    static QList<std::shared_ptr<FilePresenter>> filePresenters();

    /// Runs `reader` with the URL to read once access is granted; on failure `reader` does not
    /// run and `error` is set.
    void coordinateReadingItemAtURL_options_error_byAccessor(const QUrl &url, ReadingOptions options,
                                                            std::optional<Error> *error,
                                                            const std::function<void(const QUrl &)> &reader);
    void coordinateWritingItemAtURL_options_error_byAccessor(const QUrl &url, WritingOptions options,
                                                            std::optional<Error> *error,
                                                            const std::function<void(const QUrl &)> &writer);
    /// One write over two items at once (a move: the source for-moving, the destination
    /// for-replacing).
    void coordinateWritingItemAtURL_options_writingItemAtURL_options_error_byAccessor(
        const QUrl &url1, WritingOptions options1, const QUrl &url2, WritingOptions options2,
        std::optional<Error> *error, const std::function<void(const QUrl &, const QUrl &)> &writer);

    /// Called by a writer that is about to move an item: presenters follow it to its new place.
    void itemAtURL_willMoveToURL(const QUrl &oldURL, const QUrl &newURL);
    void itemAtURL_didMoveToURL(const QUrl &oldURL, const QUrl &newURL);

    /// Ends the coordinator's waiting or downloading calls, now and later, with error 3072.
    void cancel();

private:
    std::optional<Error> beginAccess(const QList<FileCoordinationCenter::Claim> &claims);
    void endAccess(const QList<FileCoordinationCenter::Claim> &claims, const QList<QString> &changedPaths);
    void accommodateDeletion(const QString &path);

    quint64 m_id;
    FilePresenter *m_excludedPresenter;
    std::shared_ptr<CancellationToken> m_cancel;
    QList<std::pair<QString, QString>> m_moves;
};
