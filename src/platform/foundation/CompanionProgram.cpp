#include "platform/foundation/CompanionProgram.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>
#include <QStandardPaths>

QString CompanionProgram::find(const QString &name, const char *overrideVariable)
{
    if (const QString chosen = qEnvironmentVariable(overrideVariable); !chosen.isEmpty()) {
        return chosen;
    }
    const QString dir = QCoreApplication::applicationDirPath();
    for (const QString &candidate : QStringList{dir + QLatin1Char('/') + name, dir + QStringLiteral("/../tools/") + name}) {
        if (QFileInfo(candidate).isExecutable()) {
            return QFileInfo(candidate).canonicalFilePath();
        }
    }
    return QStandardPaths::findExecutable(name);
}
