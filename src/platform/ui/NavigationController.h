#pragma once

#include "platform/ui/ViewController.h"

#include <QList>
#include <QPointer>

class NavigationBar;
class NavigationControllerDelegate;
class QStackedWidget;
class Toolbar;

/// A stack of screens with a navigation bar on top and a toolbar at the bottom: the screen on
/// top is shown, the back button goes one level up. The screens of the stack are its children;
/// one taken off the stack is deleted unless the new stack holds it again.
class NavigationController : public ViewController
{
    Q_OBJECT

public:
    explicit NavigationController(QObject *parent = nullptr);
    ~NavigationController() override;

    QList<ViewController *> viewControllers() const;
    void setViewControllers(const QList<ViewController *> &controllers, bool animated);
    void pushViewController(ViewController *controller, bool animated);
    ViewController *popViewControllerAnimated(bool animated);
    ViewController *topViewController() const;
    /// What the user sees: the screen presented over the top one, else the top one.
    ViewController *visibleViewController() const;

    bool isToolbarHidden() const { return m_toolbarHidden; }
    /// The toolbar shows while not hidden and the top screen has items for it.
    void setToolbarHidden(bool hidden, bool animated = false);
    bool isNavigationBarHidden() const { return m_navigationBarHidden; }
    void setNavigationBarHidden(bool hidden, bool animated = false);

    /// Weak: an object implementing NavigationControllerDelegate, or any other object (told nothing).
    QObject *delegate() const { return m_delegate.data(); }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

    NavigationBar *navigationBar();
    Toolbar *toolbar();

protected:
    QWidget *loadView() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// Back by Backspace, Alt+Left or a mouse's back button: as the bar's back button does.
    void goBackFromKeyboardOrMouse();
    void showTop(bool animated);
    void refreshBars();
    void adopt(ViewController *controller);
    void release(ViewController *controller);
    NavigationControllerDelegate *navigationDelegate() const;

    QList<QPointer<ViewController>> m_stack;
    QPointer<QObject> m_delegate;
    QPointer<ViewController> m_shown;
    NavigationBar *m_navigationBar = nullptr;
    QStackedWidget *m_stackWidget = nullptr;
    Toolbar *m_toolbar = nullptr;
    bool m_toolbarHidden = true;
    bool m_navigationBarHidden = false;
};
