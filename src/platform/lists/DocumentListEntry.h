#pragma once

#include <QString>
#include <QUrl>

/// One row of a folder list, as read from the folder without touching the item itself: the name
/// shown, where the item is, and what kind of row it is.
///
/// A folder of a hundred thousand items holds a hundred thousand of these, so a row keeps no URL
/// of its own: its folder's path is one string shared by every row, and the URL is made when
/// asked for.
struct DocumentListEntry {
    QString name;
    /// The folder the row was listed in, without a trailing slash; for an app container, the
    /// container's documents folder itself (its name is the app's).
    QString folderPath;
    bool isFolder = false;
    bool isPromise = false;
    /// An app's container shown in the drive's root.
    bool isAppContainer = false;

    /// The item's path: a promised item's logical path.
    QString path() const { return isAppContainer ? folderPath : folderPath + QLatin1Char('/') + name; }
    QUrl url() const { return QUrl::fromLocalFile(path()); }

    bool operator==(const DocumentListEntry &other) const = default;
};
// moved by its bytes: a big folder's rows grow, shrink and take an inserted row without a copy
Q_DECLARE_TYPEINFO(DocumentListEntry, Q_RELOCATABLE_TYPE);
