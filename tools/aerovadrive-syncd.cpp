// aerovadrive-syncd: the sync service of one drive ($AEROVA_HOME). It keeps the drive in step
// with the WebDAV server the drive is signed in to and serves the app's downloads. One per
// drive: a second one exits at once.

#include "core/DRLogging.h"
#include "credentials/Credentials.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/foundation/AerovaHome.h"
#include "sync/SyncService.h"

#include <QCoreApplication>
#include <QDir>
#include <QLockFile>
#include <QTextStream>

#include <csignal>
#include <systemd/sd-daemon.h>

namespace {

const char usageText[] = R"(usage: aerovadrive-syncd [--once]

The sync service of the drive in $AEROVA_HOME (default: $XDG_DATA_HOME/AerovaDrive): keeps it in
step with the WebDAV server it is signed in to (aerovadrive-ctl sign-in --server URL --user NAME)
and downloads what the app asks for. Started by the app, by systemd (aerovadrive-syncd.service)
or at log-in; a second service for the same drive exits at once.

options:
  --once    one sync run, then exit (1 when it failed)
)";

void quitOnSignal(int)
{
    QCoreApplication::quit();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("aerovadrive-syncd"));
    const QStringList args = app.arguments().mid(1);
    QTextStream err(stderr);
    if (args.contains(QStringLiteral("--help")) || args.contains(QStringLiteral("-h"))) {
        QTextStream(stdout) << usageText;
        return 0;
    }
    const bool once = args.contains(QStringLiteral("--once"));
    if (args.size() > (once ? 1 : 0)) {
        err << "aerovadrive-syncd: unknown argument\n" << usageText;
        return 2;
    }

    QDir().mkpath(DriveLayout::servicePath());
    QLockFile lock(DriveLayout::syncLockFile());
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        err << "aerovadrive-syncd: a sync service already runs for " << AerovaHome::path() << '\n';
        return 0;
    }
    const std::optional<RemoteAccount> account = RemoteAccount::current();
    if (!account) {
        err << "aerovadrive-syncd: the drive in " << AerovaHome::path() << " is not signed in to a server\n";
        return 0;
    }
    QString keychainError;
    const QString password = Credentials::read(*account, &keychainError);
    if (password.isNull()) {
        DRLog(LOG_NOTICE, "No stored password for %@ (%@): waiting for one from a sign-in",
              account->server.toDisplayString(), keychainError);
    }

    SyncService service(account->server, account->user, password);
    if (once) {
        int status = 1;
        QObject::connect(&service, &SyncService::syncFinished, &app, [&status](const SyncOutcome &outcome) {
            status = outcome.succeeded ? 0 : 1;
            QCoreApplication::quit();
        });
    }
    QString error;
    if (!service.start(&error)) {
        err << "aerovadrive-syncd: " << error << '\n';
        DRLog(LOG_ERR, "The sync service cannot start: %@", error);
        DRLogFlush();
        return 1;
    }
    std::signal(SIGTERM, quitOnSignal);
    std::signal(SIGINT, quitOnSignal);
    sd_notify(0, "READY=1");
    const int status = app.exec();
    sd_notify(0, "STOPPING=1");
    DRLogFlush();
    return status;
}
