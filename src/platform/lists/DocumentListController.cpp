#include "platform/lists/DocumentListController.h"

#include "platform/foundation/FolderEntryWatcher.h"

#include "model/FileUtils.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/KDURL.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/DispatchQueue.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/lists/DocumentItemDelegate.h"
#include "platform/lists/DocumentListControllerDelegate.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/lists/DocumentSearchController.h"
#include "platform/lists/ListPresentation.h"
#include "platform/ui/AlertAction.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Device.h"
#include "platform/ui/Font.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/PopoverPresentationController.h"
#include "platform/ui/SystemColor.h"
#include "platform/ui/TemplateIcon.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QScroller>
#include <QShortcut>
#include <QVBoxLayout>

namespace {
constexpr int LongPressMilliseconds = 500;
// a folder from which the kernel's watch is worth making beside the reading: some 6,000
// entries on ext4, where the watch costs about 90 ns an entry
constexpr qint64 LargeFolderBytes = 256 * 1024;
// longer than a tick of the kernel's clock, which dates a folder's changes
constexpr qint64 RecentChangeMs = 50;
constexpr int SwipeDistance = 60;
constexpr int TapSlop = 10;
/// Copies in of this many bytes or more show their progress and can be stopped.
constexpr qint64 ImportProgressFrom = 8 * 1024 * 1024;

QString driveRootTitle()
{
    return LocalizedString::localized(QStringLiteral("Aerova Drive"));
}

/// A round button beside the search field: an icon in the app's tint, a finger's size, its
/// name for screen readers.
QPushButton *makeRowButton(const QString &iconName, const QString &name, QWidget *parent)
{
    auto *button = new QPushButton(parent);
    button->setIcon(TemplateIcon::named(iconName, SystemColor::systemBlueColor()));
    button->setIconSize(QSize(22, 22));
    button->setFixedSize(36, 36);
    button->setCursor(Qt::PointingHandCursor);
    button->setAccessibleName(LocalizedString::localized(name));
    button->setToolTip(LocalizedString::localized(name));
    button->setStyleSheet(QStringLiteral("QPushButton { background: #eeeef0; border: none; border-radius: 18px; }"
                                         "QPushButton:pressed { background: #d8d8dc; }"));
    return button;
}
} // namespace

DocumentListController::DocumentListController(QObject *parent)
    : ViewController(parent)
    , m_isDriveRoot(true)
{
    const std::shared_ptr<KDContainer> container = KDContainer::containerWithIdentifier(KDUbiquitousDefaultContainerID);
    m_presentedURL = container ? container->containerURL() : QUrl();
    setTitle(driveRootTitle());
    setUp();
}

DocumentListController::DocumentListController(const QUrl &folderURL, QObject *parent)
    : ViewController(parent)
    , m_presentedURL(QUrl::fromLocalFile(FilePath::localPath(folderURL)))
{
    std::shared_ptr<KDContainer> container;
    if (kd_isDocumentsContainer(m_presentedURL)
        && (container = KDContainer::containerForItemAtURL_error(m_presentedURL, nullptr))) {
        setTitle(container->isDefaultContainer() ? driveRootTitle() : container->localizedName());
    } else {
        setTitle(FilePath::displayName(QFileInfo(m_presentedURL.toLocalFile()).fileName()));
    }
    setUp();
}

DocumentListController::~DocumentListController() = default;

void DocumentListController::setUp()
{
    m_model = new DocumentListModel(this);
    m_reloadTimer.setSingleShot(true);
    m_reloadTimer.setInterval(150);
    connect(&m_reloadTimer, &QTimer::timeout, this, &DocumentListController::reloadContentsInBackground);
    m_longPressTimer.setSingleShot(true);
    m_longPressTimer.setInterval(LongPressMilliseconds);
    connect(&m_longPressTimer, &QTimer::timeout, this, [this] {
        const QModelIndex index = m_listView ? m_listView->indexAt(m_pressPosition) : QModelIndex();
        if (index.isValid()) {
            m_suppressClick = true;
            showActionsForItemAtURL(index.data(DocumentListModel::UrlRole).toUrl());
        }
    });
    m_sortOrder = ListPresentation::instance()->sortOrder();
    connect(ListPresentation::instance(), &ListPresentation::changed, this, &DocumentListController::followPresentation);
    const QString folder = m_presentedURL.toLocalFile();
    m_model->setFolderPath(folder);
    // the watch begins before the folder is read, so that no change falls between the two; a
    // large folder's watch is made beside the reading, and a change in the moment before it
    // began makes the list read the folder again
    std::optional<struct stat> before = FilePath::status(folder);
    if (before && !S_ISDIR(before->st_mode)) {
        before.reset();
    }
    const qint64 readStartedMs = QDateTime::currentMSecsSinceEpoch();
    const bool beside = before && before->st_size >= LargeFolderBytes;
    std::future<FolderWatchHub::Ahead> watch;
    if (before && !folder.isEmpty()) {
        watch = FolderWatchHub::instance()->watchAhead(folder, beside);
    }
    m_model->setEntries(readEntries(m_isDriveRoot, folder, m_sortOrder), m_sortOrder);
    m_applyNamesTimer.setSingleShot(true);
    m_applyNamesTimer.setInterval(0);
    connect(&m_applyNamesTimer, &QTimer::timeout, this, &DocumentListController::applyChangedNames);
    if (watch.valid()) {
        const FolderWatchHub::Ahead ahead = watch.get();
        watchFolder(ahead);
        if (beside && mayHaveChangedUnseen(*before, ahead.statusAfter, readStartedMs)) {
            rereadSoon();
        }
    }
}

