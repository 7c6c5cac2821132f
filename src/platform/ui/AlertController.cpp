#include "platform/ui/AlertController.h"

#include "platform/ui/AlertAction.h"
#include "platform/ui/Device.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>

namespace {
constexpr int AlertWidth = 300;
constexpr int SheetMaxWidth = 420;
constexpr int PopoverWidth = 320;
constexpr int ButtonHeight = 50;

QString buttonStyle(AlertAction *action)
{
    const QColor color = !action->isEnabled() ? QColor(199, 199, 204)
        : action->style() == AlertAction::Style::Destructive ? SystemColor::systemRedColor()
                                                             : SystemColor::systemBlueColor();
    return QStringLiteral("QPushButton { color: %1; background: transparent; border: none;"
                          " border-top: 1px solid rgba(0,0,0,30); font-weight: %2; }"
                          "QPushButton:pressed { background: rgba(0,0,0,18); }")
        .arg(color.name(), action->style() == AlertAction::Style::Cancel ? QStringLiteral("600") : QStringLiteral("400"));
}
} // namespace

AlertController::AlertController(const QString &title, const QString &message, Style preferredStyle, QObject *parent)
    : ViewController(parent)
    , m_alertTitle(title)
    , m_message(message)
    , m_style(preferredStyle)
{
}

AlertController::~AlertController()
{
    if (!isViewLoaded()) {
        for (const auto &field : std::as_const(m_textFields)) {
            delete field.data();
        }
    }
}

AlertController *AlertController::alertControllerWithTitle_message_preferredStyle(const QString &title,
                                                                                  const QString &message, Style style)
{
    return new AlertController(title, message, style);
}

void AlertController::addAction(AlertAction *action)
{
    action->setParent(this);
    m_actions.append(action);
    connect(action, &AlertAction::enabledChanged, this, [this] {
        if (isViewLoaded()) {
            rebuildButtons();
        }
    });
    if (isViewLoaded()) {
        rebuildButtons();
    }
}

QList<AlertAction *> AlertController::actions() const
{
    QList<AlertAction *> result;
    for (const auto &action : m_actions) {
        if (action) {
            result.append(action.data());
        }
    }
    return result;
}

AlertAction *AlertController::actionWithTitle(const QString &title) const
{
    for (AlertAction *action : actions()) {
        if (action->title() == title) {
            return action;
        }
    }
    return nullptr;
}

void AlertController::addTextFieldWithConfigurationHandler(const std::function<void(QLineEdit *)> &configure)
{
    auto *field = new QLineEdit;
    field->setObjectName(QStringLiteral("alertTextField"));
    field->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    field->setStyleSheet(QStringLiteral("QLineEdit { border: 1px solid rgba(0,0,0,40); border-radius: 6px;"
                                        " padding: 2px 6px; background: white; }"));
    m_textFields.append(field);
    if (configure) {
        configure(field);
    }
    // a field made before the view waits, parentless, until the view takes it
    if (m_fieldsLayout) {
        m_fieldsLayout->addWidget(field);
    }
}

QList<QLineEdit *> AlertController::textFields()
{
    view();
    QList<QLineEdit *> result;
    for (const auto &field : m_textFields) {
        if (field) {
            result.append(field.data());
        }
    }
    return result;
}

void AlertController::setContentViewController(ViewController *controller)
{
    if (controller) {
        controller->setParent(this);
    }
    m_contentViewController = controller;
    if (m_contentLayout && controller) {
        m_contentLayout->setContentsMargins(0, 0, 0, 8);
        m_contentLayout->addWidget(controller->view());
    }
}

bool AlertController::isPopover() const
{
    return m_style == Style::ActionSheet && Device::userInterfaceIdiom() == Device::Idiom::Pad;
}

