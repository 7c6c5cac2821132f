#include "preview/PreviewDetailsViewController.h"

#include "browser/RenamePrompt.h"
#include "browser/UIUtils.h"
#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/ui/ElidedLabel.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"
#include "preview/ConstraintUtils.h"
#include "preview/FileInfoStackView.h"
#include "preview/HairlineView.h"
#include "preview/PreviewItemManager.h"
#include "preview/ThumbnailImageView.h"

#include <QBoxLayout>
#include <QEvent>
#include <QFontMetrics>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QResizeEvent>

using Attribute = LayoutConstraint::Attribute;
using Relation = LayoutConstraint::Relation;

namespace {
constexpr int NameFontSize = 24;
constexpr int EdgeInset = 8;

QFont nameFont()
{
    QFont font = Font::preferredFontForTextStyle(Font::TextStyle::Title2);
    font.setPixelSize(NameFontSize);
    return font;
}
} // namespace

PreviewDetailsViewController::PreviewDetailsViewController(QObject *parent)
    : PreviewBaseViewController(parent)
{
}

PreviewDetailsViewController::~PreviewDetailsViewController() = default;

QList<HairlineView *> PreviewDetailsViewController::hairlineViews() const
{
    return m_hairlineViews;
}

void PreviewDetailsViewController::viewDidLoad()
{
    PreviewBaseViewController::viewDidLoad();
    const std::shared_ptr<DRItem> item = itemManager() ? itemManager()->item() : nullptr;
    if (item && !item->url().isEmpty()) {
        const QString app = LaunchUtils::defaultAppNameForDocument_requireOpenIn(item->url(), true);
        if (!app.isEmpty()) {
            m_openInAppButton = new QPushButton(LocalizedString::localizedStringWithFormat(QStringLiteral("Open in “%@”"), app),
                                                view());
            m_openInAppButton->setObjectName(QStringLiteral("openInAppButton"));
            m_openInAppButton->setFlat(true);
            m_openInAppButton->setCursor(Qt::PointingHandCursor);
            m_openInAppButton->setStyleSheet(QStringLiteral("QPushButton { color: %1; border: none; padding: 0 8px; }")
                                                 .arg(SystemColor::systemBlueColor().name()));
            m_openInAppButton->hide();
        }
    }
    setupViewsAndConstraints();
}

bool PreviewDetailsViewController::shouldDisplayOpenInAppButtonInView() const
{
    return m_openInAppButton && UIUtils::veskMode();
}

QAbstractButton *PreviewDetailsViewController::openInAppNavControllerButton()
{
    return shouldDisplayOpenInAppButtonInView() ? nullptr : m_openInAppButton.data();
}

QWidget *PreviewDetailsViewController::buildVerticalStackWithSubviews_spacing(const QList<QWidget *> &views, int spacing)
{
    auto *stack = new QWidget;
    auto *layout = new QVBoxLayout(stack);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    for (QWidget *view : views) {
        layout->addWidget(view, 0, Qt::AlignHCenter);
    }
    stack->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    return stack;
}

void PreviewDetailsViewController::stretchSubview_withinView(QWidget *subview, QWidget *view)
{
    // the four rules of a stretched subview: it fills the view
    auto *layout = view->layout() ? qobject_cast<QBoxLayout *>(view->layout()) : new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(subview);
}

QList<LayoutConstraint> PreviewDetailsViewController::stretchSubviewWidth_withinView(QWidget *subview, QWidget *view)
{
    return {
        {subview, Attribute::CenterX, Relation::Equal, view, Attribute::CenterX, 0},
        {subview, Attribute::Leading, Relation::Equal, view, Attribute::Leading, 0},
    };
}