bool DocumentListController::mayHaveChangedUnseen(const struct stat &before, const std::optional<struct stat> &after,
                                                  qint64 readStartedMs)
{
    if (!after || after->st_ino != before.st_ino || after->st_mtim.tv_sec != before.st_mtim.tv_sec
        || after->st_mtim.tv_nsec != before.st_mtim.tv_nsec) {
        return true;
    }
    const qint64 changedMs = qint64(before.st_mtim.tv_sec) * 1000 + before.st_mtim.tv_nsec / 1000000;
    return readStartedMs - changedMs < RecentChangeMs;
}

void DocumentListController::rereadSoon()
{
    // the first change of a burst starts the wait, later ones join it: a folder that keeps
    // changing is still shown as it is within the wait, however many changes follow
    if (!m_reloadTimer.isActive()) {
        m_reloadTimer.start();
    }
}

void DocumentListController::followPresentation()
{
    if (m_listView) {
        applyGridMode();
    }
    const ListSortOrder order = ListPresentation::instance()->sortOrder();
    if (order == m_sortOrder) {
        return;
    }
    m_sortOrder = order;
    if (m_isDriveRoot) {
        reloadContents(); // the app folders stay on top, by name, whatever the order of the rest
        return;
    }
    // the rows already read, in the new order: nothing of the folder is listed again
    QList<DocumentListEntry> entries = m_model->entries();
    DocumentListModel::sortEntries(entries, m_sortOrder);
    ++m_readGeneration; // a read still under way sorted the old way
    applyEntries(std::move(entries));
}

bool DocumentListController::acceptDrop(QObject *watched, QEvent *event)
{
    const bool target = (m_listView && watched == m_listView->viewport()) || (m_emptyLabel && watched == m_emptyLabel.data());
    if (!target || m_editing) {
        return false;
    }
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto *drag = static_cast<QDropEvent *>(event);
        const QList<QUrl> urls = drag->mimeData()->urls();
        const bool documents = !urls.isEmpty() && std::all_of(urls.cbegin(), urls.cend(), [](const QUrl &url) { return url.isLocalFile(); });
        if (documents) {
            drag->setDropAction(Qt::CopyAction);
            drag->accept();
        } else {
            drag->ignore();
        }
        return true;
    }
    case QEvent::Drop: {
        auto *drop = static_cast<QDropEvent *>(event);
        drop->setDropAction(Qt::CopyAction);
        drop->accept();
        addDocuments(drop->mimeData()->urls());
        return true;
    }
    default:
        return false;
    }
}

void DocumentListController::showAddOptions()
{
    auto *menu = new AlertController(QString(), QString(), AlertController::Style::ActionSheet);
    auto *newFolder = new AlertAction(LocalizedString::localized(QStringLiteral("New Folder")), AlertAction::Style::Default,
                                      [self = QPointer<DocumentListController>(this)](AlertAction *) {
                                          if (self && self->listDelegate()) {
                                              self->listDelegate()->documentListControllerCreateFolder(self);
                                          }
                                      });
    // where the folder's app allows no more folders, the choice shows but cannot be taken
    newFolder->setEnabled(listDelegate() && listDelegate()->documentListControllerCanCreateFolder(this));
    menu->addAction(newFolder);
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Add Files…")), AlertAction::Style::Default,
                                    [self = QPointer<DocumentListController>(this)](AlertAction *) {
                                        if (self) {
                                            self->chooseDocumentsToAdd();
                                        }
                                    }));
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel, {}));
    presentSheetFromButton(menu, m_addButton);
}

