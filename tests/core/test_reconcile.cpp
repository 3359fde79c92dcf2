#include "tests/support/UploadStage.h"

#include <QCoroTask>
#include <QJsonDocument>

using namespace Qt::StringLiterals;
using Exchange = LocalService::Exchange;

namespace
{
/// "m1" for a recording that the service holds.
QByteArray reply(const QStringList &clientRecordingIds)
{
    QJsonArray meetings;
    for (const QString &identifier : clientRecordingIds) {
        const QString meeting = u"m%1"_s.arg(meetings.size() + 1);
        meetings.append(QJsonObject{{u"id"_s, meeting}, {u"clientRecordingId"_s, identifier}});
    }
    return QJsonDocument(QJsonObject{{u"meetings"_s, meetings}}).toJson();
}

RecentSession failed(RecentSession entry)
{
    entry.status = RecentSession::Status::failed;
    entry.uploadProgress = u"未登录"_s;
    return entry;
}
} // namespace

/// How the list learns what the service holds already.
class ReconcileTest : public QObject
{
    Q_OBJECT

private:
    /// The identifiers in the last request, after one reconcile that is answered so.
    static QJsonValue reconcile(UploadStage &stage, const QByteArray &reply)
    {
        stage.service->misbehave(Exchange::reconcile, Misbehaviour::answered(200, reply), 1);
        QCoro::waitFor(stage.app->reconcileUploadedSessions());
        const auto requests = stage.service->requests();
        return requests.isEmpty()
                   ? QJsonValue()
                   : QJsonDocument::fromJson(requests.last().body)[u"clientRecordingIds"_s];
    }

private Q_SLOTS:
    void marksWhatTheServiceHolds()
    {
        UploadStage stage;
        RecentSession uploaded = stage.recording(u"b"_s);
        uploaded.remoteID = u"old"_s;
        stage.start({failed(stage.recording(u"a"_s)), uploaded, stage.recording(u"c"_s),
                     failed(stage.recording(u"d"_s))});
        int changes = 0;
        connect(&*stage.app, &AppState::recentsChanged, this, [&] { ++changes; });

        const QStringList held{u"mac-file-a"_s, u"mac-file-b"_s, u"mac-file-c"_s, u"mac-file-a"_s,
                               u"somebody's"_s};
        const QJsonValue asked = reconcile(stage, reply(held));

        QCOMPARE(asked, QJsonValue(QJsonArray{u"mac-file-a"_s, u"mac-file-c"_s, u"mac-file-d"_s}));
        const QStringList shown{u"ready | - | m1"_s, u"ready | - | old"_s, u"ready | - | m3"_s,
                                u"failed | 未登录 | -"_s};
        QCOMPARE(stage.shown(), shown);
        QCOMPARE(changes, 1);
        QVERIFY(stage.storedList() == stage.app->recents());

        reconcile(stage, reply({}));
        QCOMPARE(changes, 1);
    }

    void everyClientStartsOneButOnlyOneWaits()
    {
        UploadStage stage;
        stage.start({stage.recording(u"a"_s)});
        stage.script.holdAt(u"reconcile 1"_s);
        stage.app->setAuth(nullptr);
        stage.app->setAuth(&*stage.auth);
        stage.waitAt(u"reconcile 1"_s);
        // By the time they run, all find the client.
        for (int i = 0; i < 50; ++i)
            Q_EMIT stage.auth->sessionCameLate();
        QCoreApplication::processEvents();
        stage.script.releaseAt(u"reconcile 1"_s);
        stage.waitUntil([&] { return !stage.http.isBusy() && stage.script.calls.size() >= 2; });
        QCOMPARE(stage.script.calls, QStringList({u"reconcile 1"_s, u"reconcile 2"_s}));
    }

    void failureIsSilent_data()
    {
        QTest::addColumn<Misbehaviour>("misbehaviour");
        QTest::addColumn<bool>("isSignedOut");
        QTest::newRow("reset") << Misbehaviour::closed(-1) << false;
        QTest::newRow("503") << Misbehaviour::answered(503) << false;
        QTest::newRow("wrong type") << Misbehaviour::answered(200, R"({"meetings":1})") << false;
        QTest::newRow("token refused") << Misbehaviour::answered(401) << true;
    }

