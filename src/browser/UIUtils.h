#pragma once

#include "platform/foundation/Error.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class AlertAction;
class BarButtonItem;
class QLineEdit;
class QWidget;
class ViewController;

/// The user-interface helpers of the browser and the preview: applying a typed name to an item
/// (keeping its extension), the texts of errors, the fixed alerts, and text-field selection.
class UIUtils final
{
public:
    UIUtils() = delete;

    /// Renames the item (a bookmark's target rather than the bookmark) to `name`, keeping its
    /// extension. A taken name becomes the next free one; the same name does nothing.
    static std::optional<Error> renameItemAtURL_toName(const QUrl &url, const QString &name);
    /// `url`'s sibling named `newBasename`, with the old extension put back when the new name
    /// does not end in it (ignoring case).
    static QUrl computeNewURL_newBasename(const QUrl &url, const QString &newBasename);

    static void showAlert_message_parentViewController(const QString &title, const QString &message,
                                                       ViewController *parentViewController);
    /// An alert titled by the error's best message; with no error, an alert with neither title
    /// nor message.
    static void showError_parentViewController(const std::optional<Error> &error, ViewController *parentViewController);
    /// The error's description, else its failure reason; empty for no error.
    static QString bestMessage(const std::optional<Error> &error);
    static void showItemExistsAlert_parentViewController(const QString &name, ViewController *parentViewController);
    static void showInvalidItemNameAlert_parentViewController(const QString &name,
                                                             ViewController *parentViewController);

    /// What the user is told before `urls` are deleted: the item's name in quotes, the app
    /// library of a container, or the count of items; empty when a single item can't be read.
    static QString messageForDeletePrompt(const QList<QUrl> &urls);
    /// Told which button ended the delete sheet (null for none) and whether it was a cancel.
    using DeleteWarningCompletion = std::function<void(AlertAction *action, bool cancelled)>;
    /// Asks, in a sheet anchored at `view` (else at `button`) on a tablet, whether `urls` are to be
    /// deleted from every device. Nothing to delete: `completion` runs at once as cancelled. A
    /// single item that can't be read shows nothing and `completion` never runs.
    /// `hasContainer` is not consulted: the text follows from the items themselves.
    static void showDeleteWarningAlert_hasContainer_viewController_usingView_usingButton_completion(
        const QList<QUrl> &urls, bool hasContainer, ViewController *viewController, QWidget *view,
        BarButtonItem *button, const DeleteWarningCompletion &completion);

    static void setCursorInTextFieldToBeforeExtension(QLineEdit *textField);
    static void selectTextInTextField_range(QLineEdit *textField, int location, int length);
    /// The app runs with the tablet layout.
    static bool veskMode();
    static void addChildViewController_childViewController(ViewController *parent, ViewController *child);
};
