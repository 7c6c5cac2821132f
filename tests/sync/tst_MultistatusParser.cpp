#include "sync/MultistatusParser.h"

#include <QTest>
#include <QTimeZone>

namespace {

const QUrl base(QStringLiteral("https://cloud.example.org/remote.php/dav/files/alice/"));

QByteArray response(const QByteArray &href, const QByteArray &props, const QByteArray &status = "HTTP/1.1 200 OK")
{
    return "<d:response><d:href>" + href + "</d:href><d:propstat><d:prop>" + props + "</d:prop><d:status>" + status
        + "</d:status></d:propstat></d:response>";
}

QByteArray multistatus(const QByteArray &responses)
{
    return R"(<?xml version="1.0"?><d:multistatus xmlns:d="DAV:" xmlns:a="urn:x-aerova:">)" + responses
        + "</d:multistatus>";
}

const QByteArray fileProps = "<d:resourcetype/><d:getetag>\"abc\"</d:getetag><d:getcontentlength>42</d:getcontentlength>"
                             "<d:getlastmodified>Sun, 22 Nov 2026 18:33:39 GMT</d:getlastmodified>"
                             "<d:getcontenttype>application/pdf; charset=binary</d:getcontenttype>";

} // namespace

class tst_MultistatusParser : public QObject
{
    Q_OBJECT

private:
    static std::optional<QList<DavResource>> parse(const QByteArray &xml, QString *error = nullptr,
                                                   QStringList *refused = nullptr)
    {
        QString ignored;
        return MultistatusParser::parse(xml, base, base, error ? error : &ignored, refused);
    }

private slots:
    void readsFoldersAndDocuments()
    {
        const auto resources = parse(multistatus(
            response("/remote.php/dav/files/alice/", "<d:resourcetype><d:collection/></d:resourcetype>")
            + response("/remote.php/dav/files/alice/Q%20Docs/", "<d:resourcetype><d:collection/></d:resourcetype>")
            + response("/remote.php/dav/files/alice/R%C3%A9sum%C3%A9.pdf", fileProps)));
        QVERIFY(resources);
        QCOMPARE(resources->size(), 3);
        QCOMPARE(resources->at(0).path, QString());
        QVERIFY(resources->at(0).isCollection);
        QCOMPARE(resources->at(1).path, QStringLiteral("Q Docs"));
        QVERIFY(resources->at(1).isCollection);
        const DavResource &file = resources->at(2);
        QCOMPARE(file.path, QStringLiteral("Résumé.pdf"));
        QVERIFY(!file.isCollection);
        QCOMPARE(file.etag, QStringLiteral("abc"));
        QVERIFY(!file.weakETag);
        QCOMPARE(file.size, 42);
        QCOMPARE(file.modified, QDateTime(QDate(2026, 11, 22), QTime(18, 33, 39), QTimeZone::utc()));
        QCOMPARE(file.contentType, QStringLiteral("application/pdf"));
    }

    void readsAbsoluteHrefsAndOtherPrefixes()
    {
        const auto resources = parse(
            R"(<?xml version="1.0"?><D:multistatus xmlns:D="DAV:"><D:response><D:href>https://cloud.example.org/remote.php/dav/files/alice/a%23b%25c.txt</D:href><D:propstat><D:prop><D:getcontentlength>1</D:getcontentlength></D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response></D:multistatus>)");
        QVERIFY(resources);
        QCOMPARE(resources->size(), 1);
        QCOMPARE(resources->first().path, QStringLiteral("a#b%c.txt"));
    }

    void weakETagLosesItsMarkAndQuotes()
    {
        const auto resources = parse(multistatus(
            response("/remote.php/dav/files/alice/a.txt", "<d:getetag>W/\"1000-5f\"</d:getetag>")));
        QVERIFY(resources);
        QCOMPARE(resources->first().etag, QStringLiteral("1000-5f"));
        QVERIFY(resources->first().weakETag);
    }

    void propertiesOfAFailedPropstatAreIgnored()
    {
        const auto resources = parse(multistatus(
            response("/remote.php/dav/files/alice/a.txt", "<d:getcontentlength>7</d:getcontentlength>")
                .replace("</d:propstat>", "</d:propstat><d:propstat><d:prop><d:quota-available-bytes/></d:prop>"
                                          "<d:status>HTTP/1.1 404 Not Found</d:status></d:propstat>")));
        QVERIFY(resources);
        QCOMPARE(resources->first().size, 7);
        QCOMPARE(resources->first().quotaAvailable, -1);
    }