QFileDialog *DocumentListController::chooseDocumentsToAdd()
{
    auto *dialog = new QFileDialog(view()->window(), LocalizedString::localized(QStringLiteral("Add Files")),
                                   QDir::homePath());
    dialog->setObjectName(QStringLiteral("addFilesDialog"));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setLabelText(QFileDialog::Accept, LocalizedString::localized(QStringLiteral("Add")));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // a phone's whole screen, as every other screen of the app, with the folder's files in
    // all of its width: the side list of places only where there is room for it
    dialog->resize(view()->window()->size());
    if (Device::userInterfaceIdiom() == Device::Idiom::Phone) {
        if (QWidget *places = dialog->findChild<QWidget *>(QStringLiteral("sidebar"))) {
            places->hide();
        }
    }
    // the dialog's own accept tells the chosen files by path (urlsSelected comes only from a
    // desktop's native dialog)
    connect(dialog, &QFileDialog::filesSelected, this, [this](const QStringList &paths) {
        QList<QUrl> sources;
        for (const QString &path : paths) {
            sources << QUrl::fromLocalFile(path);
        }
        addDocuments(sources);
    });
    dialog->open();
    return dialog;
}

void DocumentListController::addDocuments(const QList<QUrl> &sources)
{
    if (sources.isEmpty() || m_importCancel) {
        return; // one addition at a time: the sheet of the one under way stays in front
    }
    auto cancel = std::make_shared<std::atomic<bool>>(false);
    m_importCancel = cancel;
    const qint64 total = DocumentImporter::totalSize(sources);
    // a large copy shows how far it is and can be stopped; a small one is done before a sheet
    // could be read
    if (total >= ImportProgressFrom) {
        showImportProgress(total, cancel);
    }
    const QUrl folder = m_presentedURL;
    const QPointer<DocumentListController> self(this);
    DispatchQueue::globalAsync([self, sources, folder, cancel, total] {
        int shownPercent = -1;
        const DocumentImporter::Outcome outcome
            = DocumentImporter::importDocuments(sources, folder, [self, cancel, total, &shownPercent](qint64 copied) {
                  const int percent = total > 0 ? int(copied * 100 / total) : 100;
                  if (percent != shownPercent) {
                      shownPercent = percent;
                      DispatchQueue::main()->async([self, copied, total] {
                          if (self) {
                              self->showImportProgressed(copied, total);
                          }
                      });
                  }
                  return !cancel->load();
              });
        DispatchQueue::main()->async([self, outcome] {
            if (self) {
                self->finishAddingDocuments(outcome);
            }
        });
    });
}

void DocumentListController::showImportProgress(qint64 total, const std::shared_ptr<std::atomic<bool>> &cancel)
{
    auto *sheet = new AlertController(LocalizedString::localized(QStringLiteral("Adding Documents…")), QString(),
                                      AlertController::Style::Alert);
    sheet->setObjectName(QStringLiteral("importProgress"));
    auto *content = new ViewController;
    auto *layout = new QVBoxLayout(content->view());
    layout->setContentsMargins(16, 0, 16, 12);
    auto *bar = new QProgressBar(content->view());
    bar->setObjectName(QStringLiteral("importProgressBar"));
    bar->setRange(0, 1000);
    bar->setTextVisible(false);
    bar->setFixedHeight(6);
    auto *label = new QLabel(ByteCountFormatter::stringFromByteCount(total, ByteCountFormatter::CountStyle::File),
                             content->view());
    label->setObjectName(QStringLiteral("importProgressText"));
    label->setAlignment(Qt::AlignHCenter);
    layout->addWidget(bar);
    layout->addWidget(label);
    sheet->setContentViewController(content);
    sheet->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel,
                                     [cancel](AlertAction *) { cancel->store(true); }));
    m_importSheet = sheet;
    presenter()->presentViewController(sheet, true);
}

void DocumentListController::showImportProgressed(qint64 copied, qint64 total)
{
    if (!m_importSheet || !m_importSheet->contentViewController()) {
        return;
    }
    QWidget *content = m_importSheet->contentViewController()->view();
    if (auto *bar = content->findChild<QProgressBar *>(QStringLiteral("importProgressBar"))) {
        bar->setValue(total > 0 ? int(copied * 1000 / total) : 1000);
    }
    if (auto *label = content->findChild<QLabel *>(QStringLiteral("importProgressText"))) {
        label->setText(LocalizedString::localizedStringWithFormat(
            QStringLiteral("%1$@ of %2$@"), ByteCountFormatter::stringFromByteCount(copied, ByteCountFormatter::CountStyle::File),
            ByteCountFormatter::stringFromByteCount(total, ByteCountFormatter::CountStyle::File)));
    }
}

void DocumentListController::finishAddingDocuments(const DocumentImporter::Outcome &outcome)
{
    m_importCancel.reset();
    if (m_importSheet) {
        m_importSheet->dismissViewControllerAnimated(true);
    }
    reloadContents();
    if (!outcome.added.isEmpty() && m_listView) {
        const int row = m_model->rowForURL(outcome.added.constLast());
        if (row >= 0) {
            m_listView->scrollTo(m_model->index(row));
        }
    }
    Q_EMIT documentsAdded(outcome.added, outcome.failures);
    if (outcome.failures.isEmpty()) {
        return;
    }
    // what was not added is said, each document with its reason (and is in the log), unless
    // the person has opened another sheet meanwhile
    if (presenter()->presentedViewController()) {
        return;
    }
    const QString title = outcome.failures.size() == 1
        ? outcome.failures.first()
        : LocalizedString::localizedStringWithFormat(QStringLiteral("%d documents could not be added."),
                                                     int(outcome.failures.size()));
    auto *alert = new AlertController(title, outcome.failures.size() == 1 ? QString() : outcome.failures.join(u'\n'),
                                      AlertController::Style::Alert);
    alert->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("OK")), AlertAction::Style::Default, {}));
    presenter()->presentViewController(alert, true);
}

