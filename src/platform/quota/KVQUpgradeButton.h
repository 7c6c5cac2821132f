#pragma once

#include <QPushButton>

#include <memory>

class KVQOffer;

/// The button that offers more storage: a tinted pill showing the offer's title (or
/// "Upgrade Storage"), visible only for an offer that `shouldShowForOffer` accepts.
class KVQUpgradeButton final : public QPushButton
{
    Q_OBJECT

public:
    explicit KVQUpgradeButton(QWidget *parent = nullptr);
    static KVQUpgradeButton *upgradeButton();

    std::shared_ptr<KVQOffer> offer() const { return m_offer; }
    void setOffer(const std::shared_ptr<KVQOffer> &offer);
    /// How many times an offer was set (a test sees that an equal offer is not set again).
    int offerChangeCount() const { return m_offerChangeCount; }

    /// True for an offer that asks the user to act: storage filling up or full (level 1 or more).
    static bool shouldShowForOffer(const std::shared_ptr<KVQOffer> &offer);

    /// The title label's height: the text's line height.
    int titleLabelHeight() const;

private:
    std::shared_ptr<KVQOffer> m_offer;
    int m_offerChangeCount = 0;
};
