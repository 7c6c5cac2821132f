#include "support/TestDrive.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "watchers/NetworkWatcher.h"
#include "platform/drive/DriveSetup.h"
#include "platform/drive/KDContainer.h"
#include "platform/foundation/FilePath.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QFile>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QCoreApplication>

#include <filesystem>
#include <fcntl.h>
#include <unistd.h>

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

void TestDrive::useOwnDesktop() const
{
    const QString share = m_dir.path() + QStringLiteral("/share");
    QDir().mkpath(share);
    const QDir system(QStringLiteral("/usr/share"));
    for (const QString &entry : system.entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        if (entry != QLatin1String("applications")) {
            QFile::link(system.filePath(entry), share + QLatin1Char('/') + entry);
        }
    }
    qputenv("XDG_DATA_DIRS", QFile::encodeName(share));
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/data")));
}

bool TestDrive::writeFile(const QString &path, const QByteArray &content)
{
    // by the path's own bytes, as another program would: a name that is not UTF-8 too
    std::error_code ec;
    std::filesystem::create_directories(FilePath::encode(QFileInfo(path).path()).toStdString(), ec);
    const int fd = ::open(FilePath::encode(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    qsizetype written = 0;
    while (written < content.size()) {
        const ssize_t n = ::write(fd, content.constData() + written, size_t(content.size() - written));
        if (n <= 0) {
            break;
        }
        written += n;
    }
    return ::close(fd) == 0 && written == content.size();
}

QByteArray TestDrive::readFile(const QString &path)
{
    QFile file;
    const int fd = ::open(FilePath::encode(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        if (fd >= 0) {
            ::close(fd);
        }
        return {};
    }
    return file.readAll();
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
