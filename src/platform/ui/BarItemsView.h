#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

class BarButtonItem;
class QHBoxLayout;

/// A row of bar button items as a bar shows them: text and icon buttons of touch size, spaces,
/// and borrowed custom views, which go back to their owner when the row changes.
class BarItemsView final : public QWidget
{
    Q_OBJECT

public:
    explicit BarItemsView(QWidget *parent = nullptr);
    ~BarItemsView() override;

    void setItems(const QList<BarButtonItem *> &items);
    QList<BarButtonItem *> items() const;
    /// The button that shows `item`, or null (spaces and custom views have none).
    QWidget *widgetForItem(BarButtonItem *item) const;

    static constexpr int MinimumHitSize = 44;

private:
    void rebuild();
    void returnBorrowedViews();

    QHBoxLayout *m_layout = nullptr;
    QList<QPointer<BarButtonItem>> m_items;
    struct Borrowed {
        QPointer<QWidget> view;
        QPointer<QWidget> home;
    };
    QList<Borrowed> m_borrowed;
};
