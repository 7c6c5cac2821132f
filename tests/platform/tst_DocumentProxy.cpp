#include "platform/types/DocumentProxy.h"
#include "platform/types/IconForResourceProxy.h"

#include <QIcon>
#include <QTest>

class tst_DocumentProxy : public QObject
{
    Q_OBJECT

private slots:
    // The type decides the icon; the name only when no type is known.
    void effectiveTypeFromTypeThenName()
    {
        QCOMPARE(DocumentProxy::documentProxyForName_type_MIMEType(QStringLiteral("x.bin"), QStringLiteral("application/pdf"), {})
                     .effectiveMimeType(),
                 QStringLiteral("application/pdf"));
        QCOMPARE(DocumentProxy::documentProxyForName_type_MIMEType(QStringLiteral("notes.txt"), QString(), {}).effectiveMimeType(),
                 QStringLiteral("text/plain"));
        QCOMPARE(DocumentProxy::documentProxyForName_type_MIMEType(QStringLiteral("a"), QStringLiteral("image/png"),
                                                                   QStringLiteral("text/plain"))
                     .effectiveMimeType(),
                 QStringLiteral("text/plain"));
    }

    // A large document icon from the installed theme, never an empty picture.
    void largeIconFromTheTheme()
    {
        const QImage icon = IconForResourceProxy(
            DocumentProxy::documentProxyForName_type_MIMEType(QStringLiteral("Report.pdf"), QStringLiteral("application/pdf"), {}),
            IconFormat::Large);
        QCOMPARE(icon.size(), QSize(256, 256));
        bool painted = false;
        for (int y = 0; y < icon.height() && !painted; y += 8) {
            for (int x = 0; x < icon.width() && !painted; x += 8) {
                painted = qAlpha(icon.pixel(x, y)) > 0;
            }
        }
        QVERIFY(painted);
        QCOMPARE(IconFormat::pixelSize(IconFormat::Small), 29);
    }
};

QTEST_MAIN(tst_DocumentProxy)
#include "tst_DocumentProxy.moc"
