#pragma once

#include <QString>
#include <QUrl>

/// One row of a folder list, as read from the folder without touching the item itself: the name
/// shown, the item's URL (a promised item's logical URL), and what kind of row it is.
struct DocumentListEntry {
    QString name;
    QUrl url;
    bool isFolder = false;
    bool isPromise = false;
    /// An app's container shown in the drive's root.
    bool isAppContainer = false;

    bool operator==(const DocumentListEntry &other) const = default;
};