void PreviewDetailsViewController::setupViewsAndConstraints()
{
    m_thumbnailView = new ThumbnailImageView;
    m_thumbnailView->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    m_thumbnailView->setMinimumSize(96, 96);
    for (int i = 0; i < 2; ++i) {
        auto *slot = new QWidget;
        slot->setObjectName(QStringLiteral("hairlineSlot"));
        slot->setFixedHeight(1);
        slot->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        slot->installEventFilter(this);
        m_hairlineSlots.append(slot);
        auto *hairline = new HairlineView(view());
        m_hairlineViews.append(hairline);
    }
    // one line, as wide as the screen allows: a long name is cut in its middle, never at its edges
    m_filenameTextField = new ElidedLabel;
    m_filenameTextField->setElideMode(Qt::ElideMiddle);
    m_filenameTextField->setObjectName(QStringLiteral("filenameTextField"));
    m_filenameTextField->setFont(nameFont());
    m_filenameTextField->setAlignment(Qt::AlignCenter);
    m_filenameTextField->setCursor(Qt::PointingHandCursor);
    m_filenameTextField->setFixedHeight(int(QFontMetrics(nameFont()).lineSpacing() * 1.2));
    m_filenameTextField->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_filenameTextField->installEventFilter(this);
    m_filenameStackView = buildVerticalStackWithSubviews_spacing({m_hairlineSlots.at(0), m_filenameTextField,
                                                                  m_hairlineSlots.at(1)},
                                                                 7);
    // the name spans its stack, never touching the screen's edges
    auto *nameLayout = static_cast<QVBoxLayout *>(m_filenameStackView->layout());
    for (int i = 0; i < nameLayout->count(); ++i) {
        nameLayout->setAlignment(nameLayout->itemAt(i)->widget(), Qt::Alignment());
    }
    nameLayout->setContentsMargins(0, 0, 0, 0);
    m_filenameTextField->setContentsMargins(EdgeInset, 0, EdgeInset, 0);
    m_filenameTextFieldFullWidthConstraint = {m_filenameTextField, Attribute::Width, Relation::Equal, m_filenameStackView,
                                              Attribute::Width, 0};
    m_fileInfoView = new FileInfoStackView;
    QList<QWidget *> details{m_filenameStackView, m_fileInfoView};
    if (shouldDisplayOpenInAppButtonInView()) {
        m_openInAppButton->setFont(nameFont());
        m_openInAppButton->show();
        connect(m_openInAppButton, &QPushButton::clicked, this, &PreviewDetailsViewController::openInDefaultApp);
        details.append(m_openInAppButton);
    }
    m_fileDetailsView = buildVerticalStackWithSubviews_spacing(details, 15);
    m_fileDetailsView->setObjectName(QStringLiteral("fileDetailsView"));
    auto *detailsLayout = static_cast<QVBoxLayout *>(m_fileDetailsView->layout());
    detailsLayout->setAlignment(m_filenameStackView, Qt::Alignment());
    detailsLayout->setAlignment(m_fileInfoView, Qt::Alignment());
    m_mainStackView = new QWidget;
    m_mainStackView->setObjectName(QStringLiteral("mainStackView"));
    m_mainLayout = new QBoxLayout(QBoxLayout::TopToBottom, m_mainStackView);
    m_mainLayout->setContentsMargins(0, 0, 0, 0);
    m_mainLayout->setSpacing(15);
    m_mainLayout->addWidget(m_thumbnailView, 1);
    m_mainLayout->addWidget(m_fileDetailsView, 0);
    stretchSubview_withinView(m_mainStackView, wrapperView());
    setupVerticalConstraints();
    setupHorizontalConstraints();
    adjustViewsForOrientation(currentPseudoOrientation());
    view()->installEventFilter(this);
    for (QWidget *box : {m_filenameStackView, m_fileDetailsView, m_mainStackView, wrapperView()}) {
        box->installEventFilter(this);
    }
}

void PreviewDetailsViewController::setupVerticalConstraints()
{
    m_verticalConstraints = stretchSubviewWidth_withinView(m_fileDetailsView, m_mainStackView);
    for (HairlineView *hairline : std::as_const(m_hairlineViews)) {
        m_verticalConstraints += stretchSubviewWidth_withinView(hairline, view());
    }
}

void PreviewDetailsViewController::setupHorizontalConstraints()
{
    m_horizontalConstraints = {
        {m_fileDetailsView, Attribute::CenterY, Relation::Equal, m_mainStackView, Attribute::CenterY, 0},
        {m_fileDetailsView, Attribute::Height, Relation::LessThanOrEqual, m_mainStackView, Attribute::Height, 0},
    };
    for (HairlineView *hairline : std::as_const(m_hairlineViews)) {
        m_horizontalConstraints.append({hairline, Attribute::Leading, Relation::Equal, m_fileDetailsView, Attribute::Leading, 0});
        m_horizontalConstraints.append({hairline, Attribute::Trailing, Relation::Equal, view(), Attribute::Trailing, 0});
    }
}