    void readsQuotaAndTags()
    {
        const auto resources = parse(multistatus(response(
            "/remote.php/dav/files/alice/",
            "<d:quota-available-bytes>500</d:quota-available-bytes><d:quota-used-bytes>4500</d:quota-used-bytes>"
            "<a:tags>Red, Work ,,</a:tags>")));
        QVERIFY(resources);
        QCOMPARE(resources->first().quotaAvailable, 500);
        QCOMPARE(resources->first().quotaUsed, 4500);
        QCOMPARE(resources->first().tags, (QStringList{QStringLiteral("Red"), QStringLiteral("Work")}));
    }

    void hostileHrefsAreRefusedOneByOne_data()
    {
        QTest::addColumn<QByteArray>("href");
        QTest::addColumn<QString>("reason");
        QTest::newRow("parent") << QByteArray("/remote.php/dav/files/alice/../bob/x.txt") << QStringLiteral("outside|\"..\"");
        QTest::newRow("encoded parent") << QByteArray("/remote.php/dav/files/alice/%2E%2E/x") << QStringLiteral("outside|\"..\"");
        QTest::newRow("another user") << QByteArray("/remote.php/dav/files/bob/x.txt") << QStringLiteral("outside");
        QTest::newRow("another host") << QByteArray("https://evil.example.net/remote.php/dav/files/alice/x")
                                      << QStringLiteral("another server");
        QTest::newRow("another port") << QByteArray("https://cloud.example.org:8443/remote.php/dav/files/alice/x")
                                      << QStringLiteral("another server");
        QTest::newRow("slash in a name") << QByteArray("/remote.php/dav/files/alice/a%2Fb") << QStringLiteral("\"a/b\"");
        QTest::newRow("NUL in a name") << QByteArray("/remote.php/dav/files/alice/a%00b") << QStringLiteral("cannot be");
    }
    void hostileHrefsAreRefusedOneByOne()
    {
        QFETCH(QByteArray, href);
        QFETCH(QString, reason);
        QStringList refused;
        const auto resources = parse(multistatus(response(href, fileProps)
                                                 + response("/remote.php/dav/files/alice/ok.txt", fileProps)),
                                     nullptr, &refused);
        QVERIFY(resources);
        QCOMPARE(resources->size(), 1);
        QCOMPARE(resources->first().path, QStringLiteral("ok.txt"));
        QCOMPARE(refused.size(), 1);
        // resolving an href may already take a dot segment out: then it is outside instead
        const QStringList reasons = reason.split(QLatin1Char('|'));
        QVERIFY2(std::any_of(reasons.cbegin(), reasons.cend(), [&](const QString &r) { return refused.first().contains(r); }),
                 qPrintable(refused.first()));
    }

    void absurdSizesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("size");
        QTest::newRow("negative") << QByteArray("-5");
        QTest::newRow("beyond 2^53") << QByteArray("9007199254740993");
        QTest::newRow("not a number") << QByteArray("lots");
    }
    void absurdSizesAreRefused()
    {
        QFETCH(QByteArray, size);
        QStringList refused;
        const auto resources = parse(multistatus(response("/remote.php/dav/files/alice/big.bin",
                                                          "<d:getcontentlength>" + size + "</d:getcontentlength>")),
                                     nullptr, &refused);
        QVERIFY(resources);
        QVERIFY(resources->isEmpty());
        QCOMPARE(refused.size(), 1);
        QVERIFY(refused.first().contains(QStringLiteral("size")));
    }

    void malformedOrTruncatedAnswersAreRefusedWhole_data()
    {
        QTest::addColumn<QByteArray>("xml");
        const QByteArray whole = multistatus(response("/remote.php/dav/files/alice/a.txt", fileProps));
        QTest::newRow("truncated") << whole.left(whole.size() / 2);
        QTest::newRow("not XML") << QByteArray("<html>Login</html");
        QTest::newRow("HTML page") << QByteArray("<html><body>Login</body></html>");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("mismatched tags") << QByteArray("<d:multistatus xmlns:d=\"DAV:\"><d:response></d:multistatus>");
    }
    void malformedOrTruncatedAnswersAreRefusedWhole()
    {
        QFETCH(QByteArray, xml);
        QString error;
        QVERIFY(!parse(xml, &error));
        QVERIFY(!error.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_MultistatusParser)
#include "tst_MultistatusParser.moc"
