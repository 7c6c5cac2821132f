#include "platform/ui/Toolbar.h"

#include "platform/ui/BarItemsView.h"

#include <QHBoxLayout>
#include <QPainter>

Toolbar::Toolbar(QWidget *parent)
    : QWidget(parent)
    , m_items(new BarItemsView(this))
{
    setObjectName(QStringLiteral("toolbar"));
    setMinimumHeight(Height);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 2, 8, 2);
    layout->addWidget(m_items);
}

void Toolbar::setItems(const QList<BarButtonItem *> &items)
{
    m_items->setItems(items);
}

void Toolbar::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.fillRect(rect(), QColor(249, 249, 249));
    painter.fillRect(QRect(0, 0, width(), 1), QColor(0, 0, 0, 40));
}
