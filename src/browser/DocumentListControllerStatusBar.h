#pragma once

#include "browser/DriveStatusLabelView.h"
#include "platform/ui/BarButtonItem.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <memory>

class KVQOffer;

/// The status bar of one folder list: the toolbar items that centre the status line and the
/// upgrade button, and the upgrade button's report to its delegate.
class DocumentListControllerStatusBar final : public QObject
{
    Q_OBJECT

public:
    explicit DocumentListControllerStatusBar(QObject *parent = nullptr);
    ~DocumentListControllerStatusBar() override;

    DriveStatusLabelView *labelsView() const { return m_labelsView.data(); }
    /// Weak: an object implementing DocumentListControllerStatusBarDelegate.
    QObject *delegate() const { return m_delegate.data(); }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }
    QList<BarButtonItem *> toolbarItems() const;

    void createStatusBar_buttonPressDelegate(const std::shared_ptr<KVQOffer> &offer, QObject *delegate);
    void configureLabels(const std::shared_ptr<KVQOffer> &offer);
    void setStatusText(const QString &text);
    void showUpgradeOffer(const std::shared_ptr<KVQOffer> &offer);
    void upgradeStoragePressed();

private:
    QPointer<DriveStatusLabelView> m_labelsView;
    QPointer<QObject> m_delegate;
    QList<QPointer<BarButtonItem>> m_toolbarItems;
};
