#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class BarButtonItem;

/// What the navigation bar shows while its view controller is on top: the title, the items on
/// either side and whether the back button is hidden. The bar follows `changed`.
class NavigationItem final : public QObject
{
    Q_OBJECT

public:
    explicit NavigationItem(QObject *parent = nullptr);

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    /// A title shown instead of `title` while it is not empty (the selection count in edit mode).
    QString prompt() const { return m_prompt; }
    void setPrompt(const QString &prompt);
    QList<BarButtonItem *> leftBarButtonItems() const;
    void setLeftBarButtonItems(const QList<BarButtonItem *> &items);
    QList<BarButtonItem *> rightBarButtonItems() const;
    void setRightBarButtonItems(const QList<BarButtonItem *> &items);
    void setRightBarButtonItem(BarButtonItem *item);
    bool hidesBackButton() const { return m_hidesBackButton; }
    void setHidesBackButton(bool hides);

Q_SIGNALS:
    void changed();

private:
    QString m_title;
    QString m_prompt;
    QList<QPointer<BarButtonItem>> m_left;
    QList<QPointer<BarButtonItem>> m_right;
    bool m_hidesBackButton = false;
};
