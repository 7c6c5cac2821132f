#include "platform/ui/NavigationController.h"

#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationControllerDelegate.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/Toolbar.h"

#include <QApplication>
#include <QMouseEvent>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

NavigationController::NavigationController(QObject *parent)
    : ViewController(parent)
{
}

NavigationController::~NavigationController()
{
    // the screens' views live in the stack widget; each screen deletes its own
    for (const auto &controller : std::as_const(m_stack)) {
        if (controller && controller->isSharedScreen()) {
            release(controller.data()); // it outlives this stack
        } else {
            delete controller.data();
        }
    }
}

QWidget *NavigationController::loadView()
{
    auto *widget = new QWidget;
    widget->setObjectName(QStringLiteral("navigationControllerView"));
    auto *layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_navigationBar = new NavigationBar(widget);
    m_stackWidget = new QStackedWidget(widget);
    m_toolbar = new Toolbar(widget);
    layout->addWidget(m_navigationBar);
    layout->addWidget(m_stackWidget, 1);
    layout->addWidget(m_toolbar);
    m_toolbar->setVisible(!m_toolbarHidden);
    m_navigationBar->setVisible(!m_navigationBarHidden);
    connect(m_navigationBar, &NavigationBar::backRequested, this, [this] { popViewControllerAnimated(true); });
    // Backspace, Alt+Left and the mouse's back button go back as the bar's back button does;
    // a text field keeps its Backspace (it takes the key before any shortcut)
    for (const QKeySequence &keys : {QKeySequence(Qt::Key_Backspace), QKeySequence(QKeySequence::Back)}) {
        new QShortcut(keys, widget, this, &NavigationController::goBackFromKeyboardOrMouse, Qt::WidgetWithChildrenShortcut);
    }
    // the back button of a mouse is pressed over whatever widget is under it
    qApp->installEventFilter(this);
    return widget;
}

void NavigationController::goBackFromKeyboardOrMouse()
{
    // only where the bar offers Back, and never from under a presented screen
    if (presentedViewController() || !m_navigationBar->backButton()->isVisible()) {
        return;
    }
    popViewControllerAnimated(true);
}

bool NavigationController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonRelease && static_cast<QMouseEvent *>(event)->button() == Qt::BackButton) {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (widget && isViewLoaded() && (widget == view() || view()->isAncestorOf(widget))) {
            goBackFromKeyboardOrMouse();
            return true;
        }
    }
    return ViewController::eventFilter(watched, event);
}

NavigationBar *NavigationController::navigationBar()
{
    view();
    return m_navigationBar;
}

Toolbar *NavigationController::toolbar()
{
    view();
    return m_toolbar;
}

QList<ViewController *> NavigationController::viewControllers() const
{
    QList<ViewController *> result;
    for (const auto &controller : m_stack) {
        if (controller) {
            result.append(controller.data());
        }
    }
    return result;
}

ViewController *NavigationController::topViewController() const
{
    const auto controllers = viewControllers();
    return controllers.isEmpty() ? nullptr : controllers.last();
}

ViewController *NavigationController::visibleViewController() const
{
    ViewController *visible = presentedViewController();
    if (!visible) {
        return topViewController();
    }
    while (visible->presentedViewController()) {
        visible = visible->presentedViewController();
    }
    return visible;
}

void NavigationController::adopt(ViewController *controller)
{
    if (!controller->isSharedScreen()) {
        controller->setParent(this);
    }
    controller->setNavigationController(this);
    connect(controller, &ViewController::toolbarItemsChanged, this, &NavigationController::refreshBars,
            Qt::UniqueConnection);
}

void NavigationController::release(ViewController *controller)
{
    disconnect(controller, nullptr, this, nullptr);
    controller->setNavigationController(nullptr);
    if (controller->isSharedScreen()) {
        if (controller->isViewLoaded() && controller->view()->parentWidget() == m_stackWidget) {
            m_stackWidget->removeWidget(controller->view());
            controller->view()->hide();
            controller->view()->setParent(nullptr);
        }
        return;
    }
    if (controller->parent() == this) {
        controller->deleteLater();
    }
}

void NavigationController::setViewControllers(const QList<ViewController *> &controllers, bool animated)
{
    const QList<ViewController *> old = viewControllers();
    m_stack.clear();
    for (ViewController *controller : controllers) {
        adopt(controller);
        m_stack.append(controller);
    }
    for (ViewController *controller : old) {
        if (!controllers.contains(controller)) {
            if (controller->isViewLoaded()) {
                controller->view()->hide();
            }
            release(controller);
        }
    }
    showTop(animated);
}

void NavigationController::pushViewController(ViewController *controller, bool animated)
{
    if (!controller || viewControllers().contains(controller)) {
        return;
    }
    adopt(controller);
    m_stack.append(controller);
    showTop(animated);
}

ViewController *NavigationController::popViewControllerAnimated(bool animated)
{
    const QList<ViewController *> controllers = viewControllers();
    if (controllers.size() < 2) {
        return nullptr;
    }
    ViewController *top = controllers.last();
    m_stack.removeLast();
    showTop(animated);
    release(top);
    return top;
}

NavigationControllerDelegate *NavigationController::navigationDelegate() const
{
    return qobject_cast<NavigationControllerDelegate *>(m_delegate.data());
}

void NavigationController::showTop(bool animated)
{
    view();
    ViewController *top = topViewController();
    if (m_shown && m_shown != top) {
        m_shown->viewWillDisappear(animated);
    }
    if (!top) {
        m_shown.clear();
        refreshBars();
        return;
    }
    if (auto *delegate = navigationDelegate()) {
        delegate->navigationController_willShowViewController_animated(this, top, animated);
    }
    QWidget *topView = top->view();
    if (m_stackWidget->indexOf(topView) < 0) {
        m_stackWidget->addWidget(topView);
    }
    top->viewWillAppear(animated);
    m_stackWidget->setCurrentWidget(topView);
    m_shown = top;
    refreshBars();
    top->viewDidAppear(animated);
    if (auto *delegate = navigationDelegate()) {
        delegate->navigationController_didShowViewController_animated(this, top, animated);
    }
}

void NavigationController::refreshBars()
{
    if (!m_navigationBar) {
        return;
    }
    const QList<ViewController *> controllers = viewControllers();
    ViewController *top = controllers.isEmpty() ? nullptr : controllers.last();
    const QString backTitle = controllers.size() >= 2 ? controllers.at(controllers.size() - 2)->title() : QString();
    m_navigationBar->setItem(top ? top->navigationItem() : nullptr, backTitle, controllers.size() >= 2);
    const QList<BarButtonItem *> items = top ? top->toolbarItems() : QList<BarButtonItem *>{};
    m_toolbar->setItems(items);
    // a screen with nothing for the toolbar gets its room: no empty bar under a document
    m_toolbar->setVisible(!m_toolbarHidden && !items.isEmpty());
}

void NavigationController::setToolbarHidden(bool hidden, bool animated)
{
    Q_UNUSED(animated)
    m_toolbarHidden = hidden;
    refreshBars();
}

void NavigationController::setNavigationBarHidden(bool hidden, bool animated)
{
    Q_UNUSED(animated)
    m_navigationBarHidden = hidden;
    if (m_navigationBar) {
        m_navigationBar->setVisible(!hidden);
    }
}