void DocumentListController::presentSheetFromButton(AlertController *sheet, QPushButton *button)
{
    if (button) {
        sheet->popoverPresentationController()->setSourceView(button);
        sheet->popoverPresentationController()->setSourceRect(button->rect());
        // under the button, clear of the navigation bar
        sheet->popoverPresentationController()->setPermittedArrowDirections(PopoverPresentationController::ArrowDirection::Up);
    }
    presenter()->presentViewController(sheet, true);
}

void DocumentListController::showPresentationOptions()
{
    ListPresentation *presentation = ListPresentation::instance();
    const ListSortOrder current = presentation->sortOrder();
    auto *menu = new AlertController(LocalizedString::localized(QStringLiteral("Sort By")), QString(),
                                     AlertController::Style::ActionSheet);
    const QList<std::pair<ListSortOrder::Key, QString>> keys{
        {ListSortOrder::Key::Name, QStringLiteral("Name")},
        {ListSortOrder::Key::Date, QStringLiteral("Date")},
        {ListSortOrder::Key::Size, QStringLiteral("Size")},
        {ListSortOrder::Key::Kind, QStringLiteral("Kind")},
    };
    for (const auto &[key, title] : keys) {
        auto *action = new AlertAction(LocalizedString::localized(title), AlertAction::Style::Default,
                                       [presentation, key = key, current](AlertAction *) {
                                           // the chosen key again turns the order round
                                           presentation->setSortOrder(
                                               {key, key == current.key ? !current.descending
                                                                        : ListSortOrder::startsDescending(key)});
                                       });
        if (key == current.key) {
            action->setDetail(current.descending ? QStringLiteral("✓ ↓") : QStringLiteral("✓ ↑"));
        }
        menu->addAction(action);
    }
    const bool grid = presentation->gridMode();
    menu->addAction(new AlertAction(LocalizedString::localized(grid ? QStringLiteral("Show as List")
                                                                    : QStringLiteral("Show as Grid")),
                                    AlertAction::Style::Default,
                                    [presentation, grid](AlertAction *) { presentation->setGridMode(!grid); }));
    menu->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel, {}));
    presentSheetFromButton(menu, m_presentationButton);
}

void DocumentListController::watchFolder(const FolderWatchHub::Ahead &ahead)
{
    // the watchers are the list's children: they stop with it
    auto *entryWatcher = new FolderEntryWatcher(m_presentedURL.toLocalFile(), ahead, this);
    connect(entryWatcher, &FolderEntryWatcher::entriesChanged, this, &DocumentListController::takeChangedNames);
    connect(entryWatcher, &FolderEntryWatcher::rereadNeeded, this, &DocumentListController::rereadSoon);
    const QString containers = DriveLayout::mobileDocumentsPath();
    if (m_isDriveRoot && !containers.isEmpty() && QFileInfo(containers).isDir()) {
        // new or removed app containers show in the root too; they are few, so the root is read again
        auto *containersWatcher = new FolderEntryWatcher(containers, this);
        connect(containersWatcher, &FolderEntryWatcher::entriesChanged, this, &DocumentListController::rereadSoon);
        connect(containersWatcher, &FolderEntryWatcher::rereadNeeded, this, &DocumentListController::rereadSoon);
    }
}

void DocumentListController::takeChangedNames(const QStringList &names)
{
    for (const QString &name : names) {
        if (!m_changedNameSet.contains(name)) {
            m_changedNameSet.insert(name);
            m_changedNames.append(name);
        }
    }
    if (!m_applyNamesTimer.isActive()) {
        m_applyNamesTimer.start();
    }
}

void DocumentListController::applyChangedNames()
{
    if (m_backgroundReadRunning) {
        // the rows are replaced when the read ends; the names are applied on top of them then
        return;
    }
    // a few milliseconds at a time: a storm of changes never holds up scrolling or painting
    constexpr qint64 BudgetNs = 4'000'000;
    QElapsedTimer spent;
    spent.start();
    bool rowsChanged = false;
    qsizetype taken = 0;
    while (taken < m_changedNames.size() && (taken == 0 || spent.nsecsElapsed() < BudgetNs)) {
        const QString &name = m_changedNames.at(taken++);
        m_changedNameSet.remove(name);
        rowsChanged = m_model->updateEntryNamed(name) || rowsChanged;
    }
    m_changedNames.remove(0, taken);
    if (!m_changedNames.isEmpty()) {
        m_applyNamesTimer.start();
    }
    if (rowsChanged) {
        notifyItemsChanged();
    }
}

