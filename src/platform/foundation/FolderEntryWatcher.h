#pragma once

#include "platform/foundation/FolderWatchHub.h"

#include <QObject>
#include <QString>
#include <QStringList>

class QFileSystemWatcher;

/// Tells which entries of one folder changed, by name, as the kernel reports them: an entry
/// made, removed, renamed in or out, written and closed, or given new attributes (tags). Whoever
/// changed them: the app, the sync service, a program of the desktop.
///
/// The names let a list change only the rows concerned instead of reading the folder again.
/// When the names are lost (the kernel's queue of changes overflowed, or the folder itself was
/// removed or moved away) `rereadNeeded` says the folder has to be read again as a whole. Where
/// the kernel cannot watch by name, Qt's watcher stands in and every change asks for a re-read.
class FolderEntryWatcher final : public QObject
{
    Q_OBJECT

public:
    explicit FolderEntryWatcher(const QString &folder, QObject *parent = nullptr);
    /// With the kernel's watch asked for ahead (FolderWatchHub::watchAhead).
    FolderEntryWatcher(const QString &folder, const FolderWatchHub::Ahead &ahead, QObject *parent = nullptr);
    ~FolderEntryWatcher() override;
    Q_DISABLE_COPY_MOVE(FolderEntryWatcher)

    QString folder() const { return m_folder; }
    /// Whether changes come by name.
    bool reportsNames() const { return m_fallback == nullptr; }

    /// From the process's kernel watch: entries of the folder changed.
    void entriesReported(const QStringList &names);
    /// From the process's kernel watch: what changed is not known.
    void namesLost();

Q_SIGNALS:
    /// Entries changed: each name once per report, as the folder names them (a placeholder's
    /// own name too).
    void entriesChanged(const QStringList &names);
    void rereadNeeded();

private:
    QString m_folder;
    QFileSystemWatcher *m_fallback = nullptr;
};
