#include "platform/foundation/NotificationCenter.h"

#include <QTest>

class tst_NotificationCenter : public QObject
{
    Q_OBJECT

private slots:
    // Observers hear the notifications they asked for, with their data, and no others.
    void observersReceiveTheirNotifications()
    {
        NotificationCenter center;
        QObject context;
        QList<QVariantMap> received;
        center.addObserver(&context, QStringLiteral("Changed"),
                           [&received](const Notification &n) { received << n.userInfo; });
        center.post(QStringLiteral("Other"));
        center.post(QStringLiteral("Changed"), nullptr, {{QStringLiteral("k"), 1}});
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().value(QStringLiteral("k")).toInt(), 1);
    }

    // An observer that went away is never called.
    void destroyedContextStopsDelivery()
    {
        NotificationCenter center;
        int calls = 0;
        {
            QObject context;
            center.addObserver(&context, QStringLiteral("N"), [&calls](const Notification &) { ++calls; });
        }
        center.post(QStringLiteral("N"));
        QCOMPARE(calls, 0);
    }

    // Removing an observer ends its notifications.
    void removeObserverStopsDelivery()
    {
        NotificationCenter center;
        QObject context;
        int calls = 0;
        center.addObserver(&context, QStringLiteral("N"), [&calls](const Notification &) { ++calls; });
        center.removeObserver(&context);
        center.post(QStringLiteral("N"));
        QCOMPARE(calls, 0);
        QVERIFY(NotificationCenter::defaultCenter() == NotificationCenter::defaultCenter());
    }
};

QTEST_GUILESS_MAIN(tst_NotificationCenter)
#include "tst_NotificationCenter.moc"
