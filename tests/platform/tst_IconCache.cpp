#include "platform/types/IconCache.h"
#include "support/TestDrive.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <sys/stat.h>

class tst_IconCache : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    static QImage square(const QColor &colour, int side)
    {
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(colour);
        return image;
    }

private slots:
    // What one cache wrote, the next one with the same stamp reads: the theme's answers and
    // the pictures, each under its own key and size.
    void whatIsWrittenIsReadByTheNextStart()
    {
        QTemporaryDir folder;
        {
            IconCache cache(folder.path(), QStringLiteral("stamp-1"));
            cache.setEntry(QStringLiteral("text-plain text-x-generic | "), {true, {QSize(16, 16), QSize(48, 48)}, QStringLiteral("text-x-generic")});
            cache.setEntry(QStringLiteral("nothing | "), {false, {}, QString()});
            cache.setImage(QStringLiteral("text-plain text-x-generic |  | "), QSize(48, 48), square(Qt::red, 48));
            cache.setImage(QStringLiteral("text-plain text-x-generic |  | "), QSize(16, 16), square(Qt::green, 16));
            // before it is written, the picture is there already
            QCOMPARE(cache.image(QStringLiteral("text-plain text-x-generic |  | "), QSize(16, 16)), square(Qt::green, 16));
        }
        IconCache next(folder.path(), QStringLiteral("stamp-1"));
        const std::optional<IconCache::Entry> found = next.entry(QStringLiteral("text-plain text-x-generic | "));
        QVERIFY(found.has_value());
        QVERIFY(found->found);
        QCOMPARE(found->sizes, QList<QSize>({QSize(16, 16), QSize(48, 48)}));
        QCOMPARE(found->name, QStringLiteral("text-x-generic"));
        QVERIFY(next.entry(QStringLiteral("nothing | ")).has_value());
        QVERIFY(!next.entry(QStringLiteral("nothing | "))->found);
        QVERIFY(!next.entry(QStringLiteral("never asked | ")).has_value());
        QCOMPARE(next.image(QStringLiteral("text-plain text-x-generic |  | "), QSize(48, 48)), square(Qt::red, 48));
        QCOMPARE(next.image(QStringLiteral("text-plain text-x-generic |  | "), QSize(16, 16)), square(Qt::green, 16));
        QVERIFY(next.image(QStringLiteral("text-plain text-x-generic |  | "), QSize(32, 32)).isNull());
    }

    // A cache of another stamp (the theme changed) holds nothing, and its pictures go with
    // the first write.
    void anotherStampStartsOver()
    {
        QTemporaryDir folder;
        {
            IconCache cache(folder.path(), QStringLiteral("stamp-1"));
            cache.setEntry(QStringLiteral("a | "), {true, {QSize(16, 16)}, QStringLiteral("a")});
            cache.setImage(QStringLiteral("a |  | "), QSize(16, 16), square(Qt::red, 16));
        }
        QCOMPARE(QDir(folder.path()).entryList({QStringLiteral("*.argb")}, QDir::Files).size(), 1);
        {
            IconCache changed(folder.path(), QStringLiteral("stamp-2"));
            QVERIFY(!changed.entry(QStringLiteral("a | ")).has_value());
            QVERIFY(changed.image(QStringLiteral("a |  | "), QSize(16, 16)).isNull());
            changed.setEntry(QStringLiteral("b | "), {true, {QSize(16, 16)}, QStringLiteral("b")});
        }
        QCOMPARE(QDir(folder.path()).entryList({QStringLiteral("*.argb")}, QDir::Files).size(), 0);
        IconCache again(folder.path(), QStringLiteral("stamp-2"));
        QVERIFY(again.entry(QStringLiteral("b | ")).has_value());
    }

    // The index is outside input: lines that do not parse are left out, the others kept; an
    // index that is a FIFO is no index, and never waited on.
    void aDamagedIndexKeepsOnlyWhatParses()
    {
        QTemporaryDir folder;
        QVERIFY(TestDrive::writeFile(folder.path() + QStringLiteral("/index"),
                                     "aerova icon cache 1\nstamp-1\n"
                                     "good | \t1\t16x16 48x48\tgood\n"
                                     "no fields\n"
                                     "bad found | \tyes\t16x16\tx\n"
                                     "bad size | \t1\t16x\tx\n"
                                     "huge size | \t1\t99999x16\tx\n"
                                     "\t1\t16x16\tempty key\n"
                                     "extra | \t1\t16x16\tx\tmore\n"));
        IconCache cache(folder.path(), QStringLiteral("stamp-1"));
        QVERIFY(cache.entry(QStringLiteral("good | ")).has_value());
        for (const char *key : {"no fields", "bad found | ", "bad size | ", "huge size | ", "", "extra | "}) {
            QVERIFY2(!cache.entry(QString::fromLatin1(key)).has_value(), key);
        }

        QTemporaryDir fifoFolder;
        QCOMPARE(::mkfifo(QFile::encodeName(fifoFolder.path() + QStringLiteral("/index")).constData(), 0644), 0);
        IconCache beside(fifoFolder.path(), QStringLiteral("stamp-1"));
        QVERIFY(!beside.entry(QStringLiteral("good | ")).has_value());
    }

    // A key or a name that would break a line of the index is not written to it.
    void keysThatBreakALineAreNotKept()
    {
        QTemporaryDir folder;
        {
            IconCache cache(folder.path(), QStringLiteral("stamp-1"));
            cache.setEntry(QStringLiteral("tab\tin | "), {true, {QSize(16, 16)}, QStringLiteral("x")});
            cache.setEntry(QStringLiteral("line\nin | "), {true, {QSize(16, 16)}, QStringLiteral("x")});
            cache.setEntry(QStringLiteral("name | "), {true, {QSize(16, 16)}, QStringLiteral("x\ty")});
            cache.setEntry(QStringLiteral("fine | "), {true, {QSize(16, 16)}, QStringLiteral("fine")});
        }
        IconCache next(folder.path(), QStringLiteral("stamp-1"));
        QVERIFY(next.entry(QStringLiteral("fine | ")).has_value());
        QVERIFY(!next.entry(QStringLiteral("tab\tin | ")).has_value());
        QVERIFY(!next.entry(QStringLiteral("line\nin | ")).has_value());
        QVERIFY(!next.entry(QStringLiteral("name | ")).has_value());
    }

    // A link in a picture's place is not followed, and with a link on the way to the cache's
    // folder the cache is neither read nor written: nothing outside the home is read or changed.
    void linksAreNotFollowed()
    {
        QTemporaryDir elsewhere;
        const QString folder = IconCache::defaultFolder();
        {
            IconCache cache(folder, QStringLiteral("stamp-1"));
            cache.setEntry(QStringLiteral("a | "), {true, {QSize(16, 16)}, QStringLiteral("a")});
            cache.setImage(QStringLiteral("a |  | "), QSize(16, 16), square(Qt::red, 16));
        }
        const QStringList pictures = QDir(folder).entryList({QStringLiteral("*.argb")}, QDir::Files);
        QCOMPARE(pictures.size(), 1);
        // a picture of another colour, well made, outside: a link to it must not show it
        {
            IconCache outside(elsewhere.path(), QStringLiteral("stamp-1"));
            outside.setImage(QStringLiteral("a |  | "), QSize(16, 16), square(Qt::blue, 16));
        }
        const QString picture = folder + QLatin1Char('/') + pictures.constFirst();
        QVERIFY(QFile::remove(picture));
        QVERIFY(QFile::link(elsewhere.path() + QLatin1Char('/') + pictures.constFirst(), picture));
        IconCache withLink(folder, QStringLiteral("stamp-1"));
        QVERIFY(withLink.entry(QStringLiteral("a | ")).has_value());
        QVERIFY(withLink.image(QStringLiteral("a |  | "), QSize(16, 16)).isNull());

        // the cache's folder itself a link to a folder outside
        QVERIFY(QDir(folder).removeRecursively());
        QTemporaryDir target;
        QVERIFY(QFile::link(target.path(), folder));
        QVERIFY(TestDrive::writeFile(target.path() + QStringLiteral("/index"), "aerova icon cache 1\nstamp-1\na | \t1\t16x16\ta\n"));
        {
            IconCache linked(folder, QStringLiteral("stamp-1"));
            QVERIFY(!linked.entry(QStringLiteral("a | ")).has_value());
            linked.setImage(QStringLiteral("b |  | "), QSize(16, 16), square(Qt::red, 16));
            linked.setEntry(QStringLiteral("b | "), {true, {QSize(16, 16)}, QStringLiteral("b")});
        }
        QCOMPARE(QDir(target.path()).entryList(QDir::Files), QStringList{QStringLiteral("index")});
        QCOMPARE(TestDrive::readFile(target.path() + QStringLiteral("/index")),
                 QByteArray("aerova icon cache 1\nstamp-1\na | \t1\t16x16\ta\n"));
        IconCache::setChosenTheme(folder, QStringLiteral("stamp-1"), QStringLiteral("Adwaita"));
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(!QFile::exists(target.path() + QStringLiteral("/theme")));
        QVERIFY(QFile::remove(folder));
    }

    // The theme given to a session without one is remembered while the themes stay the same.
    void theChosenThemeIsRememberedForItsStamp()
    {
        QTemporaryDir folder;
        QVERIFY(!IconCache::chosenTheme(folder.path(), QStringLiteral("stamp-1")).has_value());
        IconCache::setChosenTheme(folder.path(), QStringLiteral("stamp-1"), QStringLiteral("Adwaita"));
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(IconCache::chosenTheme(folder.path(), QStringLiteral("stamp-1")), std::optional<QString>(QStringLiteral("Adwaita")));
        QVERIFY(!IconCache::chosenTheme(folder.path(), QStringLiteral("stamp-2")).has_value());
        // a name that is a path is no theme
        QVERIFY(TestDrive::writeFile(folder.path() + QStringLiteral("/theme"), "stamp-1\n../../elsewhere\n"));
        QVERIFY(!IconCache::chosenTheme(folder.path(), QStringLiteral("stamp-1")).has_value());
    }

    // The stamp follows the theme's files: an index or an icon cache that changes, or a theme
    // it inherits from that changes, gives another stamp.
    void theStampFollowsTheThemeAndItsParents()
    {
        QTemporaryDir icons;
        QVERIFY(TestDrive::writeFile(icons.path() + QStringLiteral("/Child/index.theme"),
                                     "[Icon Theme]\nName=Child\nInherits=Parent\nDirectories=\n"));
        QVERIFY(TestDrive::writeFile(icons.path() + QStringLiteral("/Parent/index.theme"),
                                     "[Icon Theme]\nName=Parent\nDirectories=\n"));
        const QStringList paths{icons.path()};
        const QString first = IconCache::stampOf({QStringLiteral("Child")}, paths);
        QCOMPARE(IconCache::stampOf({QStringLiteral("Child")}, paths), first);
        QVERIFY(TestDrive::writeFile(icons.path() + QStringLiteral("/Parent/icon-theme.cache"), "changed"));
        const QString second = IconCache::stampOf({QStringLiteral("Child")}, paths);
        QVERIFY(second != first);
        QVERIFY(TestDrive::writeFile(icons.path() + QStringLiteral("/Child/index.theme"),
                                     "[Icon Theme]\nName=Child\nInherits=Parent\nDirectories=16x16/apps\n"));
        QVERIFY(IconCache::stampOf({QStringLiteral("Child")}, paths) != second);
        QVERIFY(IconCache::stampOf({QStringLiteral("Parent")}, paths) != IconCache::stampOf({QStringLiteral("Child")}, paths));
    }
};

QTEST_MAIN(tst_IconCache)
#include "tst_IconCache.moc"
