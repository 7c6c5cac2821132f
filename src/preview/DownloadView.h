#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>

class DRItem;
class Progress;
class QLabel;
class QPushButton;
class RoundProgressView;

/// The middle of the download screen: the item's name and size, a cloud button and a download
/// button, and while it downloads a cancel button and the progress ring.
class DownloadView final : public QWidget
{
    Q_OBJECT

public:
    explicit DownloadView(QWidget *parent = nullptr);

    /// Weak: an object implementing DownloadViewDelegate.
    QObject *delegate() const { return m_delegate.data(); }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }
    std::shared_ptr<DRItem> item() const { return m_item; }
    void setItem(const std::shared_ptr<DRItem> &item);
    bool downloading() const { return m_downloading; }
    void setDownloading(bool downloading);

    QLabel *filenameLabel() const { return m_filenameLabel; }
    QLabel *sizeLabel() const { return m_sizeLabel; }
    RoundProgressView *roundProgressView() const { return m_roundProgressView; }
    QPushButton *cloudButton() const { return m_cloudButton; }
    QPushButton *downloadButton() const { return m_downloadButton; }
    QPushButton *cancelButton() const { return m_cancelButton; }

    QString downloadButtonTitle() const;
    QString zeroProgressMsg() const;
    static QString progressMsgWithBytesCompleted_ofTotal(qint64 completed, qint64 total);
    void updateProgress(const std::shared_ptr<Progress> &progress);

    void startDownloading();
    void cancelDownloading();

private:
    QPointer<QObject> m_delegate;
    std::shared_ptr<DRItem> m_item;
    bool m_downloading = false;
    QLabel *m_filenameLabel = nullptr;
    QLabel *m_sizeLabel = nullptr;
    RoundProgressView *m_roundProgressView = nullptr;
    QPushButton *m_cloudButton = nullptr;
    QPushButton *m_downloadButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};
