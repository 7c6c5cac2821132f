#pragma once

#include <QString>

/// How a folder list orders its rows. Folders always come first; among the folders and among
/// the documents the rows follow the key, and names settle ties (numbers by value, case
/// ignored). The order is the device's: every list follows the one last chosen.
struct ListSortOrder {
    enum class Key {
        Name,
        Date, ///< the date of the last change
        Size,
        Kind, ///< the type's description ("PDF document")
    };

    Key key = Key::Name;
    bool descending = false;

    /// The key's name as the settings keep it: "name", "date", "size", "kind".
    static QString nameOf(Key key);
    /// The key of a stored name; an unknown name is Name.
    static Key keyNamed(const QString &name);
    /// The direction a key starts in when chosen: names and kinds from A, dates from the
    /// newest, sizes from the largest, as people look for them.
    static bool startsDescending(Key key);

    bool operator==(const ListSortOrder &other) const = default;
};