    void failureIsSilent()
    {
        QFETCH(const Misbehaviour, misbehaviour);
        QFETCH(const bool, isSignedOut);
        UploadStage stage;
        stage.start({failed(stage.recording(u"a"_s))});
        const auto before = stage.app->recents();
        stage.service->misbehave(Exchange::reconcile, misbehaviour, 1);

        QCoro::waitFor(stage.app->reconcileUploadedSessions());

        QVERIFY(stage.app->recents() == before);
        QCOMPARE(stage.app->lastError(), std::nullopt);
        QCOMPARE(stage.auth->sessionStatus(),
                 isSignedOut ? SessionStatus::expired : SessionStatus::verified);
    }

    void duringAnUpload()
    {
        UploadStage stage;
        stage.start({stage.recording(u"a"_s), stage.recording(u"b"_s)});
        stage.uploadUpTo(u"create 1"_s);
        const QString a = stage.meetingOf(u"mac-file-a"_s);

        QCoro::waitFor(stage.app->reconcileUploadedSessions());
        QCOMPARE(stage.shown(), QStringList({u"processing | 上传中 | "_s + a, u"ready | - | -"_s}));
        QVERIFY(stage.storedList() == stage.app->recents());

        stage.script.releaseAt(u"create 1"_s);
        stage.waitUntilIdle();
        QCOMPARE(stage.shown(), QStringList({u"ready | - | "_s + a, u"ready | - | -"_s}));
    }

    // The reconciled list is written in the background. Whatever is saved in the meantime is newer,
    // and must not be replaced by it.
    void listSavedMeanwhileStays()
    {
        UploadStage stage;
        stage.start({failed(stage.recording(u"a"_s)), stage.recording(u"b"_s)});
        bool isFirst = true;
        connect(&*stage.app, &AppState::recentsChanged, this, [&] {
            if (std::exchange(isFirst, false))
                QMetaObject::invokeMethod(
                    this, [&] { stage.app->startUpload(stage.id(1)); }, Qt::QueuedConnection);
        });
        stage.script.holdAt(u"reconcile 2"_s);

        reconcile(stage, reply({u"mac-file-a"_s}));
        stage.waitAt(u"reconcile 2"_s);

        const QStringList shown{u"ready | - | m1"_s, u"processing | 上传中 | -"_s};
        QCOMPARE(stage.shown(), shown);
        QVERIFY(stage.storedList() == stage.app->recents());
        stage.script.releaseAt(u"reconcile 2"_s);
        stage.waitUntilIdle();
        QVERIFY(stage.storedList() == stage.app->recents());
    }

    void draftReplacesOnlyEarlierLists()
    {
        const UploadStage stage;
        const auto named = [&](const QString &name) { return QList{stage.recording(name)}; };
        const auto stored = [&] { return stage.storedList().value().first().title; };
        const QString folder = stage.rig.home.path();
        RecentsFile file(stage.rig.clock);
        const auto done = [](QFuture<RecentsFile::Draft> draft) { return draft.result(); };

        const auto first = done(file.draft(folder, named(u"first"_s)));
        const auto second = done(file.draft(folder, named(u"second"_s)));
        QVERIFY(!stage.storedList());
        file.adopt(second);
        QCOMPARE(stored(), u"周会 second"_s);
        file.adopt(first);
        QCOMPARE(stored(), u"周会 second"_s);

        const auto third = done(file.draft(folder, named(u"third"_s)));
        QVERIFY(file.save(folder, named(u"fourth"_s)));
        file.adopt(third);
        QCOMPARE(stored(), u"周会 fourth"_s);

        const auto nowhere = done(file.draft(u"/proc/none"_s, named(u"fifth"_s)));
        file.adopt(nowhere);
        QCOMPARE(stored(), u"周会 fourth"_s);
    }

    void stateGone()
    {
        UploadStage stage;
        stage.start({stage.recording(u"a"_s)});
        const auto before = stage.storedList();
        stage.service->misbehave(Exchange::reconcile,
                                 Misbehaviour::answered(200, reply({u"mac-file-a"_s})), 1);
        stage.script.holdAt(u"reconcile 1"_s);
        const auto reconciling = stage.app->reconcileUploadedSessions();
        stage.waitAt(u"reconcile 1"_s);
        stage.app.reset();
        stage.script.releaseAt(u"reconcile 1"_s);
        stage.waitUntil([&] { return reconciling.isReady(); });
        QVERIFY(stage.storedList() == before);
    }
};

QTEST_GUILESS_MAIN(ReconcileTest)
#include "test_reconcile.moc"
