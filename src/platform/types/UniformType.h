#pragma once

#include <QString>

/// Type identifiers are MIME type names of the shared MIME database. The well-known abstract
/// identifiers map onto families: "public.image" is every image/*, "public.movie" every video/*,
/// "public.audio" every audio/*, "com.adobe.pdf" application/pdf, and "public.data",
/// "public.content" and "public.item" take every type.
class UniformType final
{
public:
    UniformType() = delete;

    static const QString Image;
    static const QString Movie;
    static const QString Audio;
    static const QString PDF;
    static const QString Data;
    static const QString Content;
    static const QString Item;
    static const QString Folder;
    /// A symbolic link: what a bookmark that leads out of the drive is shown as.
    static const QString SymbolicLink;

    /// The type of files with this extension; empty when the database knows none.
    static QString preferredIdentifierForExtension(const QString &extension);
    /// Whether `type` is `conformingTo` or one of its descendants.
    static bool conformsTo(const QString &type, const QString &conformingTo);
    /// The type's description for people ("PDF document"); empty for an unknown type.
    static QString localizedDescription(const QString &type);
};
