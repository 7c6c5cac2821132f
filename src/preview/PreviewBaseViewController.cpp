#include "preview/PreviewBaseViewController.h"

#include "browser/UIUtils.h"
#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "platform/apps/DocumentInteractionController.h"
#include "platform/drive/Progress.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Device.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/Toolbar.h"
#include "preview/PreviewItemManager.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QPalette>
#include <QVBoxLayout>

#include <climits>
#include <cmath>

namespace {
constexpr int FixedSpaceWidth = 20;
constexpr int CompactMargin = 17;
constexpr int RegularMargin = 45;
} // namespace

PreviewBaseViewController::PreviewBaseViewController(QObject *parent)
    : ViewController(parent)
{
}

PreviewBaseViewController::~PreviewBaseViewController()
{
    unregisterProgress();
}

void PreviewBaseViewController::setItemManager(PreviewItemManager *manager)
{
    m_itemManager = manager;
}

QWidget *PreviewBaseViewController::loadView()
{
    auto *root = ViewController::loadView();
    m_rootLayout = new QVBoxLayout(root);
    m_rootLayout->setSpacing(0);
    m_wrapperView = new QWidget(root);
    m_wrapperView->setObjectName(QStringLiteral("wrapperView"));
    m_rootLayout->addWidget(m_wrapperView);
    m_lastProgressChunk = -1;
    return root;
}

void PreviewBaseViewController::viewDidLoad()
{
    ViewController::viewDidLoad();
    view()->setAutoFillBackground(true);
    QPalette palette = view()->palette();
    palette.setColor(QPalette::Window, Qt::white);
    view()->setPalette(palette);
}

void PreviewBaseViewController::viewWillAppear(bool animated)
{
    ViewController::viewWillAppear(animated);
    configureButtons();
    setupConstraints();
    refreshItem();
}

void PreviewBaseViewController::viewWillDisappear(bool animated)
{
    unregisterProgress();
    if (m_itemManager) {
        m_itemManager->viewControllerWillDisappear(this);
    }
    ViewController::viewWillDisappear(animated);
}

void PreviewBaseViewController::setupConstraints()
{
    if (!navigationController()) {
        return;
    }
    m_wrapperMargins = QMargins(8, 8, 8, 8);
    configureMargins();
}

void PreviewBaseViewController::configureMargins()
{
    view();
    const bool regular = Device::horizontalSizeClass() == Device::SizeClass::Regular
        && Device::verticalSizeClass() == Device::SizeClass::Regular;
    const int side = regular ? RegularMargin : CompactMargin;
    const QSize size = view()->size();
    const int vertical = (size.height() > 2 * size.width() || regular) ? RegularMargin : CompactMargin;
    // the bars lie outside this screen's view here: the margins alone inset the content
    m_wrapperMargins = QMargins(side, vertical, side, vertical);
    m_rootLayout->setContentsMargins(m_wrapperMargins);
}

PseudoOrientation PreviewBaseViewController::currentPseudoOrientation()
{
    if (Device::horizontalSizeClass() == Device::SizeClass::Compact
        && Device::verticalSizeClass() == Device::SizeClass::Regular) {
        return PseudoOrientation::Portrait;
    }
    const QSize window = Device::windowSize().isValid() ? Device::windowSize() : view()->size();
    return window.width() > window.height() ? PseudoOrientation::LandscapeRight : PseudoOrientation::Portrait;
}

void PreviewBaseViewController::refreshItem()
{
    const std::shared_ptr<DRItem> item = m_itemManager ? m_itemManager->item() : nullptr;
    const bool hasURL = item && !item->url().isEmpty();
    for (BarButtonItem *button : {m_barButtonActionItem.data(), m_barButtonDeleteItem.data(), m_barButtonMoveItem.data()}) {
        if (button) {
            button->setEnabled(hasURL);
        }
    }
    m_lastProgressChunk = -1;
}

void PreviewBaseViewController::registerForProgress()
{
    const std::shared_ptr<DRItem> item = m_itemManager ? m_itemManager->item() : nullptr;
    if (!item) {
        return;
    }
    QPointer<PreviewBaseViewController> self(this);
    // an earlier token is replaced, not removed
    m_subscriber = Progress::addSubscriberForFileURL(item->resolvedURL(), [self](std::shared_ptr<Progress> progress) {
        const std::weak_ptr<Progress> weakProgress = progress;
        const int observer = progress->addObserver(QStringLiteral("fractionCompleted"), [self, weakProgress](const Progress &) {
            // reports come from the drive service's thread; the screen takes them on its own
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self, weakProgress] {
                    if (const auto strong = weakProgress.lock(); strong && self) {
                        self->observeValueForKeyPath_ofObject_change_context(QStringLiteral("fractionCompleted"), strong);
                    }
                },
                Qt::QueuedConnection);
        });
        if (progress->kind() == QLatin1String(Progress::KindFile)) {
            if (progress->fractionCompleted() == 0) {
                DRLog(LOG_DEBUG, "ignoring progress with no progress done yet %@", progress->description());
            } else {
                DRLog(LOG_DEBUG, "got progress %@", progress->description());
            }
        } else {
            DRLog(LOG_DEBUG, "ignoring progress with different kind %@, kind = %@", progress->description(),
                  progress->kind());
        }
        return std::function<void()>([self, weakProgress, observer] {
            if (const auto strong = weakProgress.lock()) {
                strong->removeObserver(observer);
            }
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self] {
                    if (self) {
                        self->unregisterProgress();
                    }
                },
                Qt::QueuedConnection);
        });
    });
}

void PreviewBaseViewController::unregisterProgress()
{
    if (m_subscriber) {
        Progress::removeSubscriber(m_subscriber);
        m_subscriber = 0;
    }
}

