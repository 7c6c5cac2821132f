// aerovadrive-ctl: the one way a person, a test or a demo changes the drive service's side of
// Aerova Drive: the drive on disk, the account, the network, promised items, containers, tags
// and the storage quota.

#include "model/FileUtils.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/FileCoordinator.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/Progress.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/drive/RemoteAccount.h"
#include "platform/drive/ServiceFile.h"
#include "platform/drive/SyncServiceClient.h"
#include "platform/drive/UbiquitousKeyValueStore.h"
#include "platform/foundation/AerovaHome.h"
#include "platform/foundation/FilePath.h"
#include "credentials/Credentials.h"
#include "sync/DavClient.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QStringList>
#include <QThread>
#include <QTextStream>

#include <cerrno>
#include <cstring>
#include <optional>
#include <termios.h>
#include <unistd.h>

namespace {

const char usageText[] = R"(usage: aerovadrive-ctl COMMAND [ARGS]

The drive lives in $AEROVA_HOME (default: $XDG_DATA_HOME/AerovaDrive).

commands:
  init [--demo]                 make the drive (with --demo: a drive to explore)
  sign-in [ACCOUNT]             sign in to the local store (default account: user@example.com)
  sign-in --server URL --user NAME [--store-password-in-file]
                                sign in to a WebDAV server: asks for the password (read from
                                standard input when it is not a terminal), checks it with the
                                server and keeps it in the desktop's secret service (or, with
                                --store-password-in-file, in Service/credentials, mode 0600)
  sign-out                      sign out: the drive is disabled
  sync                          ask the sync service for a sync run now
  sync confirm-deletes          let the sync held back for deleting most of the drive go on
  network wifi|cellular|offline|clear
                                override the network the app sees
  store-rate BYTES_PER_SECOND   slow downloads from the store down (0: full speed)
  promise FILE...               turn files of the drive into promised items
  evict FILE...                 give downloaded items back to the store
  remove FILE...                delete items from the device and the drive, as the app does
  download FILE                 download a promised item, printing its progress
  add-container ID NAME [--folders Any|One|None] [--types TYPE,TYPE...]
                                register an app container
  tags                          print the tag definitions
  tags define NAME=LABEL...     define the user's tags (label: 0 none, 1 grey, 2 green,
                                3 purple, 4 blue, 5 yellow, 6 red, 7 orange)
  tags set FILE [TAG...]        set the tags of an item (none: remove them)
  quota PLAN USED               set the storage plan and its use, in bytes (5GB, 300MB work)
  quota fail-next [MESSAGE]     make the app's next quota fetch fail
  offer LEVEL [TITLE]           set the storage-upgrade offer (0 none, 1 filling up, 2 nearly full, 3 full)
  offer clear                   remove the offer
  status                        print the drive's tree (promised items are marked with ☁) and,
                                with a server, the server, the user and the last sync
)";

int usage(const QString &problem = {})
{
    QTextStream err(stderr);
    if (!problem.isEmpty()) {
        err << "aerovadrive-ctl: " << problem << '\n';
    }
    err << usageText;
    return 2;
}

int report(const std::optional<Error> &error, const QString &what)
{
    if (!error) {
        return 0;
    }
    // the file it is about and why, whenever the error knows them
    QString text = error->localizedDescription();
    const QString path = error->userInfo().value(QString::fromLatin1(ErrorKey::FilePath)).toString();
    if (!path.isEmpty() && !text.contains(path) && path != what) {
        text += QStringLiteral(" (") + path + QLatin1Char(')');
    }
    if (const QString reason = error->localizedFailureReason(); !reason.isEmpty() && !text.contains(reason)) {
        text += QStringLiteral(": ") + reason;
    }
    QTextStream(stderr) << "aerovadrive-ctl: " << what << ": " << text << '\n';
    return 1;
}

int addContainer(QStringList args)
{
    if (args.size() < 2) {
        return usage(QStringLiteral("add-container needs an identifier and a name"));
    }
    const QString identifier = args.takeFirst();
    const QString name = args.takeFirst();
    QString folders;
    QStringList types;
    while (!args.isEmpty()) {
        const QString option = args.takeFirst();
        if (args.isEmpty()) {
            return usage(QStringLiteral("%1 needs a value").arg(option));
        }
        const QString value = args.takeFirst();
        if (option == QLatin1String("--folders") && QStringList{QStringLiteral("Any"), QStringLiteral("One"), QStringLiteral("None")}.contains(value)) {
            folders = value;
        } else if (option == QLatin1String("--types")) {
            types = value.split(QLatin1Char(','), Qt::SkipEmptyParts);
        } else {
            return usage(QStringLiteral("unknown option or value: %1 %2").arg(option, value));
        }
    }
    return report(DriveSetup::addContainer(identifier, name, folders, types), identifier);
}

