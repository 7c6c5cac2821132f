#include "platform/ui/ViewController.h"

#include "core/DRLogging.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/PresentationOverlay.h"
#include "platform/ui/StateCoder.h"

#include <QWidget>

ViewController::ViewController(QObject *parent)
    : QObject(parent)
{
}

ViewController::~ViewController()
{
    delete m_overlay.data();
    // the view may live in another widget's tree (a navigation stack); it goes with its screen
    delete m_view.data();
}

QWidget *ViewController::view()
{
    if (!m_view) {
        m_view = loadView();
        viewDidLoad();
    }
    return m_view.data();
}

QWidget *ViewController::loadView()
{
    auto *widget = new QWidget;
    widget->setAutoFillBackground(true);
    return widget;
}

void ViewController::setTitle(const QString &title)
{
    m_title = title;
    navigationItem()->setTitle(title);
}

NavigationItem *ViewController::navigationItem()
{
    if (!m_navigationItem) {
        m_navigationItem = new NavigationItem(this);
    }
    return m_navigationItem.data();
}

QList<BarButtonItem *> ViewController::toolbarItems() const
{
    QList<BarButtonItem *> items;
    for (const auto &item : m_toolbarItems) {
        if (item) {
            items.append(item.data());
        }
    }
    return items;
}

void ViewController::setToolbarItems(const QList<BarButtonItem *> &items, bool animated)
{
    Q_UNUSED(animated)
    m_toolbarItems.clear();
    for (BarButtonItem *item : items) {
        m_toolbarItems.append(item);
    }
    Q_EMIT toolbarItemsChanged();
}

NavigationController *ViewController::navigationController() const
{
    return m_navigationController.data();
}

void ViewController::setNavigationController(NavigationController *navigationController)
{
    m_navigationController = navigationController;
}

void ViewController::encodeRestorableStateWithCoder(StateCoder &coder)
{
    Q_UNUSED(coder)
}

void ViewController::decodeRestorableStateWithCoder(const StateCoder &coder)
{
    Q_UNUSED(coder)
}

void ViewController::presentViewController(ViewController *controller, bool animated, std::function<void()> completion)
{
    Q_UNUSED(animated)
    if (!controller) {
        return;
    }
    if (m_presented) {
        DRLog(LOG_WARNING, "Attempt to present %@ on %@ which is already presenting %@",
              QString::fromUtf8(controller->metaObject()->className()), QString::fromUtf8(metaObject()->className()),
              QString::fromUtf8(m_presented->metaObject()->className()));
        return;
    }
    if (!controller->parent()) {
        controller->setParent(this);
    }
    m_presented = controller;
    controller->m_presenting = this;
    m_overlay = new PresentationOverlay(view()->window(), controller);
    controller->viewWillAppear(false);
    m_overlay->show();
    m_overlay->raise();
    controller->viewDidAppear(false);
    if (completion) {
        completion();
    }
}

void ViewController::dismissViewControllerAnimated(bool animated, std::function<void()> completion)
{
    if (!m_presented && m_presenting) {
        m_presenting->dismissViewControllerAnimated(animated, std::move(completion));
        return;
    }
    ViewController *presented = m_presented.data();
    if (!presented) {
        if (completion) {
            completion();
        }
        return;
    }
    if (presented->m_presented) {
        presented->dismissViewControllerAnimated(false);
    }
    presented->viewWillDisappear(animated);
    m_presented.clear();
    presented->m_presenting.clear();
    if (m_overlay) {
        m_overlay->release();
        m_overlay->deleteLater();
    }
    if (presented->parent() == this) {
        presented->deleteLater();
    }
    if (completion) {
        completion();
    }
}

QRect ViewController::presentedFrameInBounds(const QRect &bounds)
{
    return bounds;
}

void ViewController::viewWillAppear(bool animated)
{
    Q_UNUSED(animated)
}

void ViewController::viewDidAppear(bool animated)
{
    Q_UNUSED(animated)
}

void ViewController::viewWillDisappear(bool animated)
{
    Q_UNUSED(animated)
}
