#include "tests/support/UploadStage.h"

using namespace Qt::StringLiterals;

/// What is uploaded and what is not, and what the list shows meanwhile.
class UploadsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordingBecomesAMeeting();
    void nothingToUpload_data();
    void nothingToUpload();
    void nobodySignedIn();
    void retryOfAnUploadedRecording();
    void missingFile();
    void fileThatIsNoRecording_data();
    void fileThatIsNoRecording();
    void afterStop_data();
    void afterStop();
};

void UploadsTest::recordingBecomesAMeeting()
{
    UploadStage stage;
    const RecentSession recording = stage.recording(u"周一 #1%"_s, 300'000);
    stage.start({recording});
    stage.rig.log.take();
    int changes = 0;
    connect(&*stage.app, &AppState::recentsChanged, this, [&] { ++changes; });

    stage.app->startUpload(recording.id);
    QCOMPARE(stage.shown(), QStringList(Shown::uploading));
    QVERIFY(stage.storedList() == stage.app->recents());
    QVERIFY(stage.script.calls.isEmpty());
    stage.waitUntilIdle();

    const QString meeting = stage.meetingOf(u"mac-file-周一 #1%"_s);
    RecentSession expected = recording;
    expected.remoteID = meeting;
    QVERIFY(stage.app->recents() == QList{expected});
    QVERIFY(stage.storedList() == stage.app->recents());
    QCOMPARE(changes, 3); // the identifier, the start, the end
    QCOMPARE(stage.script.calls, wholeChain);
    QFile file(recording.fileURL->toLocalFile());
    QVERIFY(file.open(QIODevice::ReadOnly) && stage.objectOf(meeting) == file.readAll());
    const auto made = stage.service->store().meeting(meeting).value_or(QJsonObject());
    QCOMPARE(made[u"title"_s], u"周会 周一 #1%"_s);
    QCOMPARE(made[u"durationSeconds"_s], 75);
    QCOMPARE(made[u"startedAt"_s], u"2025-03-07T06:05:00.000Z"_s);
    QCOMPARE(stage.app->lastError(), std::nullopt);
    QCOMPARE(stage.rig.log.take().last(), u"info upload: meeting created id="_s + meeting);
}

void UploadsTest::nothingToUpload_data()
{
    QTest::addColumn<bool>("isListed");
    QTest::addColumn<bool>("hasFile");
    QTest::addColumn<bool>("isUploaded");
    QTest::addColumn<bool>("retries");
    QTest::newRow("not listed") << false << true << false << false;
    QTest::newRow("not listed, retry") << false << true << false << true;
    QTest::newRow("without file") << true << false << false << false;
    QTest::newRow("without file, retry") << true << false << false << true;
    QTest::newRow("uploaded already") << true << true << true << false;
}

void UploadsTest::nothingToUpload()
{
    QFETCH(const bool, isListed);
    QFETCH(const bool, hasFile);
    QFETCH(const bool, isUploaded);
    QFETCH(const bool, retries);
    UploadStage stage;
    RecentSession recording = stage.recording(u"a"_s);
    if (!hasFile)
        recording.fileURL.reset();
    if (isUploaded)
        recording.remoteID = u"m"_s;
    stage.start({recording});
    bool isChanged = false;
    connect(&*stage.app, &AppState::recentsChanged, this, [&] { isChanged = true; });

    const QUuid id = isListed ? recording.id : QUuid::createUuid();
    retries ? stage.app->retryUpload(id) : stage.app->startUpload(id);
    QCoreApplication::processEvents();

    QVERIFY(!isChanged);
    QVERIFY(stage.service->requests().isEmpty());
}

void UploadsTest::nobodySignedIn()
{
    UploadStage stage;
    stage.start({stage.recording(u"a"_s)}, false);

    stage.app->startUpload(stage.id());
    QCOMPARE(stage.shown(), QStringList(Shown::signedOut));
    QVERIFY(stage.storedList() == stage.app->recents());

    stage.app->retryUpload(stage.id());
    QCOMPARE(stage.shown(), QStringList(Shown::uploading));
    stage.waitUntilIdle();
    QCOMPARE(stage.shown(), QStringList(Shown::signedOut));
    QVERIFY(stage.storedList() == stage.app->recents());
    QCOMPARE(stage.app->lastError(), std::nullopt);
    QVERIFY(stage.service->requests().isEmpty());
}

void UploadsTest::retryOfAnUploadedRecording()
{
    UploadStage stage;
    stage.start({stage.recording(u"a"_s)});
    stage.app->startUpload(stage.id());
    stage.waitUntilIdle();
    const QStringList before = stage.shown();

    stage.app->retryUpload(stage.id());
    QVERIFY(stage.shown().first().startsWith(u"processing | 上传中 | "));
    stage.waitUntilIdle();

    QCOMPARE(stage.shown(), before);
    QCOMPARE(stage.script.calls, wholeChain + QStringList(u"reconcile 2"_s));
}

void UploadsTest::missingFile()
{
    UploadStage stage;
    const RecentSession recording = stage.recording(u"a"_s);
    stage.start({recording});
    QVERIFY(QFile::remove(recording.fileURL->toLocalFile()));

    stage.app->startUpload(recording.id);
    stage.waitUntilIdle();
    QVERIFY(stage.shown().first().startsWith(u"failed | 无法读取要上传的文件"));
    QCOMPARE(stage.app->lastError(), std::nullopt);

    stage.recording(u"a"_s);
    stage.app->retryUpload(recording.id);
    stage.waitUntilIdle();
    QCOMPARE(stage.shown(), QStringList(Shown::uploaded(stage.meetingOf(u"mac-file-a"_s))));
}

void UploadsTest::fileThatIsNoRecording_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("somebody's file") << u"/etc/passwd"_s;
    QTest::newRow("hidden file") << u"/home/.m4a"_s;
    QTest::newRow("folder") << u"/home/a.m4a/"_s;
}

