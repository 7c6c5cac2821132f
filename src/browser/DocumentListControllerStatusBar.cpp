#include "browser/DocumentListControllerStatusBar.h"

#include "browser/DocumentListControllerStatusBarDelegate.h"
#include "core/Settings.h"
#include "platform/quota/KVQOffer.h"
#include "platform/quota/KVQUpgradeButton.h"
#include "platform/ui/Font.h"
#include "platform/ui/ViewController.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>

DocumentListControllerStatusBar::DocumentListControllerStatusBar(QObject *parent)
    : QObject(parent)
{
}

DocumentListControllerStatusBar::~DocumentListControllerStatusBar()
{
    if (m_labelsView && !m_labelsView->parent()) {
        delete m_labelsView.data();
    }
}

QList<BarButtonItem *> DocumentListControllerStatusBar::toolbarItems() const
{
    QList<BarButtonItem *> items;
    for (const auto &item : m_toolbarItems) {
        if (item) {
            items.append(item.data());
        }
    }
    return items;
}

void DocumentListControllerStatusBar::createStatusBar_buttonPressDelegate(const std::shared_ptr<KVQOffer> &offer,
                                                                          QObject *delegate)
{
    m_delegate = delegate;
    // the labels start as wide as the screen, like the system's own status bar
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QRect frame(0, 0, screen ? screen->geometry().width() : 0, 20);
    auto *list = qobject_cast<ViewController *>(parent());
    m_labelsView = new DriveStatusLabelView(frame, list ? list->view() : nullptr);
    m_labelsView->hide();
    configureLabels(offer);
    m_toolbarItems = {new BarButtonItem(BarButtonItem::SystemItem::FlexibleSpace, this),
                      new BarButtonItem(m_labelsView.data(), this),
                      new BarButtonItem(BarButtonItem::SystemItem::FlexibleSpace, this)};
}

void DocumentListControllerStatusBar::configureLabels(const std::shared_ptr<KVQOffer> &offer)
{
    auto *label = new QLabel;
    label->setObjectName(QStringLiteral("primaryLabel"));
    label->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Caption2));
    label->setAttribute(Qt::WA_TranslucentBackground);
    label->setAutoFillBackground(false);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Settings::statusLabelColor());
    label->setPalette(palette);
    label->adjustSize();
    m_labelsView->setPrimaryLabel(label);

    KVQUpgradeButton *button = KVQUpgradeButton::upgradeButton();
    button->setOffer(offer);
    connect(button, &KVQUpgradeButton::clicked, this, &DocumentListControllerStatusBar::upgradeStoragePressed);
    button->adjustSize();
    button->hide();
    m_labelsView->setQuotaButton(button);

    m_labelsView->setShowLowQuota(KVQUpgradeButton::shouldShowForOffer(offer));
}

void DocumentListControllerStatusBar::setStatusText(const QString &text)
{
    m_labelsView->setPrimaryLabelText(text);
}

void DocumentListControllerStatusBar::showUpgradeOffer(const std::shared_ptr<KVQOffer> &offer)
{
    KVQUpgradeButton *button = m_labelsView->quotaButton();
    const std::shared_ptr<KVQOffer> current = button->offer();
    const bool equal = (current == offer) || (current && offer && *current == *offer);
    if (!equal) {
        button->setOffer(offer);
    }
    m_labelsView->setShowLowQuota(KVQUpgradeButton::shouldShowForOffer(offer));
}

void DocumentListControllerStatusBar::upgradeStoragePressed()
{
    if (auto *delegate = qobject_cast<DocumentListControllerStatusBarDelegate *>(m_delegate.data())) {
        delegate->upgradeStorageButtonPressed();
    }
}
