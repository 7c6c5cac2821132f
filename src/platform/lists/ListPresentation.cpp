#include "platform/lists/ListPresentation.h"

#include "core/Settings.h"

ListPresentation *ListPresentation::instance()
{
    static auto *presentation = new ListPresentation; // until exit
    return presentation;
}

bool ListPresentation::gridMode() const
{
    return Settings::gridMode();
}

void ListPresentation::setGridMode(bool gridMode)
{
    Settings::setGridMode(gridMode);
    Q_EMIT changed();
}

ListSortOrder ListPresentation::sortOrder() const
{
    return {ListSortOrder::keyNamed(Settings::listSortKey()), Settings::listSortDescending()};
}

void ListPresentation::setSortOrder(const ListSortOrder &order)
{
    Settings::setListSortKey(ListSortOrder::nameOf(order.key));
    Settings::setListSortDescending(order.descending);
    Q_EMIT changed();
}
