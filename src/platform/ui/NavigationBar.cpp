#include "platform/ui/NavigationBar.h"

#include "platform/foundation/LocalizedString.h"
#include "platform/ui/ActivityIndicatorView.h"
#include "platform/ui/BarItemsView.h"
#include "platform/ui/ElidedLabel.h"
#include "platform/ui/Font.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/NetworkActivityIndicator.h"
#include "platform/ui/SystemColor.h"

#include <QEvent>
#include <QFontMetrics>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

NavigationBar::NavigationBar(QWidget *parent)
    : QWidget(parent)
    , m_back(new QToolButton(this))
    , m_left(new BarItemsView(this))
    , m_prompt(new ElidedLabel(this))
    , m_title(new ElidedLabel(this))
    , m_right(new BarItemsView(this))
    , m_activity(new ActivityIndicatorView(this))
{
    setObjectName(QStringLiteral("navigationBar"));
    setFixedHeight(Height);
    setAutoFillBackground(false);

    m_back->setObjectName(QStringLiteral("backButton"));
    m_back->setAutoRaise(true);
    m_back->setMinimumSize(BarItemsView::MinimumHitSize, BarItemsView::MinimumHitSize);
    m_back->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    m_back->setStyleSheet(QStringLiteral("QToolButton { color: %1; border: none; padding: 0 6px; }")
                              .arg(SystemColor::systemBlueColor().name()));
    m_back->setCursor(Qt::PointingHandCursor);
    connect(m_back, &QToolButton::clicked, this, &NavigationBar::backRequested);

    m_title->setObjectName(QStringLiteral("navigationTitle"));
    m_title->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Headline));
    m_title->setAlignment(Qt::AlignCenter);
    // a prompt is a short line of its own above the title
    m_prompt->setObjectName(QStringLiteral("navigationPrompt"));
    m_prompt->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Caption1));
    m_prompt->setAlignment(Qt::AlignCenter);
    m_prompt->setStyleSheet(QStringLiteral("color: #6d6d72;"));
    m_prompt->hide();

    // the title stays centred on the bar whatever the sides hold
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(4, 0, 8, 0);
    auto *leftSide = new QHBoxLayout;
    leftSide->addWidget(m_back);
    leftSide->addWidget(m_left);
    leftSide->addStretch(1);
    auto *rightSide = new QHBoxLayout;
    rightSide->addStretch(1);
    rightSide->addWidget(m_activity);
    rightSide->addWidget(m_right);
    grid->addLayout(leftSide, 0, 0);
    auto *middle = new QVBoxLayout;
    middle->setSpacing(0);
    middle->addStretch(1);
    middle->addWidget(m_prompt);
    middle->addWidget(m_title);
    middle->addStretch(1);
    grid->addLayout(middle, 0, 1);
    grid->addLayout(rightSide, 0, 2);
    // the sides as wide as the wider of them needs (so the title stays centred), the title the rest
    grid->setColumnStretch(1, 1);
    m_grid = grid;

    auto *indicator = NetworkActivityIndicator::shared();
    connect(indicator, &NetworkActivityIndicator::visibleChanged, this, [this](bool visible) {
        visible ? m_activity->startAnimating() : m_activity->stopAnimating();
    }, Qt::QueuedConnection);
    if (indicator->isVisible()) {
        m_activity->startAnimating();
    }
    refresh();
}

void NavigationBar::setItem(NavigationItem *item, const QString &backTitle, bool canGoBack)
{
    if (m_item) {
        disconnect(m_item.data(), nullptr, this, nullptr);
    }
    m_item = item;
    m_backTitle = backTitle;
    m_canGoBack = canGoBack;
    if (item) {
        connect(item, &NavigationItem::changed, this, &NavigationBar::refresh);
    }
    refresh();
}

QString NavigationBar::titleText() const
{
    return m_title->fullText();
}

QString NavigationBar::shownTitle() const
{
    return m_title->text();
}

void NavigationBar::refresh()
{
    const bool showBack = m_canGoBack && (!m_item || !m_item->hidesBackButton());
    m_back->setVisible(showBack);
    const QString backText = m_backTitle.isEmpty() ? LocalizedString::localized(QStringLiteral("Back")) : m_backTitle;
    const QString shown = QStringLiteral("‹ ") + QFontMetrics(m_back->font()).elidedText(backText, Qt::ElideRight, 120);
    m_back->setText(shown);
    m_back->setMinimumWidth(std::max(BarItemsView::MinimumHitSize, QFontMetrics(m_back->font()).horizontalAdvance(shown) + 16));
    m_title->setFullText(m_item ? m_item->title() : QString());
    m_prompt->setFullText(m_item ? m_item->prompt() : QString());
    m_prompt->setVisible(!m_prompt->fullText().isEmpty());
    m_left->setItems(m_item ? m_item->leftBarButtonItems() : QList<BarButtonItem *>{});
    m_right->setItems(m_item ? m_item->rightBarButtonItems() : QList<BarButtonItem *>{});
    fitSides();
}

void NavigationBar::fitSides()
{
    // a button is never cut: "Abbrechen" takes the room it needs and the title gives way
    int needs[2] = {0, 0};
    for (const int column : {0, 2}) {
        QLayoutItem *side = m_grid->itemAtPosition(0, column);
        side->invalidate(); // the buttons shown or hidden just now count, not the last ones
        needs[column / 2] = side->sizeHint().width();
    }
    // centred while the whole title fits between equal sides; else the title takes the room the
    // narrower side leaves, as much of it as shows
    const int wider = std::max(needs[0], needs[1]);
    const QMargins margins = m_grid->contentsMargins();
    const int room = width() - margins.left() - margins.right() - 2 * m_grid->horizontalSpacing();
    const int titleNeeds = std::max(m_title->sizeHint().width(), m_prompt->isVisible() ? m_prompt->sizeHint().width() : 0);
    const bool centred = 2 * wider + titleNeeds <= room;
    const int left = centred ? wider : needs[0];
    const int right = centred ? wider : needs[1];
    if (m_grid->columnMinimumWidth(0) != left || m_grid->columnMinimumWidth(2) != right) {
        m_grid->setColumnMinimumWidth(0, left);
        m_grid->setColumnMinimumWidth(2, right);
    }
}

bool NavigationBar::event(QEvent *event)
{
    // buttons change their size after the bar set them up (rebuilt, styled, shown), and the
    // bar its width: the sides follow whenever the bar lays itself out again
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Show || event->type() == QEvent::Resize) {
        fitSides();
    }
    return QWidget::event(event);
}

void NavigationBar::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.fillRect(rect(), QColor(249, 249, 249));
    painter.fillRect(QRect(0, height() - 1, width(), 1), QColor(0, 0, 0, 40));
}
