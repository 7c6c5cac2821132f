#include "platform/lists/ListSortOrder.h"

QString ListSortOrder::nameOf(Key key)
{
    switch (key) {
    case Key::Name: return QStringLiteral("name");
    case Key::Date: return QStringLiteral("date");
    case Key::Size: return QStringLiteral("size");
    case Key::Kind: return QStringLiteral("kind");
    }
    return QStringLiteral("name");
}

ListSortOrder::Key ListSortOrder::keyNamed(const QString &name)
{
    for (const Key key : {Key::Date, Key::Size, Key::Kind}) {
        if (name == nameOf(key)) {
            return key;
        }
    }
    return Key::Name;
}

bool ListSortOrder::startsDescending(Key key)
{
    return key == Key::Date || key == Key::Size;
}
