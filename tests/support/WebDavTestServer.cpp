#include "support/WebDavTestServer.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpServer>
#include <QThread>

namespace {

quint16 freePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
}

bool writeText(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

WebDavTestServer::WebDavTestServer(Kind kind, const QString &user, const QString &password)
    : m_kind(kind)
    , m_user(user)
    , m_password(password)
{
}

WebDavTestServer::~WebDavTestServer()
{
    stop();
}

QString WebDavTestServer::kindName(Kind kind)
{
    switch (kind) {
    case Kind::Apache: return QStringLiteral("apache");
    case Kind::Sabre: return QStringLiteral("sabre");
    case Kind::Rclone: return QStringLiteral("rclone");
    }
    return {};
}

QUrl WebDavTestServer::url() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port));
}

QUrl WebDavTestServer::url(const QString &path) const
{
    QByteArray encoded = url().toEncoded();
    for (const QString &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        encoded += name.toUtf8().toPercentEncoding() + '/';
    }
    if (!path.endsWith(QLatin1Char('/')) && !path.isEmpty()) {
        encoded.chop(1);
    }
    return QUrl::fromEncoded(encoded, QUrl::StrictMode);
}

bool WebDavTestServer::writeApacheConfig()
{
    const QString modules = QStringLiteral("/usr/lib/apache2/modules");
    // Apache reads {SHA} entries on every platform: no htpasswd needed
    const QByteArray hash = QCryptographicHash::hash(m_password.toUtf8(), QCryptographicHash::Sha1).toBase64();
    if (!writeText(m_dir.filePath(QStringLiteral("conf/users")), m_user.toUtf8() + ":{SHA}" + hash + '\n')) {
        return false;
    }
    const QString config = QStringLiteral(R"(ServerRoot "%1"
ServerName 127.0.0.1
Listen 127.0.0.1:%2
PidFile %1/run/httpd.pid
ErrorLog %1/run/error.log
LogLevel warn
LoadModule mpm_event_module %3/mod_mpm_event.so
LoadModule authz_core_module %3/mod_authz_core.so
LoadModule authz_user_module %3/mod_authz_user.so
LoadModule authn_core_module %3/mod_authn_core.so
LoadModule authn_file_module %3/mod_authn_file.so
LoadModule auth_basic_module %3/mod_auth_basic.so
LoadModule dav_module %3/mod_dav.so
LoadModule dav_fs_module %3/mod_dav_fs.so
LoadModule mime_module %3/mod_mime.so
CustomLog %1/run/access.log "%m %U %>s %{Range}i"
TypesConfig /etc/mime.types
DavLockDB %1/run/davlock
DocumentRoot "%1/root"
<Directory "%1/root">
  Dav On
  AuthType Basic
  AuthName "test"
  AuthUserFile %1/conf/users
  Require valid-user
  AllowOverride None
</Directory>
)")
                               .arg(m_dir.path())
                               .arg(m_port)
                               .arg(modules);
    return writeText(m_dir.filePath(QStringLiteral("conf/httpd.conf")), config.toUtf8());
}

bool WebDavTestServer::start(QString *error)
{
    if (!m_dir.isValid()) {
        *error = QStringLiteral("no temporary folder");
        return false;
    }
    for (const char *folder : {"root", "conf", "run"}) {
        QDir(m_dir.path()).mkpath(QString::fromLatin1(folder));
    }
    // a port taken between the probe and the server's start is tried again with another
    for (int attempt = 0; attempt < 5; ++attempt) {
        m_port = freePort();
        m_process = std::make_unique<QProcess>();
        m_process->setProcessChannelMode(QProcess::MergedChannels);
        m_process->setStandardOutputFile(m_dir.filePath(QStringLiteral("run/server.log")));
        if (m_kind == Kind::Apache) {
            if (!writeApacheConfig()) {
                *error = QStringLiteral("cannot write the Apache config");
                return false;
            }
            m_process->start(QStringLiteral("/usr/sbin/apache2"),
                             {QStringLiteral("-f"), m_dir.filePath(QStringLiteral("conf/httpd.conf")),
                              QStringLiteral("-DFOREGROUND")});
        } else if (m_kind == Kind::Rclone) {
            m_process->start(QStringLiteral("rclone"),
                             {QStringLiteral("--config"), QStringLiteral("/dev/null"), QStringLiteral("serve"), QStringLiteral("webdav"),
                              m_dir.filePath(QStringLiteral("root")), QStringLiteral("--addr"), QStringLiteral("127.0.0.1:%1").arg(m_port),
                              QStringLiteral("--user"), m_user, QStringLiteral("--pass"), m_password});
        } else {
            QFile::copy(QStringLiteral(AEROVA_TEST_SUPPORT_DIR "/webdav/sabre-server.php"),
                        m_dir.filePath(QStringLiteral("conf/sabre-server.php")));
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("PHP_CLI_SERVER_WORKERS"), QStringLiteral("4"));
            env.insert(QStringLiteral("DAV_ROOT"), m_dir.filePath(QStringLiteral("root")));
            env.insert(QStringLiteral("DAV_LOCKS"), m_dir.filePath(QStringLiteral("run/locks")));
            env.insert(QStringLiteral("DAV_QUOTA"), m_dir.filePath(QStringLiteral("conf/quota.json")));
            env.insert(QStringLiteral("DAV_FAULTS"), m_dir.filePath(QStringLiteral("conf/faults.json")));
            env.insert(QStringLiteral("DAV_OVERWRITES"), m_dir.filePath(QStringLiteral("conf/overwrites.json")));
            env.insert(QStringLiteral("DAV_LOG"), m_dir.filePath(QStringLiteral("run/access.log")));
            m_process->setProcessEnvironment(env);
            m_process->start(QStringLiteral("php"), {QStringLiteral("-S"), QStringLiteral("127.0.0.1:%1").arg(m_port),
                                                     m_dir.filePath(QStringLiteral("conf/sabre-server.php"))});
        }
        if (!m_process->waitForStarted(5000)) {
            *error = m_process->errorString();
            return false;
        }
        if (waitUntilAnswering(error)) {
            return true;
        }
        stop();
    }
    return false;
}

