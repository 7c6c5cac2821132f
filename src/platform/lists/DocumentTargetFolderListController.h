#pragma once

#include "platform/ui/ViewController.h"

#include <QList>
#include <QSet>
#include <QUrl>

class QLabel;
class QListView;
class QStandardItemModel;

/// One level of the move-target picker: the subfolders of a folder, by name. Packages are
/// documents and are left out; a folder that is being moved is shown dimmed and can be neither
/// chosen nor entered, so that nothing moves into itself.
class DocumentTargetFolderListController final : public ViewController
{
    Q_OBJECT

public:
    DocumentTargetFolderListController(const QUrl &folderURL, const QSet<QString> &movedPaths,
                                       QObject *parent = nullptr);

    QUrl folderURL() const { return m_folderURL; }
    /// The subfolders shown, in order; `enterable` tells which of them the user can open.
    QList<QUrl> folderURLs() const;
    bool isEnterable(const QUrl &url) const;
    /// What a tap on a subfolder does.
    void activateFolder(const QUrl &url);

Q_SIGNALS:
    void folderActivated(const QUrl &url);

protected:
    QWidget *loadView() override;

private:
    void readFolders();

    QUrl m_folderURL;
    QSet<QString> m_movedPaths;
    QStandardItemModel *m_model = nullptr;
};
