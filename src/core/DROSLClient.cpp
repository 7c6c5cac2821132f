#include "core/DROSLClient.h"

#include "core/DRLogging.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/syslog/SystemLog.h"
#include "platform/syslog/SystemNotification.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMutex>

#include <algorithm>
#include <mutex>

namespace {

QMutex g_markerMutex;
QString g_markerPath = QString::fromLatin1(DROSLClient::MarkerFilePath);

} // namespace

DROSLClient *DROSLClient::OSLClient()
{
    static std::once_flag once;
    static DROSLClient *shared = nullptr;
    std::call_once(once, [] { shared = new DROSLClient(); }); // lives until the process ends
    return shared;
}

DROSLClient::DROSLClient()
{
    init();
}

DROSLClient::~DROSLClient()
{
    dealloc();
}

void DROSLClient::init()
{
    // utility quality of service at the lowest relative priority
    m_logQueue = new DispatchQueue(QString::fromLatin1(LogQueueLabel), QThread::LowPriority);
    m_logQueue->sync([this] {
        m_oslClient = SystemLog::open(QString(), QString::fromLatin1(Facility), 0);
        _setLogLevelFromDefaults();
    });
    qAddPostRoutine([] { OSLClient()->applicationWillEnd(); });
}

void DROSLClient::dealloc()
{
    m_logQueue->sync([this] {
        SystemLog::close(m_oslClient);
        m_oslClient = nullptr;
    });
    delete m_logQueue;
}

qint64 DROSLClient::logLevelForOSL() const
{
    return std::min<qint64>(logLevel(), LOG_DEBUG);
}

void DROSLClient::applyFilter()
{
    const quint32 mask = (1u << (logLevelForOSL() + 1)) - 1;
    SystemLog::setFilter(m_oslClient, mask);
}

void DROSLClient::storeLevel(qint64 level)
{
    m_logLevel.store(level, std::memory_order_relaxed);
    DRLogCallerLevel.store(level, std::memory_order_relaxed); // the copy every call site reads
}

void DROSLClient::setLogLevel(qint64 level)
{
    storeLevel(level);
    m_logQueue->sync([this] { applyFilter(); });
}

void DROSLClient::applicationWillEnd()
{
    m_logQueue->sync([this] { m_applicationEnded = true; });
}

void DROSLClient::_setLogLevelFromDefaults()
{
    if (m_applicationEnded) {
        return; // a change notified as the process ends: the defaults may already be gone
    }
    if (!m_registeredForDefaults) {
        m_registeredForDefaults = true;
        SystemNotification::registerForName(SystemNotification::ManagedDefaultsDidChange, m_logQueue,
                                            [this] { _setLogLevelFromDefaults(); });
    }
    UserDefaults *defaults = UserDefaults::standardUserDefaults();
    defaults->synchronize();
    const qint64 preference = defaults->integerForKey(QStringLiteral("DRLogLevel"));
    // levels 0 to 2 would silence the app's own errors: they are not choosable by preference
    const qint64 candidate = preference > 2 ? preference : DefaultLevel;
    const bool markerPresent = QFileInfo::exists(markerFilePath());
    const qint64 level = markerPresent ? 8 : candidate;

    storeLevel(level);
    applyFilter();

    if (!markerPresent && level < 8) {
        qunsetenv(QuotaDisabledVariable);
    } else {
        qputenv(QuotaDisabledVariable, "1");
        DispatchQueue::globalAsync([] { DRLog(LOG_DEBUG, "Unthrottling logging"); });
    }
}

void DROSLClient::_ensureLogDirectoryExists()
{
    // the system log keeps its own files; nothing to prepare
}

void DROSLClient::performLoggingBlock(std::function<void()> block)
{
    m_logQueue->async(std::move(block));
}

QString DROSLClient::markerFilePath()
{
    QMutexLocker locker(&g_markerMutex);
    return g_markerPath;
}

void DROSLClient::setMarkerFilePathForTesting(const QString &path)
{
    QMutexLocker locker(&g_markerMutex);
    g_markerPath = path;
}
