#pragma once

#include <QList>
#include <QStringList>
#include <QUrl>

#include <functional>

/// Copies documents from the computer into a folder of the drive: what Add Files… and a drop
/// from the desktop's file manager do. A document keeps its name, or takes the next free one
/// ("Report 2.pdf") where the folder has that name already: nothing is ever overwritten. Each
/// copy is written unnamed (or under a hidden name) and gets its name only once whole, so a copy
/// cut off by a cancel, a full disk or a killed process leaves nothing half-written in sight.
/// Only regular files are read: a folder, a FIFO or a device is named as not added and never
/// opened for reading (a FIFO would wait for ever).
class DocumentImporter final
{
public:
    DocumentImporter() = delete;

    struct Outcome {
        QList<QUrl> added;
        /// One line a person reads for each document not added: "“Name” could not be added: …".
        QStringList failures;
        bool cancelled = false;
    };

    /// The bytes the sources hold, for a progress to measure against; what is no regular file
    /// counts nothing.
    static qint64 totalSize(const QList<QUrl> &sources);
    /// Copies each source into `folder`, in order. `progress` hears the bytes copied so far
    /// after every step; when it answers false the copy under way is dropped and the rest are
    /// not started. It blocks for as long as the copies take: call it off the main thread.
    static Outcome importDocuments(const QList<QUrl> &sources, const QUrl &folder,
                                   const std::function<bool(qint64 copied)> &progress);
};