int PreviewBaseViewController::progressChunk(double fraction)
{
    const double scaled = fraction * 20;
    if (!std::isfinite(scaled) || scaled >= 2147483648.0 || scaled <= -2147483649.0) {
        return INT_MIN; // what the processor's truncation gives for a value out of range
    }
    return int(scaled);
}

void PreviewBaseViewController::observeValueForKeyPath_ofObject_change_context(const QString &keyPath,
                                                                const std::shared_ptr<Progress> &progress)
{
    if (keyPath != QLatin1String("fractionCompleted") || !progress) {
        return;
    }
    const double fraction = double(progress->completedUnitCount()) / double(progress->totalUnitCount());
    const int chunk = progressChunk(fraction);
    const double percent = fraction * 100;
    if (chunk != m_lastProgressChunk) {
        m_lastProgressChunk = chunk;
        DRLog(LOG_INFO, "Progress %@%%: %@", percent, progress->description());
    } else {
        DRLog(LOG_DEBUG, "Progress %@%%: %@", percent, progress->description());
    }
    // the steps only thin the log: the screen gets every report
    updateProgress(progress);
}

void PreviewBaseViewController::updateProgress(const std::shared_ptr<Progress> &progress)
{
    Q_UNUSED(progress)
}

void PreviewBaseViewController::configureButtons()
{
    auto *flexible = new BarButtonItem(BarButtonItem::SystemItem::FlexibleSpace, this);
    auto *fixed = new BarButtonItem(BarButtonItem::SystemItem::FixedSpace, this);
    fixed->setWidth(FixedSpaceWidth);
    delete m_barButtonMoveItem.data();
    delete m_barButtonDeleteItem.data();
    delete m_barButtonActionItem.data();
    m_barButtonMoveItem = new BarButtonItem(BarButtonItem::SystemItem::Organize, this);
    m_barButtonMoveItem->setObjectName(QStringLiteral("previewMoveButton"));
    m_barButtonMoveItem->setAction([this] { showMoveTarget(); });
    m_barButtonDeleteItem = new BarButtonItem(BarButtonItem::SystemItem::Trash, this);
    m_barButtonDeleteItem->setObjectName(QStringLiteral("previewDeleteButton"));
    m_barButtonDeleteItem->setAction([this] { showWarningAndDeleteDocument(); });
    m_barButtonActionItem = new BarButtonItem(BarButtonItem::SystemItem::Action, this);
    m_barButtonActionItem->setObjectName(QStringLiteral("previewActionButton"));
    m_barButtonActionItem->setAction([this] { showDocumentActivities(); });
    BarButtonItem *openIn = nullptr;
    if (QAbstractButton *button = openInAppNavControllerButton()) {
        connect(button, &QAbstractButton::clicked, this, &PreviewBaseViewController::openInDefaultApp, Qt::UniqueConnection);
        button->adjustSize();
        openIn = new BarButtonItem(button, this);
        openIn->setObjectName(QStringLiteral("openInAppBarItem"));
    }
    const std::shared_ptr<DRItem> item = m_itemManager ? m_itemManager->item() : nullptr;
    if (!item || item->url().isEmpty()) {
        m_barButtonActionItem->setEnabled(false);
        m_barButtonDeleteItem->setEnabled(false);
        m_barButtonMoveItem->setEnabled(false);
    }
    NavigationController *navigation = navigationController();
    if (UIUtils::veskMode()) {
        navigationItem()->setRightBarButtonItems(
            {m_barButtonActionItem.data(), fixed, m_barButtonDeleteItem.data(), fixed, m_barButtonMoveItem.data()});
        if (navigation) {
            navigation->setToolbarHidden(true);
        }
        return;
    }
    setToolbarItems({m_barButtonActionItem.data(), flexible, m_barButtonDeleteItem.data(), flexible,
                     m_barButtonMoveItem.data()});
    if (navigation) {
        navigation->setToolbarHidden(false);
    }
    if (openIn && m_mode == PreviewModeDetails) {
        navigationItem()->setRightBarButtonItem(openIn);
    }
}

QAbstractButton *PreviewBaseViewController::openInAppNavControllerButton()
{
    return nullptr;
}

void PreviewBaseViewController::openInDefaultApp()
{
    const std::shared_ptr<DRItem> item = m_itemManager ? m_itemManager->item() : nullptr;
    const QUrl url = item ? item->url() : QUrl();
    if (!LaunchUtils::openInDefaultApp_viewController_requireOpenIn(url, this, true)) {
        DRLog(LOG_WARNING, "Failed to open document %@ in default app", url);
    }
}

void PreviewBaseViewController::showWarningAndDeleteDocument()
{
    if (m_itemManager) {
        m_itemManager->showWarningAndDeleteDocument_barButton(this, m_barButtonDeleteItem.data());
    }
}

void PreviewBaseViewController::showMoveTarget()
{
    if (m_itemManager) {
        m_itemManager->showMoveTarget(this);
    }
}

void PreviewBaseViewController::showDocumentActivities()
{
    const std::shared_ptr<DRItem> item = m_itemManager ? m_itemManager->item() : nullptr;
    if (!item || item->url().isEmpty()) {
        return;
    }
    const QUrl url = item->resolvedURL();
    if (!url.isValid()) {
        DRLog(LOG_WARNING, "showDocumentActivities: url is wrong class: %@", QStringLiteral("invalid URL"));
        return;
    }
    DRLog(LOG_INFO, "showDocumentActivities: %@", url);
    const std::shared_ptr<DocumentInteractionController> controller
        = DocumentInteractionController::interactionControllerWithURL(url);
    m_itemManager->setDocumentInteractionController(controller);
    controller->presentOptionsMenuFromBarButtonItem_inViewController_animated(m_barButtonActionItem.data(), this, true);
}
