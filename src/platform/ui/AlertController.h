#pragma once

#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/ViewController.h"

#include <QList>
#include <QPointer>

class AlertAction;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

/// An alert (a centred card with a title, a message, text fields and buttons) or an action
/// sheet (a column of buttons rising from the bottom on a phone, a popover at its anchor on a
/// tablet, where a tap beside it counts as Cancel).
class AlertController final : public ViewController
{
    Q_OBJECT

public:
    enum class Style {
        ActionSheet,
        Alert,
    };

    AlertController(const QString &title, const QString &message, Style preferredStyle, QObject *parent = nullptr);
    ~AlertController() override;
    static AlertController *alertControllerWithTitle_message_preferredStyle(const QString &title,
                                                                            const QString &message, Style style);

    QString title() const { return m_alertTitle; }
    QString message() const { return m_message; }
    Style preferredStyle() const { return m_style; }

    /// The alert takes ownership of the action.
    void addAction(AlertAction *action);
    QList<AlertAction *> actions() const;
    /// The action of that title, or null.
    AlertAction *actionWithTitle(const QString &title) const;

    void addTextFieldWithConfigurationHandler(const std::function<void(QLineEdit *)> &configure);
    QList<QLineEdit *> textFields();

    /// A screen shown under the text fields, above the buttons; the alert becomes its owner.
    ViewController *contentViewController() const { return m_contentViewController.data(); }
    void setContentViewController(ViewController *controller);

    PopoverPresentationController *popoverPresentationController() { return &m_popover; }
    /// Whether the sheet shows as a popover at its anchor (an action sheet on a tablet).
    bool isPopover() const;

    /// What a press on the action's button does: nothing when disabled; otherwise the alert
    /// closes unless the action's dismissal check refuses, and then the action's handler runs.
    void pressAction(AlertAction *action);
    QPushButton *buttonForAction(AlertAction *action) const;

    QRect presentedFrameInBounds(const QRect &bounds) override;
    bool dimsWhenPresented() const override { return true; }
    void presentationBackdropTapped() override;
    /// The keyboard goes where one types: the first text field, else the alert itself, so
    /// that Escape reaches it.
    void viewDidAppear(bool animated) override;
    /// Escape: the Cancel action when there is one; an alert without one stays (it asks for
    /// an answer), a sheet without one closes.
    void cancelFromKeyboard();

protected:
    QWidget *loadView() override;

private:
    void rebuildButtons();
    QPushButton *makeButton(AlertAction *action, QWidget *parent);

    QString m_alertTitle;
    QString m_message;
    Style m_style;
    QList<QPointer<AlertAction>> m_actions;
    QList<QPointer<QLineEdit>> m_textFields;
    QPointer<ViewController> m_contentViewController;
    PopoverPresentationController m_popover;
    QVBoxLayout *m_fieldsLayout = nullptr;
    QVBoxLayout *m_contentLayout = nullptr;
    QWidget *m_buttons = nullptr;
    QWidget *m_cancelCard = nullptr;
};