int forEachFile(const QStringList &files, std::optional<Error> (*action)(const QString &))
{
    if (files.isEmpty()) {
        return usage(QStringLiteral("no file given"));
    }
    int status = 0;
    for (const QString &file : files) {
        // every file is attempted: one failure must not strand the rest
        status = std::max(status, report(action(FilePath::absolutePath(file)), file));
    }
    return status;
}

int download(const QStringList &args)
{
    if (args.size() != 1) {
        return usage(QStringLiteral("download takes one file"));
    }
    const QString path = FilePath::absolutePath(args.first());
    const QUrl url = QUrl::fromLocalFile(path);
    if (!PromisePlaceholder::isPromisedItem(path)) {
        // only a promise has anything to download: say what is there instead
        const QUrl item = QUrl::fromLocalFile(path);
        if (FileUtils::isFile(item)) {
            QTextStream(stdout) << "already downloaded " << path << Qt::endl;
            return 0;
        }
        const QString what = FileUtils::isDir(item) ? QStringLiteral("is a folder, not a document only on the drive")
            : FilePath::exists(path)               ? QStringLiteral("is not a document only on the drive")
                                                   : QStringLiteral("no such item in the drive");
        QTextStream(stderr) << "aerovadrive-ctl: " << args.first() << ": " << what << '\n';
        return 1;
    }
    const int subscription = Progress::addSubscriberForFileURL(url, [](std::shared_ptr<Progress> progress) {
        progress->addObserver(QStringLiteral("fractionCompleted"), [](const Progress &p) {
            QTextStream(stdout) << "progress " << qRound(p.fractionCompleted() * 100) << "%" << Qt::endl;
        });
        return std::function<void()>();
    });
    std::optional<Error> error;
    FileCoordinator coordinator;
    bool downloaded = false;
    coordinator.coordinateReadingItemAtURL_options_error_byAccessor(
        url, FileCoordinator::ReadingWithoutChanges, &error, [&downloaded](const QUrl &newURL) {
            const QString local = newURL.toLocalFile();
            downloaded = FileUtils::isFile(newURL) && !PromisePlaceholder::isPromisedItem(local);
            if (downloaded) {
                QTextStream(stdout) << "downloaded " << local << Qt::endl;
            }
        });
    Progress::removeSubscriber(subscription);
    if (!error && !downloaded) {
        QTextStream(stderr) << "aerovadrive-ctl: " << args.first() << ": the download ended without the document\n";
        return 1;
    }
    return report(error, args.first());
}

std::optional<Error> evict(const QString &path)
{
    std::optional<Error> error;
    DriveFileManager::evictUbiquitousItemAtURL_error(QUrl::fromLocalFile(path), &error);
    return error;
}

/// Deletes an item as the app does: from the device and from the drive.
std::optional<Error> removeItem(const QString &path)
{
    return FileUtils::remove(QUrl::fromLocalFile(path));
}

/// A byte count: a number, optionally followed by KB, MB or GB (powers of 1000).
std::optional<qint64> parseBytes(QString text)
{
    text = text.trimmed().toUpper();
    qint64 unit = 1;
    for (const auto &[suffix, size] : {std::pair{QStringLiteral("GB"), qint64(1000000000)},
                                       std::pair{QStringLiteral("MB"), qint64(1000000)},
                                       std::pair{QStringLiteral("KB"), qint64(1000)},
                                       std::pair{QStringLiteral("B"), qint64(1)}}) {
        if (text.endsWith(suffix)) {
            text.chop(suffix.size());
            unit = size;
            break;
        }
    }
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || value < 0) {
        return std::nullopt;
    }
    return qint64(value * double(unit));
}

int offer(const QStringList &args)
{
    if (args.size() == 1 && args.at(0) == QLatin1String("clear")) {
        return report(DriveSetup::clearOffer(), QStringLiteral("offer"));
    }
    bool ok = false;
    const qint64 level = args.value(0).toLongLong(&ok);
    if (args.isEmpty() || args.size() > 2 || !ok || level < 0 || level > 3) {
        return usage(QStringLiteral("offer needs a level from 0 to 3 and an optional title, or clear"));
    }
    return report(DriveSetup::setOffer(level, args.value(1)), QStringLiteral("offer"));
}

