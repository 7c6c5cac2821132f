#include "platform/lists/DocumentPickerUnavailableViewController.h"

#include "platform/drive/RemoteAccount.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/lists/ConnectServerViewController.h"
#include "platform/types/ThemeIconEngine.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"
#include "platform/ui/ViewControllerRegistry.h"

#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

DocumentPickerUnavailableViewController::DocumentPickerUnavailableViewController(QObject *parent)
    : ViewController(parent)
{
    setTitle(LocalizedString::localized(QStringLiteral("Aerova Drive")));
}

void DocumentPickerUnavailableViewController::registerClass()
{
    ViewControllerRegistry::registerClass(QStringLiteral("DocumentPickerUnavailableViewController"),
                                          [](QObject *parent) -> ViewController * {
                                              return new DocumentPickerUnavailableViewController(parent);
                                          });
}

QWidget *DocumentPickerUnavailableViewController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("driveUnavailable"));
    root->setAutoFillBackground(true);
    auto *layout = new QVBoxLayout(root);
    layout->setContentsMargins(32, 32, 32, 32);
    layout->setSpacing(12);
    layout->addStretch(2);
    auto *icon = new QLabel(root);
    icon->setPixmap(ThemeIconEngine::icon({QStringLiteral("folder-cloud"), QStringLiteral("folder-remote")}).pixmap(96, 96));
    icon->setAlignment(Qt::AlignCenter);
    layout->addWidget(icon);
    auto *title = new QLabel(LocalizedString::localized(QStringLiteral("Aerova Drive Is Off")), root);
    title->setObjectName(QStringLiteral("unavailableTitle"));
    title->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Title2));
    title->setAlignment(Qt::AlignCenter);
    layout->addWidget(title);
    auto *message = new QLabel(
        LocalizedString::localized(QStringLiteral("Sign in to your Aerova account in Settings to see your documents "
                                                  "here and keep them up to date on all your devices.")),
        root);
    message->setObjectName(QStringLiteral("unavailableMessage"));
    message->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Subheadline));
    message->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    message->setWordWrap(true);
    message->setAlignment(Qt::AlignCenter);
    layout->addWidget(message);

    // with a server account whose password the server refused, say so: signing in again helps
    const std::optional<RemoteAccount> account = RemoteAccount::current();
    if (account && RemoteAccount::needsSignIn()) {
        const QString text = RemoteAccount::passwordRefused()
            ? LocalizedString::localized(QStringLiteral("The server did not accept the password of %1. Connect again to "
                                                        "keep your documents up to date."))
            : LocalizedString::localized(QStringLiteral("The password of %1 was not kept on this device. Connect again "
                                                        "to keep your documents up to date."));
        auto *refused = new QLabel(text.arg(account->user), root);
        refused->setObjectName(QStringLiteral("signInAgainMessage"));
        refused->setWordWrap(true);
        refused->setAlignment(Qt::AlignCenter);
        refused->setStyleSheet(QStringLiteral("color: %1;").arg(SystemColor::systemRedColor().name()));
        layout->addWidget(refused);
    }
    auto *connectButton = new QPushButton(LocalizedString::localized(QStringLiteral("Connect to a Server…")), root);
    connectButton->setObjectName(QStringLiteral("connectToServerButton"));
    connectButton->setMinimumHeight(44);
    connectButton->setFlat(true);
    connectButton->setStyleSheet(QStringLiteral("QPushButton { color: %1; font-weight: 600; }").arg(SystemColor::systemBlueColor().name()));
    connect(connectButton, &QPushButton::clicked, this, [this, account] {
        auto *form = new ConnectServerViewController;
        if (account) {
            form->setAccount(account->server.toString(), account->user);
        }
        presentViewController(form, true);
    });
    layout->addWidget(connectButton, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    return root;
}
