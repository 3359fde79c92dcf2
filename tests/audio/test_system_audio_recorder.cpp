#include "audio/PeakMeter.h"
#include "audio/SystemAudioRecorder.h"
#include "tests/support/AudioRig.h"

#include <QCoreApplication>
#include <QTest>

#include <array>
#include <atomic>
#include <limits>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const QString trackName = u"recording-2025-03-07-14-05-00.system.m4a"_s;

AudioBuffer stereo(std::span<const float> samples, MediaTime time)
{
    return AudioBuffer{
        .samples = samples, .channelCount = 2, .sampleRate = 48000, .presentationTime = time};
}
} // namespace

class SystemAudioRecorderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordingFromStartToStop()
    {
        AudioRig rig;
        SystemAudioRecorder recorder(rig.capture, rig.writers, rig.clock);
        QVERIFY(QCoro::waitFor(recorder.start(rig.url(trackName), AudioQuality::high)));
        QCOMPARE(rig.log.take(), QStringList(u"info audio.system: system → "_s + trackName));
        QCOMPARE(rig.capture.lastTarget.id, 7U);
        QCOMPARE(rig.capture.lastQueueName, u"com.parlovance.audio.system"_s);
        QVERIFY(rig.capture.lastFormat.excludesOwnAudio);
        QCOMPARE(rig.capture.lastFormat.sampleRate, 48000);
        QCOMPARE(rig.capture.lastFormat.channelCount, 2);

        // The first sound makes time zero; nothing to hear makes none.
        constexpr std::array sound{0.25F, -0.5F};
        rig.capture.listener->didCapture(stereo({}, 1s));
        QCOMPARE(rig.writers.sessionStart, std::nullopt);
        rig.capture.listener->didCapture(stereo(sound, 2s));
        rig.capture.listener->didCapture(stereo(sound, 3s));
        QCOMPARE(rig.writers.sessionStart, std::optional<MediaTime>(2s));
        QCOMPARE(recorder.currentLevel(), 0.5);

        // What the file cannot take is heard by the meter all the same.
        constexpr std::array louder{0.75F, 2.0F};
        rig.writers.isReady = false;
        rig.capture.listener->didCapture(stereo(louder, 4s));
        QCOMPARE(rig.writers.appended, QList<MediaTime>({2s, 3s}));
        QCOMPARE(recorder.currentLevel(), 1.0);

        rig.script.calls.clear();
        rig.script.holdAt(u"writer finish"_s);
        auto stopping = recorder.stop();
        QCOMPARE(QCoro::waitFor(recorder.stop()), std::nullopt);
        rig.script.releaseAt(u"writer finish"_s);
        QCOMPARE(QCoro::waitFor(stopping), std::optional(rig.url(trackName)));
        QCOMPARE(rig.script.calls, QStringList({u"capture stop"_s, u"writer finish"_s}));
        QCOMPARE(rig.capture.liveStreams, 0);
        QCOMPARE(rig.files(), QStringList(trackName));
    }

    void endOfCaptureIsToldOnceOnTheMainThread()
    {
        AudioRig rig;
        QStringList told;
        SystemAudioRecorder recorder(rig.capture, rig.writers, rig.clock);
        recorder.setOnStopWithError([&](const QString &reason) {
            QCOMPARE(QThread::currentThread(), QCoreApplication::instance()->thread());
            told.append(reason);
        });
        QVERIFY(QCoro::waitFor(recorder.start(rig.url(trackName), AudioQuality::high)));
        rig.log.take();

        std::thread([&] { rig.capture.listener->didStop(Error(u"声音服务已断开"_s)); }).join();
        QCOMPARE(told, QStringList());
        QTRY_COMPARE(told, QStringList(u"声音服务已断开"_s));
        QCOMPARE(rig.log.take(),
                 QStringList(u"error audio.system: SCStream stopped: 声音服务已断开"_s));

        // The file stays open until the stop, which gives it like any other.
        QCOMPARE(QCoro::waitFor(recorder.stop()), std::optional(rig.url(trackName)));
    }

    void fullDiskIsToldLikeAnEndOfCapture()
    {
        AudioRig rig;
        QStringList told;
        SystemAudioRecorder recorder(rig.capture, rig.writers, rig.clock);
        recorder.setOnStopWithError([&](const QString &reason) { told.append(reason); });
        QVERIFY(QCoro::waitFor(recorder.start(rig.url(trackName), AudioQuality::high)));

        constexpr std::array sound{0.25F, -0.5F};
        rig.writers.isReady = false;
        rig.writers.failure = Error(u"磁盘已满"_s);
        rig.capture.listener->didCapture(stereo(sound, 1s));
        rig.capture.listener->didCapture(stereo(sound, 2s));
        rig.capture.listener->didStop(Error(u"later"_s));

        QTRY_VERIFY(!told.isEmpty());
        QCoreApplication::processEvents();
        QCOMPARE(told, QStringList(u"磁盘已满"_s));
    }

    void ownerGoneBeforeTheEndIsTold()
    {
        AudioRig rig;
        bool isTold = false;
        auto recorder = std::make_unique<SystemAudioRecorder>(rig.capture, rig.writers, rig.clock);
        recorder->setOnStopWithError([&](const QString &) { isTold = true; });
        QVERIFY(QCoro::waitFor(recorder->start(rig.url(trackName), AudioQuality::high)));
        rig.capture.listener->didStop(Error(u"gone"_s));
        recorder.reset();
        QCoreApplication::processEvents();
        QVERIFY(!isTold);
        QCOMPARE(rig.capture.liveStreams, 0);
    }

    void meterRisesAtOnceAndFallsSlowly()
    {
        FakeClock clock;
        clock.media = 0.0;
        PeakMeter meter(clock);
        const auto hear = [&](float sample) { meter.update({&sample, 1}); };
        const auto levelAfter = [&](double seconds) {
            clock.media += seconds;
            return meter.currentLevel();
        };
        const auto isNear = [](double level, double expected) {
            return std::abs(level - expected) < 0.00005;
        };

        hear(-0.8F);
        QVERIFY(isNear(meter.currentLevel(), 0.8));
        hear(0.1F);
        QVERIFY(isNear(meter.currentLevel(), 0.6));
        hear(3.0F);
        QCOMPARE(meter.currentLevel(), 1.0);

        QVERIFY(isNear(levelAfter(0.5), 0.5477));
        QVERIFY(isNear(levelAfter(0.05), 0.5477));
        QVERIFY(isNear(levelAfter(2.0), 0.5477 * 0.3));

        // What is no sample changes nothing.
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        constexpr std::array partly{nan, 0.5F, nan};
        meter.update(partly);
        meter.update({});
        QCOMPARE(meter.currentLevel(), 0.5);

        clock.media = 0.0; // where the difference below is exact
        hear(1.0F);
        QCOMPARE(levelAfter(0.08), 1.0);
        QVERIFY(levelAfter(0.001) < 1.0);
    }

    void meterIsReadWhileItIsFed()
    {
        AudioRig rig;
        SystemAudioRecorder recorder(rig.capture, rig.writers, rig.clock);
        QVERIFY(QCoro::waitFor(recorder.start(rig.url(trackName), AudioQuality::high)));
        constexpr std::array sound{0.5F, 0.5F};
        std::atomic<bool> isDone = false;
        std::thread queue([&] {
            for (int i = 0; i < 20000; ++i)
                rig.capture.listener->didCapture(stereo(sound, MediaTime(i)));
            isDone = true;
        });
        double highest = 0.0;
        while (!isDone)
            highest = std::max(highest, recorder.currentLevel());
        queue.join();
        QCOMPARE(std::max(highest, recorder.currentLevel()), 0.5);
        QCOMPARE(QCoro::waitFor(recorder.stop()), std::optional(rig.url(trackName)));
        QCOMPARE(rig.writers.appended.size(), 20000);
    }
};

QTEST_GUILESS_MAIN(SystemAudioRecorderTest)
#include "test_system_audio_recorder.moc"
