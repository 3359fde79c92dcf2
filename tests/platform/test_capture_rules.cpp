#include "platform/linux/pipewire/AudioGraph.h"
#include "platform/linux/pipewire/MicrophoneWriter.h"
#include "platform/linux/pipewire/PowerMeter.h"
#include "tests/support/FakeAudioFileWriter.h"

#include <QTest>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// The speakers, a microphone, a player.
AudioGraph desktop()
{
    AudioGraph graph;
    graph.addNode(30, {u"Audio/Sink"_s, u"speakers"_s, 130});
    graph.addNode(40, {u"Audio/Source/Virtual"_s, u"headset"_s, 140});
    graph.addNode(45, {u"Stream/Output/Audio"_s, u"player"_s, 145});
    graph.addLink(60, {45, 30});
    return graph;
}

void addSine(PowerMeter &meter, double amplitude, double seconds, MediaTime arrival)
{
    std::vector<float> samples(1024 * 2);
    for (int frame = 0; frame < 48000 * seconds; frame += 1024) {
        for (std::size_t index = 0; index < 1024; ++index) {
            const double phase = 2.0 * std::numbers::pi * 997.0 * double(index) / 48000.0;
            samples[2 * index] = static_cast<float>(amplitude * std::sin(phase));
            samples[2 * index + 1] = 1.0F; // the second channel does not count
        }
        meter.add({samples, 2, 48000, arrival}, arrival);
    }
}
} // namespace

class TestCaptureRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsOutputs()
    {
        AudioGraph graph = desktop();
        graph.addNode(33, {u"Audio/Duplex"_s, u"phone"_s, 133});
        QCOMPARE(graph.sinks().size(), 2);
        graph.remove(30);
        QCOMPARE(graph.sinks().size(), 1);
    }

    void tellsAMicrophoneFromTheSpeakers()
    {
        AudioGraph graph = desktop();
        QCOMPARE(graph.defaultMicrophone(), std::nullopt); // before the session manager chose
        graph.setDefaultSource(u"headset"_s);
        QCOMPARE(graph.defaultMicrophone(), 140);
        // The monitor stands in where there is no microphone, by the name of its output.
        graph.setDefaultSource(u"speakers"_s);
        QCOMPARE(graph.defaultMicrophone(), std::nullopt);
        graph.setConfiguredSource(u"headset"_s);
        QCOMPARE(graph.defaultMicrophone(), 140);
        graph.remove(40);
        QCOMPARE(graph.defaultMicrophone(), std::nullopt);
    }

    void knowsWhatIsLinked()
    {
        AudioGraph graph = desktop();
        QVERIFY(graph.isLinked(30));
        QVERIFY(!graph.isLinked(45)); // its output is
        graph.remove(60);
        QVERIFY(!graph.isLinked(30));
    }

    void measuresPower()
    {
        PowerMeter meter;
        QCOMPARE(meter.decibels(5s), -160.0F);
        addSine(meter, 1.0, 1.0, 5s);
        QVERIFY(std::abs(meter.decibels(5s) - -3.01F) < 0.05F);
        addSine(meter, 0.1, 1.0, 6s);
        QVERIFY(std::abs(meter.decibels(6s) - -23.01F) < 0.05F);
        addSine(meter, 0.0, 0.5, 7s);
        QVERIFY(std::abs(meter.decibels(7s) - (-23.01F - 21.7F)) < 1.0F);
        QVERIFY(meter.decibels(7500ms) > -160.0F);
        QCOMPARE(meter.decibels(7501ms), -160.0F);
        addSine(meter, 100.0, 1.0, 8s);
        QCOMPARE(meter.decibels(8s), 0.0F);
    }

    void skipsWhatIsNotANumber()
    {
        PowerMeter meter;
        addSine(meter, 0.1, 1.0, 5s);
        const float before = meter.decibels(5s);
        for (const float bad :
             {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
            const std::vector<float> samples(1024, bad);
            meter.add({samples, 1, 48000, 5s}, 5s);
            meter.add({{}, 1, 48000, 5s}, 5s);
            QCOMPARE(meter.decibels(5s), before);
        }
    }

    void microphoneBeginsWithTheSystemTrack_data()
    {
        QTest::addColumn<MediaTime>("origin");
        QTest::addColumn<MediaTime>("timeZero");
        QTest::addRow("alone") << MediaTime(0) << MediaTime(1000s);
        QTest::addRow("at once") << MediaTime(999s) << MediaTime(999s);
        QTest::addRow("access granted minutes later") << MediaTime(700s) << MediaTime(700s);
        QTest::addRow("before it") << MediaTime(1001s) << MediaTime(1000s);
    }

    void microphoneBeginsWithTheSystemTrack()
    {
        QFETCH(const MediaTime, origin);
        Script script;
        FakeAudioFileWriterFactory writers(script);
        TrackOrigin systemTrack;
        systemTrack.set(origin);
        MicrophoneWriter file(*writers.create(u"/nowhere"_s), systemTrack, {});
        const std::vector<float> sound(480);
        file.didCapture({sound, 1, 48000, 1000s});
        QCOMPARE(writers.appended, QList<MediaTime>{1000s});
        QTEST(*writers.sessionStart, "timeZero");
    }

    void stalledMicrophoneComesBack()
    {
        Script script;
        FakeAudioFileWriterFactory writers(script);
        TrackOrigin alone;
        QStringList told;
        MicrophoneWriter file(*writers.create(u"/nowhere"_s), alone,
                              [&](const MicrophoneEvent &event) { told.append(event.text); });
        const std::vector<float> sound(480);
        file.didCapture({sound, 1, 48000, 1s});
        file.didStop(Error(u"stalled"_s));
        file.microphoneChanged(false);
        file.didCapture({sound, 1, 48000, 9s});
        QCOMPARE(writers.appended, (QList<MediaTime>{1s, 9s}));
        // A file that fails then is not told as a second end.
        writers.isReady = false;
        writers.failure = Error(u"full"_s);
        file.didCapture({sound, 1, 48000, 10s});
        QCOMPARE(writers.appended.size(), 2);
        QCOMPARE(told, QStringList{u"stalled"_s});
    }
};

QTEST_GUILESS_MAIN(TestCaptureRules)
#include "test_capture_rules.moc"