int quota(const QStringList &args)
{
    if (args.value(0) == QLatin1String("fail-next") && args.size() <= 2) {
        return report(DriveSetup::failNextQuotaFetch(args.value(1)), QStringLiteral("quota"));
    }
    if (args.size() != 2) {
        return usage(QStringLiteral("quota needs a plan and a use, or fail-next"));
    }
    const auto plan = parseBytes(args.at(0));
    const auto used = parseBytes(args.at(1));
    if (!plan || !used) {
        return usage(QStringLiteral("not a byte count: %1").arg(plan ? args.at(1) : args.at(0)));
    }
    return report(DriveSetup::setQuota(*plan, *used), QStringLiteral("quota"));
}

int tags(QStringList args)
{
    if (args.isEmpty()) {
        QTextStream out(stdout);
        const QVariantMap dictionary
            = UbiquitousKeyValueStore::defaultStore()->dictionaryForKey(QStringLiteral("TrovexTagDict"));
        for (const QVariant &entry : dictionary.value(QStringLiteral("TrovexTags")).toList()) {
            const QVariantMap tag = entry.toMap();
            out << tag.value(QStringLiteral("n")).toString() << '=' << tag.value(QStringLiteral("l")).toInt() << '\n';
        }
        return 0;
    }
    const QString action = args.takeFirst();
    if (action == QLatin1String("define")) {
        QList<DriveSetup::TagDefinition> definitions;
        for (const QString &argument : std::as_const(args)) {
            const qsizetype equals = argument.lastIndexOf(QLatin1Char('='));
            bool ok = false;
            const int label = equals > 0 ? argument.mid(equals + 1).toInt(&ok) : 0;
            if (!ok || label < 0) {
                return usage(QStringLiteral("a tag is NAME=LABEL: %1").arg(argument));
            }
            definitions.append({argument.left(equals), label});
        }
        return report(DriveSetup::defineTags(definitions), QStringLiteral("tags"));
    }
    if (action == QLatin1String("set") && !args.isEmpty()) {
        const QString file = FilePath::absolutePath(args.takeFirst());
        return report(DriveSetup::setItemTags(file, args), file);
    }
    return usage(QStringLiteral("unknown tags action: %1").arg(action));
}

/// Reads the password: from the terminal without echo, else one line of standard input.
QString readPassword()
{
    const bool terminal = ::isatty(STDIN_FILENO);
    termios saved{};
    if (terminal) {
        QTextStream(stderr) << "Password: " << Qt::flush;
        ::tcgetattr(STDIN_FILENO, &saved);
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    QFile in;
    in.open(stdin, QIODevice::ReadOnly);
    QByteArray line = in.readLine(4096);
    if (terminal) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, &saved);
        QTextStream(stderr) << '\n';
    }
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

/// Stops the running sync service, so that the next one starts with the new account.
void stopSyncService()
{
    QString error;
    if (const auto service = SyncServiceClient::connect(&error, false)) {
        service->post(QJsonObject{{QStringLiteral("op"), QStringLiteral("quit")}});
        for (int i = 0; i < 50 && SyncServiceClient::connect(&error, false); ++i) {
            QThread::msleep(100);
        }
    }
}