QWidget *AlertController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(m_style == Style::Alert ? QStringLiteral("alert") : QStringLiteral("actionSheet"));
    new QShortcut(QKeySequence(Qt::Key_Escape), root, this, &AlertController::cancelFromKeyboard,
                  Qt::WidgetWithChildrenShortcut);
    auto *rootLayout = new QVBoxLayout(root);
    rootLayout->setContentsMargins(0, 0, 0, 0);
    rootLayout->setSpacing(8);

    auto *card = new QWidget(root);
    card->setObjectName(QStringLiteral("alertCard"));
    card->setAttribute(Qt::WA_StyledBackground);
    card->setStyleSheet(QStringLiteral("#alertCard { background: rgba(250,250,250,245); border-radius: 14px; }"));
    auto *cardLayout = new QVBoxLayout(card);
    cardLayout->setContentsMargins(0, 0, 0, 0);
    cardLayout->setSpacing(0);

    auto *header = new QVBoxLayout;
    header->setContentsMargins(16, 18, 16, 14);
    header->setSpacing(6);
    if (!m_alertTitle.isEmpty()) {
        auto *titleLabel = new QLabel(m_alertTitle, card);
        titleLabel->setObjectName(QStringLiteral("alertTitle"));
        titleLabel->setFont(Font::preferredFontForTextStyle(m_style == Style::Alert ? Font::TextStyle::Headline
                                                                                   : Font::TextStyle::Footnote));
        titleLabel->setWordWrap(true);
        titleLabel->setAlignment(Qt::AlignCenter);
        header->addWidget(titleLabel);
    }
    if (!m_message.isEmpty()) {
        auto *messageLabel = new QLabel(m_message, card);
        messageLabel->setObjectName(QStringLiteral("alertMessage"));
        messageLabel->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Footnote));
        messageLabel->setWordWrap(true);
        messageLabel->setAlignment(Qt::AlignCenter);
        header->addWidget(messageLabel);
    }
    m_fieldsLayout = new QVBoxLayout;
    m_fieldsLayout->setSpacing(4);
    for (const auto &field : std::as_const(m_textFields)) {
        if (field) {
            m_fieldsLayout->addWidget(field.data());
        }
    }
    header->addLayout(m_fieldsLayout);
    if (!m_alertTitle.isEmpty() || !m_message.isEmpty() || !m_textFields.isEmpty()) {
        cardLayout->addLayout(header);
    }
    m_contentLayout = new QVBoxLayout;
    // room under a content screen only; a sheet of buttons alone starts with its first button
    m_contentLayout->setContentsMargins(0, 0, 0, m_contentViewController ? 8 : 0);
    if (m_contentViewController) {
        m_contentLayout->addWidget(m_contentViewController->view());
    }
    cardLayout->addLayout(m_contentLayout);
    m_buttons = new QWidget(card);
    cardLayout->addWidget(m_buttons);
    rootLayout->addWidget(card);

    if (m_style == Style::ActionSheet) {
        m_cancelCard = new QWidget(root);
        m_cancelCard->setObjectName(QStringLiteral("alertCancelCard"));
        m_cancelCard->setAttribute(Qt::WA_StyledBackground);
        m_cancelCard->setStyleSheet(QStringLiteral("#alertCancelCard { background: white; border-radius: 14px; }"));
        new QVBoxLayout(m_cancelCard);
        m_cancelCard->layout()->setContentsMargins(0, 0, 0, 0);
        rootLayout->addWidget(m_cancelCard);
    }
    rebuildButtons();
    return root;
}

QPushButton *AlertController::makeButton(AlertAction *action, QWidget *parent)
{
    const QString text = action->detail().isEmpty() ? action->title() : action->title() + QStringLiteral("  ") + action->detail();
    auto *button = new QPushButton(text, parent);
    button->setObjectName(QStringLiteral("alertButton"));
    button->setProperty("alertAction", QVariant::fromValue<QObject *>(action));
    button->setMinimumHeight(ButtonHeight);
    button->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    button->setEnabled(action->isEnabled());
    button->setStyleSheet(buttonStyle(action));
    button->setCursor(Qt::PointingHandCursor);
    QPointer<AlertAction> target(action);
    connect(button, &QPushButton::clicked, this, [this, target] {
        if (target) {
            pressAction(target.data());
        }
    });
    return button;
}

