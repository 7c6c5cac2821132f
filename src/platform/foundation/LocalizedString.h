#pragma once

#include "platform/foundation/StringFormat.h"

#include <QString>

/// The app's strings table: user-visible texts looked up by key. Keys are the English text
/// itself, except the ".DICT." keys, which carry a format in their name and give plural forms
/// chosen by a count ("%d Items" for 3, "%d Item" for 1). A key without an entry is its own text.
class LocalizedString final
{
public:
    LocalizedString() = delete;

    static QString localized(const QString &key);
    /// The form of a ".DICT." key for `count`.
    static QString localizedPlural(const QString &key, int count);

    /// The text of `key` with the arguments put in, in the app's format syntax.
    template <typename... Args>
    static QString localizedStringWithFormat(const QString &key, const Args &...args)
    {
        return StringFormat::format(localized(key), FormatArgs{FormatArg(args)...});
    }
    /// The plural form of `key` for `count`, with the arguments put in.
    template <typename... Args>
    static QString localizedPluralWithFormat(const QString &key, int count, const Args &...args)
    {
        return StringFormat::format(localizedPlural(key, count), FormatArgs{FormatArg(args)...});
    }

    /// Loads the table once per process; every lookup does it on first use.
    static void installTable();
};