int signInToServer(const QStringList &args)
{
    RemoteAccount account;
    bool inFile = false;
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (args.at(i) == QLatin1String("--server") && i + 1 < args.size()) {
            account.server = QUrl(args.at(++i), QUrl::StrictMode);
        } else if (args.at(i) == QLatin1String("--user") && i + 1 < args.size()) {
            account.user = args.at(++i);
        } else if (args.at(i) == QLatin1String("--store-password-in-file")) {
            inFile = true;
        } else {
            return usage(QStringLiteral("sign-in: unknown argument %1").arg(args.at(i)));
        }
    }
    if (!account.server.isValid() || (account.server.scheme() != QLatin1String("https") && account.server.scheme() != QLatin1String("http"))
        || account.server.host().isEmpty()) {
        return usage(QStringLiteral("sign-in: --server needs an http:// or https:// address"));
    }
    if (account.user.isEmpty()) {
        return usage(QStringLiteral("sign-in: --user needs a user name"));
    }
    QTextStream err(stderr);
    if (!DavClient::maySendPassword(account.server)) {
        err << "aerovadrive-ctl: sign-in: " << DavError{DavError::Kind::InsecureConnection, 0, {}}.description() << '\n';
        return 1;
    }
    const QString password = readPassword();
    DavClient client(account.server, account.user, password);
    if (const DavError error = client.checkFolder()) {
        err << "aerovadrive-ctl: sign-in: " << account.server.toDisplayString() << ": " << error.description() << '\n';
        return 1;
    }
    stopSyncService();
    const std::optional<RemoteAccount> previous = RemoteAccount::current();
    if (!previous || previous->identity() != account.identity()) {
        // another account: what the journal knew of the last one means nothing now
        for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")}) {
            QFile::remove(DriveLayout::syncJournalFile() + suffix);
        }
    }
    QFile::remove(DriveLayout::syncStatusFile()); // an old refusal of the password is past
    QDir().mkpath(DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID);
    if (!account.signIn()) {
        err << "aerovadrive-ctl: sign-in: cannot write " << DriveLayout::accountFile() << '\n';
        return 1;
    }
    QString keepError;
    const bool kept = Credentials::store(account, password, inFile ? Credentials::Storage::File : Credentials::Storage::SecretService,
                                         &keepError);
    QString error;
    const auto service = SyncServiceClient::connect(&error);
    if (!kept) {
        err << "aerovadrive-ctl: sign-in: the password cannot be kept (" << keepError
            << "): the sync service keeps it in memory until it stops; sign in again after that, or use "
               "--store-password-in-file\n";
        if (service) {
            service->request(QJsonObject{{QStringLiteral("op"), QStringLiteral("password")},
                                         {QStringLiteral("password"), password}},
                             &error);
        }
    }
    if (!service) {
        err << "aerovadrive-ctl: sign-in: " << error << '\n';
        return 1;
    }
    QTextStream(stdout) << "Signed in to " << account.server.toDisplayString() << " as " << account.user << '\n';
    return 0;
}

/// Sends `op` to the sync service; 0 when it answered.
int requestSync(const QString &op)
{
    QString error;
    const auto service = SyncServiceClient::connect(&error);
    const auto answer = service ? service->request(QJsonObject{{QStringLiteral("op"), op}}, &error) : std::nullopt;
    if (!answer) {
        QTextStream(stderr) << "aerovadrive-ctl: sync: " << error << '\n';
        return 1;
    }
    return 0;
}

void printSyncStatus(QTextStream &out)
{
    const std::optional<RemoteAccount> account = RemoteAccount::current();
    if (!account) {
        return;
    }
    out << "server: " << account->server.toDisplayString() << '\n' << "user: " << account->user << '\n';
    QString error;
    std::optional<QJsonObject> status;
    if (const auto service = SyncServiceClient::connect(&error, false)) {
        status = service->request(QJsonObject{{QStringLiteral("op"), QStringLiteral("status")}}, &error);
        out << "sync service: running\n";
    } else {
        out << "sync service: not running\n";
        status = ServiceFile::readObject(DriveLayout::syncStatusFile());
    }
    if (!status) {
        out << "last sync: none yet\n";
        return;
    }
    const QString when = status->value(QStringLiteral("lastSync")).toString();
    out << "last sync: " << (when.isEmpty() ? QStringLiteral("none yet") : when);
    if (const QString result = status->value(QStringLiteral("result")).toString(); !result.isEmpty()) {
        out << " (" << result << ')';
    }
    out << '\n';
    if (const QString meaning = status->value(QStringLiteral("serverIgnoresIfMatch")).toString(); !meaning.isEmpty()) {
        out << "The server ignores If-Match: " << meaning << '\n';
    }
    if (const int waiting = status->value(QStringLiteral("waitingForRoom")).toInt(); waiting > 0) {
        out << "The server is full: " << waiting << " documents wait until it has room\n";
    }
    for (const char *list : {"failures", "refused"}) {
        const QJsonArray items = status->value(QString::fromLatin1(list)).toArray();
        if (!items.isEmpty()) {
            out << (qstrcmp(list, "failures") == 0 ? "failed:\n" : "refused from the server:\n");
        }
        for (const QJsonValue &item : items) {
            out << "  " << item.toString() << '\n';
        }
    }
}

} // namespace

