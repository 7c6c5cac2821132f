#pragma once

// The drive a fuzz target works on: a temporary AEROVA_HOME made once per process, with the
// application object that queues and file watches need.

#include "core/DRLogging.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/foundation/UserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdlib>

namespace FuzzDrive {

inline void setUp(int *argc, char ***argv)
{
    static QTemporaryDir home;
    qputenv("AEROVA_HOME", QFile::encodeName(home.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path() + QStringLiteral("/data")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.path() + QStringLiteral("/cache")));
    if (qEnvironmentVariableIsEmpty("AEROVA_SYSLOG")) {
        qputenv("AEROVA_SYSLOG", "memory");
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QCoreApplication application(*argc, *argv);
    if (DriveSetup::initialize()) {
        std::abort();
    }
    // the log's formatting is exercised by the formatter's target; here it would only slow
    // every run down with a line on standard error
    UserDefaults::standardUserDefaults()->setObject(LOG_CRIT, QStringLiteral("DRLogLevel"));
    UserDefaults::standardUserDefaults()->synchronize();
    DRLogSetLevel(LOG_CRIT);
}

/// Writes `bytes` to `path`, replacing what was there.
inline void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(bytes);
    }
}

} // namespace FuzzDrive
