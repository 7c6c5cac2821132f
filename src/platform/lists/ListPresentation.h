#pragma once

#include "platform/lists/ListSortOrder.h"

#include <QObject>

/// How this device shows its folder lists: as rows or as a grid, and in which order. The
/// choice is kept in the app's settings, so it outlasts the app; every open list follows a
/// change at once.
class ListPresentation final : public QObject
{
    Q_OBJECT

public:
    /// The one of the process, living until it exits.
    static ListPresentation *instance();

    bool gridMode() const;
    void setGridMode(bool gridMode);
    ListSortOrder sortOrder() const;
    void setSortOrder(const ListSortOrder &order);

Q_SIGNALS:
    void changed();

private:
    ListPresentation() = default;
};