void PreviewDetailsViewController::adjustViewsForOrientation(PseudoOrientation orientation)
{
    m_landscape = orientation == PseudoOrientation::LandscapeLeft || orientation == PseudoOrientation::LandscapeRight;
    m_mainLayout->setDirection(m_landscape ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    // side by side: equal halves, the details centred vertically
    m_mainLayout->setStretch(0, 1);
    m_mainLayout->setStretch(1, m_landscape ? 1 : 0);
    m_mainLayout->setAlignment(m_fileDetailsView, m_landscape ? Qt::AlignVCenter : Qt::Alignment());
    const Qt::Alignment text = m_landscape ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignCenter;
    m_filenameTextField->setAlignment(text);
    auto *detailsLayout = static_cast<QVBoxLayout *>(m_fileDetailsView->layout());
    if (m_openInAppButton && detailsLayout->indexOf(m_openInAppButton) >= 0) {
        detailsLayout->setAlignment(m_openInAppButton, m_landscape ? Qt::AlignLeft : Qt::AlignHCenter);
    }
    m_mainStackView->layout()->activate();
    placeHairlines();
}

void PreviewDetailsViewController::placeHairlines()
{
    for (int i = 0; i < m_hairlineViews.size(); ++i) {
        QWidget *slot = m_hairlineSlots.at(i);
        const int y = slot->mapTo(view(), QPoint(0, 0)).y();
        // upright the separators cross the whole screen; on its side they start at the details
        const int left = m_landscape ? m_fileDetailsView->mapTo(view(), QPoint(0, 0)).x() : 0;
        m_hairlineViews.at(i)->setGeometry(left, y, view()->width() - left, m_hairlineViews.at(i)->height());
        m_hairlineViews.at(i)->raise();
    }
}

void PreviewDetailsViewController::viewWillTransitionToSize_withTransitionCoordinator(const QSize &size)
{
    QPointer<PreviewDetailsViewController> self(this);
    DispatchQueue::main()->async([self, size] {
        if (!self) {
            return;
        }
        self->adjustViewsForOrientation(size.width() > size.height() ? PseudoOrientation::LandscapeRight
                                                                     : PseudoOrientation::Portrait);
        self->configureMargins();
        self->refreshItem();
    });
}

bool PreviewDetailsViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_filenameTextField && event->type() == QEvent::MouseButtonRelease) {
        filenameWasTapped();
        return true;
    }
    const bool onTheWayToASlot = m_hairlineSlots.contains(watched) || watched == m_filenameStackView
        || watched == m_fileDetailsView || watched == m_mainStackView || watched == wrapperView();
    if (onTheWayToASlot && (event->type() == QEvent::Move || event->type() == QEvent::Resize)) {
        // any of the boxes between a slot and the screen moved: the separators follow
        placeHairlines();
    }
    if (isViewLoaded() && watched == view() && event->type() == QEvent::Resize) {
        viewWillTransitionToSize_withTransitionCoordinator(static_cast<QResizeEvent *>(event)->size());
    }
    return PreviewBaseViewController::eventFilter(watched, event);
}

void PreviewDetailsViewController::refreshItem()
{
    PreviewBaseViewController::refreshItem();
    view();
    const std::shared_ptr<DRItem> item = itemManager() ? itemManager()->item() : nullptr;
    m_fileInfoView->setItem(item);
    m_originalFilename = item ? item->localizedName() : QString();
    m_filenameTextField->setFullText(m_originalFilename);
    // the bar names what the screen is about, as the viewer's bar does
    setTitle(m_originalFilename);
    m_thumbnailView->setItem(item);
}

void PreviewDetailsViewController::filenameWasTapped()
{
    const std::shared_ptr<DRItem> item = itemManager() ? itemManager()->item() : nullptr;
    if (!item || !item->renameable()) {
        return;
    }
    m_renamePrompt = RenamePrompt::newWithFilename_completion(item->localizedName(),
                                                              RenamePrompt::renamingItemAtURL(item->url()));
    if (item->isDirectory()) {
        m_renamePrompt->selectWholeName();
    }
    presentViewController(m_renamePrompt->alert(), true);
}
