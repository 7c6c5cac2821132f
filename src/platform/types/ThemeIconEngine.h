#pragma once

#include <QColor>
#include <QIcon>
#include <QIconEngine>
#include <QStringList>

#include <optional>

/// An icon of the icon theme that draws from the app's icon cache (IconCache) and asks the
/// theme only for what the cache does not hold yet: a start whose pictures are all cached
/// never reads the theme. It is the first of its names that the theme has, as
/// `QIcon::fromTheme(first, QIcon::fromTheme(second, …))` would be, else the picture file
/// `fallbackFile`, else a null icon. A valid `tint` makes it a template: only the shape counts,
/// drawn in that one colour.
///
/// Each size is drawn when first asked for, at that size: no sizes are made ahead. Modes other
/// than Normal are made from the normal picture by the application's style, as Qt's own icons
/// are. Like every QIcon, for the GUI thread.
class ThemeIconEngine final : public QIconEngine
{
public:
    ThemeIconEngine(const QStringList &names, const QColor &tint = QColor(), const QString &fallbackFile = QString());

    /// The icon, after making sure a theme with document icons is in use (ensureIconTheme).
    static QIcon icon(const QStringList &names, const QColor &tint = QColor(), const QString &fallbackFile = QString());

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    /// For a screen of `scale` device pixels to the logical one, `size` in device pixels: the
    /// picture the theme gives for it, which may be of a size drawn for that scale.
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal scale) override;
    QSize actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override;
    bool isNull() override;
    QString iconName() override;
    QString key() const override;
    QIconEngine *clone() const override;

private:
    /// The names and the fallback: what the cache keeps the theme's answer under.
    QString entryKey() const;
    /// The entry key and the tint: what a picture is kept under.
    QString imageKey() const;
    const QIcon &source();
    QPixmap picture(const QSize &size, qreal scale, QIcon::Mode mode);
    QPixmap normalPixmap(const QSize &size, qreal scale);
    QImage drawnFromTheme(const QSize &size, qreal scale);

    const QStringList m_names;
    const QColor m_tint;
    const QString m_fallbackFile;
    std::optional<bool> m_found;
    QList<QSize> m_sizes;
    std::optional<QIcon> m_source; ///< the theme's icon, found on the first miss of the cache
    QString m_foundName;
};
