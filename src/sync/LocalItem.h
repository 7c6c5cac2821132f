#pragma once

#include <QString>
#include <QStringList>

/// What the device holds at an item's place, as a sync run sees it.
struct LocalItem {
    enum class Kind {
        Absent,
        /// A promised item: only its placeholder.
        Placeholder,
        /// A real document (downloaded, or written on the device).
        File,
        Folder,
        /// A link, a FIFO, a device: never touched.
        Other,
    };
    Kind kind = Kind::Absent;
    /// For a file: its size and modification date, to tell a downloaded copy from an edited one.
    qint64 size = -1;
    qint64 modifiedMs = 0;
    /// For a file: quiet long enough not to be half-written (else it waits for a later run).
    bool settled = true;
    /// For a folder: the store key it carries (it follows the folder when it is moved); empty
    /// for a folder the drive has not recorded.
    QString storeKey;
    /// For a file or a folder: the tags a file manager set on it (`user.xdg.tags`), read with
    /// the rest.
    QStringList tags;
};
