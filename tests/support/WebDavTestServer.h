#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <QUrl>

#include <memory>

/// A real WebDAV server on 127.0.0.1, on a free port, serving a temporary folder, for one test
/// class: Apache's mod_dav_fs (with Basic authentication for `user` and `password`) as the
/// reference, SabreDAV under PHP's built-in server (no authentication; its quota set by the
/// test), or rclone's `serve webdav` (Basic authentication; a server that ignores If-Match and
/// keeps no entity tags for folders). Started from a temporary config in the foreground; the destructor stops it, also
/// when a test failed. Changes a test makes on the server go through WebDAV requests.
class WebDavTestServer final
{
public:
    enum class Kind { Apache, Sabre, Rclone };

    explicit WebDavTestServer(Kind kind, const QString &user = QStringLiteral("alice"),
                              const QString &password = QStringLiteral("secret words"));
    ~WebDavTestServer();
    Q_DISABLE_COPY_MOVE(WebDavTestServer)

    static QString kindName(Kind kind);
    /// Starts the server and waits until it answers; false with `error` set when it cannot.
    bool start(QString *error);
    void stop();
    bool isRunning() const;

    Kind kind() const { return m_kind; }
    QString user() const { return m_user; }
    QString password() const { return m_password; }
    /// The served folder's URL, ending in '/'.
    QUrl url() const;
    /// The URL of `path` (names joined by '/', unencoded) below the served folder.
    QUrl url(const QString &path) const;
    /// The folder the server serves: only a benchmark's set-up writes there directly (tests
    /// change the server through WebDAV requests).
    QString servedFolder() const { return m_dir.filePath(QStringLiteral("root")); }
    /// One line per request, "METHOD /path STATUS RANGE".
    QByteArray accessLog() const;
    /// SabreDAV: the quota it reports (and holds documents to) from now on; `fail` makes it
    /// answer 503; clearQuota goes back to the disk's.
    bool setQuota(qint64 used, qint64 available);
    bool failQuota(const QString &message);
    bool clearQuota();
    /// SabreDAV: `verb` requests of `path` (below the served folder, "/" first) answer `status`
    /// from now on; 0 lets them through again.
    bool setFault(const QByteArray &verb, const QString &path, int status);
    /// SabreDAV: once the next PUT of `path` ("/" first) has been answered, `content` is written
    /// over it, as by another device sending at the same instant.
    bool overwriteAfterNextPut(const QString &path, const QByteArray &content);

    /// A WebDAV request with the test's credentials; the HTTP status, 0 without an answer.
    int request(const QByteArray &verb, const QString &path, const QByteArray &body = {},
                const QList<QPair<QByteArray, QByteArray>> &headers = {});
    int put(const QString &path, const QByteArray &content);
    int mkcol(const QString &path);
    int move(const QString &from, const QString &to);
    int remove(const QString &path);
    /// The body of the last request's answer.
    QByteArray lastBody() const { return m_lastBody; }

private:
    bool writeApacheConfig();
    bool waitUntilAnswering(QString *error);

    Kind m_kind;
    QString m_user;
    QString m_password;
    QTemporaryDir m_dir;
    quint16 m_port = 0;
    std::unique_ptr<QProcess> m_process;
    QByteArray m_lastBody;
};
