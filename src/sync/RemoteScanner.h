#pragma once

#include "sync/DavError.h"
#include "sync/DavResource.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class DavClient;

/// Lists the whole remote tree, folder by folder (servers change no folder's tag when something
/// inside changes, so every folder is listed on every run), a few requests at a time. Runs a
/// local event loop: for the sync's worker thread.
class RemoteScanner final
{
public:
    /// Requests in flight at once.
    static constexpr int parallelRequests = 4;

    explicit RemoteScanner(DavClient *client);

    /// Every item below the signed-in folder, by path; nullopt when a folder could not be
    /// listed (then nothing may be concluded about what is gone: `error` says why).
    std::optional<QHash<QString, DavResource>> scan(DavError *error);
    /// The items the server sent that were refused, with the reason.
    QStringList refused() const { return m_refused; }
    /// The paths of the items the server holds that the drive does not (refused, hidden): a
    /// folder deleted on the device is not deleted on the server while it holds any.
    QStringList unheld() const { return m_unheld; }
    /// The signed-in folder's own resource, as the last scan listed it.
    DavResource root() const { return m_root; }

private:
    DavClient *m_client;
    QStringList m_refused;
    QStringList m_unheld;
    DavResource m_root;
};
