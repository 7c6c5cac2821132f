#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QStringList>

#include <functional>

class QFileSystemWatcher;

/// Tells when the content of one of a few files changes, whoever changed it.
///
/// Files are often replaced rather than rewritten (a save writes a new file and renames it over
/// the old one), which ends a plain file watch; so the folders are watched too and file watches
/// are re-armed after every event. One save shows up as several events: the callback runs once
/// per new content (a file that appears, changes or disappears), on the watcher's thread.
class FileContentWatcher final : public QObject
{
    Q_OBJECT

public:
    using Callback = std::function<void(const QString &file)>;

    FileContentWatcher(const QStringList &files, Callback changed, QObject *parent = nullptr);
    Q_DISABLE_COPY_MOVE(FileContentWatcher)

    /// Looks at every file again now, as after an event.
    void recheck();

    /// A digest of a file's content: "absent" when it cannot be read.
    static QByteArray contentDigest(const QString &path);

private:
    void rearm();

    QFileSystemWatcher *m_watcher = nullptr;
    QStringList m_files;
    QHash<QString, QByteArray> m_lastSeen;
    Callback m_changed;
};
