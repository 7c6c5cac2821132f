#include "model/FileTags.h"

#include "core/DRLogging.h"
#include "model/AVDAppFileTagColors.h"
#include "platform/drive/UbiquitousKeyValueStore.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/ui/SystemColor.h"

#include <QMutex>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <mutex>

namespace {

const QString TagDictionaryKey = QStringLiteral("TrovexTagDict");
const QString TagDictionaryVersionKey = QStringLiteral("TrovexTagDictVersion");
const QString TagsKey = QStringLiteral("TrovexTags");
const QString TagNameKey = QStringLiteral("n");
const QString TagLabelKey = QStringLiteral("l");
constexpr qulonglong SupportedVersion = 2;

QMutex g_tablesMutex;
QStringList g_allTags;
QHash<QString, QColor> g_tagColors;

/// Owns the store observation, which lasts for the life of the process.
QObject *observerContext()
{
    static auto *context = new QObject; // lives until exit
    return context;
}

QImage transparentImage(const QSizeF &size, qreal scale)
{
    // pixels are whole: a fractional width is rounded up so that no dot is clipped
    const QSize pixels(int(std::ceil(size.width() * scale)), int(std::ceil(size.height() * scale)));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

QHash<QString, QColor> FileTags::tagColorsByTag()
{
    static std::once_flag started;
    std::call_once(started, [] {
        NotificationCenter::defaultCenter()->addObserver(observerContext(),
                                                         NotificationName::UbiquitousKeyValueStoreDidChangeExternally,
                                                         [](const Notification &) { _tagColorsDidChange(); });
        _tagColorsDidChange();
    });
    QMutexLocker lock(&g_tablesMutex);
    return g_tagColors;
}

QStringList FileTags::allTags()
{
    QMutexLocker lock(&g_tablesMutex);
    return g_allTags;
}

QList<QColor> FileTags::_tagBlipColors()
{
    static const QList<QColor> colors{
        QColor::fromRgbF(0.8f, 0.8f, 0.8f, 1.0f),
        SystemColor::systemGrayColor(),
        SystemColor::systemGreenColor(),
        SystemColor::systemPurpleColor(),
        SystemColor::systemBlueColor(),
        SystemColor::systemYellowColor(),
        SystemColor::systemRedColor(),
        SystemColor::systemOrangeColor(),
    };
    return colors;
}

void FileTags::_tagColorsDidChange()
{
    QVariantMap dictionary = UbiquitousKeyValueStore::defaultStore()->dictionaryForKey(TagDictionaryKey);
    if (!dictionary.isEmpty()) {
        const qulonglong version = dictionary.value(TagDictionaryVersionKey).toULongLong();
        if (version != SupportedVersion) {
            DRLog(LOG_DEBUG, "Trovex tag dictionary has incorrect version (%lu, should be 2)", version);
            dictionary.clear();
        }
    }
    if (dictionary.isEmpty()) {
        DRLog(LOG_WARNING, "Trovex tag dictionary is empty");
    }
    const QList<QColor> colors = _tagBlipColors();
    QStringList names;
    QHash<QString, QColor> colorsByTag;
    const QVariantList tags = dictionary.value(TagsKey).toList();
    for (const QVariant &entry : tags) {
        const QVariantMap tag = entry.toMap();
        const qulonglong label = tag.value(TagLabelKey).toULongLong();
        const QString name = tag.value(TagNameKey).toString();
        const QColor color = label < qulonglong(colors.size()) ? colors.at(int(label)) : colors.first();
        names.append(name);
        colorsByTag.insert(name, color);
    }
    QMutexLocker lock(&g_tablesMutex);
    g_allTags = names;
    g_tagColors = colorsByTag;
}

QImage FileTags::blipWithTags_height_scale(const QStringList &tags, qreal height, qreal scale)
{
    if (tags.isEmpty()) {
        return {};
    }
    const qreal diameter = std::ceil(height);
    const qreal step = height * 0.5;
    QImage image = transparentImage(QSizeF(diameter + step * qreal(tags.size() - 1), diameter), scale);
    const QHash<QString, QColor> colors = tagColorsByTag();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    qreal x = 0;
    for (const QString &tag : tags) {
        const QRectF circle = QRectF(x, 0, diameter, diameter).adjusted(0.5, 0.5, -0.5, -0.5);
        const QColor color = colors.value(tag); // an unknown tag has no fill colour
        QPainterPath path;
        path.addEllipse(circle);
        painter.fillPath(path, color.isValid() ? QBrush(color) : QBrush(Qt::NoBrush));
        QColor white(Qt::white);
        white.setAlphaF(0.5f);
        painter.strokePath(path, QPen(AVDAppFileTagColors::_colorBlendedWithColor(color, white), 1.0));
        x += step;
    }
    painter.end();
    return image;
}

QImage FileTags::blipWithTag_imageSize_blipHeight_offset(const QString &tag, const QSizeF &imageSize,
                                                         qreal blipHeight, const QPointF &offset)
{
    if (tag.isEmpty()) {
        return {};
    }
    // scale 1 on purpose, whatever the screen: callers size the image in pixels
    QImage image = transparentImage(imageSize, 1.0);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addEllipse(QRectF(offset, QSizeF(blipHeight, blipHeight)));
    painter.fillPath(path, tagColorsByTag().value(tag));
    painter.end();
    return image;
}
