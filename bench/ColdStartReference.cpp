// The reference of bench_ColdStart: a bare Qt Widgets window with one list of as many rows as
// the drive's root shows, timed to the same mark as the app (its first frame with rows).

#include "app/FirstFrameProbe.h"

#include <QApplication>
#include <QListWidget>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const int rows = argc > 1 ? QByteArray(argv[1]).toInt() : 40;
    FirstFrameProbe::install();
    QListWidget list;
    for (int i = 0; i < rows; ++i) {
        list.addItem(QStringLiteral("Document %1.txt").arg(i, 2, 10, QLatin1Char('0')));
    }
    list.resize(390, 844);
    list.show();
    return QApplication::exec();
}
