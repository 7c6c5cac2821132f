#include "platform/ui/Window.h"

#include "platform/foundation/LocalizedString.h"
#include "platform/ui/Device.h"
#include "platform/ui/ViewController.h"

#include <QResizeEvent>
#include <QVBoxLayout>

Window::Window(const QRect &frame, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("window"));
    setWindowTitle(LocalizedString::localized(QStringLiteral("Aerova Drive")));
    setGeometry(frame);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    // the window is the screen's size: what it shows fits in it, never the other way round
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    Device::setWindowSize(frame.size());
}

Window::~Window()
{
    delete m_rootViewController.data();
}

void Window::setRootViewController(ViewController *controller)
{
    if (m_rootViewController == controller) {
        return;
    }
    delete m_rootViewController.data();
    m_rootViewController = controller;
    if (controller) {
        controller->setParent(nullptr);
        layout()->addWidget(controller->view());
        controller->view()->show();
    }
}

void Window::makeKeyAndVisible()
{
    show();
    activateWindow();
    raise();
}

void Window::resizeEvent(QResizeEvent *event)
{
    Device::setWindowSize(event->size());
    QWidget::resizeEvent(event);
}