QList<DocumentListController *> DocumentListController::listControllerHierarchyForURL(const QUrl &folderURL,
                                                                                     QObject *parent)
{
    const QUrl folder = QUrl::fromLocalFile(QDir::cleanPath(FilePath::localPath(folderURL)));
    // a folder is walked into only where it really is in the drive: not through a link out
    if (!folder.isLocalFile() || kd_resolvedPathInMobileDocuments(folder).isNull()
        || !FileUtils::isDir(folder)) {
        return {};
    }
    QList<DocumentListController *> chain{new DocumentListController(parent)};
    const QString relative = kd_pathRelativeToMobileDocuments(folder);
    QStringList components = relative.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (components.isEmpty()) {
        return chain;
    }
    const QString containerId = components.takeFirst();
    QString path = DriveLayout::mobileDocumentsPath() + QLatin1Char('/') + containerId;
    if (containerId != KDUbiquitousDefaultContainerID) {
        const std::shared_ptr<KDContainer> container = KDContainer::containerWithIdentifier(containerId);
        if (!container || container->documentsURL().isEmpty()) {
            qDeleteAll(chain);
            return {};
        }
        // an app container's list is its documents folder
        if (!components.isEmpty() && components.first() == QLatin1String("Documents")) {
            components.removeFirst();
        }
        path = container->documentsURL().toLocalFile();
        chain.append(new DocumentListController(container->documentsURL(), parent));
    }
    for (const QString &component : std::as_const(components)) {
        path += QLatin1Char('/') + component;
        chain.append(new DocumentListController(QUrl::fromLocalFile(path), parent));
    }
    return chain;
}

QWidget *DocumentListController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("documentList"));
    root->setAutoFillBackground(true);
    auto *layout = new QVBoxLayout(root);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *search = new QPushButton(LocalizedString::localized(QStringLiteral("Search")), root);
    search->setObjectName(QStringLiteral("searchField"));
    search->setIcon(TemplateIcon::named(QStringLiteral("edit-find"), SystemColor::systemGrayColor()));
    search->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    search->setFixedHeight(36);
    search->setCursor(Qt::PointingHandCursor);
    search->setStyleSheet(QStringLiteral("QPushButton { text-align: left; color: #8e8e93; background: #eeeef0;"
                                         " border: none; border-radius: 10px; padding: 0 10px; }"));
    connect(search, &QPushButton::clicked, this, &DocumentListController::showSearch);
    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(12, 8, 12, 8);
    searchRow->setSpacing(8);
    searchRow->addWidget(search, 1);
    m_addButton = makeRowButton(QStringLiteral("list-add"), QStringLiteral("Add"), root);
    m_addButton->setObjectName(QStringLiteral("addButton"));
    connect(m_addButton, &QPushButton::clicked, this, &DocumentListController::showAddOptions);
    searchRow->addWidget(m_addButton);
    m_presentationButton = makeRowButton(QStringLiteral("view-more-horizontal"), QStringLiteral("Sort and View"), root);
    m_presentationButton->setObjectName(QStringLiteral("presentationButton"));
    connect(m_presentationButton, &QPushButton::clicked, this, &DocumentListController::showPresentationOptions);
    searchRow->addWidget(m_presentationButton);
    layout->addLayout(searchRow);

    m_listView = new QListView(root);
    m_listView->setObjectName(QStringLiteral("documentListView"));
    m_listView->setModel(m_model);
    m_itemDelegate = new DocumentItemDelegate(m_listView);
    m_listView->setItemDelegate(m_itemDelegate);
    m_listView->setUniformItemSizes(true);
    m_listView->setFrameShape(QFrame::NoFrame);
    m_listView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_listView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_listView->setSelectionMode(QAbstractItemView::NoSelection);
    m_listView->setMouseTracking(false);
    m_listView->viewport()->installEventFilter(this);
    m_listView->installEventFilter(this);
    QScroller::grabGesture(m_listView->viewport(), QScroller::TouchGesture);
    layout->addWidget(m_listView, 1);
    m_emptyLabel = new QLabel(LocalizedString::localized(QStringLiteral("This folder is empty")), root);
    m_emptyLabel->setObjectName(QStringLiteral("emptyFolder"));
    m_emptyLabel->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_emptyLabel->setContentsMargins(16, 96, 16, 0);
    m_emptyLabel->setWordWrap(true);
    m_emptyLabel->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Title2));
    m_emptyLabel->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    layout->addWidget(m_emptyLabel, 1);
    // documents dropped from the desktop's file manager are added to the folder
    for (QWidget *target : {static_cast<QWidget *>(m_listView->viewport()), static_cast<QWidget *>(m_emptyLabel.data())}) {
        target->setAcceptDrops(true);
        target->installEventFilter(this);
    }
    connect(m_model, &QAbstractItemModel::modelReset, this, &DocumentListController::showWhetherEmpty);
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &DocumentListController::showWhetherEmpty);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &DocumentListController::showWhetherEmpty);
    showWhetherEmpty();
    addKeyboardShortcuts(root);

    m_rowAnchor = new QWidget(m_listView->viewport());
    m_rowAnchor->setObjectName(QStringLiteral("rowAnchor"));
    m_rowAnchor->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_rowAnchor->hide();

    connect(m_listView, &QListView::clicked, this, [this](const QModelIndex &index) {
        if (!m_editing) {
            activateItemAtURL(index.data(DocumentListModel::UrlRole).toUrl());
        }
    });
    connect(m_listView->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (m_editing) {
            notifyItemsChanged();
        }
    });
    applyGridMode();
    return root;
}

