#include "support/TestDrive.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "watchers/NetworkWatcher.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QFile>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QCoreApplication>

TestDrive::TestDrive()
{
    qputenv("AEROVA_HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/home")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/cache")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/config")));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_dir.path() + QStringLiteral("/runtime")));
    QDir().mkpath(m_dir.path() + QStringLiteral("/runtime"));
    QFile::setPermissions(m_dir.path() + QStringLiteral("/runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // tests read what was logged from memory
    qputenv("AEROVA_SYSLOG", "memory");
    DriveSetup::initialize();
}

TestDrive::~TestDrive() = default;

QString TestDrive::root() const
{
    return DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + KDUbiquitousDefaultContainerID;
}

QString TestDrive::path(const QString &relative) const
{
    return root() + QLatin1Char('/') + relative;
}

QUrl TestDrive::url(const QString &relative) const
{
    return QUrl::fromLocalFile(path(relative));
}

QString TestDrive::freshFolder(const QString &name)
{
    const QString folder = path(name);
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    return folder;
}

bool TestDrive::writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray TestDrive::png(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(30, 120, 200));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

bool TestDrive::useNetwork(const QString &state, quint64 expected)
{
    DriveSetup::setNetwork(state);
    NetworkWatcher *watcher = NetworkWatcher::sharedNetworkWatcher();
    watcher->start();
    DriveServiceMonitor::flush();
    QDeadlineTimer deadline(5000);
    while (quint64(watcher->networkState()) != expected && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return quint64(watcher->networkState()) == expected;
}
