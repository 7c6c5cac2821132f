#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QMutex>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

/// The app's own cache of the icon theme's pictures, in `App/Library/Caches/Icons/`, so that
/// a start draws its first screen without reading the theme: finding a theme's icon parses the
/// theme's index files (hicolor's alone has hundreds of folders), a bitmap is read through
/// every picture plugin Qt has, and a symbolic icon is drawn from SVG. Each of these costs
/// milliseconds once per process; a cached picture is one small file read.
///
/// What the cache holds is valid while the theme it came from is unchanged: the `stamp` of the
/// theme names the Qt version, the folders searched for themes and, for the theme and every
/// theme it inherits from (hicolor always), the dates and sizes of its folders, index files and
/// icon caches. A theme package that changes rewrites those (its icon cache is made anew on
/// install), so a changed theme gives another stamp, and the cache starts over.
///
/// The files are outside input like any other: a picture file that is not a regular file of
/// exactly the size its header names, a link, or an index line that does not parse, is ignored
/// and the theme is asked again; with a link on the way to the folder the cache is not used.
/// Files are written under their final name only whole (QSaveFile), on the global queue a
/// second after a change (or when the application ends), never on the caller's thread.
class IconCache final : public std::enable_shared_from_this<IconCache>
{
public:
    /// What the theme had for one list of names: the first name it knew and that icon's sizes.
    struct Entry {
        bool found = false;
        QList<QSize> sizes;
        QString name; ///< the theme's name of the icon found; empty for a picture file
    };

    /// A cache in `folder` for the theme whose stamp is `stamp`.
    IconCache(const QString &folder, const QString &stamp);
    /// Writes what is still waiting.
    ~IconCache();
    Q_DISABLE_COPY_MOVE(IconCache)

    /// The cache of the current home and icon theme (made anew when either changes).
    static std::shared_ptr<IconCache> shared();
    /// The folder of the current home's cache.
    static QString defaultFolder();
    /// The stamp of the themes named, found in `searchPaths` (see the class).
    static QString stampOf(const QStringList &themeNames, const QStringList &searchPaths);

    /// The theme that a session naming `stamp`'s theme was given last time (a session without
    /// a desktop names none, or only hicolor), while the themes are what they were then.
    static std::optional<QString> chosenTheme(const QString &folder, const QString &stamp);
    /// Keeps that choice; written on the global queue.
    static void setChosenTheme(const QString &folder, const QString &stamp, const QString &themeName);

    /// What the theme had for `key` (a list of names, see ThemeIconEngine).
    std::optional<Entry> entry(const QString &key) const;
    void setEntry(const QString &key, const Entry &entry);

    /// The picture kept for `key` at `size` in device pixels; null when there is none.
    QImage image(const QString &key, const QSize &size) const;
    void setImage(const QString &key, const QSize &size, const QImage &image);

    /// The stamp of the theme this cache holds pictures of.
    QString stamp() const { return m_stamp; }

    /// Writes what is waiting to be written, now, on the caller's thread. A cache owned by a
    /// shared pointer also writes by itself, on the global queue, soon after a change.
    void flush();

    /// The largest picture side kept: what a details screen shows at twice the density.
    static constexpr int LargestSide = 1024;

private:
    QString indexPath() const;
    QString imagePath(const QString &key, const QSize &size) const;
    void readIndex();
    void scheduleFlush();

    const QString m_folder;
    const QString m_stamp;
    /// False when a link stands on the way to the folder: nothing is read or written there.
    const bool m_usable;
    mutable QMutex m_mutex;
    QHash<QString, Entry> m_entries;
    bool m_indexChanged = false;
    bool m_startOver = false; ///< what is on disk belongs to another stamp
    QList<std::pair<QString, QImage>> m_pendingImages; ///< file path, picture
    bool m_flushScheduled = false;
};
