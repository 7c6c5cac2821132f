#include "platform/lists/DocumentListControllerPresentOSAlert.h"

void DocumentListControllerPresentOSAlert(const QUrl &url, ViewController *viewController,
                                          const std::function<void()> &action)
{
    Q_UNUSED(url)
    Q_UNUSED(viewController)
    if (action) {
        action();
    }
}
