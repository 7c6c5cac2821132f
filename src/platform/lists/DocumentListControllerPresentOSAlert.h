#pragma once

#include <QUrl>

#include <functional>

class ViewController;

/// Runs an action that takes a document out of the drive's browser (opening it in another
/// app), after confirming with the user when the action needs it.
///
/// Handing a document to its default app needs no confirmation on this system: the user chose
/// the default app, and the document stays where it is. So the action runs at once, before this
/// returns; `viewController` is where a confirmation would be presented.
void DocumentListControllerPresentOSAlert(const QUrl &url, ViewController *viewController,
                                          const std::function<void()> &action);
