#pragma once

#include <QLocalServer>
#include <QObject>
#include <QUrl>

#include <functional>

/// Keeps the app to one running instance per drive: the first instance listens on a local
/// socket named after the drive's home; a later invocation hands its URL (with the application
/// that sent it) to the running one and exits.
///
/// The socket lies in the session's private runtime folder (`$XDG_RUNTIME_DIR`, else a 0700
/// folder of this user's own in the temporary folder), each end checks that the other runs as
/// the same user, and a socket left by a killed instance is replaced.
class InstanceChannel final : public QObject
{
    Q_OBJECT

public:
    using URLHandler = std::function<void(const QUrl &url, const QString &sourceApplication)>;

    explicit InstanceChannel(QObject *parent = nullptr);

    /// The socket's path for the current drive home; empty when no private folder can be had.
    static QString serverName();
    /// The private folder the socket lies in; empty when none can be had.
    static QString runtimeFolder();
    /// Hands the URL to a running instance; false when none answers.
    static bool sendToRunningInstance(const QUrl &url, const QString &sourceApplication);
    /// Becomes the running instance; URLs of later invocations go to `handler`.
    bool listen(URLHandler handler);

private:
    static bool isSameUser(const QLocalSocket &socket);
    void readMessages(QLocalSocket *socket);

    QLocalServer m_server;
    URLHandler m_handler;
};
