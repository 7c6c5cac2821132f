#pragma once

#include <QColor>

/// The system's named colours, in one place for every screen.
class SystemColor final
{
public:
    SystemColor() = delete;

    static QColor systemGrayColor() { return QColor(142, 142, 147); }
    static QColor systemGreenColor() { return QColor(52, 199, 89); }
    static QColor systemPurpleColor() { return QColor(175, 82, 222); }
    static QColor systemBlueColor() { return QColor(0, 122, 255); }
    static QColor systemYellowColor() { return QColor(255, 204, 0); }
    static QColor systemRedColor() { return QColor(255, 59, 48); }
    static QColor systemOrangeColor() { return QColor(255, 149, 0); }
};
