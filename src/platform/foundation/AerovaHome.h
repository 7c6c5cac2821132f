#pragma once

#include <QString>

/// The one folder that holds all state of the app and of the drive service: `$AEROVA_HOME`,
/// by default `$XDG_DATA_HOME/AerovaDrive`. Read anew on every call, so that a test or a demo
/// that points the variable elsewhere is followed at once.
class AerovaHome final
{
public:
    AerovaHome() = delete;

    static QString path();
    /// A path below the home, made of `relative` components joined with '/'.
    static QString filePath(const QString &relative);
    /// The standard user defaults file (the log level, the stored account token).
    static QString defaultsFile();
};
