#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

#include <QWidget>

/// One button of a navigation bar or a toolbar: a title, a system item (a standard button, or
/// flexible and fixed space), or a custom view. The bar that shows it follows `changed`.
class BarButtonItem final : public QObject
{
    Q_OBJECT

public:
    enum class SystemItem {
        None,
        Done,
        Cancel,
        Edit,
        Organize,
        Trash,
        Action,
        Add,
        Search,
        FlexibleSpace,
        FixedSpace,
    };
    enum class Style {
        Plain,
        Done,
    };

    explicit BarButtonItem(const QString &title, Style style = Style::Plain, QObject *parent = nullptr);
    explicit BarButtonItem(SystemItem systemItem, QObject *parent = nullptr);
    /// A bar item showing `customView`. The view keeps its owner: the bar only borrows it and
    /// gives it back to its parent of the moment the item was made.
    explicit BarButtonItem(QWidget *customView, QObject *parent = nullptr);

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    Style style() const { return m_style; }
    SystemItem systemItem() const { return m_systemItem; }
    QWidget *customView() const { return m_customView.data(); }
    /// Where the custom view goes back when a bar stops showing it.
    QWidget *customViewHome() const { return m_customViewHome.data(); }
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    /// The width of a fixed space.
    int width() const { return m_width; }
    void setWidth(int width) { m_width = width; }
    bool isSpace() const { return m_systemItem == SystemItem::FlexibleSpace || m_systemItem == SystemItem::FixedSpace; }

    /// What a tap does.
    void setAction(std::function<void()> action) { m_action = std::move(action); }
    void trigger();

    /// The text a bar shows for the item: its title, else the standard text of its system item.
    QString displayText() const;
    /// What a screen reader says for the item: its text, or what its picture means ("Delete").
    QString accessibleName() const;
    /// The icon name of a system item, empty for a text item.
    QString iconName() const;

Q_SIGNALS:
    void changed();

private:
    QString m_title;
    Style m_style = Style::Plain;
    SystemItem m_systemItem = SystemItem::None;
    QPointer<QWidget> m_customView;
    QPointer<QWidget> m_customViewHome;
    bool m_enabled = true;
    int m_width = 0;
    std::function<void()> m_action;
};
