#include "platform/ui/BarButtonItem.h"

#include "platform/foundation/LocalizedString.h"

#include <QWidget>

BarButtonItem::BarButtonItem(const QString &title, Style style, QObject *parent)
    : QObject(parent)
    , m_title(title)
    , m_style(style)
{
}

BarButtonItem::BarButtonItem(SystemItem systemItem, QObject *parent)
    : QObject(parent)
    , m_systemItem(systemItem)
{
    if (systemItem == SystemItem::Done) {
        m_style = Style::Done;
    }
}

BarButtonItem::BarButtonItem(QWidget *customView, QObject *parent)
    : QObject(parent)
    , m_customView(customView)
    , m_customViewHome(customView ? customView->parentWidget() : nullptr)
{
}

void BarButtonItem::setTitle(const QString &title)
{
    if (m_title != title) {
        m_title = title;
        Q_EMIT changed();
    }
}

void BarButtonItem::setEnabled(bool enabled)
{
    if (m_enabled != enabled) {
        m_enabled = enabled;
        Q_EMIT changed();
    }
}

void BarButtonItem::trigger()
{
    if (m_enabled && m_action) {
        m_action();
    }
}

QString BarButtonItem::displayText() const
{
    if (!m_title.isEmpty()) {
        return m_title;
    }
    switch (m_systemItem) {
    case SystemItem::Done:
        return LocalizedString::localized(QStringLiteral("Done"));
    case SystemItem::Cancel:
        return LocalizedString::localized(QStringLiteral("Cancel"));
    case SystemItem::Edit:
        return LocalizedString::localized(QStringLiteral("Edit"));
    default:
        return {};
    }
}

QString BarButtonItem::iconName() const
{
    switch (m_systemItem) {
    case SystemItem::Organize:
        return QStringLiteral("folder-new");
    case SystemItem::Trash:
        return QStringLiteral("user-trash");
    case SystemItem::Action:
        return QStringLiteral("send-to"); // a box with an arrow leaving it: handing the item on
    case SystemItem::Add:
        return QStringLiteral("list-add");
    case SystemItem::Search:
        return QStringLiteral("edit-find");
    default:
        return {};
    }
}

QString BarButtonItem::accessibleName() const
{
    if (const QString text = displayText(); !text.isEmpty()) {
        return text;
    }
    // what the picture of a system item means, in words
    switch (m_systemItem) {
    case SystemItem::Organize:
        return LocalizedString::localized(QStringLiteral("Move"));
    case SystemItem::Trash:
        return LocalizedString::localized(QStringLiteral("Delete"));
    case SystemItem::Action:
        return LocalizedString::localized(QStringLiteral("Share"));
    case SystemItem::Add:
        return LocalizedString::localized(QStringLiteral("Add"));
    case SystemItem::Search:
        return LocalizedString::localized(QStringLiteral("Search"));
    default:
        return {};
    }
}
