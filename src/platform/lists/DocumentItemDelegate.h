#pragma once

#include <QStyledItemDelegate>

/// Paints one item of a folder list: a row (icon or thumbnail, name, size and date, a cloud
/// badge for an item that is only on the drive) or, in the grid, a tile. In edit mode a check
/// circle shows whether the item is selected.
class DocumentItemDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit DocumentItemDelegate(QObject *parent = nullptr);

    void setGridMode(bool gridMode) { m_gridMode = gridMode; }
    bool gridMode() const { return m_gridMode; }
    void setEditing(bool editing) { m_editing = editing; }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    static constexpr int RowHeight = 64;
    /// The view's property that says the keyboard moves through it (set on a key, cleared
    /// on a tap): only then is the keyboard's item framed.
    static constexpr const char *KeyboardInUseProperty = "keyboardInUse";
    static constexpr QSize TileSize{116, 148};

    /// Where a tile's parts go: the picture, the name (one or two lines, as it needs) and under
    /// it the subtitle, never touching the name.
    struct TileLayout {
        QRect picture;
        QRect name;
        QString shownName;
        QRect subtitle;
    };
    static TileLayout tileLayout(const QRect &tile, const QString &name);

private:
    void paintRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintTile(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void paintFocusFrame(QPainter *painter, const QStyleOptionViewItem &option) const;
    void paintPicture(QPainter *painter, const QRect &rect, const QModelIndex &index) const;
    void paintCheck(QPainter *painter, const QPoint &center, bool checked) const;
    void paintCloudBadge(QPainter *painter, const QRect &rect) const;

    bool m_gridMode = false;
    bool m_editing = false;
};
