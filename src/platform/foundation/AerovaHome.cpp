#include "platform/foundation/AerovaHome.h"

#include <QDir>
#include <QStandardPaths>

QString AerovaHome::path()
{
    const QString configured = qEnvironmentVariable("AEROVA_HOME");
    if (!configured.isEmpty()) {
        return QDir::cleanPath(QDir(configured).absolutePath());
    }
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty()) {
        dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    }
    return QDir::cleanPath(dataHome + QStringLiteral("/AerovaDrive"));
}

QString AerovaHome::filePath(const QString &relative)
{
    return path() + QLatin1Char('/') + relative;
}

QString AerovaHome::defaultsFile()
{
    return filePath(QStringLiteral("defaults.ini"));
}
