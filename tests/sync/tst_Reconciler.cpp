#include "sync/Reconciler.h"

#include <QTest>
#include <QTimeZone>

namespace {

using Kind = SyncAction::Kind;
using LocalKind = LocalItem::Kind;

SyncRecord base(const QString &version = QStringLiteral("v1"), qint64 size = 10, qint64 modifiedMs = 1000)
{
    SyncRecord record;
    record.storeKey = QStringLiteral("key1");
    record.path = QStringLiteral("a.txt");
    record.version = version;
    record.size = size;
    record.modifiedMs = modifiedMs;
    return record;
}

SyncRecord folderBase()
{
    SyncRecord record = base(QStringLiteral("f1"), -1, 0);
    record.isFolder = true;
    return record;
}

DavResource remote(const QString &etag = QStringLiteral("v1"), qint64 size = 10, const QString &path = QStringLiteral("a.txt"))
{
    DavResource resource;
    resource.path = path;
    resource.etag = etag;
    resource.size = size;
    resource.modified = QDateTime::fromMSecsSinceEpoch(1000, QTimeZone::utc());
    return resource;
}

DavResource remoteFolder()
{
    DavResource resource;
    resource.path = QStringLiteral("a.txt");
    resource.isCollection = true;
    resource.etag = QStringLiteral("f1");
    return resource;
}

LocalItem local(LocalKind kind, qint64 size = -1, qint64 modifiedMs = 0)
{
    return LocalItem{kind, size, modifiedMs, true, {}, {}};
}

Kind decide(const std::optional<SyncRecord> &b, const LocalItem &l, const std::optional<DavResource> &r)
{
    return Reconciler::decide(b, l, r, QStringLiteral("a.txt")).kind;
}

} // namespace

Q_DECLARE_METATYPE(SyncAction::Kind)

class tst_Reconciler : public QObject
{
    Q_OBJECT

private slots:
    void newOnTheServerBecomesAPlaceholder()
    {
        QCOMPARE(decide(std::nullopt, local(LocalKind::Absent), remote()), Kind::CreatePlaceholder);
    }

    void unchangedIsNothing_data()
    {
        QTest::addColumn<int>("localKind");
        QTest::newRow("placeholder") << int(LocalKind::Placeholder);
        QTest::newRow("downloaded") << int(LocalKind::File);
    }
    void unchangedIsNothing()
    {
        QFETCH(int, localKind);
        QCOMPARE(decide(base(), local(LocalKind(localKind), 10, 1000), remote()), Kind::Nothing);
    }

    void changedOnTheServerRewritesThePlaceholder()
    {
        QCOMPARE(decide(base(), local(LocalKind::Placeholder), remote(QStringLiteral("v2"), 12)), Kind::UpdatePlaceholder);
    }

    void changedOnTheServerGivesBackAnUnchangedCopy()
    {
        QCOMPARE(decide(base(), local(LocalKind::File, 10, 1000), remote(QStringLiteral("v2"), 12)),
                 Kind::ReplaceWithPlaceholder);
    }