bool WebDavTestServer::waitUntilAnswering(QString *error)
{
    QDeadlineTimer deadline(15000);
    while (!deadline.hasExpired()) {
        if (m_process->state() != QProcess::Running) {
            QFile log(m_dir.filePath(QStringLiteral("run/server.log")));
            log.open(QIODevice::ReadOnly);
            *error = QStringLiteral("the server stopped: %1").arg(QString::fromLocal8Bit(log.readAll()));
            return false;
        }
        const int status = request("OPTIONS", {});
        if (status >= 200 && status < 500) {
            return true;
        }
        QThread::msleep(100);
    }
    *error = QStringLiteral("the server did not answer in 15 s");
    return false;
}

void WebDavTestServer::stop()
{
    if (!m_process) {
        return;
    }
    m_process->terminate();
    if (!m_process->waitForFinished(5000)) {
        m_process->kill();
        m_process->waitForFinished(2000);
    }
    m_process.reset();
}

bool WebDavTestServer::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

QByteArray WebDavTestServer::accessLog() const
{
    QFile log(m_dir.filePath(QStringLiteral("run/access.log")));
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

bool WebDavTestServer::setQuota(qint64 used, qint64 available)
{
    return writeText(m_dir.filePath(QStringLiteral("conf/quota.json")),
                     QStringLiteral("{\"used\": %1, \"available\": %2}").arg(used).arg(available).toUtf8());
}

bool WebDavTestServer::failQuota(const QString &message)
{
    return writeText(m_dir.filePath(QStringLiteral("conf/quota.json")),
                     QStringLiteral("{\"fail\": \"%1\"}").arg(message).toUtf8());
}

bool WebDavTestServer::clearQuota()
{
    const QString file = m_dir.filePath(QStringLiteral("conf/quota.json"));
    return !QFileInfo::exists(file) || QFile::remove(file);
}

bool WebDavTestServer::setFault(const QByteArray &verb, const QString &path, int status)
{
    const QString file = m_dir.filePath(QStringLiteral("conf/faults.json"));
    QJsonObject faults;
    if (QFile existing(file); existing.open(QIODevice::ReadOnly)) {
        faults = QJsonDocument::fromJson(existing.readAll()).object();
    }
    const QString key = QString::fromLatin1(verb) + QLatin1Char(' ') + path;
    if (status == 0) {
        faults.remove(key);
    } else {
        faults.insert(key, status);
    }
    return writeText(file, QJsonDocument(faults).toJson());
}

bool WebDavTestServer::overwriteAfterNextPut(const QString &path, const QByteArray &content)
{
    const QString file = m_dir.filePath(QStringLiteral("conf/overwrites.json"));
    QJsonObject overwrites;
    if (QFile existing(file); existing.open(QIODevice::ReadOnly)) {
        overwrites = QJsonDocument::fromJson(existing.readAll()).object();
    }
    overwrites.insert(path, QString::fromUtf8(content));
    return writeText(file, QJsonDocument(overwrites).toJson());
}

int WebDavTestServer::request(const QByteArray &verb, const QString &path, const QByteArray &body,
                              const QList<QPair<QByteArray, QByteArray>> &headers)
{
    QNetworkAccessManager network;
    QNetworkRequest request(url(path));
    request.setRawHeader("Authorization", "Basic " + (m_user + QLatin1Char(':') + m_password).toUtf8().toBase64());
    for (const auto &header : headers) {
        request.setRawHeader(header.first, header.second);
    }
    QNetworkReply *reply = network.sendCustomRequest(request, verb, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    m_lastBody = reply->readAll();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    delete reply;
    return status;
}

int WebDavTestServer::put(const QString &path, const QByteArray &content)
{
    return request("PUT", path, content);
}

int WebDavTestServer::mkcol(const QString &path)
{
    return request("MKCOL", path);
}

int WebDavTestServer::move(const QString &from, const QString &to)
{
    return request("MOVE", from, {}, {{"Destination", url(to).toEncoded()}, {"Overwrite", "F"}});
}

int WebDavTestServer::remove(const QString &path)
{
    return request("DELETE", path);
}
