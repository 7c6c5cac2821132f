#pragma once

#include "platform/foundation/Error.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

/// A promised item: a document of the drive whose content is only in the service's store. The
/// item `Name.ext` of a folder is the placeholder file `.Name.ext.promise` in the same folder,
/// JSON holding what can be known without the content:
///
///     { "name": "Report.pdf", "size": 48213, "created": "2026-01-02T03:04:05Z",
///       "modified": "…", "mimeType": "application/pdf", "tags": ["Red"],
///       "shared": false, "role": "owner", "thumbnail": "<PNG, base64>", "storeKey": "…" }
///
/// The item's name is always the placeholder's own file name ("name" inside is informative and
/// may be stale after a move, which is one rename of the placeholder).
///
/// A placeholder beside a real file of the same name is stale (left by an interrupted
/// download) and the real file wins.
class PromisePlaceholder final
{
public:
    QString name;
    qint64 size = -1;
    QDateTime creationDate;
    QDateTime modificationDate;
    QString mimeType;
    QStringList tags;
    bool shared = false;
    /// "owner" or "participant"; meaningful for shared items.
    QString role;
    QByteArray thumbnailPng;
    QString storeKey;

    static std::optional<PromisePlaceholder> read(const QString &placeholderPath, std::optional<Error> *error);
    /// Writes the placeholder under its final name in one step; with `replace` false, an existing
    /// placeholder is an error and stays untouched.
    std::optional<Error> write(const QString &placeholderPath, bool replace) const;

    /// The content of the item in the service's store; empty when the item has no valid key.
    QString storeFilePath() const;
    static QString storeFilePathForKey(const QString &storeKey);
    /// A store key is one name of the store: 1 to 128 of the letters a–z and A–Z, the digits,
    /// '-' and '_'. Nothing else is ever joined to the store's path (a placeholder's key comes
    /// from outside: "../../elsewhere" would read, replace or delete a file out of the drive).
    static bool isStoreKey(const QString &storeKey);
    static QString newStoreKey();

    static bool isPlaceholderName(const QString &fileName);
    /// `/dir/.Name.ext.promise` for `/dir/Name.ext`.
    static QString placeholderPathFor(const QString &logicalPath);
    /// `/dir/Name.ext` for `/dir/.Name.ext.promise`; empty for any other name.
    static QString logicalPathFor(const QString &placeholderPath);
    /// The placeholder of a promised item at `logicalPath`: it exists and no real file does.
    static bool isPromisedItem(const QString &logicalPath);
};
