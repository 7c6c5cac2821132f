#include "platform/lists/ConnectServerViewController.h"

#include "core/DRLogging.h"
#include "platform/foundation/CompanionProgram.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QVBoxLayout>

ConnectServerViewController::ConnectServerViewController(QObject *parent)
    : ViewController(parent)
{
    setTitle(LocalizedString::localized(QStringLiteral("Connect to a Server")));
}

ConnectServerViewController::~ConnectServerViewController()
{
    // the sign-in goes on to its end without the screen: the account it wrote signs the drive
    // in (which is what takes this screen away), and its password still has to be kept
    if (m_process) {
        m_process->disconnect(this);
        m_process->setParent(nullptr);
        connect(m_process, &QProcess::finished, m_process, &QObject::deleteLater);
    }
}

void ConnectServerViewController::setAccount(const QString &server, const QString &user)
{
    m_initialServer = server;
    m_initialUser = user;
    if (m_server) {
        m_server->setText(server);
        m_user->setText(user);
    }
}

QWidget *ConnectServerViewController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("connectServer"));
    root->setAutoFillBackground(true);
    // a form of a readable width, centred on a tablet; the whole width on a phone
    auto *centring = new QHBoxLayout(root);
    centring->setContentsMargins(0, 0, 0, 0);
    auto *column = new QWidget(root);
    column->setMaximumWidth(560);
    centring->addWidget(column);
    auto *layout = new QVBoxLayout(column);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->setSpacing(12);

    auto *heading = new QLabel(LocalizedString::localized(QStringLiteral("Connect to a Server")), root);
    heading->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Title2));
    layout->addWidget(heading);
    auto *explanation = new QLabel(
        LocalizedString::localized(QStringLiteral("Your drive can be any WebDAV folder: Nextcloud, ownCloud, or a server "
                                                  "of your own. For Nextcloud, the address is "
                                                  "https://your.server/remote.php/dav/files/your-name/.")),
        root);
    explanation->setWordWrap(true);
    explanation->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Subheadline));
    explanation->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    layout->addWidget(explanation);

    auto *form = new QFormLayout;
    form->setRowWrapPolicy(QFormLayout::WrapAllRows);
    m_server = new QLineEdit(m_initialServer, root);
    m_server->setObjectName(QStringLiteral("serverField"));
    m_server->setPlaceholderText(QStringLiteral("https://cloud.example.org/remote.php/dav/files/you/"));
    m_server->setInputMethodHints(Qt::ImhUrlCharactersOnly | Qt::ImhNoAutoUppercase);
    m_user = new QLineEdit(m_initialUser, root);
    m_user->setObjectName(QStringLiteral("userField"));
    m_user->setInputMethodHints(Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);
    m_password = new QLineEdit(root);
    m_password->setObjectName(QStringLiteral("passwordField"));
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData | Qt::ImhNoPredictiveText);
    for (QLineEdit *field : {m_server.data(), m_user.data(), m_password.data()}) {
        field->setMinimumHeight(44); // a finger's width
        connect(field, &QLineEdit::textChanged, this, &ConnectServerViewController::updateConnectButton);
        connect(field, &QLineEdit::returnPressed, this, [this] {
            if (m_connect->isEnabled()) {
                startCheck();
            }
        });
    }
    form->addRow(LocalizedString::localized(QStringLiteral("Server Address")), m_server);
    form->addRow(LocalizedString::localized(QStringLiteral("User Name")), m_user);
    form->addRow(LocalizedString::localized(QStringLiteral("Password")), m_password);
    layout->addLayout(form);

    m_error = new QLabel(root);
    m_error->setObjectName(QStringLiteral("connectError"));
    m_error->setWordWrap(true);
    m_error->setStyleSheet(QStringLiteral("color: %1;").arg(SystemColor::systemRedColor().name()));
    m_error->hide();
    layout->addWidget(m_error);
    m_status = new QLabel(LocalizedString::localized(QStringLiteral("Checking with the server…")), root);
    m_status->setObjectName(QStringLiteral("connectStatus"));
    m_status->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    m_status->hide();
    layout->addWidget(m_status);

    auto *buttons = new QHBoxLayout;
    auto *cancel = new QPushButton(LocalizedString::localized(QStringLiteral("Cancel")), root);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setMinimumHeight(44);
    connect(cancel, &QPushButton::clicked, this, [this] { dismissViewControllerAnimated(true); });
    m_connect = new QPushButton(LocalizedString::localized(QStringLiteral("Connect")), root);
    m_connect->setObjectName(QStringLiteral("connectButton"));
    m_connect->setMinimumHeight(44);
    m_connect->setDefault(true);
    m_connect->setStyleSheet(QStringLiteral("QPushButton { color: white; background: %1; border-radius: 10px; padding: 0 20px; }"
                                            "QPushButton:disabled { background: #c7c7cc; }")
                                 .arg(SystemColor::systemBlueColor().name()));
    connect(m_connect, &QPushButton::clicked, this, &ConnectServerViewController::startCheck);
    buttons->addWidget(cancel);
    buttons->addStretch();
    buttons->addWidget(m_connect);
    layout->addLayout(buttons);
    layout->addStretch();
    updateConnectButton();
    // the first field waiting for typing is the one that has the keyboard
    QLineEdit *first = m_server->text().isEmpty() ? m_server.data() : m_password.data();
    QMetaObject::invokeMethod(first, qOverload<>(&QWidget::setFocus), Qt::QueuedConnection);
    return root;
}

