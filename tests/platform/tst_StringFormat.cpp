#include "platform/foundation/Error.h"
#include "platform/foundation/StringFormat.h"

#include <QTest>
#include <QUrl>

class tst_StringFormat : public QObject
{
    Q_OBJECT

private slots:
    // Log lines and messages print their arguments the way the system's format strings expect.
    void formatsObjectsAndNumbers()
    {
        QCOMPARE(StringFormat::format("%@ %d%@", QStringLiteral("Report"), 3, QStringLiteral(".pdf")),
                 QStringLiteral("Report 3.pdf"));
        QCOMPARE(StringFormat::format("%@ = %@", QStringLiteral("GridMode"), false), QStringLiteral("GridMode = 0"));
        QCOMPARE(StringFormat::format("'%@'", QUrl::fromLocalFile(QStringLiteral("/a b/c"))),
                 QStringLiteral("'file:///a b/c'"));
        QCOMPARE(StringFormat::format("%@", nullptr), QStringLiteral("(null)"));
        QCOMPARE(StringFormat::format("%@", std::optional<Error>()), QStringLiteral("(null)"));
        QCOMPARE(StringFormat::format("%lu %lld %u %x", 42ul, -7ll, 5u, 255), QStringLiteral("42 -7 5 ff"));
        QCOMPARE(StringFormat::format("%lf seconds", 1.5), QStringLiteral("1.500000 seconds"));
        QCOMPARE(StringFormat::format("%g", 2.5), QStringLiteral("2.5"));
        QCOMPARE(StringFormat::format("100%% %s", "done"), QStringLiteral("100% done"));
    }

    // Translations may reorder arguments.
    void positionalArguments()
    {
        QCOMPARE(StringFormat::format("%2$@ before %1$@", QStringLiteral("a"), QStringLiteral("b")),
                 QStringLiteral("b before a"));
    }

    // Lists and dictionaries print readably, one entry a line.
    void listsAndMapsPrintReadably()
    {
        QCOMPARE(StringFormat::format("%@", QStringList{QStringLiteral("a"), QStringLiteral("b")}),
                 QStringLiteral("(\n    a,\n    b\n)"));
        QCOMPARE(StringFormat::format("%@", QVariantMap{{QStringLiteral("k"), 1}}), QStringLiteral("{\n    k = 1;\n}"));
    }

    // A format from outside (a translation, a file) with an absurd width or precision must
    // not make the app allocate gigabytes or print for minutes: both are kept to 1024.
    void absurdWidthAndPrecisionAreClamped()
    {
        QCOMPARE(StringFormat::format("%2000000000@", QStringLiteral("x")).size(), 1024);
        QCOMPARE(StringFormat::format("%99999999999999999999@", QStringLiteral("x")).size(), 1024);
        QCOMPARE(StringFormat::format("%99999999d", 7).size(), 1024);
        const QString fraction = StringFormat::format("%.99999999f", 0.5);
        QCOMPARE(fraction.size(), 2 + 1024);
        QVERIFY(fraction.startsWith(QStringLiteral("0.5000")));
        QCOMPARE(StringFormat::format("%-5@|", QStringLiteral("ab")), QStringLiteral("ab   |"));
        QCOMPARE(StringFormat::format("%.2s", "abc"), QStringLiteral("ab"));
        QCOMPARE(StringFormat::format("%.f", 2.4), QStringLiteral("2"));
        // digits of other scripts are not a width
        QCOMPARE(StringFormat::format("%\u0663@", QStringLiteral("x")), QStringLiteral("%\u0663@"));
        QCOMPARE(StringFormat::format("%99999999999$@", QStringLiteral("x")), QStringLiteral("(null)"));
    }

    // An error prints its domain and code, which is what a log reader needs.
    void errorPrintsDomainAndCode()
    {
        const QString text = StringFormat::format("%@", Error::fileError(3328));
        QVERIFY(text.startsWith(QStringLiteral("Error Domain=AerovaFileErrorDomain Code=3328 ")));
    }
};

QTEST_GUILESS_MAIN(tst_StringFormat)
#include "tst_StringFormat.moc"
