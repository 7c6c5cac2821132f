#include "browser/FilenamePrompt.h"

#include "browser/SimpleTextViewController.h"
#include "core/DRLogging.h"
#include "model/FileUtils.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Font.h"

#include <QLabel>
#include <QLineEdit>
#include <QtMath>

namespace {
QString trimmed(const QString &text)
{
    // white space and line breaks at both ends
    return text.trimmed();
}
} // namespace

FilenamePrompt::FilenamePrompt(const QString &title, const QString &message, const QString &placeholder,
                               const QString &filename, const QString &doneButtonText, ValidateCallback completion,
                               QObject *parent)
    : QObject(parent)
{
    initWithTitle_message_placeholder_filename_doneButtonText_completion(title, message, placeholder, filename,
                                                                         doneButtonText, std::move(completion));
}

FilenamePrompt::~FilenamePrompt()
{
    // an alert still on screen goes with its prompt
    if (m_alert && m_alert->presentingViewController()) {
        m_alert->dismissViewControllerAnimated(false);
    }
}

std::unique_ptr<FilenamePrompt> FilenamePrompt::newWithTitle_message_placeholder_filename_doneButtonText_completion(
    const QString &title, const QString &message, const QString &placeholder, const QString &filename,
    const QString &doneButtonText, ValidateCallback completion)
{
    return std::make_unique<FilenamePrompt>(title, message, placeholder, filename, doneButtonText,
                                            std::move(completion));
}

void FilenamePrompt::initWithTitle_message_placeholder_filename_doneButtonText_completion(
    const QString &title, const QString &message, const QString &placeholder, const QString &filename,
    const QString &doneButtonText, ValidateCallback completion)
{
    m_origFilename = filename;
    m_validateNewFilenameCallback = std::move(completion);
    m_alert = new AlertController(title, message, AlertController::Style::Alert, this);
    m_alert->setObjectName(QStringLiteral("filenamePrompt"));

    m_alert->addTextFieldWithConfigurationHandler([this, &filename, &placeholder](QLineEdit *field) {
        if (!filename.isEmpty()) {
            field->setText(filename);
        }
        if (!placeholder.isEmpty()) {
            field->setPlaceholderText(placeholder);
        }
        field->setClearButtonEnabled(true);
        // no autocorrection: a name is typed as it is meant
        field->setInputMethodHints(Qt::ImhNone);
        field->setInputMethodHints(Qt::ImhNoPredictiveText);
        connect(field, &QLineEdit::textEdited, this, [this, field] { folderPromptTextFieldChanged(field); });
        connect(field, &QLineEdit::returnPressed, this, [this, field] {
            // the return key works only while there is text
            if (!field->text().isEmpty()) {
                textFieldShouldReturn(field);
            }
        });
        field->setFixedHeight(qCeil(1.2 * Font::lineHeight(field->font())));
    });
    addCancelAction();
    addDefaultAction(doneButtonText);
    m_errMsgViewController = new SimpleTextViewController;
    m_alert->setContentViewController(m_errMsgViewController.data());
    updateErrorMessage(QStringLiteral(""));
}

QLineEdit *FilenamePrompt::textField() const
{
    const QList<QLineEdit *> fields = m_alert ? m_alert->textFields() : QList<QLineEdit *>{};
    return fields.isEmpty() ? nullptr : fields.first();
}

void FilenamePrompt::addCancelAction()
{
    m_alert->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel,
                                       {}));
}

void FilenamePrompt::addDefaultAction(const QString &buttonText)
{
    const QString text = buttonText.isEmpty() ? LocalizedString::localized(QStringLiteral("Done")) : buttonText;
    QPointer<FilenamePrompt> self(this);
    m_defaultAction = AlertAction::actionWithTitle_style_handler_shouldDismissHandler(
        text, AlertAction::Style::Default, [](AlertAction *) { }, [self] { return self && self->handleDoneAction(); });
    if (m_origFilename.isEmpty()) {
        m_defaultAction->setEnabled(false);
    }
    m_alert->addAction(m_defaultAction.data());
}

bool FilenamePrompt::handleDoneAction()
{
    QLineEdit *field = textField();
    if (!field) {
        return false;
    }
    const QString name = trimmed(field->text());
    if (!FileUtils::isValidFilename(name)) {
        return false;
    }
    bool accepted = false;
    const QString message = m_validateNewFilenameCallback ? m_validateNewFilenameCallback(name, &accepted) : QString();
    if (!accepted) {
        updateErrorMessage(message);
        return false;
    }
    return true;
}

void FilenamePrompt::updateErrorMessage(const QString &message)
{
    if (!m_errMsgViewController) {
        return;
    }
    QLabel *label = m_errMsgViewController->messageLabel();
    label->setText(message);
    const bool wantVisible = !message.isEmpty();
    QWidget *line = m_errMsgViewController->view();
    // a line never hidden on purpose counts as visible, even before the alert shows it
    const bool visible = !(line->isHidden() && line->testAttribute(Qt::WA_WState_ExplicitShowHide));
    if (visible != wantVisible) {
        line->setVisible(wantVisible); // the presented alert follows its new size
    }
}

void FilenamePrompt::folderPromptTextFieldChanged(QLineEdit *textField)
{
    if (!m_defaultAction) {
        return;
    }
    const QString name = trimmed(textField->text());
    const bool valid = FileUtils::isValidFilename(name);
    if (valid) {
        updateErrorMessage(QString());
    } else if (!name.isEmpty()) {
        updateErrorMessage(name.startsWith(QLatin1Char('.'))
                               ? LocalizedString::localized(QStringLiteral("Choose a different name."))
                               : LocalizedString::localized(QStringLiteral("Character not allowed in filename")));
    } else {
        updateErrorMessage(QStringLiteral(""));
    }
    m_defaultAction->setEnabled(valid);
}

bool FilenamePrompt::textFieldShouldReturn(QLineEdit *textField)
{
    DRLog(LOG_DEBUG, "textFieldShouldReturn");
    const bool done = handleDoneAction();
    if (done) {
        textField->clearFocus();
        m_alert->dismissViewControllerAnimated(true);
    }
    return done;
}
