#pragma once

#include <QObject>

class NavigationController;
class ViewController;

/// What a navigation controller tells its delegate about the screens it shows.
class NavigationControllerDelegate
{
public:
    virtual ~NavigationControllerDelegate() = default;
    virtual void navigationController_willShowViewController_animated(NavigationController *navigationController,
                                                                      ViewController *viewController, bool animated)
        = 0;
    virtual void navigationController_didShowViewController_animated(NavigationController *navigationController,
                                                                     ViewController *viewController, bool animated)
        = 0;
};

#define NavigationControllerDelegate_iid "com.quillmere.AerovaDriveApp.NavigationControllerDelegate"
Q_DECLARE_INTERFACE(NavigationControllerDelegate, NavigationControllerDelegate_iid)
