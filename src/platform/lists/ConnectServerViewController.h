#pragma once

#include "platform/ui/ViewController.h"

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

class QProcess;

/// "Connect to a Server…": the server address, user name and password of a WebDAV account,
/// checked against the server before they are accepted. The check and the sign-in are the
/// control program's (`aerovadrive-ctl sign-in --server … --user …`, the password on its
/// standard input): one way to sign in, and the app itself never talks to the network. Each
/// failure shows the control program's message (wrong password, not a WebDAV folder,
/// unreachable, certificate not trusted); a success writes the account, which signs the drive
/// in, and the screen goes.
class ConnectServerViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit ConnectServerViewController(QObject *parent = nullptr);
    ~ConnectServerViewController() override;

    /// Fills the form (the account whose password the server refused).
    void setAccount(const QString &server, const QString &user);

    QLineEdit *serverField() const { return m_server; }
    QLineEdit *userField() const { return m_user; }
    QLineEdit *passwordField() const { return m_password; }
    QPushButton *connectButton() const { return m_connect; }
    QLabel *errorLabel() const { return m_error; }
    /// Whether a check with the server is under way.
    bool isChecking() const { return m_process != nullptr; }

    /// The message of the control program's error output, without its program and command
    /// prefix and the address it repeats.
    static QString messageFromOutput(const QString &output);

signals:
    /// The account was accepted and written.
    void connected();

protected:
    QWidget *loadView() override;

private:
    void updateConnectButton();
    void startCheck();
    void finishCheck(int exitCode);

    QString m_initialServer;
    QString m_initialUser;
    QPointer<QLineEdit> m_server;
    QPointer<QLineEdit> m_user;
    QPointer<QLineEdit> m_password;
    QPointer<QPushButton> m_connect;
    QPointer<QLabel> m_error;
    QPointer<QLabel> m_status;
    QProcess *m_process = nullptr;
};
