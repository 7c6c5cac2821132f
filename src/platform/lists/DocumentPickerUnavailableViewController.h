#pragma once

#include "platform/ui/ViewController.h"

/// What the app shows while the drive is off (no account signed in): a cloud, a title and how
/// to turn the drive on, and "Connect to a Server…", which signs in to a WebDAV server (with a
/// word first when the server refused the stored password). Made by class name through
/// ViewControllerRegistry.
class DocumentPickerUnavailableViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit DocumentPickerUnavailableViewController(QObject *parent = nullptr);

    static void registerClass();

protected:
    QWidget *loadView() override;
};
