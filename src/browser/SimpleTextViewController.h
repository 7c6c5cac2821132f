#pragma once

#include "platform/ui/ViewController.h"

#include <QFont>
#include <QPointer>

class QLabel;

/// The red error line under a name prompt's text field: up to five lines of footnote text,
/// inset 16 px on both sides, as tall as its text.
class SimpleTextViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit SimpleTextViewController(QObject *parent = nullptr);

    QLabel *messageLabel();
    static QFont messageLabelFont();
    static constexpr int _labelHorizontalInsets = 16;

protected:
    QWidget *loadView() override;

private:
    QPointer<QLabel> m_messageLabel;
};
