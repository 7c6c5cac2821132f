#include "browser/SimpleTextViewController.h"

#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"

#include <QHBoxLayout>
#include <QLabel>

SimpleTextViewController::SimpleTextViewController(QObject *parent)
    : ViewController(parent)
{
}

QFont SimpleTextViewController::messageLabelFont()
{
    return Font::preferredFontForTextStyle(Font::TextStyle::Footnote);
}

QLabel *SimpleTextViewController::messageLabel()
{
    view();
    return m_messageLabel.data();
}

QWidget *SimpleTextViewController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("errorLine"));
    // the line is exactly as big as its text: it hugs its content on both axes
    root->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto *layout = new QHBoxLayout(root);
    layout->setContentsMargins(_labelHorizontalInsets, 0, _labelHorizontalInsets, 0);
    m_messageLabel = new QLabel(root);
    m_messageLabel->setObjectName(QStringLiteral("messageLabel"));
    m_messageLabel->setFont(messageLabelFont());
    m_messageLabel->setWordWrap(true);
    m_messageLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    QPalette palette = m_messageLabel->palette();
    palette.setColor(QPalette::WindowText, SystemColor::systemRedColor());
    m_messageLabel->setPalette(palette);
    // at most five lines
    m_messageLabel->setMaximumHeight(m_messageLabel->fontMetrics().lineSpacing() * 5);
    layout->addWidget(m_messageLabel);
    return root;
}
