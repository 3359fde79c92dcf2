#include "audio/MicRecorder.h"
#include "tests/support/AudioRig.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString trackName = u"recording-2025-03-07-14-05-00.mic.m4a"_s;
}

class MicRecorderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failedStartLeavesItIdle_data();
    void failedStartLeavesItIdle();
    void recordingFromStartToStop();
};

void MicRecorderTest::failedStartLeavesItIdle_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("oldFileStays");
    QTest::addColumn<QStringList>("calls");

    const QStringList steps{u"mic access"_s, u"mic create"_s, u"mic prepare"_s, u"mic record"_s};
    const QString setup = u"麦克风初始化失败："_s;
    const QString refused = setup + u"prepareToRecord/record returned false"_s;
    QTest::newRow("access refused")
        << u"mic access"_s << u"麦克风权限未授予"_s << true << steps.first(1);
    QTest::newRow("no microphone")
        << u"mic create"_s << setup + u"mic trouble"_s << false << steps.first(2);
    QTest::newRow("cannot prepare") << u"mic prepare"_s << refused << false << steps.first(3);
    QTest::newRow("does not record") << u"mic record"_s << refused << false << steps;
}

void MicRecorderTest::failedStartLeavesItIdle()
{
    QFETCH(const QString, step);
    AudioRig rig;
    rig.putFile(trackName, 10);
    rig.script.failAt(step);
    MicRecorder recorder(rig.microphones);

    const auto started = QCoro::waitFor(recorder.start(rig.url(trackName), AudioQuality::high));

    QVERIFY(!started);
    QTEST(started.error().description(), "message");
    QTEST(rig.script.calls, "calls");
    QTEST(QFile::exists(rig.path(trackName)), "oldFileStays");
    QVERIFY(!recorder.recorder());
    QCOMPARE(rig.microphones.liveRecorders, 0);
    QCOMPARE(QCoro::waitFor(recorder.stop()), std::nullopt);
}

void MicRecorderTest::recordingFromStartToStop()
{
    AudioRig rig;
    rig.putFile(trackName, 9999);
    QStringList events;
    MicRecorder recorder(rig.microphones);
    recorder.setOnEvent([&](const MicrophoneEvent &event) { events.append(event.text); });
    rig.microphones.power = -12.0F;

    QVERIFY(QCoro::waitFor(recorder.start(rig.url(trackName), AudioQuality::high)));
    QCOMPARE(rig.log.take(), QStringList(u"info audio.mic: mic → "_s + trackName));
    QCOMPARE(rig.microphones.lastPath, rig.path(trackName));
    QVERIFY(rig.microphones.isMetering);
    QCOMPARE(recorder.recorder()->averagePower(0), -12.0F);
    rig.microphones.handler({MicrophoneEvent::Kind::interrupted, u"麦克风已断开"_s});
    QCOMPARE(events, QStringList(u"麦克风已断开"_s));

    rig.script.holdAt(u"mic stop"_s);
    auto stopping = recorder.stop();
    QVERIFY(!stopping.isReady());
    QVERIFY(!recorder.recorder());
    QCOMPARE(QCoro::waitFor(recorder.stop()), std::nullopt);
    rig.script.releaseAt(u"mic stop"_s);
    QCOMPARE(QCoro::waitFor(stopping), std::optional(rig.url(trackName)));
    QCOMPARE(QFileInfo(rig.path(trackName)).size(), 4000);
}

QTEST_GUILESS_MAIN(MicRecorderTest)
#include "test_mic_recorder.moc"