void AlertController::rebuildButtons()
{
    for (QWidget *holder : {m_buttons, m_cancelCard}) {
        if (!holder) {
            continue;
        }
        const auto old = holder->findChildren<QPushButton *>(QString(), Qt::FindDirectChildrenOnly);
        qDeleteAll(old);
        delete holder->layout();
    }
    const QList<AlertAction *> all = actions();
    QList<AlertAction *> main;
    AlertAction *cancel = nullptr;
    for (AlertAction *action : all) {
        if (action->style() == AlertAction::Style::Cancel && !cancel) {
            cancel = action;
        } else {
            main.append(action);
        }
    }
    const bool sideBySide = m_style == Style::Alert && all.size() == 2;
    QBoxLayout *layout = sideBySide ? static_cast<QBoxLayout *>(new QHBoxLayout(m_buttons))
                                    : static_cast<QBoxLayout *>(new QVBoxLayout(m_buttons));
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    if (m_style == Style::Alert) {
        // an alert puts Cancel first when side by side, last in a column
        QList<AlertAction *> ordered = main;
        if (cancel) {
            sideBySide ? ordered.prepend(cancel) : ordered.append(cancel);
        }
        for (AlertAction *action : ordered) {
            layout->addWidget(makeButton(action, m_buttons));
        }
        return;
    }
    for (AlertAction *action : main) {
        layout->addWidget(makeButton(action, m_buttons));
    }
    auto *cancelLayout = new QVBoxLayout(m_cancelCard);
    cancelLayout->setContentsMargins(0, 0, 0, 0);
    // a popover has no Cancel button: a tap beside it cancels
    if (cancel && !isPopover()) {
        QPushButton *button = makeButton(cancel, m_cancelCard);
        button->setStyleSheet(buttonStyle(cancel).replace(QStringLiteral("border-top: 1px solid rgba(0,0,0,30);"),
                                                          QString()));
        cancelLayout->addWidget(button);
    }
    m_cancelCard->setVisible(cancel && !isPopover());
}

QPushButton *AlertController::buttonForAction(AlertAction *action) const
{
    if (!isViewLoaded()) {
        return nullptr;
    }
    const auto buttons = const_cast<AlertController *>(this)->view()->findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        if (button->property("alertAction").value<QObject *>() == action) {
            return button;
        }
    }
    return nullptr;
}

void AlertController::pressAction(AlertAction *action)
{
    if (!action || !action->isEnabled()) {
        return;
    }
    if (!action->shouldDismiss()) {
        return;
    }
    QPointer<AlertAction> guard(action);
    // a dismissed alert is deleted later, so its action still runs
    dismissViewControllerAnimated(true);
    if (guard) {
        guard->runHandler();
    }
}

void AlertController::viewDidAppear(bool animated)
{
    ViewController::viewDidAppear(animated);
    const QList<QLineEdit *> fields = textFields();
    if (!fields.isEmpty()) {
        fields.first()->setFocus(Qt::OtherFocusReason); // keeps a selection made beforehand
    } else {
        view()->setFocus(Qt::OtherFocusReason);
    }
}

void AlertController::cancelFromKeyboard()
{
    for (AlertAction *action : actions()) {
        if (action->style() == AlertAction::Style::Cancel) {
            pressAction(action);
            return;
        }
    }
    if (m_style == Style::ActionSheet) {
        dismissViewControllerAnimated(true);
    }
}

void AlertController::presentationBackdropTapped()
{
    if (m_style != Style::ActionSheet) {
        return;
    }
    for (AlertAction *action : actions()) {
        if (action->style() == AlertAction::Style::Cancel) {
            pressAction(action);
            return;
        }
    }
    dismissViewControllerAnimated(true);
}

QRect AlertController::presentedFrameInBounds(const QRect &bounds)
{
    QWidget *content = view();
    const auto heightFor = [content](int width) {
        QLayout *layout = content->layout();
        layout->activate();
        const int forWidth = layout->hasHeightForWidth() ? layout->totalHeightForWidth(width) : 0;
        return std::max({forWidth, layout->totalMinimumSize().height(), layout->totalSizeHint().height()});
    };
    if (m_style == Style::Alert) {
        const int width = std::min(AlertWidth, bounds.width() - 32);
        QRect frame(0, 0, width, heightFor(width));
        frame.moveCenter(bounds.center());
        return frame;
    }
    if (isPopover()) {
        QWidget *overlay = content->parentWidget();
        return m_popover.frameForSize(QSize(PopoverWidth, heightFor(PopoverWidth)), bounds,
                                      overlay ? overlay->parentWidget() : nullptr);
    }
    const int width = std::min(SheetMaxWidth, bounds.width() - 16);
    const int height = heightFor(width);
    return QRect(bounds.center().x() - width / 2, bounds.bottom() - 8 - height, width, height);
}
