#include "platform/quota/KVQUpgradeFlowManager.h"

#include "platform/drive/DriveSetup.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/quota/KVQOffer.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"

KVQUpgradeFlowManager::KVQUpgradeFlowManager(QObject *parent)
    : QObject(parent)
{
}

std::unique_ptr<KVQUpgradeFlowManager> KVQUpgradeFlowManager::initWithOffer(const std::shared_ptr<KVQOffer> &offer)
{
    auto manager = std::make_unique<KVQUpgradeFlowManager>();
    manager->m_offer = offer;
    return manager;
}

QList<KVQUpgradeFlowManager::Plan> KVQUpgradeFlowManager::plans()
{
    constexpr qint64 GB = 1000LL * 1000 * 1000;
    return {{LocalizedString::localized(QStringLiteral("50 GB")), 50 * GB}, {LocalizedString::localized(QStringLiteral("200 GB")), 200 * GB}, {LocalizedString::localized(QStringLiteral("2 TB")), 2000 * GB}};
}

void KVQUpgradeFlowManager::beginFlowWithPresentingViewController(ViewController *presenter)
{
    if (!presenter) {
        return;
    }
    auto *sheet = new AlertController(m_offer && !m_offer->title().isEmpty() ? m_offer->title() : LocalizedString::localized(QStringLiteral("Upgrade Storage")),
                                      LocalizedString::localized(QStringLiteral("Choose a storage plan.")), AlertController::Style::Alert);
    sheet->setObjectName(QStringLiteral("upgradeFlow"));
    QPointer<KVQUpgradeFlowManager> self(this);
    for (const Plan &plan : plans()) {
        sheet->addAction(new AlertAction(plan.title, AlertAction::Style::Default, [self, plan](AlertAction *) {
            if (self) {
                self->choosePlan(plan);
            }
        }));
    }
    sheet->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Not Now")), AlertAction::Style::Cancel, {}));
    presenter->presentViewController(sheet, true);
}

bool KVQUpgradeFlowManager::choosePlan(const Plan &plan)
{
    // the larger plan settles the offer: the service has nothing more to sell for now
    return !DriveSetup::setPlan(plan.bytes) && !DriveSetup::setOffer(0, QString());
}
