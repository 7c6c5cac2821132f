#pragma once

#include <QColor>
#include <QHash>
#include <QImage>
#include <QList>
#include <QPointF>
#include <QSizeF>
#include <QStringList>

/// The user's tag definitions (name and colour label), shared across their devices in the
/// key-value store under "TrovexTagDict" and written there by the desktop file manager; read
/// only. The tables follow every external change of the store for the life of the process.
///
/// Also draws the small coloured dots (blips) of one tag or of a row of tags.
class FileTags final
{
public:
    FileTags() = delete;

    /// Tag name → colour (a copy). The first call starts following the store and loads it.
    static QHash<QString, QColor> tagColorsByTag();
    /// Tag names in the user's order (a copy). Does not load: empty before the first
    /// `tagColorsByTag`.
    static QStringList allTags();
    /// The eight label colours; label 0 (no colour) is light grey.
    static QList<QColor> _tagBlipColors();
    /// Reloads the tables from the store.
    static void _tagColorsDidChange();

    /// A row of dots, each overlapping the one before by half; null for no tags.
    static QImage blipWithTags_height_scale(const QStringList &tags, qreal height, qreal scale);
    /// One dot of the given diameter at `offset` in an image of `imageSize` (scale 1); null for
    /// no tag.
    static QImage blipWithTag_imageSize_blipHeight_offset(const QString &tag, const QSizeF &imageSize,
                                                          qreal blipHeight, const QPointF &offset);
};