    void changedOnBothSidesKeepsTheDevicesCopy_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("modifiedMs");
        QTest::newRow("size differs") << qint64(11) << qint64(1000);
        QTest::newRow("date differs") << qint64(10) << qint64(2000);
    }
    void changedOnBothSidesKeepsTheDevicesCopy()
    {
        QFETCH(qint64, size);
        QFETCH(qint64, modifiedMs);
        const SyncAction action = Reconciler::decide(base(), local(LocalKind::File, size, modifiedMs),
                                                     remote(QStringLiteral("v2")), QStringLiteral("a.txt"));
        QCOMPARE(action.kind, Kind::KeepBoth);
        QCOMPARE(action.local.size, size); // the sending step checks the document is still so
        QCOMPARE(action.local.modifiedMs, modifiedMs);
    }

    void aDocumentOfTheDevicesOwnIsNeverReplaced()
    {
        const SyncAction action = Reconciler::decide(std::nullopt, local(LocalKind::File, 3, 5), remote(),
                                                     QStringLiteral("a.txt"));
        QCOMPARE(action.kind, Kind::KeepBoth);
    }

    void aCopyOfTheServersVersionUnknownToTheJournalIsTakenAsItIs()
    {
        DavResource server = remote();
        server.size = 10;
        server.modified = QDateTime::fromMSecsSinceEpoch(1000);
        QCOMPARE(decide(std::nullopt, local(LocalKind::File, 10, 1000), server), Kind::Record);
        QCOMPARE(decide(std::nullopt, local(LocalKind::File, 10, 2000), server), Kind::KeepBoth);
    }

    void aDocumentChangedOnTheDeviceOnlyIsSentOverItsVersion()
    {
        const SyncAction action = Reconciler::decide(base(), local(LocalKind::File, 11, 1000), remote(), QStringLiteral("a.txt"));
        QCOMPARE(action.kind, Kind::UploadChange);
        QCOMPARE(action.base->version, QStringLiteral("v1"));
    }

    void aDocumentOrFolderNewOnTheDeviceIsSent()
    {
        QCOMPARE(decide(std::nullopt, local(LocalKind::File, 3, 5), std::nullopt), Kind::Upload);
        QCOMPARE(decide(std::nullopt, local(LocalKind::Folder), std::nullopt), Kind::MakeRemoteFolder);
        // a placeholder the server does not know, a link: nothing to send
        QCOMPARE(decide(std::nullopt, local(LocalKind::Placeholder), std::nullopt), Kind::Nothing);
        QCOMPARE(decide(std::nullopt, local(LocalKind::Other), std::nullopt), Kind::Nothing);
    }

    void aDocumentStillBeingWrittenWaits()
    {
        LocalItem writing = local(LocalKind::File, 3, 5);
        writing.settled = false;
        const SyncAction fresh = Reconciler::decide(std::nullopt, writing, std::nullopt, QStringLiteral("a.txt"));
        QCOMPARE(fresh.kind, Kind::KeepLocal);
        QCOMPARE(fresh.reason, QStringLiteral("it is still being written"));
        QCOMPARE(decide(base(), writing, remote()), Kind::KeepLocal);
        QCOMPARE(decide(base(), writing, remote(QStringLiteral("v2"))), Kind::KeepLocal);
    }

    void deletedOnTheDeviceAndChangedOnTheServerComesBack()
    {
        QCOMPARE(decide(base(), local(LocalKind::Absent), remote(QStringLiteral("v2"), 12)), Kind::CreatePlaceholder);
    }

    void deletedOnTheServer_data()
    {
        QTest::addColumn<int>("localKind");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<Kind>("expected");
        QTest::newRow("placeholder goes") << int(LocalKind::Placeholder) << qint64(-1) << Kind::RemoveLocal;
        QTest::newRow("unchanged copy goes") << int(LocalKind::File) << qint64(10) << Kind::RemoveLocal;
        QTest::newRow("edited copy is sent again") << int(LocalKind::File) << qint64(99) << Kind::Upload;
        QTest::newRow("already gone here") << int(LocalKind::Absent) << qint64(-1) << Kind::Forget;
        QTest::newRow("a link is not touched") << int(LocalKind::Other) << qint64(-1) << Kind::Forget;
    }
    void deletedOnTheServer()
    {
        QFETCH(int, localKind);
        QFETCH(qint64, size);
        QFETCH(Kind, expected);
        QCOMPARE(decide(base(), local(LocalKind(localKind), size, 1000), std::nullopt), expected);
    }

    void deletedOnTheDeviceIsDeletedOnTheServer()
    {
        QCOMPARE(decide(base(), local(LocalKind::Absent), remote()), Kind::DeleteRemote);
        QCOMPARE(decide(folderBase(), local(LocalKind::Absent), remoteFolder()), Kind::DeleteRemote);
    }


    void foldersFollowTheServer()
    {
        QCOMPARE(decide(std::nullopt, local(LocalKind::Absent), remoteFolder()), Kind::MakeFolder);
        QCOMPARE(decide(std::nullopt, local(LocalKind::Folder), remoteFolder()), Kind::Record);
        QCOMPARE(decide(folderBase(), local(LocalKind::Folder), remoteFolder()), Kind::Nothing);
        QCOMPARE(decide(folderBase(), local(LocalKind::Folder), std::nullopt), Kind::RemoveFolder);
        QCOMPARE(decide(std::nullopt, local(LocalKind::File, 1, 1), remoteFolder()), Kind::KeepLocal);
        QCOMPARE(decide(std::nullopt, local(LocalKind::Folder), remote()), Kind::KeepLocal);
    }

    void aServerWithoutETagsIsComparedBySizeAndDate()
    {
        DavResource withoutTag = remote(QString());
        SyncRecord known = base(withoutTag.version());
        QCOMPARE(decide(known, local(LocalKind::Placeholder), withoutTag), Kind::Nothing);
        withoutTag.size = 11;
        QCOMPARE(decide(known, local(LocalKind::Placeholder), withoutTag), Kind::UpdatePlaceholder);
    }

    void aRenameOnTheServerIsOneMove()
    {
        QList<SyncAction> actions{
            Reconciler::decide(base(), local(LocalKind::Placeholder), std::nullopt, QStringLiteral("a.txt")),
            Reconciler::decide(std::nullopt, local(LocalKind::Absent), remote(QStringLiteral("v1"), 10, QStringLiteral("b.txt")),
                               QStringLiteral("b.txt")),
        };
        const QList<SyncAction> paired = Reconciler::pairMoves(actions);
        QCOMPARE(paired.size(), 1);
        QCOMPARE(paired.first().kind, Kind::Move);
        QCOMPARE(paired.first().fromPath, QStringLiteral("a.txt"));
        QCOMPARE(paired.first().path, QStringLiteral("b.txt"));
        QCOMPARE(paired.first().base->storeKey, QStringLiteral("key1"));
    }

    void ambiguousMovesStayADeleteAndANewDocument()
    {
        SyncRecord other = base();
        other.storeKey = QStringLiteral("key2");
        other.path = QStringLiteral("c.txt");
        QList<SyncAction> actions{
            Reconciler::decide(base(), local(LocalKind::Placeholder), std::nullopt, QStringLiteral("a.txt")),
            Reconciler::decide(other, local(LocalKind::Placeholder), std::nullopt, QStringLiteral("c.txt")),
            Reconciler::decide(std::nullopt, local(LocalKind::Absent), remote(QStringLiteral("v1"), 10, QStringLiteral("b.txt")),
                               QStringLiteral("b.txt")),
        };
        const QList<SyncAction> paired = Reconciler::pairMoves(actions);
        QCOMPARE(paired.size(), 3);
        QVERIFY(std::none_of(paired.cbegin(), paired.cend(), [](const SyncAction &a) { return a.kind == Kind::Move; }));
    }

    void anEditedCopyIsNotMovedAway()
    {
        QList<SyncAction> actions{
            Reconciler::decide(base(), local(LocalKind::File, 99, 1000), std::nullopt, QStringLiteral("a.txt")),
            Reconciler::decide(std::nullopt, local(LocalKind::Absent), remote(QStringLiteral("v1"), 10, QStringLiteral("b.txt")),
                               QStringLiteral("b.txt")),
        };
        const QList<SyncAction> paired = Reconciler::pairMoves(actions);
        QCOMPARE(paired.at(0).kind, Kind::Upload);
        QCOMPARE(paired.at(1).kind, Kind::CreatePlaceholder);
    }
};

QTEST_GUILESS_MAIN(tst_Reconciler)
#include "tst_Reconciler.moc"
