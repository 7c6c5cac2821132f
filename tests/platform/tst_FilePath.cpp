#include "platform/foundation/FilePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class tst_FilePath : public QObject
{
    Q_OBJECT

private:
    static bool writeSmallFile(const QString &path)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write("x") == 1;
    }

    static bool createRaw(const QByteArray &path, const QByteArray &content)
    {
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd < 0) {
            return false;
        }
        const bool written = ::write(fd, content.constData(), size_t(content.size())) == content.size();
        ::close(fd);
        return written;
    }

private slots:
    // Names the kernel hands over, valid UTF-8 or not, come back byte for byte: an operation on
    // an item reaches exactly that item.
    void decodeThenEncodeGivesTheSameBytes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("ascii") << QByteArray("Report.pdf");
        QTest::newRow("accents") << QByteArray("Caf\xc3\xa9.txt");
        QTest::newRow("emoji") << QByteArray("Trip \xf0\x9f\x8f\x96.jpg");
        QTest::newRow("latin-1 bytes") << QByteArray("bad\xff\xfename.txt");
        QTest::newRow("truncated sequence") << QByteArray("cut\xe2\x82");
        QTest::newRow("overlong slash") << QByteArray("over\xc0\xaflong");
        QTest::newRow("encoded surrogate") << QByteArray("sur\xed\xa0\x80rogate");
        QTest::newRow("past the last code point") << QByteArray("\xf4\x90\x80\x80");
        QTest::newRow("emoji then bad byte") << QByteArray("\xf0\x9f\x9a\x80\xfc");
        QTest::newRow("lone continuation") << QByteArray("\x80");
    }
    void decodeThenEncodeGivesTheSameBytes()
    {
        QFETCH(QByteArray, bytes);
        const QString decoded = FilePath::decode(bytes);
        QCOMPARE(FilePath::encode(decoded), bytes);
        QCOMPARE(FilePath::holdsUndecodableBytes(decoded), !QByteArrayView(bytes).isValidUtf8());
        // a URL carries the path unchanged, as every list row and operation does
        const QString path = QStringLiteral("/drive/") + decoded;
        QCOMPARE(FilePath::encode(QUrl::fromLocalFile(path).toLocalFile()), QByteArray("/drive/") + bytes);
    }

    // A person sees a byte that is no text as the replacement character, the rest as it is.
    void undecodableBytesAreShownAsReplacementCharacters()
    {
        const QString name = FilePath::decode("bad\xff\xfename.txt");
        QCOMPARE(FilePath::displayName(name), QStringLiteral("bad\uFFFD\uFFFDname.txt"));
        QCOMPARE(FilePath::displayName(QStringLiteral("Trip 🏖.jpg")), QStringLiteral("Trip 🏖.jpg"));
        // the stand-ins are not the replacement character: a real "bad��name.txt" is another file
        QVERIFY(FilePath::encode(name) != FilePath::encode(FilePath::displayName(name)));
    }

    // A folder lists names that are not UTF-8, with their kinds, and each is reached by its bytes.
    void entriesListNamesThatAreNotUtf8()
    {
        QTemporaryDir dir;
        const QByteArray folder = QFile::encodeName(dir.path());
        QVERIFY(createRaw(folder + "/bad\xff\xfename.txt", "raw bytes"));
        QVERIFY(createRaw(folder + "/bad\xef\xbf\xbd\xef\xbf\xbdname.txt", "look-alike"));
        QVERIFY(QDir().mkdir(dir.path() + QStringLiteral("/Sub")));
        QVERIFY(QFile::link(dir.path() + QStringLiteral("/Sub"), dir.path() + QStringLiteral("/Link")));
        QHash<QByteArray, FilePath::EntryKind> kinds;
        for (const FilePath::Entry &entry : FilePath::entries(dir.path())) {
            kinds.insert(FilePath::encode(entry.name), entry.kind);
        }
        QCOMPARE(kinds.size(), 4);
        QVERIFY(kinds.contains("bad\xff\xfename.txt"));
        QVERIFY(kinds.contains("bad\xef\xbf\xbd\xef\xbf\xbdname.txt"));
        QCOMPARE(kinds.value("Sub"), FilePath::EntryKind::Folder);
        QCOMPARE(kinds.value("Link"), FilePath::EntryKind::Link);
        const QString raw = dir.path() + QLatin1Char('/') + FilePath::decode("bad\xff\xfename.txt");
        const std::optional<struct stat> st = FilePath::status(raw);
        QVERIFY(st);
        QCOMPARE(qint64(st->st_size), qint64(9)); // "raw bytes", not the look-alike's 10
        QCOMPARE(FilePath::canonicalPath(raw), FilePath::canonicalPath(dir.path()) + QLatin1Char('/')
                                                  + FilePath::decode("bad\xff\xfename.txt"));
    }

    // A walk reaches into folders whose own names are not UTF-8, and never through a link.
    void walkReachesIntoEveryFolderButNotThroughLinks()
    {
        QTemporaryDir dir;
        QTemporaryDir outside;
        const QByteArray folder = QFile::encodeName(dir.path());
        QVERIFY(::mkdir(QByteArray(folder + "/odd\xff").constData(), 0755) == 0);
        QVERIFY(createRaw(folder + "/odd\xff/inner.txt", "x"));
        QVERIFY(createRaw(QFile::encodeName(outside.path()) + "/secret.txt", "s"));
        QVERIFY(QFile::link(outside.path(), dir.path() + QStringLiteral("/out")));
        QStringList seen;
        FilePath::walk(dir.path(), [&seen, &dir](const QString &path, const FilePath::Entry &) {
            seen << path.mid(dir.path().size() + 1);
            return FilePath::WalkStep::Continue;
        });
        seen.sort();
        QCOMPARE(seen, (QStringList{FilePath::decode("odd\xff"), FilePath::decode("odd\xff/inner.txt"),
                                    QStringLiteral("out")}));
    }

    // A path is cleaned as Qt cleans it, whatever its steps; one that is clean already comes
    // back as the same string, not a copy made by a pass over it.
    void cleanPathIsQtsAndKeepsACleanPath()
    {
        for (const char *text : {"", "/", "//", "///a", "/a", "/a/", "/a//b", "/a/./b", "/a/../b", "/a/b/..", "/a/b/.",
                                 "/..", "/.", "/a/.b", "/a/..b", "/a/...", "/a/b.", "a", "a/b", "./a", "../a", ".", "..",
                                 "a/..", "/a/b/../../..", "/Mobile Documents/com.quillmere.AerovaDrive/Notes.txt",
                                 "/Mobile Documents/./com.quillmere.AerovaDrive//Notes.txt/"}) {
            const QString path = QString::fromUtf8(text);
            QCOMPARE(FilePath::cleanPath(path), QDir::cleanPath(path));
        }
        const QString clean = QStringLiteral("/home/someone/Mobile Documents/com.quillmere.AerovaDrive/Notes.txt");
        QCOMPARE(FilePath::cleanPath(clean).constData(), clean.constData());
        const QString unclean = clean + QLatin1Char('/');
        QVERIFY(FilePath::cleanPath(unclean).constData() != unclean.constData());
    }

    // An item opened without links is where its path's string says: a link at the end or on
    // the way is refused (ELOOP), so nothing is reached through one; a FIFO opens at once.
    void openWithoutLinksRefusesEveryLink()
    {
        QTemporaryDir dir;
        QTemporaryDir outside;
        const QString real = QDir(dir.path()).canonicalPath(); // no link above the items either
        QVERIFY(writeSmallFile(real + QStringLiteral("/folder/plain.txt")));
        QVERIFY(writeSmallFile(outside.path() + QStringLiteral("/secret.txt")));
        QVERIFY(QFile::link(outside.path(), real + QStringLiteral("/out")));
        QVERIFY(QFile::link(QStringLiteral("folder"), real + QStringLiteral("/alias")));
        QVERIFY(QFile::link(QStringLiteral("folder/plain.txt"), real + QStringLiteral("/shortcut.txt")));
        QCOMPARE(::mkfifo(QFile::encodeName(real + QStringLiteral("/pipe")).constData(), 0600), 0);

        const int plain = FilePath::openWithoutLinks(real + QStringLiteral("/folder/plain.txt"));
        QVERIFY(plain >= 0);
        ::close(plain);
        const int pipe = FilePath::openWithoutLinks(real + QStringLiteral("/pipe"));
        QVERIFY(pipe >= 0);
        ::close(pipe);
        for (const QString &linked : {QStringLiteral("/out/secret.txt"), QStringLiteral("/alias/plain.txt"),
                                      QStringLiteral("/shortcut.txt")}) {
            errno = 0;
            QCOMPARE(FilePath::openWithoutLinks(real + linked), -1);
            QCOMPARE(errno, ELOOP);
        }
        QCOMPARE(FilePath::openWithoutLinks(real + QStringLiteral("/folder/none.txt")), -1);
        QCOMPARE(errno, ENOENT);
    }

    // A relative link target counts from the link's folder, uncleaned: the kernel walks
    // "sub/.." through "sub", which may itself be a link.
    void linkTargetIsTakenAsWritten()
    {
        QTemporaryDir dir;
        QVERIFY(QFile::link(QStringLiteral("sub/../x"), dir.path() + QStringLiteral("/rel")));
        QCOMPARE(FilePath::linkTarget(dir.path() + QStringLiteral("/rel")), dir.path() + QStringLiteral("/sub/../x"));
        QVERIFY(FilePath::linkTarget(dir.path()).isEmpty());
        QVERIFY(FilePath::exists(dir.path() + QStringLiteral("/rel"))); // dangling, yet there
        QVERIFY(!FilePath::status(dir.path() + QStringLiteral("/rel")));
    }
};

QTEST_GUILESS_MAIN(tst_FilePath)
#include "tst_FilePath.moc"
