#include "platform/lists/DocumentItemDelegate.h"

#include "platform/lists/DocumentListModel.h"
#include "platform/ui/Font.h"
#include "platform/ui/SystemColor.h"

#include <QFontMetrics>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>

namespace {
const QColor SecondaryText(142, 142, 147);
const QColor Separator(0, 0, 0, 28);
/// A name in a tile: centred, wrapped where it must be (a long name has no spaces to wrap at).
constexpr int TileNameFlags = Qt::AlignHCenter | Qt::AlignTop | Qt::TextWrapAnywhere;
/// The air between a tile's name and its subtitle.
constexpr int TileTextGap = 3;
} // namespace

DocumentItemDelegate::DocumentItemDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{
}

QSize DocumentItemDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    Q_UNUSED(index)
    return m_gridMode ? TileSize : QSize(option.rect.width(), RowHeight);
}

void DocumentItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    if (!(option.state & QStyle::State_Enabled)) {
        painter->setOpacity(0.4); // shown for orientation, not to be chosen
    }
    m_gridMode ? paintTile(painter, option, index) : paintRow(painter, option, index);
    // the frame shows where the keyboard is once it is used, not under a finger or a mouse
    const bool keyboardInUse = !option.widget || option.widget->property(KeyboardInUseProperty).toBool();
    if ((option.state & QStyle::State_HasFocus) && keyboardInUse) {
        paintFocusFrame(painter, option);
    }
    painter->restore();
}

void DocumentItemDelegate::paintFocusFrame(QPainter *painter, const QStyleOptionViewItem &option) const
{
    // the keyboard's place: a frame that follows the row's or the tile's rounded shape
    const QRectF frame = m_gridMode ? QRectF(option.rect).adjusted(3, 3, -3, -3) : QRectF(option.rect).adjusted(4, 2, -4, -2);
    painter->setOpacity(1.0);
    painter->setPen(QPen(SystemColor::systemBlueColor(), 2));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(frame, 10, 10);
}

void DocumentItemDelegate::paintPicture(QPainter *painter, const QRect &rect, const QModelIndex &index) const
{
    const QVariant thumbnail = index.data(DocumentListModel::ThumbnailRole);
    if (thumbnail.canConvert<QImage>() && !thumbnail.value<QImage>().isNull()) {
        const QImage image = thumbnail.value<QImage>();
        QSize size = image.size().scaled(rect.size(), Qt::KeepAspectRatio);
        QRect target(QPoint(0, 0), size);
        target.moveCenter(rect.center());
        QPainterPath clip;
        clip.addRoundedRect(target, 4, 4);
        painter->setClipPath(clip);
        painter->drawImage(target, image);
        painter->setClipping(false);
        // an outline only: a brush left by the check mark or the selection would cover the picture
        painter->setPen(QPen(Separator, 1));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(target, 4, 4);
        return;
    }
    const QIcon icon = index.data(DocumentListModel::IconRole).value<QIcon>();
    // a theme's bitmap is drawn at one of its own sizes, the nearest to the slot, never blown
    // up from a smaller one: a 48-pixel zip icon stays sharp in a 44-pixel slot
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
    const int wanted = qRound(rect.width() * ratio);
    QSize nearest;
    for (const QSize &size : icon.availableSizes()) {
        if (!nearest.isValid() || std::abs(size.width() - wanted) < std::abs(nearest.width() - wanted)) {
            nearest = size;
        }
    }
    if (nearest.isValid() && nearest.width() >= wanted * 0.7 && nearest.width() <= wanted * 1.15) {
        QPixmap pixmap = icon.pixmap(nearest);
        pixmap.setDevicePixelRatio(ratio);
        QRect target(QPoint(0, 0), pixmap.deviceIndependentSize().toSize());
        target.moveCenter(rect.center());
        painter->drawPixmap(target, pixmap);
        return;
    }
    icon.paint(painter, rect); // a drawing, or no size near: drawn to the slot
}

