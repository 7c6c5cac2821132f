#pragma once

#include <QMutex>
#include <QString>
#include <QUrl>

#include <functional>
#include <map>
#include <memory>

/// The progress of one piece of work, observable from any thread.
///
/// The drive service publishes one progress of kind "NSProgressKindFile" for every item it
/// materialises; a screen that shows a download subscribes to the item's URL with
/// `addSubscriberForFileURL` and is handed the progress when it is published (at once when it
/// already is). Observers of "fractionCompleted" and "completedUnitCount" are called on the
/// thread that changed the count.
class Progress final : public std::enable_shared_from_this<Progress>
{
public:
    static constexpr const char KindFile[] = "NSProgressKindFile";

    using Observer = std::function<void(const Progress &)>;
    /// Called with a published progress; returns what to call when it is unpublished.
    using PublishingHandler = std::function<std::function<void()>(std::shared_ptr<Progress>)>;

    explicit Progress(qint64 totalUnitCount = -1);
    Q_DISABLE_COPY_MOVE(Progress)

    qint64 totalUnitCount() const;
    void setTotalUnitCount(qint64 count);
    qint64 completedUnitCount() const;
    void setCompletedUnitCount(qint64 count);
    /// completed / total, 0 while the total is unknown.
    double fractionCompleted() const;
    bool isFinished() const;
    /// The form used in log lines: file, counts, fraction and kind.
    QString description() const;

    QString kind() const;
    void setKind(const QString &kind);
    QUrl fileURL() const;
    void setFileURL(const QUrl &url);

    /// Observes "fractionCompleted", "completedUnitCount" or "totalUnitCount"; returns a token.
    int addObserver(const QString &keyPath, Observer observer);
    void removeObserver(int token);

    /// Makes the progress visible to subscribers of its file URL (or of its folder).
    void publish();
    void unpublish();

    static int addSubscriberForFileURL(const QUrl &url, PublishingHandler handler);
    static void removeSubscriber(int token);

private:
    void notify(const QString &keyPath);

    mutable QMutex m_mutex;
    qint64 m_total = -1;
    qint64 m_completed = 0;
    QString m_kind;
    QUrl m_fileURL;
    int m_nextToken = 1;
    std::map<int, std::pair<QString, Observer>> m_observers;
    bool m_published = false;
};
