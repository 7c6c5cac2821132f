#include "platform/drive/FetchUserQuotaOperation.h"

#include "platform/drive/CloudContainer.h"
#include "platform/drive/CloudDatabase.h"
#include "platform/drive/DriveFileManager.h"
#include "platform/drive/DriveLayout.h"
#include "platform/drive/DriveSetup.h"
#include "support/TestDrive.h"

#include <QTest>
#include <QThreadPool>

class tst_FetchUserQuotaOperation : public QObject
{
    Q_OBJECT

private:
    TestDrive m_drive;

    struct Answer {
        bool done = false;
        quint64 remaining = 0;
        std::optional<Error> error;
        bool onCallerThread = true;
    };

    static std::shared_ptr<Answer> fetch()
    {
        auto answer = std::make_shared<Answer>();
        auto operation = std::make_shared<FetchUserQuotaOperation>();
        QThread *caller = QThread::currentThread();
        operation->setFetchUserQuotaCompletionBlock([answer, caller](quint64 remaining, const std::optional<Error> &error) {
            answer->remaining = remaining;
            answer->error = error;
            answer->onCallerThread = QThread::currentThread() == caller;
            answer->done = true;
        });
        CloudContainer::containerWithIdentifier(KDUbiquitousCloudKitContainerIdentifier)->privateCloudDatabase()->addOperation(operation);
        QThreadPool::globalInstance()->waitForDone();
        return answer;
    }

private slots:
    // The free bytes are the plan less what is used, answered on a worker thread.
    void remainingIsPlanLessUsed()
    {
        QVERIFY(!DriveSetup::setQuota(2000, 500));
        const auto answer = fetch();
        QVERIFY(answer->done);
        QVERIFY(!answer->error);
        QCOMPARE(answer->remaining, quint64(1500));
        QVERIFY(!answer->onCallerThread);
        QVERIFY(!DriveSetup::setQuota(100, 500));
        QCOMPARE(fetch()->remaining, quint64(0)); // over the plan: nothing free, never a wrap-around
    }

    // A requested failure fails the next fetch only.
    void failNextFailsOnce()
    {
        QVERIFY(!DriveSetup::setQuota(2000, 500));
        QVERIFY(!DriveSetup::failNextQuotaFetch(QStringLiteral("Down for a moment")));
        const auto failed = fetch();
        QVERIFY(failed->error);
        QCOMPARE(failed->error->domain(), QString::fromLatin1(CloudErrorDomain));
        QCOMPARE(failed->error->localizedDescription(), QStringLiteral("Down for a moment"));
        QVERIFY(!fetch()->error);
    }

    // A plan of 1e300 bytes (or a negative one) is no plan: converting it would be undefined;
    // the fetch fails with a message naming the file instead of reporting nonsense.
    void outOfRangePlanIsAnError()
    {
        for (const QByteArray &quota : {QByteArray("{\"plan\": 1e300, \"used\": 0}"), QByteArray("{\"plan\": -5}"),
                                        QByteArray("{\"plan\": 1000, \"used\": \"lots\"}")}) {
            QVERIFY(TestDrive::writeFile(DriveLayout::quotaFile(), quota));
            const auto result = fetch();
            QVERIFY2(result->error, quota.constData());
            QVERIFY(result->error->localizedDescription().contains(DriveLayout::quotaFile()));
            QCOMPARE(result->remaining, quint64(0));
        }
        QVERIFY(TestDrive::writeFile(DriveLayout::quotaFile(), "{\"plan\": 9007199254740992, \"used\": 1}"));
        QCOMPARE(fetch()->remaining, quint64(9007199254740991));
        QVERIFY(!DriveSetup::setQuota(5000000000, 1000000000));
    }

    // Signed out or offline, the service answers with an error.
    void signedOutOrOfflineFails()
    {
        QVERIFY(!DriveSetup::setNetwork(QStringLiteral("offline")));
        QCOMPARE(fetch()->error->code(), qint64(CloudNetworkUnavailableError));
        QVERIFY(!DriveSetup::setNetwork({}));
        QVERIFY(DriveFileManager::signOut());
        QCOMPARE(fetch()->error->code(), qint64(CloudNotAuthenticatedError));
        QVERIFY(DriveFileManager::signIn(QStringLiteral("user@example.com")));
        QVERIFY(!fetch()->error);
    }
};

QTEST_GUILESS_MAIN(tst_FetchUserQuotaOperation)
#include "tst_FetchUserQuotaOperation.moc"
