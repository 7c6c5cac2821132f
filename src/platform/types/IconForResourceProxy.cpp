#include "platform/types/IconForResourceProxy.h"

#include "platform/types/DocumentProxy.h"
#include "platform/types/IconCache.h"
#include "platform/types/ThemeIconEngine.h"

#include <QIcon>
#include <QMimeDatabase>
#include <QStandardPaths>

/// A session without a desktop (offscreen, a bare X server) names no icon theme and knows no
/// theme folders, and the fallback theme has no document icons: look where the freedesktop
/// icon specification says themes live, and pick one of the themes the app is installed with.
/// Trying a theme reads its index files, so the choice is kept in the icon cache while the
/// themes stay as they are.
void ensureIconTheme()
{
    static const bool chosen = [] {
        QStringList searchPaths = QIcon::themeSearchPaths();
        for (const QString &dataDir : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
            if (const QString icons = dataDir + QStringLiteral("/icons"); !searchPaths.contains(icons)) {
                searchPaths.append(icons);
            }
        }
        QIcon::setThemeSearchPaths(searchPaths);
        const QString sessionTheme = QIcon::themeName();
        if (!sessionTheme.isEmpty() && sessionTheme != QLatin1String("hicolor")) {
            return true;
        }
        const QString cacheFolder = IconCache::defaultFolder();
        const QStringList candidates{QStringLiteral("Adwaita"), QStringLiteral("breeze")};
        const QString stamp = IconCache::stampOf(QStringList{sessionTheme} + candidates, searchPaths);
        if (const std::optional<QString> remembered = IconCache::chosenTheme(cacheFolder, stamp)) {
            QIcon::setThemeName(*remembered);
            return true;
        }
        // Adwaita's document and folder icons are drawn in full colour at every size. No
        // second theme is mixed in: a type's own icon missing here must fall back to this
        // theme's generic icon for the type, not to another theme's look
        for (const QString &theme : candidates) {
            QIcon::setThemeName(theme);
            if (QIcon::hasThemeIcon(QStringLiteral("text-x-generic"))) {
                IconCache::setChosenTheme(cacheFolder, stamp, theme);
                break;
            }
        }
        return true;
    }();
    Q_UNUSED(chosen)
}

int IconFormat::pixelSize(int format)
{
    return format >= Large ? 256 : format <= Small ? 29 : 29 + (256 - 29) * format / Large;
}

QImage IconForResourceProxy(const DocumentProxy &proxy, int format)
{
    const QMimeType mime = QMimeDatabase().mimeTypeForName(proxy.effectiveMimeType());
    QStringList names{mime.iconName(), mime.genericIconName(), QStringLiteral("text-x-generic"), QStringLiteral("unknown")};
    names.removeAll(QString());
    const QIcon icon = ThemeIconEngine::icon(names);
    const int side = IconFormat::pixelSize(format);
    if (icon.isNull()) {
        QImage blank(side, side, QImage::Format_ARGB32_Premultiplied);
        blank.fill(Qt::transparent);
        return blank;
    }
    return icon.pixmap(side, side).toImage();
}
