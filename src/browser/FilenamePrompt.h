#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>

#include "browser/SimpleTextViewController.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"

class QLineEdit;

/// The prompt for every name the user types: an alert with one text field, a red error line
/// under it, Cancel, and a confirm button that stays disabled while the name is unusable.
///
/// The prompt checks the name's form; its callback applies the name (creates the folder,
/// renames the item) and answers with the message to show when it could not.
class FilenamePrompt : public QObject
{
    Q_OBJECT

public:
    /// Called with the trimmed name; sets `*accepted` to true once the name was applied, and
    /// returns the message to show otherwise (a null string hides the line).
    using ValidateCallback = std::function<QString(const QString &name, bool *accepted)>;

    FilenamePrompt(const QString &title, const QString &message, const QString &placeholder, const QString &filename,
                   const QString &doneButtonText, ValidateCallback completion, QObject *parent = nullptr);
    ~FilenamePrompt() override;

    static std::unique_ptr<FilenamePrompt> newWithTitle_message_placeholder_filename_doneButtonText_completion(
        const QString &title, const QString &message, const QString &placeholder, const QString &filename,
        const QString &doneButtonText, ValidateCallback completion);
    /// The constructor's work, in the steps the prompt is built by.
    void initWithTitle_message_placeholder_filename_doneButtonText_completion(const QString &title,
                                                                             const QString &message,
                                                                             const QString &placeholder,
                                                                             const QString &filename,
                                                                             const QString &doneButtonText,
                                                                             ValidateCallback completion);

    AlertController *alert() const { return m_alert.data(); }
    SimpleTextViewController *errMsgViewController() const { return m_errMsgViewController.data(); }
    AlertAction *defaultAction() const { return m_defaultAction.data(); }
    QString origFilename() const { return m_origFilename; }
    const ValidateCallback &validateNewFilenameCallback() const { return m_validateNewFilenameCallback; }
    /// The prompt's text field.
    QLineEdit *textField() const;

    void addCancelAction();
    void addDefaultAction(const QString &buttonText);
    bool handleDoneAction();
    void updateErrorMessage(const QString &message);
    void folderPromptTextFieldChanged(QLineEdit *textField);
    bool textFieldShouldReturn(QLineEdit *textField);

private:
    QString m_origFilename;
    ValidateCallback m_validateNewFilenameCallback;
    QPointer<AlertController> m_alert;
    QPointer<SimpleTextViewController> m_errMsgViewController;
    QPointer<AlertAction> m_defaultAction;
};
