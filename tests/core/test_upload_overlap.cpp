#include "tests/support/UploadStage.h"

using namespace Qt::StringLiterals;
using Exchange = LocalService::Exchange;

namespace
{
const auto signInAgain = u"登录已过期，请重新登录"_s;
} // namespace

/// Uploads beside each other and beside everything else that happens to the session and the list.
class UploadOverlapTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void retryDuringAnUpload()
    {
        UploadStage stage;
        stage.start({stage.recording(u"a"_s)});
        stage.uploadUpTo(u"create 1"_s);

        stage.app->retryUpload(stage.id());
        QCOMPARE(stage.shown(), QStringList(Shown::uploading));
        const QStringList done{Shown::uploaded(stage.meetingOf(u"mac-file-a"_s))};
        stage.waitUntil([&] { return stage.shown() == done; });

        stage.script.releaseAt(u"create 1"_s);
        stage.waitUntilIdle();
        QCOMPARE(stage.shown(), done);
        QCOMPARE(stage.service->store().meetings().size(), 1);
    }

    void lastToEndHasTheLastWord()
    {
        UploadStage stage;
        stage.start({stage.recording(u"a"_s)});
        stage.service->misbehave(Exchange::createMeeting, Misbehaviour::answered(500, "x"), 1);
        stage.uploadUpTo(u"create 1"_s);
        stage.app->retryUpload(stage.id());
        stage.waitUntil([&] { return stage.app->recents().first().isUploaded(); });

        stage.script.releaseAt(u"create 1"_s);
        stage.waitUntil(
            [&] { return stage.app->recents().first().status == RecentSession::Status::failed; });
        const QString meeting = stage.meetingOf(u"mac-file-a"_s);
        QCOMPARE(stage.shown(),
                 QStringList(u"failed | 创建会议记录失败 (HTTP 500)：x | "_s + meeting));
        QVERIFY(stage.storedList() == stage.app->recents());

        stage.app->retryUpload(stage.id());
        stage.waitUntilIdle();
        QCOMPARE(stage.shown(), QStringList(Shown::uploaded(meeting)));
    }

    void tokenRefused_data()
    {
        QTest::addColumn<int>("answers"); // before the token is refused
        QTest::newRow("reconcile") << 0;
        QTest::newRow("sign") << 1;
        QTest::newRow("create") << 3;
    }

    void tokenRefused()
    {
        QFETCH(const int, answers);
        UploadStage stage;
        stage.start({stage.recording(u"a"_s), stage.recording(u"b"_s)});
        if (answers > 0)
            stage.script.holdAt(wholeChain.at(answers - 1));
        stage.app->startUpload(stage.id());
        if (answers > 0)
            stage.waitAt(wholeChain.at(answers - 1));
        stage.service->store().revoke(stage.token);
        if (answers > 0)
            stage.script.releaseAt(wholeChain.at(answers - 1));
        stage.waitUntilIdle();

        QCOMPARE(stage.shown(), QStringList({Shown::expired, Shown::waiting}));
        QVERIFY(stage.storedList() == stage.app->recents());
        QCOMPARE(stage.app->lastError(), signInAgain);
        QCOMPARE(stage.auth->lastError(), signInAgain);
        QCOMPARE(stage.auth->sessionStatus(), SessionStatus::expired);
        QVERIFY(stage.secrets.items.empty());
        QCOMPARE(stage.script.calls, wholeChain.first(answers + 1));

        stage.app->startUpload(stage.id(1));
        QCOMPARE(stage.shown(), QStringList({Shown::expired, Shown::signedOut}));

        stage.signIn();
        stage.app->retryUpload(stage.id());
        stage.waitUntilIdle();
        QCOMPARE(stage.shown(), QStringList({Shown::uploaded(stage.meetingOf(u"mac-file-a"_s)),
                                             Shown::signedOut}));
    }

    void clientGone()
    {
        UploadStage stage;
        stage.start({stage.recording(u"a"_s)});
        stage.service->store().revoke(stage.token);
        stage.uploadUpTo(u"reconcile 1"_s);
        stage.auth.reset();
        stage.script.releaseAt(u"reconcile 1"_s);
        stage.waitUntilIdle();

        QCOMPARE(stage.shown(), QStringList(Shown::expired));
        QCOMPARE(stage.app->lastError(), signInAgain);
        stage.app->startUpload(stage.id());
        QCOMPARE(stage.shown(), QStringList(Shown::signedOut));
    }

    void stateGone_data()
    {
        QTest::addColumn<QString>("step");
        for (const QString &step : wholeChain)
            QTest::newRow(qPrintable(step)) << step;
    }

    void stateGone()
    {
        QFETCH(const QString, step);
        UploadStage stage;
        stage.start({stage.recording(u"a"_s)});
        stage.uploadUpTo(step);
        stage.app.reset();
        stage.script.releaseAt(step);
        stage.waitUntil([&] { return stage.script.calls == wholeChain && !stage.http.isBusy(); });

        // The list was left as an interrupted upload leaves it; the next start goes on from there.
        stage.start(stage.storedList().value());
        const QString meeting = stage.meetingOf(u"mac-file-a"_s);
        stage.waitUntil([&] { return stage.shown().first() == Shown::uploaded(meeting); });
    }
};

QTEST_GUILESS_MAIN(UploadOverlapTest)
#include "test_upload_overlap.moc"
