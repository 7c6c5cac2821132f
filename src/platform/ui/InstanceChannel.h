#pragma once

#include <QLocalServer>
#include <QObject>
#include <QUrl>

#include <functional>

/// Keeps the app to one running instance per drive: the first instance listens on a local
/// socket named after the drive's home; a later invocation hands its URL (with the application
/// that sent it) to the running one and exits.
class InstanceChannel final : public QObject
{
    Q_OBJECT

public:
    using URLHandler = std::function<void(const QUrl &url, const QString &sourceApplication)>;

    explicit InstanceChannel(QObject *parent = nullptr);

    /// The socket's name for the current drive home.
    static QString serverName();
    /// Hands the URL to a running instance; false when none answers.
    static bool sendToRunningInstance(const QUrl &url, const QString &sourceApplication);
    /// Becomes the running instance; URLs of later invocations go to `handler`.
    bool listen(URLHandler handler);

private:
    QLocalServer m_server;
    URLHandler m_handler;
};
