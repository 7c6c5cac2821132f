#pragma once

#include <QString>

#include <optional>

/// Where the server's items live on the device. The signed-in folder is the default
/// container's root; the hidden `.aerova/<container id>/` holds an app's container, so that it
/// follows the user to every device. Other names starting with '.' are the server's own and
/// stay there, as does a name that looks like the drive's own bookkeeping (a placeholder's).
class RemoteMapping final
{
public:
    RemoteMapping() = delete;

    /// The hidden server folder of the app containers.
    static QString containersFolder() { return QStringLiteral(".aerova"); }

    /// The local path of the remote item at `remotePath` (below the signed-in folder); nullopt
    /// for an item the drive does not hold (`reason` says why when it is worth a log record).
    static std::optional<QString> localPathFor(const QString &remotePath, QString *reason = nullptr);
    /// Whether `remotePath` is a folder the sync lists without holding it locally itself
    /// (the containers' hidden folder).
    static bool isListedOnly(const QString &remotePath);
};
