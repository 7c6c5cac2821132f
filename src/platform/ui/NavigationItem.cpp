#include "platform/ui/NavigationItem.h"

#include "platform/ui/BarButtonItem.h"

namespace {
QList<BarButtonItem *> living(const QList<QPointer<BarButtonItem>> &items)
{
    QList<BarButtonItem *> result;
    for (const auto &item : items) {
        if (item) {
            result.append(item.data());
        }
    }
    return result;
}

QList<QPointer<BarButtonItem>> guarded(const QList<BarButtonItem *> &items)
{
    QList<QPointer<BarButtonItem>> result;
    for (BarButtonItem *item : items) {
        result.append(item);
    }
    return result;
}
} // namespace

NavigationItem::NavigationItem(QObject *parent)
    : QObject(parent)
{
}

void NavigationItem::setTitle(const QString &title)
{
    if (m_title != title) {
        m_title = title;
        Q_EMIT changed();
    }
}

void NavigationItem::setPrompt(const QString &prompt)
{
    if (m_prompt != prompt) {
        m_prompt = prompt;
        Q_EMIT changed();
    }
}

QList<BarButtonItem *> NavigationItem::leftBarButtonItems() const
{
    return living(m_left);
}

void NavigationItem::setLeftBarButtonItems(const QList<BarButtonItem *> &items)
{
    m_left = guarded(items);
    Q_EMIT changed();
}

QList<BarButtonItem *> NavigationItem::rightBarButtonItems() const
{
    return living(m_right);
}

void NavigationItem::setRightBarButtonItems(const QList<BarButtonItem *> &items)
{
    m_right = guarded(items);
    Q_EMIT changed();
}

void NavigationItem::setRightBarButtonItem(BarButtonItem *item)
{
    setRightBarButtonItems(item ? QList<BarButtonItem *>{item} : QList<BarButtonItem *>{});
}

void NavigationItem::setHidesBackButton(bool hides)
{
    if (m_hidesBackButton != hides) {
        m_hidesBackButton = hides;
        Q_EMIT changed();
    }
}
