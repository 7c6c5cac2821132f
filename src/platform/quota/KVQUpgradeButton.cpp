#include "platform/quota/KVQUpgradeButton.h"

#include "platform/foundation/LocalizedString.h"
#include "platform/quota/KVQOffer.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"

#include <QFontMetrics>

KVQUpgradeButton::KVQUpgradeButton(QWidget *parent)
    : QPushButton(parent)
{
    setObjectName(QStringLiteral("upgradeButton"));
    setFont(Font::preferredFontForTextStyle(Font::TextStyle::Caption1));
    setCursor(Qt::PointingHandCursor);
    setText(LocalizedString::localized(QStringLiteral("Upgrade Storage")));
    setStyleSheet(QStringLiteral("QPushButton { color: %1; background: transparent; border: none; padding: 2px 10px;"
                                 " font-weight: 600; }"
                                 "QPushButton:pressed { color: %2; }")
                      .arg(SystemColor::systemBlueColor().name(), SystemColor::systemBlueColor().lighter(150).name()));
}

KVQUpgradeButton *KVQUpgradeButton::upgradeButton()
{
    return new KVQUpgradeButton;
}

void KVQUpgradeButton::setOffer(const std::shared_ptr<KVQOffer> &offer)
{
    m_offer = offer;
    ++m_offerChangeCount;
    setText(offer && !offer->title().isEmpty() ? offer->title() : LocalizedString::localized(QStringLiteral("Upgrade Storage")));
}

bool KVQUpgradeButton::shouldShowForOffer(const std::shared_ptr<KVQOffer> &offer)
{
    return offer && offer->level() >= 1;
}

int KVQUpgradeButton::titleLabelHeight() const
{
    return QFontMetrics(font()).height();
}
