#include "platform/ui/BarItemsView.h"

#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"
#include "platform/ui/TemplateIcon.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QToolButton>

BarItemsView::BarItemsView(QWidget *parent)
    : QWidget(parent)
    , m_layout(new QHBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(4);
}

BarItemsView::~BarItemsView()
{
    returnBorrowedViews();
}

QList<BarButtonItem *> BarItemsView::items() const
{
    QList<BarButtonItem *> result;
    for (const auto &item : m_items) {
        if (item) {
            result.append(item.data());
        }
    }
    return result;
}

void BarItemsView::setItems(const QList<BarButtonItem *> &items)
{
    for (const auto &item : m_items) {
        if (item) {
            disconnect(item.data(), nullptr, this, nullptr);
        }
    }
    m_items.clear();
    for (BarButtonItem *item : items) {
        m_items.append(item);
        connect(item, &BarButtonItem::changed, this, &BarItemsView::rebuild);
        connect(item, &QObject::destroyed, this, &BarItemsView::rebuild, Qt::QueuedConnection);
    }
    rebuild();
}

QWidget *BarItemsView::widgetForItem(BarButtonItem *item) const
{
    const auto buttons = findChildren<QToolButton *>(QString(), Qt::FindDirectChildrenOnly);
    for (QToolButton *button : buttons) {
        if (button->property("barItem").value<QObject *>() == item) {
            return button;
        }
    }
    return nullptr;
}

void BarItemsView::returnBorrowedViews()
{
    for (const Borrowed &borrowed : std::as_const(m_borrowed)) {
        QWidget *view = borrowed.view.data();
        if (!view || view->parentWidget() != this) {
            continue;
        }
        m_layout->removeWidget(view);
        view->hide();
        view->setParent(borrowed.home.data());
        if (!view->parentWidget()) {
            // its owner is gone: nobody else will free it
            view->deleteLater();
        }
    }
    m_borrowed.clear();
}

void BarItemsView::rebuild()
{
    returnBorrowedViews();
    while (QLayoutItem *entry = m_layout->takeAt(0)) {
        if (QWidget *button = entry->widget()) {
            // a tap on this very button may be what rebuilds the bar: it goes once its event is done
            button->hide();
            button->setProperty("barItem", QVariant());
            button->deleteLater();
        }
        delete entry;
    }
    for (const auto &guardedItem : m_items) {
        BarButtonItem *item = guardedItem.data();
        if (!item) {
            continue;
        }
        if (item->systemItem() == BarButtonItem::SystemItem::FlexibleSpace) {
            m_layout->addStretch(1);
            continue;
        }
        if (item->systemItem() == BarButtonItem::SystemItem::FixedSpace) {
            m_layout->addSpacing(item->width());
            continue;
        }
        if (QWidget *custom = item->customView()) {
            m_borrowed.append(Borrowed{custom, item->customViewHome()});
            m_layout->addWidget(custom);
            custom->show();
            continue;
        }
        auto *button = new QToolButton(this);
        button->setObjectName(item->objectName().isEmpty() ? QStringLiteral("barButton") : item->objectName());
        button->setProperty("barItem", QVariant::fromValue<QObject *>(item));
        button->setAutoRaise(true);
        button->setCursor(Qt::PointingHandCursor);
        button->setMinimumSize(MinimumHitSize, MinimumHitSize);
        button->setEnabled(item->isEnabled());
        QFont font = Font::preferredFontForTextStyle(item->style() == BarButtonItem::Style::Done
                                                         ? Font::TextStyle::Headline
                                                         : Font::TextStyle::Body);
        button->setFont(font);
        const QColor tint = item->isEnabled() ? SystemColor::systemBlueColor() : QColor(199, 199, 204);
        button->setStyleSheet(QStringLiteral("QToolButton { color: %1; border: none; padding: 0 8px; }"
                                             "QToolButton:pressed { color: %2; }")
                                  .arg(tint.name(), tint.lighter(150).name()));
        const QString iconName = item->iconName();
        if (!iconName.isEmpty() && item->title().isEmpty()) {
            button->setIcon(TemplateIcon::named(iconName, tint));
            button->setIconSize(QSize(24, 24));
            button->setToolTip(item->accessibleName());
        } else {
            button->setText(item->displayText());
        }
        button->setAccessibleName(item->accessibleName());
        QPointer<BarButtonItem> target(item);
        connect(button, &QToolButton::clicked, this, [target] {
            if (target) {
                target->trigger();
            }
        });
        m_layout->addWidget(button);
    }
}
