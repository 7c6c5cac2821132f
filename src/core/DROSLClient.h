#pragma once

#include <QString>

#include <atomic>
#include <functional>

class DispatchQueue;
class SystemLogConnection;

/// The one writer of the system log. Created by the first log call; lives until the process
/// ends. Records are written in submission order on `logQueue`, a low-priority serial queue, so
/// callers never wait for the log.
///
/// The level comes from the "DRLogLevel" standard default (levels 0–2 cannot be chosen there:
/// a value of 2 or less means the default, 6), is forced to 8 by the marker file, and is chosen
/// again whenever the managed-defaults notification arrives.
class DROSLClient final
{
public:
    static constexpr const char Facility[] = "com.quillmere.AerovaDriveApp";
    static constexpr const char LogQueueLabel[] = "com.quillmere.aerovadriveapp.logging";
    static constexpr const char MarkerFilePath[] = "/etc/dr_hella_logging";
    static constexpr const char QuotaDisabledVariable[] = "OSL_QUOTA_DISABLED";
    static constexpr qint64 DefaultLevel = 6;

    /// The shared instance, made with `new` exactly once per process.
    static DROSLClient *OSLClient();

    /// The current level; may be above 7 (8 keeps everything).
    qint64 logLevel() const { return m_logLevel.load(std::memory_order_relaxed); }
    /// The current level as the system log sees it: capped at 7.
    qint64 logLevelForOSL() const;
    /// Stores the level, then sets the connection's filter to the levels 0 to `logLevelForOSL`.
    void setLogLevel(qint64 level);
    /// Chooses the level from the defaults and the marker file; runs on `logQueue`.
    void _setLogLevelFromDefaults();
    void _ensureLogDirectoryExists();
    /// Runs the block on `logQueue`, asynchronously.
    void performLoggingBlock(std::function<void()> block);
    /// Called as the application object goes (a post routine of it): the defaults go with it,
    /// so from then on the level is not read from them again; records are still written. Waits
    /// for a read of them under way on `logQueue`.
    void applicationWillEnd();

    SystemLogConnection *oslClient() const { return m_oslClient; }
    DispatchQueue *logQueue() const { return m_logQueue; }

    /// The marker file's path. Only tests move it, to a file of their own.
    static QString markerFilePath();
    static void setMarkerFilePathForTesting(const QString &path);

private:
    DROSLClient();
    ~DROSLClient();
    Q_DISABLE_COPY_MOVE(DROSLClient)

    void init();
    void dealloc();
    void applyFilter();
    void storeLevel(qint64 level);

    SystemLogConnection *m_oslClient = nullptr;
    std::atomic<qint64> m_logLevel{DefaultLevel};
    DispatchQueue *m_logQueue = nullptr;
    bool m_registeredForDefaults = false;
    bool m_applicationEnded = false; // on logQueue
};
