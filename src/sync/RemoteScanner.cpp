#include "sync/RemoteScanner.h"

#include "sync/DavClient.h"
#include "sync/RemoteMapping.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QThread>

#include <deque>
#include <memory>

RemoteScanner::RemoteScanner(DavClient *client)
    : m_client(client)
{
}

std::optional<QHash<QString, DavResource>> RemoteScanner::scan(DavError *error)
{
    m_refused.clear();
    m_unheld.clear();
    QHash<QString, DavResource> items;
    std::deque<QString> pending{QString()};
    std::vector<std::pair<QString, std::unique_ptr<QNetworkReply>>> inFlight;
    QEventLoop loop;
    *error = {};
    while ((!pending.empty() || !inFlight.empty()) && !*error) {
        while (!pending.empty() && inFlight.size() < size_t(parallelRequests)) {
            const QString folder = pending.front();
            pending.pop_front();
            QNetworkReply *reply = m_client->propfind(folder, 1);
            QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
            inFlight.emplace_back(folder, reply);
        }
        const auto finished = std::find_if(inFlight.begin(), inFlight.end(),
                                           [](const auto &entry) { return entry.second->isFinished(); });
        if (finished == inFlight.end()) {
            if (QThread::currentThread()->isInterruptionRequested()) {
                *error = DavError{DavError::Kind::Cancelled, 0, QStringLiteral("the sync service is stopping")};
                break;
            }
            loop.exec(QEventLoop::ExcludeUserInputEvents);
            continue;
        }
        const QString folder = finished->first;
        const std::unique_ptr<QNetworkReply> reply = std::move(finished->second);
        inFlight.erase(finished);
        const auto resources = m_client->readListing(reply.get(), error, &m_refused);
        if (!resources) {
            error->message = QStringLiteral("listing \"/%1\": %2").arg(folder, error->message);
            break;
        }
        for (const DavResource &resource : *resources) {
            if (resource.path == folder) {
                if (folder.isEmpty()) {
                    m_root = resource;
                }
                continue; // the folder itself
            }
            // a Depth 1 answer holds the folder's children only; anything else is refused
            if (resource.path.section(QLatin1Char('/'), 0, -2) != folder) {
                m_refused << QStringLiteral("\"%1\": it is not a child of the folder listed").arg(resource.path);
                continue;
            }
            QString reason;
            const bool held = RemoteMapping::localPathFor(resource.path, &reason).has_value();
            if (!reason.isEmpty()) {
                m_refused << QStringLiteral("\"%1\": %2").arg(resource.path, reason);
            }
            const bool listed = resource.isCollection && (held || RemoteMapping::isListedOnly(resource.path));
            if (held) {
                items.insert(resource.path, resource);
            } else {
                m_unheld << resource.path;
            }
            if (listed) {
                pending.push_back(resource.path);
            }
        }
    }
    for (auto &entry : inFlight) {
        entry.second->abort();
    }
    if (*error) {
        return std::nullopt;
    }
    return items;
}