void UploadsTest::fileThatIsNoRecording()
{
    QFETCH(const QString, path);
    UploadStage stage;
    RecentSession entry = stage.recording(u"a"_s);
    entry.fileURL = QUrl::fromLocalFile(path);
    stage.start({entry});

    stage.app->startUpload(entry.id);
    stage.waitUntilIdle();

    QCOMPARE(stage.shown(), QStringList(u"failed | 该文件不是录音，没有上传 | -"_s));
    QVERIFY(stage.service->requests().isEmpty());
}

void UploadsTest::afterStop_data()
{
    QTest::addColumn<UploadStrategy>("strategy");
    QTest::addColumn<bool>("isSignedIn");
    QTest::addColumn<QString>("shown"); // right after the stop
    QTest::newRow("at once") << UploadStrategy::immediate << true << Shown::uploading;
    QTest::newRow("at once, nobody signed in")
        << UploadStrategy::immediate << false << Shown::waiting;
    QTest::newRow("by hand") << UploadStrategy::manual << true << Shown::waiting;
}

void UploadsTest::afterStop()
{
    QFETCH(const UploadStrategy, strategy);
    QFETCH(const bool, isSignedIn);
    UploadStage stage;
    stage.start({}, isSignedIn);
    stage.prefs.setUploadStrategy(strategy);
    const auto &app = stage.app;
    stage.app->toggleRecording();
    stage.waitUntil([&] { return app->elapsed() >= 12.0; });

    stage.script.holdAt(u"reconcile 1"_s);
    stage.app->toggleRecording();
    stage.waitUntil([&] { return !app->recents().isEmpty(); });
    QTEST(stage.shown().first(), "shown");
    QVERIFY(stage.storedList() == app->recents());
    stage.script.releaseAt(u"reconcile 1"_s);
    stage.waitUntilIdle();

    const bool isUploaded = strategy == UploadStrategy::immediate && isSignedIn;
    QCOMPARE(stage.script.calls, isUploaded ? wholeChain : QStringList());
    const QString meeting = stage.meetingOf(*app->recents().first().clientRecordingId);
    QCOMPARE(stage.shown(), QStringList(isUploaded ? Shown::uploaded(meeting) : Shown::waiting));
    QCOMPARE(stage.objectOf(meeting).size(), isUploaded ? 3000 : 0);
}

QTEST_GUILESS_MAIN(UploadsTest)
#include "test_uploads.moc"
