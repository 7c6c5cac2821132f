#pragma once

#include <QWidget>

class BarButtonItem;
class BarItemsView;

/// The bar at the bottom of a navigation controller, showing the toolbar items of the screen on
/// top.
class Toolbar final : public QWidget
{
    Q_OBJECT

public:
    explicit Toolbar(QWidget *parent = nullptr);

    void setItems(const QList<BarButtonItem *> &items);
    BarItemsView *itemsView() const { return m_items; }

    static constexpr int Height = 52;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    BarItemsView *m_items = nullptr;
};
