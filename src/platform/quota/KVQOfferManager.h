#pragma once

#include <QObject>
#include <QString>

#include <memory>

class KVQOffer;

/// Posted on the main thread when the current offer was fetched or changed.
inline const QString KVQCurrentOfferChangedNotification = QStringLiteral("KVQCurrentOfferChangedNotification");

/// Knows the drive service's current storage-upgrade offer: fetched once on demand, then
/// followed whenever the service changes it. Main thread only.
class KVQOfferManager final : public QObject
{
    Q_OBJECT

public:
    static KVQOfferManager *sharedManager();

    /// Starts a fetch when none was made yet and answers true: the offer then arrives with
    /// KVQCurrentOfferChangedNotification. Answers false when the current offer is already known.
    bool fetchOfferIfNeeded();
    std::shared_ptr<KVQOffer> currentOffer() const { return m_currentOffer; }
    bool hasFetched() const { return m_fetched; }

    /// Forgets what was fetched (tests start each case from a fresh manager's state).
    void reset();

private:
    KVQOfferManager();
    void fetch();

    std::shared_ptr<KVQOffer> m_currentOffer;
    bool m_fetched = false;
    bool m_fetching = false;
    quint64 m_generation = 0;
};
