#include "platform/foundation/AerovaHome.h"

#include <QDir>
#include <QStandardPaths>

#include <cstdlib>

QString AerovaHome::path()
{
    // every item record asks: a home named by an absolute path is made into a QString once per
    // value, the environment read without a copy
    const char *raw = std::getenv("AEROVA_HOME");
    if (raw && raw[0] == '/') {
        thread_local QByteArray lastConfigured;
        thread_local QString lastPath;
        if (lastPath.isEmpty() || lastConfigured != raw) {
            lastConfigured = raw;
            lastPath = QDir::cleanPath(qEnvironmentVariable("AEROVA_HOME"));
        }
        return lastPath;
    }
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
