#pragma once

#include "platform/ui/ViewController.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QUrl>

class DocumentListController;
class QLabel;
class QLineEdit;
class QListWidget;

/// The search over the names of the drive's items, presented over a folder list. Results come
/// from a walk of the drive in the background; a tap on a folder hands the originating list's
/// delegate a list of that folder, a tap on a document reports its URL, as taps in a list do.
class DocumentSearchController final : public ViewController
{
    Q_OBJECT

public:
    struct Result {
        QString name;
        QUrl url;
        bool isFolder = false;
        QString location;
    };

    explicit DocumentSearchController(DocumentListController *originatingList, QObject *parent = nullptr);
    ~DocumentSearchController() override;

    DocumentListController *originatingList() const { return m_originatingList.data(); }
    /// Searches now for items whose name contains `text`, ignoring case.
    void search(const QString &text);
    /// The results shown.
    QList<Result> results() const { return m_results; }
    /// What a tap on a result does.
    void activateResult(int index);

    /// The items of the drive whose name contains `text`, ignoring case; at most `limit`,
    /// sorted by name, then by location.
    static QList<Result> searchDrive(const QString &text, int limit);
    static constexpr int ResultLimit = 500;

    /// The keyboard goes to the search field at once.
    void viewDidAppear(bool animated) override;

protected:
    QWidget *loadView() override;

private:
    static void sortResults(QList<Result> &results);
    void showResults(const QList<Result> &results);
    /// Reads the thumbnail of the document on `row` off the main thread, then shows it.
    void requestThumbnail(int row, const QUrl &url);

    QPointer<DocumentListController> m_originatingList;
    QLineEdit *m_field = nullptr;
    QListWidget *m_resultsView = nullptr;
    QLabel *m_noResults = nullptr;
    /// Counts the result lists shown: a thumbnail read for an older one is dropped.
    quint64 m_generation = 0;
    QList<Result> m_results;
    QFutureWatcher<QList<Result>> m_watcher;
    QString m_pendingText;
};