void DocumentListController::showWhetherEmpty()
{
    if (!m_emptyLabel) {
        return;
    }
    const bool empty = m_model->rowCount() == 0;
    m_emptyLabel->setVisible(empty);
    m_listView->setVisible(!empty);
}

bool DocumentListController::isShowingEmptyFolder() const
{
    return m_emptyLabel && !m_emptyLabel->isHidden();
}

void DocumentListController::addKeyboardShortcuts(QWidget *root)
{
    // keys that act on the item the keyboard is on work while the list has the keyboard
    const auto onList = [this](const QKeySequence &keys, auto slot) {
        new QShortcut(keys, m_listView, this, slot, Qt::WidgetShortcut);
    };
    onList(QKeySequence(Qt::Key_Return), [this] { activateCurrentItem(); });
    onList(QKeySequence(Qt::Key_Enter), [this] { activateCurrentItem(); });
    onList(QKeySequence(Qt::Key_F2), [this] { performOnCurrentItem(RenameActionBit, RenameAction); });
    onList(QKeySequence(QKeySequence::Delete), [this] { performOnCurrentItem(DeleteActionBit, DeleteAction); });
    // the screen's keys work wherever the keyboard is in the window, on the screen shown
    new QShortcut(QKeySequence::Find, root, this, [this] {
        if (!m_editing && !presenter()->presentedViewController()) {
            showSearch();
        }
    });
    new QShortcut(QKeySequence::SelectAll, root, this, [this] {
        if (m_editing) {
            selectAll();
        }
    });
}

QModelIndex DocumentListController::currentIndex() const
{
    return m_listView ? m_listView->currentIndex() : QModelIndex();
}

void DocumentListController::activateCurrentItem()
{
    if (const QModelIndex index = currentIndex(); index.isValid() && !m_editing) {
        activateItemAtURL(index.data(DocumentListModel::UrlRole).toUrl());
    }
}

void DocumentListController::performOnCurrentItem(qint64 bit, qint64 action)
{
    const QModelIndex index = currentIndex();
    auto *delegate = listDelegate();
    if (!index.isValid() || m_editing || !(m_availableActions & bit) || !delegate || presenter()->presentedViewController()) {
        return;
    }
    delegate->documentListController_performAction_URL_originatingView_completion(
        this, action, index.data(DocumentListModel::UrlRole).toUrl(), anchorForRow(index.row()), [] {});
}

void DocumentListController::selectAll()
{
    setSelectedItems(containedItems()); // the selection's change tells the owner
}

ViewController *DocumentListController::presenter()
{
    return navigationController() ? static_cast<ViewController *>(navigationController()) : this;
}

void DocumentListController::viewDidAppear(bool animated)
{
    ViewController::viewDidAppear(animated);
    // the keyboard goes to the list shown, unless a field has it
    if (m_listView && !qobject_cast<QLineEdit *>(QApplication::focusWidget())) {
        m_listView->setFocus(Qt::OtherFocusReason);
    }
    if (!m_reportedContents) {
        // the first report: the owner learns what the folder holds once it is on screen and
        // the screen has settled, as with every later report
        m_reportedContents = true;
        QMetaObject::invokeMethod(this, &DocumentListController::notifyItemsChanged, Qt::QueuedConnection);
    }
}

QListView *DocumentListController::listView()
{
    view();
    return m_listView.data();
}

void DocumentListController::applyGridMode()
{
    const bool grid = ListPresentation::instance()->gridMode();
    m_itemDelegate->setGridMode(grid);
    if (grid) {
        m_listView->setViewMode(QListView::IconMode);
        m_listView->setGridSize(DocumentItemDelegate::TileSize);
        m_listView->setResizeMode(QListView::Adjust);
        m_listView->setMovement(QListView::Static);
        m_listView->setWrapping(true);
    } else {
        m_listView->setViewMode(QListView::ListMode);
        m_listView->setGridSize({});
        m_listView->setWrapping(false);
    }
}

