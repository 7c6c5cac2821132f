// A second process for tests: prints what another reader of the app's preferences sees.
#include "core/Settings.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.value(1) == QLatin1String("gridMode")) {
        QTextStream(stdout) << (Settings::gridMode() ? "YES" : "NO") << '\n';
        return 0;
    }
    if (args.value(1) == QLatin1String("setGridMode")) {
        Settings::setGridMode(args.value(2) == QLatin1String("YES"));
        return 0;
    }
    return 2;
}
