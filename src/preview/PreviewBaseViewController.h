#pragma once

#include "platform/ui/BarButtonItem.h"
#include "platform/ui/ViewController.h"
#include "preview/PreviewMode.h"

#include <QMargins>
#include <QPointer>

#include <memory>

class PreviewItemManager;
class Progress;
class QAbstractButton;
class QVBoxLayout;

/// Device orientations as the preview screens tell them apart.
enum class PseudoOrientation {
    Unknown = 0,
    Portrait = 1,
    PortraitUpsideDown = 2,
    LandscapeLeft = 3,
    LandscapeRight = 4,
};

/// The base of the app's own preview screens (the download, details and thumbnail screens): a
/// white page with an inset content area, the item's Action, Delete and Move buttons (and an
/// open-in button where a subclass has one), the manager told when the screen leaves, and the
/// drive service's progress for the item while it downloads, thinned into 5 % steps for the log.
///
/// The navigation bar and the toolbar lie outside the screen's view on this platform, so the
/// content area's insets are the margins alone. Progress reports arrive on the drive service's
/// thread; they are handed to the screen on the main thread, where widgets live.
class PreviewBaseViewController : public ViewController
{
    Q_OBJECT

public:
    explicit PreviewBaseViewController(QObject *parent = nullptr);
    ~PreviewBaseViewController() override;

    QWidget *wrapperView() const { return m_wrapperView.data(); }
    PreviewItemManager *itemManager() const { return m_itemManager.data(); }
    void setItemManager(PreviewItemManager *manager);
    PreviewMode mode() const { return m_mode; }
    void setMode(PreviewMode mode) { m_mode = mode; }
    BarButtonItem *barButtonActionItem() const { return m_barButtonActionItem.data(); }
    BarButtonItem *barButtonDeleteItem() const { return m_barButtonDeleteItem.data(); }
    BarButtonItem *barButtonMoveItem() const { return m_barButtonMoveItem.data(); }
    int lastProgressChunk() const { return m_lastProgressChunk; }
    /// The token of the current progress subscription, 0 for none.
    int subscriber() const { return m_subscriber; }
    /// The insets of the content area: left, top, right, bottom.
    QMargins wrapperMargins() const { return m_wrapperMargins; }
    /// The content area's edges against the screen's view, as offsets: top and leading inward
    /// (positive), bottom and trailing inward (negative).
    int parentTopConstraint() const { return m_wrapperMargins.top(); }
    int parentBottomConstraint() const { return -m_wrapperMargins.bottom(); }
    int parentLeadingConstraint() const { return m_wrapperMargins.left(); }
    int parentTrailingConstraint() const { return -m_wrapperMargins.right(); }

    void viewWillAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;

    virtual void setupConstraints();
    virtual void configureMargins();
    virtual PseudoOrientation currentPseudoOrientation();
    virtual void refreshItem();
    virtual void registerForProgress();
    virtual void unregisterProgress();
    /// A report of a progress the screen observes: "fractionCompleted" changed.
    virtual void observeValueForKeyPath_ofObject_change_context(const QString &keyPath, const std::shared_ptr<Progress> &progress);
    /// The subclass's hook for each progress report.
    virtual void updateProgress(const std::shared_ptr<Progress> &progress);
    virtual void configureButtons();
    /// A button the subclass wants in the navigation bar to open the item in its default app.
    virtual QAbstractButton *openInAppNavControllerButton();
    virtual void openInDefaultApp();
    virtual void showWarningAndDeleteDocument();
    virtual void showDocumentActivities();
    virtual void showMoveTarget();

    /// The 5 % step of a fraction, as a 32-bit truncation gives it (INT_MIN when the fraction
    /// is not a finite number in range).
    static int progressChunk(double fraction);

protected:
    QWidget *loadView() override;
    void viewDidLoad() override;

private:
    QPointer<QWidget> m_wrapperView;
    QVBoxLayout *m_rootLayout = nullptr;
    QPointer<PreviewItemManager> m_itemManager;
    PreviewMode m_mode = PreviewModePreview;
    QMargins m_wrapperMargins;
    int m_subscriber = 0;
    QPointer<BarButtonItem> m_barButtonActionItem;
    QPointer<BarButtonItem> m_barButtonDeleteItem;
    QPointer<BarButtonItem> m_barButtonMoveItem;
    int m_lastProgressChunk = -1;
};
