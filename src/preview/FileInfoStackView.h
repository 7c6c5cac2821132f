#pragma once

#include "platform/foundation/DateFormatter.h"
#include "preview/FileInfoCell.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class DRItem;
class QTextDocument;
class QVBoxLayout;

/// The facts of an item, one row each: Kind, Size, Where (up to three lines), Created,
/// Modified and Tags, every name column as wide as the widest. The two dates use the longest
/// date style that fits the value column.
class FileInfoStackView final : public QWidget
{
    Q_OBJECT

public:
    explicit FileInfoStackView(QWidget *parent = nullptr);

    std::shared_ptr<DRItem> item() const { return m_item; }
    /// Rebuilds the rows; no item only stores it and leaves the rows.
    void setItem(const std::shared_ptr<DRItem> &item);
    FileInfoCell *addCell_value_maxLines(const QString &name, const QString &value, int maxLines);
    /// The tags as text with a colour dot before each name; null without tags.
    static std::unique_ptr<QTextDocument> buildTagsWithImagesString_font(const std::shared_ptr<DRItem> &item,
                                                                         const QFont &font);

    QList<FileInfoCell *> cells() const;
    FileInfoCell *modifiedDateCell() const { return m_modifiedDateCell.data(); }
    FileInfoCell *creationDateCell() const { return m_creationDateCell.data(); }
    /// The date style the date rows show now.
    DateFormatter::Style dateStyle() const { return m_dateStyle; }
    /// Chooses the date style that fits (run after every layout).
    void layoutSubviews();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void alignNameColumns();

    std::shared_ptr<DRItem> m_item;
    QVBoxLayout *m_layout = nullptr;
    QPointer<FileInfoCell> m_modifiedDateCell;
    QPointer<FileInfoCell> m_creationDateCell;
    DateFormatter::Style m_dateStyle = DateFormatter::Style::Long;
    std::unique_ptr<QTextDocument> m_tags;
};
