#include "platform/lists/DocumentSearchController.h"

#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/KDContainer.h"
#include "platform/drive/PromisePlaceholder.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/foundation/OperationQueue.h"
#include "platform/lists/DocumentListController.h"
#include "platform/lists/DocumentListControllerDelegate.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScroller>
#include <QShortcut>
#include <QVBoxLayout>
#include <QtConcurrent>

DocumentSearchController::DocumentSearchController(DocumentListController *originatingList, QObject *parent)
    : ViewController(parent)
    , m_originatingList(originatingList)
{
    connect(&m_watcher, &QFutureWatcher<QList<Result>>::finished, this, [this] {
        showResults(m_watcher.result());
        if (!m_pendingText.isNull()) {
            const QString text = m_pendingText;
            m_pendingText = QString();
            search(text);
        }
    });
}

DocumentSearchController::~DocumentSearchController()
{
    m_watcher.waitForFinished();
}

QWidget *DocumentSearchController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("documentSearch"));
    root->setAutoFillBackground(true);
    root->setStyleSheet(QStringLiteral("#documentSearch { background: white; }"));
    auto *layout = new QVBoxLayout(root);
    layout->setContentsMargins(0, 8, 0, 0);
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(12, 0, 8, 0);
    m_field = new QLineEdit(root);
    m_field->setObjectName(QStringLiteral("searchText"));
    m_field->setPlaceholderText(LocalizedString::localized(QStringLiteral("Search")));
    m_field->setClearButtonEnabled(true);
    m_field->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    m_field->setMinimumHeight(36);
    m_field->setStyleSheet(QStringLiteral("QLineEdit { background: #eeeef0; border: none; border-radius: 10px;"
                                          " padding: 0 10px; }"));
    auto *cancel = new QPushButton(LocalizedString::localized(QStringLiteral("Cancel")), root);
    cancel->setObjectName(QStringLiteral("searchCancel"));
    cancel->setFlat(true);
    cancel->setMinimumHeight(44);
    cancel->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    cancel->setStyleSheet(QStringLiteral("QPushButton { color: %1; border: none; padding: 0 8px; }")
                              .arg(SystemColor::systemBlueColor().name()));
    bar->addWidget(m_field, 1);
    bar->addWidget(cancel);
    layout->addLayout(bar);
    m_resultsView = new QListWidget(root);
    m_resultsView->setObjectName(QStringLiteral("searchResults"));
    m_resultsView->setFrameShape(QFrame::NoFrame);
    m_resultsView->setIconSize(QSize(32, 32));
    m_resultsView->setUniformItemSizes(true);
    m_resultsView->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    QScroller::grabGesture(m_resultsView->viewport(), QScroller::TouchGesture);
    layout->addWidget(m_resultsView, 1);
    m_noResults = new QLabel(LocalizedString::localized(QStringLiteral("No Results")), root);
    m_noResults->setObjectName(QStringLiteral("searchNoResults"));
    m_noResults->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_noResults->setContentsMargins(0, 48, 0, 0);
    m_noResults->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Title2));
    m_noResults->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    m_noResults->hide();
    layout->addWidget(m_noResults, 1);
    connect(m_field, &QLineEdit::textChanged, this, &DocumentSearchController::search);
    connect(cancel, &QPushButton::clicked, this, [this] { dismissViewControllerAnimated(true); });
    connect(m_resultsView, &QListWidget::itemClicked, this,
            [this](QListWidgetItem *item) { activateResult(m_resultsView->row(item)); });
    // Escape ends the search as Cancel does
    new QShortcut(QKeySequence(Qt::Key_Escape), root, this, [this] { dismissViewControllerAnimated(true); },
                  Qt::WidgetWithChildrenShortcut);
    return root;
}

void DocumentSearchController::viewDidAppear(bool animated)
{
    ViewController::viewDidAppear(animated);
    view();
    m_field->setFocus(Qt::OtherFocusReason);
}