DocumentListControllerDelegate *DocumentListController::listDelegate() const
{
    return qobject_cast<DocumentListControllerDelegate *>(m_delegate.data());
}

void DocumentListController::notifyItemsChanged()
{
    if (auto *delegate = listDelegate()) {
        delegate->documentListControllerItemsChanged(this);
    }
}

QList<QUrl> DocumentListController::containedItems() const
{
    return m_model->urls();
}

qsizetype DocumentListController::containedItemCount() const
{
    return m_model->rowCount();
}

QList<QUrl> DocumentListController::selectedItems() const
{
    QList<QUrl> urls;
    if (!m_listView) {
        return urls;
    }
    QModelIndexList rows = m_listView->selectionModel()->selectedIndexes();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex &a, const QModelIndex &b) { return a.row() < b.row(); });
    for (const QModelIndex &index : std::as_const(rows)) {
        urls.append(index.data(DocumentListModel::UrlRole).toUrl());
    }
    return urls;
}

void DocumentListController::setSelectedItems(const QList<QUrl> &urls)
{
    QItemSelectionModel *selection = listView()->selectionModel();
    QItemSelection wanted;
    for (const QUrl &url : urls) {
        const int row = m_model->rowForURL(url);
        if (row >= 0) {
            wanted.select(m_model->index(row), m_model->index(row));
        }
    }
    selection->select(wanted, QItemSelectionModel::ClearAndSelect);
}

void DocumentListController::setEditing_animated(bool editing, bool animated)
{
    Q_UNUSED(animated)
    listView();
    if (m_editing == editing) {
        return;
    }
    m_editing = editing;
    m_itemDelegate->setEditing(editing);
    if (m_addButton) {
        m_addButton->setVisible(!editing); // edit mode has its own New Folder
    }
    m_listView->clearSelection();
    m_listView->setSelectionMode(editing ? QAbstractItemView::MultiSelection : QAbstractItemView::NoSelection);
    m_listView->viewport()->update();
}

QList<DocumentListEntry> DocumentListController::readEntries(bool isDriveRoot, const QString &folderPath,
                                                              const ListSortOrder &order)
{
    return isDriveRoot ? DocumentListModel::entriesOfDriveRoot(order) : DocumentListModel::entriesOfFolder(folderPath, order);
}

void DocumentListController::reloadContents()
{
    ++m_readGeneration; // what a background read still brings is older than this
    applyEntries(readEntries(m_isDriveRoot, m_presentedURL.toLocalFile(), m_sortOrder));
}

void DocumentListController::reloadContentsInBackground()
{
    if (m_backgroundReadRunning) {
        // one read at a time: a folder that keeps changing is read again once the current read ends
        m_backgroundReadAgain = true;
        return;
    }
    m_backgroundReadRunning = true;
    m_backgroundReadAgain = false;
    const quint64 generation = ++m_readGeneration;
    const bool isDriveRoot = m_isDriveRoot;
    const QString folderPath = m_presentedURL.toLocalFile();
    const ListSortOrder order = m_sortOrder;
    const QPointer<DocumentListController> self(this);
    // a folder of a hundred thousand items takes a good part of a second to read and sort:
    // the list stays scrollable meanwhile
    DispatchQueue::globalAsync([self, generation, isDriveRoot, folderPath, order] {
        QList<DocumentListEntry> entries = readEntries(isDriveRoot, folderPath, order);
        DispatchQueue::main()->async([self, generation, entries = std::move(entries)]() mutable {
            if (!self) {
                return;
            }
            self->m_backgroundReadRunning = false;
            if (self->m_readGeneration == generation) {
                self->applyEntries(std::move(entries));
            }
            if (!self->m_changedNames.isEmpty()) {
                // what changed while the folder was read may have come too late for the read
                self->m_applyNamesTimer.start();
            }
            if (self->m_backgroundReadAgain) {
                self->reloadContentsInBackground();
            }
        });
    });
}

void DocumentListController::applyEntries(QList<DocumentListEntry> entries)
{
    const QList<QUrl> selected = selectedItems();
    const int scroll = m_listView ? m_listView->verticalScrollBar()->value() : 0;
    const bool changed = m_model->setEntries(std::move(entries), m_sortOrder);
    if (!changed) {
        return;
    }
    if (m_listView) {
        // a change on disk keeps what the user selected and where they were
        const QSignalBlocker block(m_listView->selectionModel());
        setSelectedItems(selected);
        m_listView->verticalScrollBar()->setValue(scroll);
    }
    notifyItemsChanged();
}

void DocumentListController::activateItemAtURL(const QUrl &url)
{
    const int row = m_model->rowForURL(url);
    if (row < 0) {
        return;
    }
    auto *delegate = listDelegate();
    if (!delegate) {
        return;
    }
    const DocumentListEntry &entry = m_model->entries().at(row);
    if (entry.isFolder || entry.isAppContainer) {
        auto *folderList = new DocumentListController(entry.url(), this);
        delegate->documentListController_didSelectContainerWithViewController(this, folderList);
        if (!folderList->navigationController()) {
            folderList->deleteLater(); // nobody took it
        }
        return;
    }
    delegate->documentListController_didSelectItemAtURL(this, url);
}

