#include "platform/foundation/FolderEntryWatcher.h"

#include "core/DRLogging.h"
#include "platform/foundation/FolderWatchHub.h"

#include <QFileSystemWatcher>

#include <cstring>

FolderEntryWatcher::FolderEntryWatcher(const QString &folder, QObject *parent)
    : FolderEntryWatcher(folder, FolderWatchHub::instance()->watchAhead(folder, false).get(), parent)
{
}

FolderEntryWatcher::FolderEntryWatcher(const QString &folder, const FolderWatchHub::Ahead &ahead, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{
    const int problem = FolderWatchHub::instance()->adopt(ahead, this);
    if (problem == 0) {
        return;
    }
    DRLog(LOG_WARNING, "Cannot watch %@ by name (%@): every change in it reads it again", folder,
          QString::fromLocal8Bit(std::strerror(problem)));
    m_fallback = new QFileSystemWatcher(this);
    m_fallback->addPath(folder);
    connect(m_fallback, &QFileSystemWatcher::directoryChanged, this, &FolderEntryWatcher::rereadNeeded);
}

FolderEntryWatcher::~FolderEntryWatcher()
{
    if (FolderWatchHub *hub = FolderWatchHub::existingInstance()) {
        hub->remove(this);
    }
}

void FolderEntryWatcher::entriesReported(const QStringList &names)
{
    Q_EMIT entriesChanged(names);
}

void FolderEntryWatcher::namesLost()
{
    // the names are lost: whatever changed is found by reading the folder again
    DRLog(LOG_INFO, "Lost track of the changes in %@: reading it again", m_folder);
    Q_EMIT rereadNeeded();
}
