#include "preview/FileInfoStackView.h"

#include "model/DRItem.h"
#include "model/FileTags.h"
#include "model/FileUtils.h"
#include "platform/foundation/LocalizedString.h"
#include "preview/FileInfoCell.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QLabel>
#include <QPainter>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextImageFormat>
#include <QVBoxLayout>

namespace {
constexpr int Spacing = 10;

/// The tags line drawn once, for a label to show.
QPixmap renderTags(QTextDocument *document)
{
    document->setDocumentMargin(0);
    const QSize size = document->size().toSize();
    QPixmap pixmap(size.isEmpty() ? QSize(1, 1) : size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    document->drawContents(&painter);
    return pixmap;
}
} // namespace

FileInfoStackView::FileInfoStackView(QWidget *parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
{
    setObjectName(QStringLiteral("fileInfoView"));
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(Spacing);
    m_layout->setAlignment(Qt::AlignTop);
}

QList<FileInfoCell *> FileInfoStackView::cells() const
{
    return findChildren<FileInfoCell *>(QString(), Qt::FindDirectChildrenOnly);
}

FileInfoCell *FileInfoStackView::addCell_value_maxLines(const QString &name, const QString &value, int maxLines)
{
    auto *cell = new FileInfoCell(name, value, maxLines, this);
    m_layout->addWidget(cell);
    alignNameColumns();
    return cell;
}

void FileInfoStackView::alignNameColumns()
{
    // every name column as wide as the widest name
    int widest = 0;
    const QList<FileInfoCell *> all = cells();
    for (FileInfoCell *cell : all) {
        widest = std::max(widest, cell->nameLabel()->sizeHint().width());
    }
    for (FileInfoCell *cell : all) {
        cell->nameLabel()->setFixedWidth(widest);
    }
}

void FileInfoStackView::setItem(const std::shared_ptr<DRItem> &item)
{
    m_item = item;
    if (!item) {
        return;
    }
    for (FileInfoCell *cell : cells()) {
        m_layout->removeWidget(cell);
        delete cell;
    }
    const QString kind = item->localizedTypeDescription();
    const QString location = FileUtils::displayableLocationForURL(item->url());
    const QString size = item->friendlyFileSize();
    const QString modified = item->friendlyContentModificationDate(DateFormatter::Style::Long);
    const QString created = item->friendlyCreationDate(DateFormatter::Style::Long);
    if (!kind.isEmpty()) {
        addCell_value_maxLines(LocalizedString::localized(QStringLiteral("Kind")), kind, 1);
    }
    if (!size.isEmpty()) {
        addCell_value_maxLines(LocalizedString::localized(QStringLiteral("Size")), size, 1);
    }
    if (!location.isEmpty()) {
        addCell_value_maxLines(LocalizedString::localized(QStringLiteral("Where")), location, 3);
    }
    m_creationDateCell = created.isEmpty()
        ? nullptr
        : addCell_value_maxLines(LocalizedString::localized(QStringLiteral("Created")), created, 1);
    m_modifiedDateCell = modified.isEmpty()
        ? nullptr
        : addCell_value_maxLines(LocalizedString::localized(QStringLiteral("Modified")), modified, 1);
    m_dateStyle = DateFormatter::Style::Long;
    m_tags = buildTagsWithImagesString_font(item, FileInfoCell::font());
    if (m_tags) {
        FileInfoCell *tags = addCell_value_maxLines(LocalizedString::localized(QStringLiteral("Tags")), QString(), 1);
        tags->valueLabel()->setPixmap(renderTags(m_tags.get()));
        tags->valueLabel()->setAccessibleName(m_tags->toPlainText());
        tags->valueLabel()->setFixedHeight(int(std::ceil(m_tags->size().height())));
    }
    layoutSubviews();
}

std::unique_ptr<QTextDocument> FileInfoStackView::buildTagsWithImagesString_font(const std::shared_ptr<DRItem> &item,
                                                                                 const QFont &font)
{
    const std::optional<QStringList> tags = item ? item->tags() : std::nullopt;
    if (!tags || tags->isEmpty()) {
        return nullptr;
    }
    auto document = std::make_unique<QTextDocument>();
    document->setDefaultFont(font);
    const QFontMetricsF metrics(font);
    const qreal capHeight = metrics.capHeight();
    QTextCursor cursor(document.get());
    QTextCharFormat text;
    text.setFont(font);
    // names sit on the dots' baseline
    text.setVerticalAlignment(QTextCharFormat::AlignBaseline);
    for (qsizetype i = 0; i < tags->size(); ++i) {
        const QString &tag = tags->at(i);
        const QImage dot = FileTags::blipWithTag_imageSize_blipHeight_offset(
            tag, QSizeF(capHeight + 2, metrics.lineSpacing()), capHeight,
            QPointF(0, metrics.ascent() - capHeight + 1));
        const QString name = QStringLiteral("tag-dot-%1").arg(i);
        document->addResource(QTextDocument::ImageResource, QUrl(name), dot);
        QTextImageFormat image;
        image.setName(name);
        // the dot's picture is a whole line high: standing on the line's bottom, not on the
        // baseline, it leaves the names on the baseline of the "Tags" label beside them
        image.setVerticalAlignment(QTextCharFormat::AlignBottom);
        cursor.insertImage(image);
        const bool last = i == tags->size() - 1;
        cursor.insertText(last ? tag : tag + QLatin1Char(' '), text);
    }
    return document;
}

void FileInfoStackView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutSubviews();
}

void FileInfoStackView::layoutSubviews()
{
    const int width = std::max(m_modifiedDateCell ? m_modifiedDateCell->valueLabel()->width() : 0,
                               m_creationDateCell ? m_creationDateCell->valueLabel()->width() : 0);
    if (width <= 0 || !m_item) {
        return;
    }
    const QFontMetrics metrics(FileInfoCell::font());
    QString modified;
    QString created;
    DateFormatter::Style chosen = DateFormatter::Style::Short;
    for (const DateFormatter::Style style : {DateFormatter::Style::Long, DateFormatter::Style::Medium,
                                             DateFormatter::Style::Short}) {
        modified = m_item->friendlyContentModificationDate(style);
        created = m_item->friendlyCreationDate(style);
        chosen = style;
        if (metrics.horizontalAdvance(modified) <= width && metrics.horizontalAdvance(created) <= width) {
            break; // the longest style that fits; the short one when none does
        }
    }
    m_dateStyle = chosen;
    if (m_modifiedDateCell && m_modifiedDateCell->valueLabel()->text() != modified) {
        m_modifiedDateCell->valueLabel()->setText(modified);
    }
    if (m_creationDateCell && m_creationDateCell->valueLabel()->text() != created) {
        m_creationDateCell->valueLabel()->setText(created);
    }
}