void DocumentItemDelegate::paintCheck(QPainter *painter, const QPoint &center, bool checked) const
{
    const QRectF circle(center.x() - 11, center.y() - 11, 22, 22);
    if (checked) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(SystemColor::systemBlueColor());
        painter->drawEllipse(circle);
        painter->setPen(QPen(Qt::white, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->drawPolyline(QList<QPointF>{{center.x() - 5.0, center.y() + 0.5},
                                             {center.x() - 1.5, center.y() + 4.0},
                                             {center.x() + 5.5, center.y() - 4.0}});
    } else {
        painter->setBrush(Qt::white);
        painter->setPen(QPen(QColor(199, 199, 204), 1.5));
        painter->drawEllipse(circle);
    }
}

void DocumentItemDelegate::paintCloudBadge(QPainter *painter, const QRect &rect) const
{
    // a cloud with a downward arrow: the item is on the drive, not on this device. Three round
    // puffs over a flat base, and a thick arrow with a short head, so that it reads at 18
    // pixels as well as at 36
    const QColor color = SystemColor::systemBlueColor();
    const qreal w = rect.width();
    const qreal h = rect.height();
    const QPointF o = rect.topLeft();
    const auto puff = [&](qreal x, qreal y, qreal radius) {
        QPainterPath circle;
        circle.addEllipse(QPointF(o.x() + x * w, o.y() + y * h), radius * h, radius * h);
        return circle;
    };
    QPainterPath cloud = puff(0.28, 0.64, 0.30).united(puff(0.52, 0.44, 0.40)).united(puff(0.76, 0.64, 0.30));
    QPainterPath base;
    base.addRect(QRectF(o.x() + 0.28 * w, o.y() + 0.64 * h, 0.48 * w, 0.30 * h));
    cloud = cloud.united(base);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawPath(cloud);
    painter->setPen(QPen(Qt::white, std::max(2.0, w / 10.0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    const QPointF top(o.x() + w * 0.52, o.y() + h * 0.36);
    const QPointF tip(o.x() + w * 0.52, o.y() + h * 0.78);
    painter->drawLine(top, tip);
    painter->drawPolyline(QPolygonF{tip + QPointF(-w * 0.14, -h * 0.18), tip, tip + QPointF(w * 0.14, -h * 0.18)});
    painter->restore();
}

void DocumentItemDelegate::paintRow(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    const QRect rect = option.rect;
    const bool selected = m_editing && (option.state & QStyle::State_Selected);
    painter->fillRect(rect, selected ? QColor(0, 122, 255, 24) : QColor(Qt::white));
    if (option.state & QStyle::State_Sunken) {
        painter->fillRect(rect, QColor(0, 0, 0, 14));
    }
    int x = rect.left() + 16;
    if (m_editing) {
        paintCheck(painter, QPoint(x + 11, rect.center().y()), selected);
        x += 22 + 14;
    }
    const QRect picture(x, rect.top() + 10, 44, 44);
    paintPicture(painter, picture, index);
    x = picture.right() + 14;

    const bool isPromise = index.data(DocumentListModel::IsPromiseRole).toBool();
    const bool isFolder = index.data(DocumentListModel::IsFolderRole).toBool();
    const int badge = isPromise ? 28 : 0;
    const int chevron = isFolder && !m_editing ? 20 : 0;
    const int textRight = rect.right() - 16 - badge - chevron;

    const QFont nameFont = Font::preferredFontForTextStyle(Font::TextStyle::Body);
    const QFont subtitleFont = Font::preferredFontForTextStyle(Font::TextStyle::Footnote);
    const QFontMetrics nameMetrics(nameFont);
    const QFontMetrics subtitleMetrics(subtitleFont);
    const QString subtitle = index.data(DocumentListModel::SubtitleRole).toString();
    const int block = nameMetrics.height() + (subtitle.isEmpty() ? 0 : 2 + subtitleMetrics.height());
    int y = rect.center().y() - block / 2;
    painter->setFont(nameFont);
    painter->setPen(Qt::black);
    painter->drawText(QRect(x, y, textRight - x, nameMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                      nameMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, textRight - x));
    if (!subtitle.isEmpty()) {
        y += nameMetrics.height() + 2;
        painter->setFont(subtitleFont);
        painter->setPen(SecondaryText);
        painter->drawText(QRect(x, y, textRight - x, subtitleMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                          subtitleMetrics.elidedText(subtitle, Qt::ElideRight, textRight - x));
    }
    if (isPromise) {
        paintCloudBadge(painter, QRect(rect.right() - 16 - 24 - chevron, rect.center().y() - 9, 24, 18));
    }
    if (chevron) {
        painter->setPen(QPen(QColor(199, 199, 204), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPoint c(rect.right() - 20, rect.center().y());
        painter->drawPolyline(QList<QPoint>{c + QPoint(-3, -6), c + QPoint(3, 0), c + QPoint(-3, 6)});
    }
    painter->fillRect(QRect(picture.left(), rect.bottom(), rect.right() - picture.left(), 1), Separator);
}

void DocumentItemDelegate::paintTile(QPainter *painter, const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    const QRect rect = option.rect.adjusted(4, 4, -4, -4);
    const bool selected = m_editing && (option.state & QStyle::State_Selected);
    if (selected) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor(0, 122, 255, 28));
        painter->drawRoundedRect(rect, 10, 10);
    }
    const TileLayout layout = tileLayout(option.rect, index.data().toString());
    const QRect &picture = layout.picture;
    paintPicture(painter, picture, index);
    if (index.data(DocumentListModel::IsPromiseRole).toBool()) {
        paintCloudBadge(painter, QRect(picture.right() - 18, picture.bottom() - 14, 22, 16));
    }
    if (m_editing) {
        paintCheck(painter, QPoint(picture.right() - 4, picture.top() + 6), selected);
    }
    painter->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Footnote));
    painter->setPen(Qt::black);
    painter->drawText(layout.name, TileNameFlags, layout.shownName);
    painter->setFont(Font::preferredFontForTextStyle(Font::TextStyle::Caption2));
    painter->setPen(SecondaryText);
    QString subtitle = index.data(DocumentListModel::SubtitleRole).toString();
    subtitle = subtitle.section(QStringLiteral(" · "), 0, 0);
    painter->drawText(layout.subtitle, Qt::AlignHCenter | Qt::AlignTop, subtitle);
}

DocumentItemDelegate::TileLayout DocumentItemDelegate::tileLayout(const QRect &tile, const QString &name)
{
    const QRect rect = tile.adjusted(4, 4, -4, -4);
    TileLayout layout;
    layout.picture = QRect(rect.center().x() - 36, rect.top() + 6, 72, 72);
    const QFontMetrics nameMetrics(Font::preferredFontForTextStyle(Font::TextStyle::Footnote));
    const QRect room(rect.left() + 2, layout.picture.bottom() + 6, rect.width() - 4,
                     nameMetrics.lineSpacing() + nameMetrics.height());
    layout.shownName = nameMetrics.elidedText(name, Qt::ElideMiddle, room.width() * 2 - 8);
    // the lines the name really takes, so the subtitle follows the name, one line or two
    layout.name = nameMetrics.boundingRect(room, TileNameFlags, layout.shownName) & room;
    layout.name.setLeft(room.left());
    layout.name.setWidth(room.width());
    const int subtitleHeight = QFontMetrics(Font::preferredFontForTextStyle(Font::TextStyle::Caption2)).height();
    layout.subtitle = QRect(rect.left(), layout.name.bottom() + 1 + TileTextGap, rect.width(), subtitleHeight);
    return layout;
}
