#pragma once

#include "platform/ui/ViewController.h"

#include <QPointer>
#include <QWidget>

/// The app's one window: it shows its root screen full size and tells Device its size, which
/// decides between the phone and tablet layouts.
class Window final : public QWidget
{
    Q_OBJECT

public:
    explicit Window(const QRect &frame, QWidget *parent = nullptr);
    ~Window() override;

    ViewController *rootViewController() const { return m_rootViewController.data(); }
    /// The window takes ownership of the controller.
    void setRootViewController(ViewController *controller);
    void makeKeyAndVisible();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QPointer<ViewController> m_rootViewController;
};