int main(int argc, char *argv[])
{
    // drawing the demo's pictures and documents needs a GUI platform, never a display
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("aerovadrive-ctl"));
    // file names as the shell gave them: one that is not UTF-8 names that file and no other
    QStringList args;
    for (int i = 1; i < argc; ++i) {
        args << FilePath::decode(argv[i]);
    }
    if (args.isEmpty()) {
        return usage(QStringLiteral("no command given"));
    }
    const QString command = args.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("help")) {
        QTextStream(stdout) << usageText;
        return 0;
    }
    if (command == QLatin1String("init")) {
        if (args.isEmpty()) {
            return report(DriveSetup::initialize(), QStringLiteral("init"));
        }
        if (args == QStringList{QStringLiteral("--demo")}) {
            const int status = report(DriveSetup::initializeDemo(), QStringLiteral("init --demo"));
            if (status == 0) {
                QTextStream(stdout) << "Demo drive ready in " << AerovaHome::path() << '\n';
            }
            return status;
        }
        return usage(QStringLiteral("init takes only --demo"));
    }
    if (command == QLatin1String("sign-in") && args.value(0).startsWith(QLatin1String("--"))) {
        return signInToServer(args);
    }
    if (command == QLatin1String("sync") && args.isEmpty()) {
        return requestSync(QStringLiteral("sync"));
    }
    if (command == QLatin1String("sync") && args == QStringList{QStringLiteral("confirm-deletes")}) {
        const int status = requestSync(QStringLiteral("confirmDeletes"));
        if (status == 0) {
            QTextStream(stdout) << "Deletes confirmed: the next sync makes them\n";
        }
        return status;
    }
    if (command == QLatin1String("sign-in") && args.size() <= 1) {
        stopSyncService();
        if (!DriveFileManager::signIn(args.value(0, QStringLiteral("user@example.com")))) {
            QTextStream(stderr) << "aerovadrive-ctl: sign-in: cannot write " << DriveLayout::accountFile() << ": "
                                << QString::fromLocal8Bit(std::strerror(errno)) << '\n';
            return 1;
        }
        return 0;
    }
    if (command == QLatin1String("sign-out") && args.isEmpty()) {
        if (const std::optional<RemoteAccount> account = RemoteAccount::current()) {
            Credentials::forget(*account);
        }
        stopSyncService();
        if (!DriveFileManager::signOut()) {
            QTextStream(stderr) << "aerovadrive-ctl: sign-out: cannot remove " << DriveLayout::accountFile() << ": "
                                << QString::fromLocal8Bit(std::strerror(errno)) << '\n';
            return 1;
        }
        return 0;
    }
    if (command == QLatin1String("network") && args.size() == 1) {
        const QString state = args.first();
        if (state == QLatin1String("clear")) {
            return report(DriveSetup::setNetwork({}), command);
        }
        if (state != QLatin1String("wifi") && state != QLatin1String("cellular") && state != QLatin1String("offline")) {
            return usage(QStringLiteral("unknown network: %1").arg(state));
        }
        return report(DriveSetup::setNetwork(state), command);
    }
    if (command == QLatin1String("store-rate") && args.size() == 1) {
        bool ok = false;
        const qint64 rate = args.first().toLongLong(&ok);
        if (!ok || rate < 0) {
            return usage(QStringLiteral("store-rate needs a number of bytes per second"));
        }
        return report(DriveSetup::setStoreRate(rate), command);
    }
    if (command == QLatin1String("promise")) {
        return forEachFile(args, &DriveSetup::promise);
    }
    if (command == QLatin1String("evict")) {
        return forEachFile(args, &evict);
    }
    if (command == QLatin1String("remove")) {
        return forEachFile(args, &removeItem);
    }
    if (command == QLatin1String("download")) {
        return download(args);
    }
    if (command == QLatin1String("add-container")) {
        return addContainer(args);
    }
    if (command == QLatin1String("tags")) {
        return tags(args);
    }
    if (command == QLatin1String("quota")) {
        return quota(args);
    }
    if (command == QLatin1String("offer")) {
        return offer(args);
    }
    if (command == QLatin1String("status") && args.isEmpty()) {
        QTextStream out(stdout);
        DriveSetup::printStatus(out);
        printSyncStatus(out);
        return 0;
    }
    return usage(QStringLiteral("unknown command or arguments: %1").arg(command));
}