QWidget *DocumentListController::anchorForRow(int row)
{
    listView();
    const QRect rect = m_listView->visualRect(m_model->index(row));
    m_rowAnchor->setGeometry(rect.isValid() ? rect : QRect(0, 0, m_listView->viewport()->width(), 1));
    return m_rowAnchor.data();
}

void DocumentListController::showActionsForItemAtURL(const QUrl &url)
{
    const int row = m_model->rowForURL(url);
    if (row < 0 || m_editing) {
        return;
    }
    struct Offered {
        qint64 bit;
        qint64 action;
        const char *title;
        AlertAction::Style style;
    };
    static const Offered offered[] = {
        {RenameActionBit, RenameAction, "Rename", AlertAction::Style::Default},
        {InfoActionBit, InfoAction, "Info", AlertAction::Style::Default},
        {MoreActionBit, MoreAction, "More", AlertAction::Style::Default},
        {DeleteActionBit, DeleteAction, "Delete", AlertAction::Style::Destructive},
    };
    auto *sheet = new AlertController(FilePath::displayName(m_model->entries().at(row).name), QString(),
                                       AlertController::Style::ActionSheet);
    sheet->setObjectName(QStringLiteral("itemActions"));
    QWidget *anchor = anchorForRow(row);
    QPointer<DocumentListController> self(this);
    for (const Offered &entry : offered) {
        if (!(m_availableActions & entry.bit)) {
            continue;
        }
        const qint64 action = entry.action;
        sheet->addAction(new AlertAction(LocalizedString::localized(QString::fromUtf8(entry.title)), entry.style,
                                         [self, action, url, anchor](AlertAction *) {
                                             if (!self) {
                                                 return;
                                             }
                                             if (auto *delegate = self->listDelegate()) {
                                                 delegate->documentListController_performAction_URL_originatingView_completion(
                                                     self.data(), action, url, anchor, [] {});
                                             }
                                         }));
    }
    sheet->addAction(new AlertAction(LocalizedString::localized(QStringLiteral("Cancel")), AlertAction::Style::Cancel, {}));
    sheet->popoverPresentationController()->setSourceViewMiddleLine(anchor);
    presenter()->presentViewController(sheet, true);
}

void DocumentListController::showSearch()
{
    presenter()->presentViewController(new DocumentSearchController(this), true);
}

bool DocumentListController::eventFilter(QObject *watched, QEvent *event)
{
    if (m_listView && watched == m_listView.data() && event->type() == QEvent::KeyPress) {
        m_listView->setProperty(DocumentItemDelegate::KeyboardInUseProperty, true);
        m_listView->viewport()->update();
    }
    if (m_listView && watched == m_listView->viewport() && event->type() == QEvent::MouseButtonPress) {
        m_listView->setProperty(DocumentItemDelegate::KeyboardInUseProperty, false);
    }
    if (acceptDrop(watched, event)) {
        return true;
    }
    if (!m_listView || watched != m_listView->viewport()) {
        return ViewController::eventFilter(watched, event);
    }
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        m_pressPosition = mouse->position().toPoint();
        m_suppressClick = false;
        if (!m_editing && mouse->button() == Qt::LeftButton) {
            m_longPressTimer.start();
        }
        break;
    }
    case QEvent::MouseMove: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        const QPoint delta = mouse->position().toPoint() - m_pressPosition;
        if (delta.manhattanLength() > TapSlop) {
            m_longPressTimer.stop();
        }
        if (!m_editing && !m_suppressClick && -delta.x() >= SwipeDistance && std::abs(delta.y()) < SwipeDistance / 2) {
            // a swipe to the left offers the item's actions, as a long press does
            const QModelIndex index = m_listView->indexAt(m_pressPosition);
            if (index.isValid()) {
                m_suppressClick = true;
                showActionsForItemAtURL(index.data(DocumentListModel::UrlRole).toUrl());
            }
        }
        break;
    }
    case QEvent::MouseButtonRelease:
        m_longPressTimer.stop();
        if (m_suppressClick) {
            m_suppressClick = false;
            return true; // the press became a long press or a swipe: no tap
        }
        break;
    case QEvent::ContextMenu: {
        // a right click on a desktop is the long press
        const QModelIndex index = m_listView->indexAt(static_cast<QContextMenuEvent *>(event)->pos());
        if (index.isValid()) {
            showActionsForItemAtURL(index.data(DocumentListModel::UrlRole).toUrl());
            return true;
        }
        break;
    }
    default:
        break;
    }
    return ViewController::eventFilter(watched, event);
}
