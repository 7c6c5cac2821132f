#include "platform/types/ThemeIconEngine.h"

#include "platform/types/IconCache.h"
#include "platform/types/IconForResourceProxy.h"

#include <QApplication>
#include <QPainter>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleOption>

ThemeIconEngine::ThemeIconEngine(const QStringList &names, const QColor &tint, const QString &fallbackFile)
    : m_names(names)
    , m_tint(tint)
    , m_fallbackFile(fallbackFile)
{
}

QIcon ThemeIconEngine::icon(const QStringList &names, const QColor &tint, const QString &fallbackFile)
{
    ensureIconTheme();
    return QIcon(new ThemeIconEngine(names, tint, fallbackFile));
}

void ThemeIconEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state)
{
    const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : qApp->devicePixelRatio();
    QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
    if (picture.isNull()) {
        return;
    }
    picture.setDevicePixelRatio(ratio);
    painter->drawPixmap(rect, picture);
}

QPixmap ThemeIconEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state)
{
    Q_UNUSED(state) // a theme's icons have one state
    return picture(size, 1.0, mode);
}

QPixmap ThemeIconEngine::scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal scale)
{
    Q_UNUSED(state)
    return picture(size, scale, mode);
}

QPixmap ThemeIconEngine::picture(const QSize &size, qreal scale, QIcon::Mode mode)
{
    if (isNull() || size.isEmpty()) {
        return {};
    }
    const QPixmap normal = normalPixmap(size, scale);
    auto *application = qobject_cast<QApplication *>(QCoreApplication::instance());
    if (mode == QIcon::Normal || normal.isNull() || !application) {
        return normal;
    }
    // as the style makes a disabled or selected look of any icon
    QStyleOption option;
    option.palette = QApplication::palette();
    return QApplication::style()->generatedIconPixmap(mode, normal, &option);
}

QSize ThemeIconEngine::actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state)
{
    return pixmap(size, mode, state).size();
}

QList<QSize> ThemeIconEngine::availableSizes(QIcon::Mode mode, QIcon::State state)
{
    Q_UNUSED(mode)
    Q_UNUSED(state)
    return isNull() ? QList<QSize>() : m_sizes;
}

bool ThemeIconEngine::isNull()
{
    if (!m_found) {
        const std::shared_ptr<IconCache> cache = IconCache::shared();
        if (const std::optional<IconCache::Entry> entry = cache->entry(entryKey())) {
            m_found = entry->found;
            m_sizes = entry->sizes;
            m_foundName = entry->name;
        } else {
            const QIcon &theme = source();
            m_found = !theme.isNull();
            m_sizes = theme.availableSizes();
            cache->setEntry(entryKey(), {*m_found, m_sizes, m_foundName});
        }
    }
    return !*m_found;
}

QString ThemeIconEngine::iconName()
{
    return isNull() ? QString() : m_foundName;
}

QString ThemeIconEngine::key() const
{
    return QStringLiteral("ThemeIconEngine");
}

QIconEngine *ThemeIconEngine::clone() const
{
    return new ThemeIconEngine(m_names, m_tint, m_fallbackFile);
}

QString ThemeIconEngine::entryKey() const
{
    return m_names.join(QLatin1Char(' ')) + QStringLiteral(" | ") + m_fallbackFile;
}

QString ThemeIconEngine::imageKey() const
{
    return entryKey() + QStringLiteral(" | ") + (m_tint.isValid() ? m_tint.name(QColor::HexArgb) : QString());
}

const QIcon &ThemeIconEngine::source()
{
    if (!m_source) {
        // as QIcon::fromTheme(name, fallback) decides: a theme icon without sizes is none
        for (const QString &name : m_names) {
            const QIcon theme = QIcon::fromTheme(name);
            if (!theme.isNull() && !theme.availableSizes().isEmpty()) {
                m_source = theme;
                m_foundName = name;
                break;
            }
        }
        if (!m_source && !m_fallbackFile.isEmpty()) {
            m_source = QIcon(m_fallbackFile);
        }
        if (!m_source) {
            m_source = QIcon();
        }
    }
    return *m_source;
}

QPixmap ThemeIconEngine::normalPixmap(const QSize &size, qreal scale)
{
    const std::shared_ptr<IconCache> cache = IconCache::shared();
    // a picture for a denser screen is kept apart: the theme may draw it at another size
    const QString pictureKey = scale == 1.0 ? imageKey() : imageKey() + QStringLiteral(" @") + QString::number(scale);
    const QString memoryKey = QStringLiteral("ThemeIconEngine\n%1\n%2\n%3x%4")
                                  .arg(cache->stamp(), pictureKey)
                                  .arg(size.width())
                                  .arg(size.height());
    QPixmap picture;
    if (QPixmapCache::find(memoryKey, &picture)) {
        return picture;
    }
    QImage image = cache->image(pictureKey, size);
    if (image.isNull()) {
        image = drawnFromTheme(size, scale);
        cache->setImage(pictureKey, size, image);
    }
    picture = QPixmap::fromImage(image);
    QPixmapCache::insert(memoryKey, picture);
    return picture;
}

QImage ThemeIconEngine::drawnFromTheme(const QSize &size, qreal scale)
{
    // asked as a list asks the theme's own icon, in logical pixels at the screen's scale: the
    // theme picks the picture made for that scale, and Qt's icon hands the size on in device
    // pixels again
    const QPixmap drawn = scale == 1.0 ? source().pixmap(size, 1.0)
                                       : source().pixmap((QSizeF(size) / scale).toSize(), scale);
    QImage image = drawn.toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(1.0);
    if (image.isNull() || !m_tint.isValid()) {
        return image;
    }
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), m_tint);
    return image;
}
