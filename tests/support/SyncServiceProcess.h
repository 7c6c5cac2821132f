#pragma once

#include <QProcess>
#include <QProcessEnvironment>

#include <memory>

/// The sync service as tests run it: a real aerovadrive-syncd process of the drive its
/// environment names (by default the test's own), reached through its socket.
class SyncServiceProcess final
{
public:
    explicit SyncServiceProcess(const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
    ~SyncServiceProcess();
    SyncServiceProcess(const SyncServiceProcess &) = delete;
    SyncServiceProcess &operator=(const SyncServiceProcess &) = delete;

    /// Starts it and waits until its socket answers (the current environment's socket).
    bool start();
    /// Asks it to end, as the system would at log-out.
    void stop();
    /// SIGKILL: it has no chance to finish anything.
    void kill();
    bool isRunning() const;

    /// Asks the running service of the current environment for a sync run and waits until it
    /// has ended.
    static bool syncNow(int timeoutMs = 20000);

private:
    QProcessEnvironment m_environment;
    std::unique_ptr<QProcess> m_process;
};
