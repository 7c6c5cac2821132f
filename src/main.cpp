#include "app/DRLogging.h"

#include <QApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("aerovadrive"));
    DRLog(LOG_INFO, "Aerova Drive starting");
    QTextStream(stdout) << "The browser is not built yet; run `aerovadrive-ctl status` to see the drive.\n";
    return 0;
}
