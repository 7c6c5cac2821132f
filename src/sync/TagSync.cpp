#include "sync/TagSync.h"

#include "core/DRLogging.h"
#include "platform/drive/FileAttributes.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "sync/DavClient.h"
#include "sync/RemoteMapping.h"
#include "sync/SyncJournal.h"

#include <QNetworkReply>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace {

/// A document of the device opened for its attributes: never through a link, never blocked
/// by a FIFO; -1 for anything but a regular file.
int openDocument(const QString &path)
{
    const int fd = ::open(FilePath::encode(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat st {};
    if (fd >= 0 && (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))) {
        ::close(fd);
        return -1;
    }
    return fd;
}

/// A folder of the device opened for its attributes, never through a link; -1 for anything else.
int openFolder(const QString &path)
{
    return ::open(FilePath::encode(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// `mine`, then what `theirs` adds: both sides changed the tags, and neither loses any.
QStringList merged(const QStringList &mine, const QStringList &theirs)
{
    QStringList all = mine;
    for (const QString &tag : theirs) {
        if (!all.contains(tag)) {
            all << tag;
        }
    }
    return all;
}

} // namespace

TagSync::TagSync(DavClient *client, SyncJournal *journal)
    : m_client(client)
    , m_journal(journal)
{
}

std::optional<QStringList> TagSync::deviceTags(const QString &path, const LocalItem &item)
{
    if (item.kind == LocalItem::Kind::File || item.kind == LocalItem::Kind::Folder) {
        return item.tags; // as the run's walk read them
    }
    std::optional<Error> error;
    const auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
    return placeholder ? std::optional(placeholder->tags) : std::nullopt;
}

bool TagSync::setDeviceTags(const QString &path, LocalItem::Kind kind, const QStringList &tags)
{
    if (kind == LocalItem::Kind::Placeholder) {
        std::optional<Error> error;
        auto placeholder = PromisePlaceholder::read(PromisePlaceholder::placeholderPathFor(path), &error);
        if (!placeholder) {
            return false;
        }
        placeholder->tags = tags;
        return !placeholder->write(PromisePlaceholder::placeholderPathFor(path), true);
    }
    const int fd = kind == LocalItem::Kind::Folder ? openFolder(path) : openDocument(path);
    if (fd < 0) {
        return false;
    }
    const bool set = FileAttributes::setTags(fd, tags);
    ::close(fd);
    return set;
}

QString TagSync::refusedName() const
{
    return QStringLiteral("tagsRefused ") + m_client->folder().toString(QUrl::FullyEncoded);
}

TagSync::Sent TagSync::send(const QString &path, bool isFolder, const QStringList &tags, QString *error)
{
    const std::unique_ptr<QNetworkReply> reply(m_client->setTags(path, tags, isFolder));
    DavClient::waitFor(reply.get());
    if (DavClient::propertiesSet(reply.get())) {
        return Sent::Done;
    }
    const DavError davError = DavClient::errorOf(reply.get());
    if (davError.kind == DavError::Kind::Unreachable || davError.kind == DavError::Kind::ServerError
        || davError.kind == DavError::Kind::Unauthorized || davError.kind == DavError::Kind::Cancelled) {
        *error = davError.description();
        return Sent::Failed; // asked again at the next run
    }
    // a 207 refusing the property, a 403, a 405: this server keeps no tags
    *error = davError ? davError.description() : QStringLiteral("the server did not keep them");
    return Sent::Refused;
}

int TagSync::run(const QHash<QString, SyncRecord> &inStep, const QHash<QString, LocalItem> &local,
                 const QHash<QString, DavResource> &remote, QStringList *failures)
{
    if (!m_journal->value(refusedName()).isEmpty()) {
        return 0;
    }
    const QHash<QString, QStringList> agreed = m_journal->agreedTags();
    int changes = 0;
    for (auto it = inStep.cbegin(); it != inStep.cend(); ++it) {
        const SyncRecord &record = it.value();
        const LocalItem item = local.value(it.key());
        const auto resource = remote.constFind(it.key());
        const bool document = item.kind == LocalItem::Kind::File || item.kind == LocalItem::Kind::Placeholder;
        const bool folder = item.kind == LocalItem::Kind::Folder;
        const std::optional<QString> path = RemoteMapping::localPathFor(it.key());
        if (resource == remote.cend() || !path) {
            continue;
        }
        // the same kind of item on the device, in the journal and on the server
        if (!(document || folder) || record.isFolder != folder || resource->isCollection != folder) {
            continue;
        }
        const QStringList before = agreed.value(record.storeKey);
        const QStringList server = resource->tags;
        // a placeholder's tags change only by a sync: only the server's are news for it
        if (item.kind == LocalItem::Kind::Placeholder && server == before) {
            continue;
        }
        const std::optional<QStringList> device = deviceTags(*path, item);
        if (!device) {
            continue; // gone or replaced since the scan: the next run looks again
        }
        if (*device == server) {
            if (before != server) {
                m_journal->setAgreedTags(record.storeKey, server);
            }
            continue;
        }
        const bool deviceChanged = *device != before;
        const bool serverChanged = server != before;
        const QStringList wanted = deviceChanged && serverChanged ? merged(*device, server) : deviceChanged ? *device : server;
        if (wanted != server) {
            QString error;
            const Sent sent = send(it.key(), folder, wanted, &error);
            if (sent == Sent::Failed) {
                *failures << QStringLiteral("\"%1\": its tags: %2").arg(it.key(), error);
                DRLog(LOG_ERR, "Cannot send the tags of \"%@\" to the server: %@", it.key(), error);
                continue;
            }
            if (sent == Sent::Refused) {
                // said once; from now on the device's tags are its own
                m_journal->setValue(refusedName(), QStringLiteral("1"));
                DRLog(LOG_WARNING, "The server keeps no tags (%@): the tags set on this device stay on it", error);
                return changes;
            }
        }
        if (wanted != *device && !setDeviceTags(*path, item.kind, wanted)) {
            DRLog(LOG_ERR, "Cannot set the tags of \"%@\" on the device", it.key());
            continue;
        }
        m_journal->setAgreedTags(record.storeKey, wanted);
        ++changes;
    }
    return changes;
}
