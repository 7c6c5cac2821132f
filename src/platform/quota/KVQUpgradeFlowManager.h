#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

class KVQOffer;
class ViewController;

/// The storage-upgrade flow: shows the plans the service sells as a sheet and writes the chosen
/// one back to the service (its quota file), which then reports the new free space.
class KVQUpgradeFlowManager final : public QObject
{
    Q_OBJECT

public:
    struct Plan {
        QString title;
        qint64 bytes;
    };

    explicit KVQUpgradeFlowManager(QObject *parent = nullptr);
    static std::unique_ptr<KVQUpgradeFlowManager> initWithOffer(const std::shared_ptr<KVQOffer> &offer);

    std::shared_ptr<KVQOffer> offer() const { return m_offer; }
    void beginFlowWithPresentingViewController(ViewController *presenter);
    /// The plans offered, smallest first.
    static QList<Plan> plans();
    /// Writes the chosen plan to the service and clears the offer; false when it cannot be written.
    bool choosePlan(const Plan &plan);

private:
    std::shared_ptr<KVQOffer> m_offer;
};