void ConnectServerViewController::updateConnectButton()
{
    const bool complete = !m_server->text().trimmed().isEmpty() && !m_user->text().trimmed().isEmpty()
        && !m_password->text().isEmpty();
    m_connect->setEnabled(complete && !m_process);
}

QString ConnectServerViewController::messageFromOutput(const QString &output)
{
    QString message = output.trimmed().section(QLatin1Char('\n'), 0, 0);
    for (const QString &prefix : {QStringLiteral("aerovadrive-ctl: "), QStringLiteral("sign-in: ")}) {
        if (message.startsWith(prefix)) {
            message.remove(0, prefix.size());
        }
    }
    // "https://host/path: The server did not …": the address is on screen already
    if (const qsizetype cut = message.indexOf(QLatin1String(": ")); cut > 0 && message.left(cut).contains(QLatin1String("://"))) {
        message.remove(0, cut + 2);
    }
    return message;
}

void ConnectServerViewController::startCheck()
{
    const QString program = CompanionProgram::find(QStringLiteral("aerovadrive-ctl"), "AEROVA_CTL");
    if (program.isEmpty()) {
        m_error->setText(LocalizedString::localized(QStringLiteral("The control program aerovadrive-ctl is not installed.")));
        m_error->show();
        return;
    }
    m_error->hide();
    m_status->show();
    m_process = new QProcess(this);
    connect(m_process, &QProcess::finished, this, [this](int exitCode) { finishCheck(exitCode); });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            finishCheck(-1);
        }
    });
    m_process->start(program, {QStringLiteral("sign-in"), QStringLiteral("--server"), m_server->text().trimmed(),
                               QStringLiteral("--user"), m_user->text().trimmed()});
    // the password goes through a pipe: never on a command line another user could read
    m_process->write(m_password->text().toUtf8() + '\n');
    m_process->closeWriteChannel();
    for (QLineEdit *field : {m_server.data(), m_user.data(), m_password.data()}) {
        field->setEnabled(false);
    }
    updateConnectButton();
}

void ConnectServerViewController::finishCheck(int exitCode)
{
    const QString output = m_process ? QString::fromLocal8Bit(m_process->readAllStandardError()) : QString();
    if (m_process) {
        m_process->deleteLater();
        m_process = nullptr;
    }
    m_status->hide();
    for (QLineEdit *field : {m_server.data(), m_user.data(), m_password.data()}) {
        field->setEnabled(true);
    }
    if (exitCode == 0) {
        DRLog(LOG_INFO, "Connected to %@ as %@", m_server->text().trimmed(), m_user->text().trimmed());
        emit connected();
        dismissViewControllerAnimated(true);
        return;
    }
    const QString message = messageFromOutput(output);
    m_error->setText(message.isEmpty() ? LocalizedString::localized(QStringLiteral("The server could not be checked."))
                                       : message);
    m_error->show();
    m_password->selectAll();
    m_password->setFocus();
    updateConnectButton();
}
