#include "platform/drive/UbiquitousKeyValueStore.h"

#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveServiceMonitor.h"
#include "platform/foundation/NotificationCenter.h"
#include "support/TestDrive.h"

#include <QProcess>
#include <QTest>

class tst_UbiquitousKeyValueStore : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

private slots:
    // Values written are kept in the service's store file and read back.
    void storesAndReadsValues()
    {
        UbiquitousKeyValueStore *store = UbiquitousKeyValueStore::defaultStore();
        QVERIFY(store->setObject_forKey(QVariantMap{{QStringLiteral("a"), 1}}, QStringLiteral("Dict")));
        QCOMPARE(store->dictionaryForKey(QStringLiteral("Dict")).value(QStringLiteral("a")).toInt(), 1);
        QVERIFY(store->dictionaryForKey(QStringLiteral("Missing")).isEmpty());
        QVERIFY(store->setObject_forKey(QStringLiteral("text"), QStringLiteral("Plain")));
        QVERIFY(store->dictionaryForKey(QStringLiteral("Plain")).isEmpty()); // not a dictionary
        QFile file(DriveLayout::kvstoreFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("\"Plain\": \"text\""));
    }

    // A change made by another process reaches the app as the changed-externally notification,
    // after the store has the new values.
    void externalChangePostsNotification()
    {
        UbiquitousKeyValueStore *store = UbiquitousKeyValueStore::defaultStore();
        QObject context;
        QStringList changedKeys;
        QString seenName;
        NotificationCenter::defaultCenter()->addObserver(
            &context, NotificationName::UbiquitousKeyValueStoreDidChangeExternally, [&](const Notification &note) {
                changedKeys = note.userInfo.value(QStringLiteral("ChangedKeys")).toStringList();
                seenName = store->dictionaryForKey(QStringLiteral("TrovexTagDict"))
                               .value(QStringLiteral("TrovexTags")).toList().value(0).toMap()
                               .value(QStringLiteral("n")).toString();
                QCOMPARE(note.object, static_cast<const void *>(store));
            });
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("tags"), QStringLiteral("define"), QStringLiteral("Far=3")});
        QVERIFY(ctl.waitForFinished(60000));
        QCOMPARE(ctl.exitCode(), 0);
        QTRY_COMPARE(changedKeys, QStringList{QStringLiteral("TrovexTagDict")});
        QCOMPARE(seenName, QStringLiteral("Far"));
    }

    // The store's own writes are not reported as external changes.
    void ownWritesAreNotExternal()
    {
        UbiquitousKeyValueStore *store = UbiquitousKeyValueStore::defaultStore();
        QObject context;
        int notifications = 0;
        NotificationCenter::defaultCenter()->addObserver(&context, NotificationName::UbiquitousKeyValueStoreDidChangeExternally,
                                                         [&](const Notification &) { ++notifications; });
        QVERIFY(store->setObject_forKey(42, QStringLiteral("Own")));
        // an external write after it is seen, so the monitor had the chance to report the first
        QProcess ctl;
        ctl.start(QStringLiteral(AEROVA_CTL_PATH), {QStringLiteral("tags"), QStringLiteral("define"), QStringLiteral("Near=2")});
        QVERIFY(ctl.waitForFinished(60000));
        QTRY_VERIFY(notifications >= 1);
        DriveServiceMonitor::flush();
        QCOMPARE(notifications, 1);
        QCOMPARE(store->objectForKey(QStringLiteral("Own")).toInt(), 42);
    }
};

QTEST_GUILESS_MAIN(tst_UbiquitousKeyValueStore)
#include "tst_UbiquitousKeyValueStore.moc"
