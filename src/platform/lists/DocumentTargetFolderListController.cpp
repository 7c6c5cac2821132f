#include "platform/lists/DocumentTargetFolderListController.h"

#include "platform/drive/URLResourceValues.h"
#include "platform/foundation/FilePath.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/lists/DocumentItemDelegate.h"
#include "platform/lists/DocumentListModel.h"
#include "platform/types/ThemeIconEngine.h"
#include "platform/ui/Font.h"

#include <QCollator>
#include <QDirIterator>
#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QListView>
#include <QScroller>
#include <QStandardItemModel>
#include <QVBoxLayout>

namespace {
constexpr int UrlRole = DocumentListModel::UrlRole;

bool isPackage(const QString &path)
{
    std::optional<Error> error;
    const auto values
        = URLResourceValues::resourceValuesForKeys(QUrl::fromLocalFile(path), {URLResourceKey::IsPackage}, &error);
    return values && values->value(URLResourceKey::IsPackage).toBool();
}
} // namespace

DocumentTargetFolderListController::DocumentTargetFolderListController(const QUrl &folderURL,
                                                                       const QSet<QString> &movedPaths,
                                                                       QObject *parent)
    : ViewController(parent)
    , m_folderURL(QUrl::fromLocalFile(FilePath::localPath(folderURL)))
    , m_movedPaths(movedPaths)
    , m_model(new QStandardItemModel(this))
{
    setTitle(FilePath::displayName(QFileInfo(m_folderURL.toLocalFile()).fileName()));
    readFolders();
}

void DocumentTargetFolderListController::readFolders()
{
    // only folders are read: a folder of many documents lists its few subfolders at once
    QDirIterator it(m_folderURL.toLocalFile(), QDir::Dirs | QDir::NoDotAndDotDot);
    QStringList paths;
    while (it.hasNext()) {
        const QString path = it.next();
        if (!it.fileName().startsWith(QLatin1Char('.')) && !isPackage(path)) {
            paths.append(path);
        }
    }
    QCollator collator;
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(paths.begin(), paths.end(), [&collator](const QString &a, const QString &b) {
        return collator.compare(QFileInfo(a).fileName(), QFileInfo(b).fileName()) < 0;
    });
    const QIcon folderIcon = ThemeIconEngine::icon({QStringLiteral("folder")});
    // rows carry the roles of the folder lists, so that they look the same
    const QString folderKind = LocalizedString::localized(QStringLiteral("Folder"));
    for (const QString &path : std::as_const(paths)) {
        auto *row = new QStandardItem(QFileInfo(path).fileName());
        row->setData(QUrl::fromLocalFile(path), UrlRole);
        row->setData(folderIcon, DocumentListModel::IconRole);
        row->setEditable(false);
        const bool moving = m_movedPaths.contains(path);
        row->setData(moving ? LocalizedString::localized(QStringLiteral("Being moved")) : folderKind,
                     DocumentListModel::SubtitleRole);
        row->setData(!moving, DocumentListModel::IsFolderRole);
        if (moving) {
            row->setEnabled(false); // a folder can't be moved into itself
        }
        m_model->appendRow(row);
    }
}

QList<QUrl> DocumentTargetFolderListController::folderURLs() const
{
    QList<QUrl> urls;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        urls.append(m_model->item(row)->data(UrlRole).toUrl());
    }
    return urls;
}

bool DocumentTargetFolderListController::isEnterable(const QUrl &url) const
{
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const QStandardItem *item = m_model->item(row);
        if (item->data(UrlRole).toUrl() == url) {
            return item->isEnabled();
        }
    }
    return false;
}

void DocumentTargetFolderListController::activateFolder(const QUrl &url)
{
    if (isEnterable(url)) {
        Q_EMIT folderActivated(url);
    }
}

QWidget *DocumentTargetFolderListController::loadView()
{
    auto *root = new QWidget;
    root->setObjectName(QStringLiteral("targetFolderList"));
    root->setAutoFillBackground(true);
    auto *layout = new QVBoxLayout(root);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *list = new QListView(root);
    list->setObjectName(QStringLiteral("targetFolderListView"));
    list->setModel(m_model);
    list->setItemDelegate(new DocumentItemDelegate(list));
    list->setFrameShape(QFrame::NoFrame);
    list->setUniformItemSizes(true);
    list->setSelectionMode(QAbstractItemView::NoSelection);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QScroller::grabGesture(list->viewport(), QScroller::TouchGesture);
    connect(list, &QListView::clicked, this,
            [this](const QModelIndex &index) { activateFolder(index.data(UrlRole).toUrl()); });
    layout->addWidget(list, 1);

    auto *empty = new QLabel(LocalizedString::localized(QStringLiteral("No Folders")), root);
    empty->setObjectName(QStringLiteral("noFoldersLabel"));
    empty->setAlignment(Qt::AlignCenter);
    empty->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    empty->setStyleSheet(QStringLiteral("color: #8e8e93;"));
    empty->setVisible(m_model->rowCount() == 0);
    list->setVisible(m_model->rowCount() > 0);
    layout->addWidget(empty, 1);
    return root;
}
