#include "platform/foundation/FileContentWatcher.h"

#include "platform/foundation/RegularFileReader.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>

FileContentWatcher::FileContentWatcher(const QStringList &files, Callback changed, QObject *parent)
    : QObject(parent)
    , m_watcher(new QFileSystemWatcher(this))
    , m_files(files)
    , m_changed(std::move(changed))
{
    for (const QString &file : m_files) {
        QDir().mkpath(QFileInfo(file).absolutePath());
        m_lastSeen.insert(file, contentDigest(file));
    }
    rearm();
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &FileContentWatcher::recheck);
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, &FileContentWatcher::recheck);
}

void FileContentWatcher::recheck()
{
    rearm();
    for (const QString &file : std::as_const(m_files)) {
        const QByteArray digest = contentDigest(file);
        if (digest == m_lastSeen.value(file)) {
            continue;
        }
        m_lastSeen.insert(file, digest);
        if (m_changed) {
            m_changed(file);
        }
    }
}

void FileContentWatcher::rearm()
{
    const QStringList watchedFiles = m_watcher->files();
    QStringList watchedFolders = m_watcher->directories();
    for (const QString &file : std::as_const(m_files)) {
        if (!watchedFiles.contains(file) && QFileInfo::exists(file)) {
            m_watcher->addPath(file);
        }
        const QString folder = QFileInfo(file).absolutePath();
        if (!watchedFolders.contains(folder)) {
            m_watcher->addPath(folder);
            watchedFolders.append(folder);
        }
    }
}

QByteArray FileContentWatcher::contentDigest(const QString &path)
{
    QByteArray bytes;
    QString problem;
    switch (RegularFileReader::read(path, &bytes, &problem)) {
    case RegularFileReader::Status::Missing:
        return QByteArrayLiteral("absent");
    case RegularFileReader::Status::Unusable:
        // a FIFO or a device is not read: its readers say what is wrong when told of the change
        return QByteArrayLiteral("unusable: ") + problem.toUtf8();
    case RegularFileReader::Status::Read:
        break;
    }
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}
