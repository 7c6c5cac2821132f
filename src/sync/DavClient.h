#pragma once

#include "sync/DavError.h"
#include "sync/DavResource.h"

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QObject>
#include <QUrl>

#include <memory>
#include <optional>

class DocumentSender;
class QIODevice;
class QNetworkAccessManager;
class QNetworkRequest;

/// A WebDAV client for one account: the server folder named at sign-in and its credentials.
/// Requests are asynchronous replies of one QNetworkAccessManager, owned by the client's thread;
/// the blocking helpers run a local event loop for code on a worker thread. Basic
/// authentication is sent only over HTTPS, or to a server on this machine.
class DavClient final : public QObject
{
    Q_OBJECT
public:
    /// The largest PROPFIND answer read: 64 MiB, about 160,000 resources. A larger answer is
    /// refused (`DavError::Kind::TooLarge`) rather than held in memory.
    static constexpr qint64 maximumListingSize = 64LL * 1024 * 1024;

    DavClient(const QUrl &folder, const QString &user, const QString &password, QObject *parent = nullptr);
    ~DavClient() override;

    /// A client of the same folder with the same credentials, for another thread (a client
    /// and its replies belong to the thread that made them).
    std::unique_ptr<DavClient> sibling() const;

    /// Lowers the limit of a listing's size (for tests of the limit).
    void setMaximumListingSize(qint64 bytes) { m_maximumListingSize = bytes; }

    /// The signed-in folder, its path ending in '/'.
    QUrl folder() const { return m_folder; }
    QString user() const { return m_user; }
    /// The URL of the resource at `path` below the folder (names joined by '/', unencoded).
    QUrl urlFor(const QString &path, bool collection = false) const;
    /// Whether the password may be sent to this server: over HTTPS, or to a loopback address.
    static bool maySendPassword(const QUrl &folder);

    /// PROPFIND of the folder (or, with `collection` false, the document) at `path`.
    QNetworkReply *propfind(const QString &path, int depth, bool collection = true);
    QNetworkReply *propfindQuota();
    /// GET from `offset` on; with `ifRange` set, a resource changed since gives all of it again.
    QNetworkReply *get(const QString &path, qint64 offset = 0, const QString &ifRange = {});
    QNetworkReply *options(const QString &path = {});
    QNetworkReply *put(const QString &path, const QByteArray &content);
    /// PUT of `content` (open, from its start, for as long as the reply runs). Without `over`
    /// only where the server has nothing (`If-None-Match: *`), else only over that version of
    /// the server's document: a server's document is never overwritten unseen.
    QNetworkReply *upload(const QString &path, QIODevice *content, const std::optional<DavResource> &over);
    /// Blocking: PUT of the first `size` bytes of the open file `fd`, on the conditions of
    /// upload(), streamed from the file on this thread (see DocumentSender). A file that ends
    /// early breaks the request off (Cancelled), so the server keeps nothing cut short.
    DavError sendDocument(const QString &path, int fd, qint64 size, const std::optional<DavResource> &over);
    QNetworkReply *mkcol(const QString &path);
    /// Sets the document's (or, with `isCollection`, the folder's) tags, a dead property the
    /// other devices read back; none removes it.
    QNetworkReply *setTags(const QString &path, const QStringList &tags, bool isCollection = false);
    /// Whether a PROPPATCH's answer says every property was set (a 207 whose every status is 2xx).
    static bool propertiesSet(QNetworkReply *reply);
    QNetworkReply *move(const QString &from, const QString &to, bool isCollection = false);
    /// DELETE; with `seen`, only while the server's document is still that version.
    QNetworkReply *remove(const QString &path, bool isCollection = false, const std::optional<DavResource> &seen = {});

    /// The error of a finished reply, none for a 2xx answer.
    static DavError errorOf(QNetworkReply *reply);
    /// The error of an answer with `status` (0: none came, for `failure`), none for 2xx.
    static DavError errorFor(int status, const QString &reasonPhrase, QNetworkReply::NetworkError failure,
                             const QString &failureText);
    /// Ends `reply` as soon as its answer says or shows it holds more than `limit` bytes (its
    /// error is then TooLarge): an answer is never read into memory past what was asked for.
    static void limitAnswer(QNetworkReply *reply, qint64 limit);
    /// A finished reply whose body is shorter (or longer) than it announced, `received` bytes.
    static DavError droppedConnection(QNetworkReply *reply, qint64 received);
    /// Reads a finished PROPFIND reply; `refused` gets the resources refused one by one.
    std::optional<QList<DavResource>> readListing(QNetworkReply *reply, DavError *error, QStringList *refused = nullptr);

    /// Blocking: waits until the reply has finished.
    static void waitFor(QNetworkReply *reply);
    /// Blocking: lists `path` with depth 0 or 1.
    std::optional<QList<DavResource>> list(const QString &path, int depth, DavError *error, QStringList *refused = nullptr,
                                           bool collection = true);
    /// Blocking: checks that the folder is a WebDAV folder the credentials open.
    DavError checkFolder();

private:
    QNetworkRequest request(const QUrl &url) const;
    /// The PUT of a document's content, on the conditions upload() and sendDocument() share.
    QNetworkRequest documentRequest(const QString &path, const std::optional<DavResource> &over) const;
    /// The condition that the server's resource is still the version `seen`: `If-Match` on its
    /// strong entity tag, else `If-Unmodified-Since` its date.
    static void setUnchangedSince(QNetworkRequest *request, const DavResource &seen);
    QNetworkReply *send(const QByteArray &verb, QNetworkRequest request, const QByteArray &body = {});

    QUrl m_folder;
    QString m_user;
    QByteArray m_authorization;
    QNetworkAccessManager *m_network;
    /// Made with the first document sent.
    std::unique_ptr<DocumentSender> m_sender;
    qint64 m_maximumListingSize = maximumListingSize;
};
