#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

#include "platform/quota/KVQUpgradeButton.h"

/// The centre of a folder list's toolbar: the status line (item count and free space) and,
/// under it when storage runs low, the upgrade button.
class DriveStatusLabelView final : public QWidget
{
    Q_OBJECT

public:
    explicit DriveStatusLabelView(const QRect &frame, QWidget *parent = nullptr);
    /// The constructor's work: flexible size, not opaque, no low-quota button shown.
    void initWithFrame(const QRect &frame);

    QLabel *primaryLabel() const { return m_primaryLabel.data(); }
    void setPrimaryLabel(QLabel *label);
    KVQUpgradeButton *quotaButton() const { return m_quotaButton.data(); }
    void setQuotaButton(KVQUpgradeButton *button);
    bool showLowQuota() const { return m_showLowQuota; }

    void setPrimaryLabelText(const QString &text);
    void setShowLowQuota(bool show);
    /// The height the label and the button take together, as the last layout computed it.
    qreal contentHeight() const { return m_contentHeight; }

    /// Places the label, centred one pixel above the middle, and the button under it.
    void layoutSubviews();
    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool event(QEvent *event) override;

private:
    QPointer<QLabel> m_primaryLabel;
    QPointer<KVQUpgradeButton> m_quotaButton;
    bool m_showLowQuota = false;
    qreal m_contentHeight = 0;
};