QList<DocumentSearchController::Result> DocumentSearchController::searchDrive(const QString &text, int limit)
{
    QList<Result> results;
    if (text.trimmed().isEmpty()) {
        return results;
    }
    const QString needle = text.trimmed();
    const QString root = DriveLayout::mobileDocumentsPath();
    // an app folder's "Documents" is the app folder itself, shown as such, never a hit
    QSet<QString> appDocumentFolders;
    for (const std::shared_ptr<KDContainer> &container : KDContainer::allContainers()) {
        if (!container->isDefaultContainer() && !container->documentsURL().isEmpty()) {
            appDocumentFolders.insert(container->documentsURL().toLocalFile());
        }
    }
    // names as the kernel has them: one that is not UTF-8 is found too, and opened by its bytes
    FilePath::walk(root, [&](const QString &path, const FilePath::Entry &entry) {
        const bool hidden = entry.name.startsWith(QLatin1Char('.'));
        if (hidden && !PromisePlaceholder::isPlaceholderName(entry.name)) {
            // hidden folders are no items: deletions waiting to finish lie there, for one
            return FilePath::WalkStep::SkipChildren;
        }
        const QString name = hidden ? PromisePlaceholder::logicalPathFor(entry.name) : entry.name;
        const QString folder = path.left(path.size() - entry.name.size() - 1);
        // a container's own folders are not items of the drive
        if (folder == root || appDocumentFolders.contains(path)
            || !FilePath::displayName(name).contains(needle, Qt::CaseInsensitive)) {
            return FilePath::WalkStep::Continue;
        }
        const std::optional<struct stat> st = hidden ? std::nullopt : FilePath::status(path);
        const QUrl url = QUrl::fromLocalFile(folder + QLatin1Char('/') + name);
        // the location names the folders the item is in, down to its own
        results.append({FilePath::displayName(name), url, st && S_ISDIR(st->st_mode), FileUtils::displayableLocationForURL(url)});
        return results.size() < limit ? FilePath::WalkStep::Continue : FilePath::WalkStep::Stop;
    });
    sortResults(results);
    return results;
}

void DocumentSearchController::search(const QString &text)
{
    if (m_watcher.isRunning()) {
        m_pendingText = text; // the newest text wins once the running walk ends
        return;
    }
    m_watcher.setFuture(QtConcurrent::run([text] { return searchDrive(text, ResultLimit); }));
}

void DocumentSearchController::sortResults(QList<Result> &results)
{
    // by name as people sort them (numbers by value, case ignored), then by where they are
    const QCollator collator = DocumentListModel::nameCollator();
    std::stable_sort(results.begin(), results.end(), [&collator](const Result &a, const Result &b) {
        const int byName = collator.compare(a.name, b.name);
        return byName != 0 ? byName < 0 : collator.compare(a.location, b.location) < 0;
    });
}

void DocumentSearchController::showResults(const QList<Result> &results)
{
    m_results = results;
    ++m_generation;
    if (!m_resultsView) {
        return;
    }
    m_resultsView->clear();
    for (const Result &result : results) {
        DocumentListEntry entry;
        entry.name = result.name;
        entry.isFolder = result.isFolder;
        const QIcon icon = DocumentListModel::iconForEntry(entry);
        auto *item = new QListWidgetItem(icon, result.name + QLatin1Char('\n') + result.location, m_resultsView);
        item->setSizeHint(QSize(0, 56));
        item->setData(Qt::AccessibleTextRole, result.name);
        item->setData(Qt::AccessibleDescriptionRole, result.location);
        if (!result.isFolder) {
            requestThumbnail(m_resultsView->count() - 1, result.url);
        }
    }
    const bool nothingFound = results.isEmpty() && !m_field->text().trimmed().isEmpty();
    m_noResults->setVisible(nothingFound);
    m_resultsView->setVisible(!nothingFound);
}

void DocumentSearchController::requestThumbnail(int row, const QUrl &url)
{
    QPointer<DocumentSearchController> self(this);
    const quint64 generation = m_generation;
    // a thumbnail is read from the disk: never on the main thread
    DRItem::getThumbnailQueue()->addOperation([self, generation, row, url] {
        QImage image;
        if (std::shared_ptr<DRItem> item = DRItem::initWithURL(url)) {
            image = item->thumbnailMadeWhenMissing();
        }
        if (image.isNull()) {
            return;
        }
        image = image.scaled(DocumentListModel::ThumbnailEdge, DocumentListModel::ThumbnailEdge, Qt::KeepAspectRatio,
                             Qt::SmoothTransformation);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, generation, row, image] {
                // a newer search replaced the rows: this picture belongs to none of them
                if (self && self->m_generation == generation && self->m_resultsView) {
                    self->m_resultsView->item(row)->setIcon(QIcon(QPixmap::fromImage(image)));
                }
            },
            Qt::QueuedConnection);
    });
}

void DocumentSearchController::activateResult(int index)
{
    if (index < 0 || index >= m_results.size() || !m_originatingList) {
        return;
    }
    const Result result = m_results.at(index);
    auto *delegate = qobject_cast<DocumentListControllerDelegate *>(m_originatingList->delegate());
    if (!delegate) {
        return;
    }
    if (result.isFolder) {
        // the receiver dismisses the search and builds the folder's stack
        auto *folderList = new DocumentListController(result.url, m_originatingList.data());
        delegate->documentListController_didSelectContainerWithViewController(m_originatingList.data(), folderList);
        if (!folderList->navigationController()) {
            folderList->deleteLater();
        }
        return;
    }
    QPointer<DocumentListController> list = m_originatingList;
    dismissViewControllerAnimated(true);
    if (list) {
        delegate->documentListController_didSelectItemAtURL(list.data(), result.url);
    }
}
