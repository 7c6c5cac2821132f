#pragma once

#include <QPointer>
#include <QWidget>

class ActivityIndicatorView;
class BarItemsView;
class ElidedLabel;
class NavigationItem;
class QGridLayout;
class QToolButton;

/// The bar at the top of a navigation controller: a back button naming the screen below, the
/// title of the screen on top, its left and right items, and the network-activity indicator.
class NavigationBar final : public QWidget
{
    Q_OBJECT

public:
    explicit NavigationBar(QWidget *parent = nullptr);

    /// Shows `item`; `backTitle` is the title of the screen below, empty on the first screen.
    void setItem(NavigationItem *item, const QString &backTitle, bool canGoBack);
    /// The whole title; the bar shows what fits of it.
    QString titleText() const;
    /// The title as shown, cut to the bar's width.
    QString shownTitle() const;
    QToolButton *backButton() const { return m_back; }
    BarItemsView *leftItemsView() const { return m_left; }
    BarItemsView *rightItemsView() const { return m_right; }
    ActivityIndicatorView *activityIndicator() const { return m_activity; }

    static constexpr int Height = 52;

Q_SIGNALS:
    void backRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

private:
    /// Gives both sides the width of the wider one's buttons.
    void fitSides();
    void refresh();

    QPointer<NavigationItem> m_item;
    QString m_backTitle;
    bool m_canGoBack = false;
    QToolButton *m_back = nullptr;
    BarItemsView *m_left = nullptr;
    ElidedLabel *m_prompt = nullptr;
    ElidedLabel *m_title = nullptr;
    BarItemsView *m_right = nullptr;
    QGridLayout *m_grid = nullptr;
    ActivityIndicatorView *m_activity = nullptr;
};
