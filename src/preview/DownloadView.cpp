#include "preview/DownloadView.h"

#include "core/DRLogging.h"
#include "model/DRItem.h"
#include "platform/drive/Progress.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/LocalizedString.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"
#include "platform/ui/TemplateIcon.h"
#include "preview/DownloadViewDelegate.h"
#include "preview/RoundProgressView.h"

#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
QPushButton *makeTextButton(const QString &name, QWidget *parent)
{
    auto *button = new QPushButton(parent);
    button->setObjectName(name);
    button->setFlat(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setMinimumHeight(44);
    button->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Body));
    button->setStyleSheet(QStringLiteral("QPushButton { color: %1; border: none; padding: 0 12px; }")
                              .arg(SystemColor::systemBlueColor().name()));
    return button;
}
} // namespace

DownloadView::DownloadView(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("downloadView"));
    auto *stack = new QVBoxLayout(this);
    stack->setSpacing(8);
    stack->setAlignment(Qt::AlignHCenter);

    m_filenameLabel = new QLabel(this);
    m_filenameLabel->setObjectName(QStringLiteral("filenameLabel"));
    m_filenameLabel->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Headline));
    m_filenameLabel->setAlignment(Qt::AlignCenter);
    m_filenameLabel->setWordWrap(true);
    m_sizeLabel = new QLabel(this);
    m_sizeLabel->setObjectName(QStringLiteral("sizeLabel"));
    m_sizeLabel->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Subheadline));
    m_sizeLabel->setStyleSheet(QStringLiteral("color: #6d6d72;"));
    m_sizeLabel->setAlignment(Qt::AlignCenter);
    m_roundProgressView = new RoundProgressView(QRect(0, 0, 32, 32), 1, this);
    m_roundProgressView->setFixedSize(32, 32);
    m_cloudButton = new QPushButton(this);
    m_cloudButton->setObjectName(QStringLiteral("cloudButton"));
    m_cloudButton->setFlat(true);
    // the theme's arrow down onto a line is its download glyph
    m_cloudButton->setIcon(TemplateIcon::named(QStringLiteral("document-save"), SystemColor::systemBlueColor()));
    m_cloudButton->setIconSize(QSize(44, 44));
    m_cloudButton->setMinimumSize(56, 56);
    m_cloudButton->setCursor(Qt::PointingHandCursor);
    m_cloudButton->setAccessibleName(LocalizedString::localized(QStringLiteral("Download")));
    m_downloadButton = makeTextButton(QStringLiteral("downloadButton"), this);
    m_cancelButton = makeTextButton(QStringLiteral("cancelButton"), this);
    m_cancelButton->setText(LocalizedString::localized(QStringLiteral("Cancel Download")));

    stack->addWidget(m_filenameLabel, 0, Qt::AlignHCenter);
    stack->addWidget(m_sizeLabel, 0, Qt::AlignHCenter);
    stack->addWidget(m_roundProgressView, 0, Qt::AlignHCenter);
    stack->addWidget(m_cloudButton, 0, Qt::AlignHCenter);
    stack->addWidget(m_downloadButton, 0, Qt::AlignHCenter);
    stack->addWidget(m_cancelButton, 0, Qt::AlignHCenter);

    m_downloadButton->setText(downloadButtonTitle());
    connect(m_cloudButton, &QPushButton::clicked, this, &DownloadView::startDownloading);
    connect(m_downloadButton, &QPushButton::clicked, this, &DownloadView::startDownloading);
    connect(m_cancelButton, &QPushButton::clicked, this, &DownloadView::cancelDownloading);
    setDownloading(false);
}

void DownloadView::setItem(const std::shared_ptr<DRItem> &item)
{
    m_item = item;
    m_filenameLabel->setText(item ? item->localizedName() : QString());
    m_sizeLabel->setText(item ? item->friendlyFileSize() : QString());
    m_downloadButton->setText(downloadButtonTitle());
    setDownloading(false);
}

QString DownloadView::downloadButtonTitle() const
{
    return LocalizedString::localized(!m_item || m_item->canPreview() ? QStringLiteral("Download to View")
                                                                       : QStringLiteral("Download"));
}

QString DownloadView::zeroProgressMsg() const
{
    if (m_item && m_item->fileSize()) {
        return progressMsgWithBytesCompleted_ofTotal(0, qint64(*m_item->fileSize()));
    }
    return LocalizedString::localized(QStringLiteral("Loading…"));
}

QString DownloadView::progressMsgWithBytesCompleted_ofTotal(qint64 completed, qint64 total)
{
    return LocalizedString::localizedStringWithFormat(
        QStringLiteral("%1$@ of %2$@"), ByteCountFormatter::stringFromByteCount(completed, ByteCountFormatter::CountStyle::File),
        ByteCountFormatter::stringFromByteCount(total, ByteCountFormatter::CountStyle::File));
}

void DownloadView::setDownloading(bool downloading)
{
    m_downloading = downloading;
    m_cloudButton->setVisible(!downloading);
    m_downloadButton->setVisible(!downloading);
    m_cancelButton->setVisible(downloading);
    m_roundProgressView->setVisible(downloading);
    if (downloading) {
        m_sizeLabel->setText(zeroProgressMsg());
    } else {
        m_roundProgressView->resetProgress();
        m_sizeLabel->setText(m_item ? m_item->friendlyFileSize() : QString());
    }
}

void DownloadView::updateProgress(const std::shared_ptr<Progress> &progress)
{
    if (!m_downloading) {
        DRLog(LOG_WARNING, "Received progress when not downloading");
        return;
    }
    if (!progress || progress->totalUnitCount() < 1) {
        return;
    }
    m_roundProgressView->setProgress(progress->fractionCompleted());
    m_sizeLabel->setText(progressMsgWithBytesCompleted_ofTotal(progress->completedUnitCount(), progress->totalUnitCount()));
}

void DownloadView::startDownloading()
{
    DRLog(LOG_INFO, "Pressed Start download...");
    if (auto *delegate = qobject_cast<DownloadViewDelegate *>(m_delegate.data())) {
        delegate->downloadView_didPressStartDownload(this, m_item ? m_item->url() : QUrl());
    }
}

void DownloadView::cancelDownloading()
{
    DRLog(LOG_INFO, "Pressed Cancel download...");
    m_roundProgressView->resetProgress();
    if (auto *delegate = qobject_cast<DownloadViewDelegate *>(m_delegate.data())) {
        delegate->downloadView_didPressCancelDownload(this, m_item ? m_item->url() : QUrl());
    }
}
