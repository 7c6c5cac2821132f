#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QString>
#include <functional>

class BarButtonItem;
class NavigationController;
class NavigationItem;
class PresentationOverlay;
class StateCoder;
class QWidget;

/// One screen: a lazily made view, the items it puts in the navigation bar and the toolbar,
/// and the screens it presents over itself.
///
/// The view is made on first use by `loadView`, then `viewDidLoad` runs once. A presented
/// controller without a parent becomes the presenter's child and is deleted once dismissed; one
/// that already has an owner is only shown and hidden.
class ViewController : public QObject
{
    Q_OBJECT

public:
    explicit ViewController(QObject *parent = nullptr);
    ~ViewController() override;

    QWidget *view();
    bool isViewLoaded() const { return !m_view.isNull(); }

    QString title() const { return m_title; }
    /// Also the navigation item's title.
    void setTitle(const QString &title);
    NavigationItem *navigationItem();

    QList<BarButtonItem *> toolbarItems() const;
    void setToolbarItems(const QList<BarButtonItem *> &items, bool animated = false);

    /// The navigation controller whose stack holds this controller, or null.
    NavigationController *navigationController() const;
    void setNavigationController(NavigationController *navigationController);

    QString restorationIdentifier() const { return m_restorationIdentifier; }
    void setRestorationIdentifier(const QString &identifier) { m_restorationIdentifier = identifier; }
    virtual void encodeRestorableStateWithCoder(StateCoder &coder);
    virtual void decodeRestorableStateWithCoder(const StateCoder &coder);

    /// Shows `controller` over this one's window. Refused (logged) while this controller already
    /// presents another one.
    void presentViewController(ViewController *controller, bool animated, std::function<void()> completion = {});
    /// Takes away what this controller presents, or, when it presents nothing, this controller
    /// itself from its presenter.
    void dismissViewControllerAnimated(bool animated, std::function<void()> completion = {});
    ViewController *presentedViewController() const { return m_presented.data(); }
    ViewController *presentingViewController() const { return m_presenting.data(); }

    /// How a presented controller covers its presenter. Every style keeps the presenter's view
    /// in place underneath (the presentation layer lies over the window); a controller reads the
    /// style to choose its frame.
    enum class ModalPresentationStyle {
        FullScreen = 0,
        PageSheet = 1,
        FormSheet = 2,
        CurrentContext = 3,
        OverFullScreen = 5,
        OverCurrentContext = 6,
    };
    ModalPresentationStyle modalPresentationStyle() const { return m_modalPresentationStyle; }
    void setModalPresentationStyle(ModalPresentationStyle style) { m_modalPresentationStyle = style; }

    /// Where the view goes when presented inside a window of `bounds`; full size by default.
    virtual QRect presentedFrameInBounds(const QRect &bounds);
    /// Whether the window behind dims while this controller is presented.
    virtual bool dimsWhenPresented() const { return false; }
    /// A tap outside the presented view.
    virtual void presentationBackdropTapped() { }

    /// A screen shared by the whole process (one viewer for every preview): a stack shows it
    /// without owning it, and gives its view back when it takes it off.
    virtual bool isSharedScreen() const { return false; }

    /// Memory is short: a screen lets go of what it can make again. Nothing on this platform
    /// sends it yet.
    virtual void didReceiveMemoryWarning() { }

    virtual void viewWillAppear(bool animated);
    virtual void viewDidAppear(bool animated);
    virtual void viewWillDisappear(bool animated);

Q_SIGNALS:
    void toolbarItemsChanged();

protected:
    /// Makes the controller's view; the default is an empty widget.
    virtual QWidget *loadView();
    virtual void viewDidLoad() { }

private:
    QPointer<QWidget> m_view;
    QString m_title;
    QPointer<NavigationItem> m_navigationItem;
    QList<QPointer<BarButtonItem>> m_toolbarItems;
    QPointer<NavigationController> m_navigationController;
    QString m_restorationIdentifier;
    QPointer<ViewController> m_presented;
    QPointer<ViewController> m_presenting;
    QPointer<PresentationOverlay> m_overlay;
    ModalPresentationStyle m_modalPresentationStyle = ModalPresentationStyle::FullScreen;
};
