#include "platform/linux/pipewire/PipeWireStream.h"
#include "tests/support/LiveSound.h"
#include "tests/support/SoundSession.h"
#include "tests/support/UndisturbedAttempts.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QTest>
#include <QThreadPool>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
using Kind = MicrophoneEvent::Kind;

const QString speaker = qEnvironmentVariable("PARLOVANCE_SPEAKER");
const QString microphone = qEnvironmentVariable("PARLOVANCE_MICROPHONE");

/// With a connection of its own.
struct Recording : Connection, LiveMicrophone {
    Recording()
        : LiveMicrophone(static_cast<Connection &>(*this))
    {
    }
};

/// A microphone that can be pulled out.
class Plugged
{
public:
    Plugged()
        : m_module(SoundSession::addMicrophone(u"plugged"_s))
    {
        SoundSession::run({u"pactl"_s, u"set-default-source"_s, u"plugged"_s});
        if (!SoundSession::waitForOutput({u"pactl"_s, u"get-default-source"_s}, u"plugged"_s))
            qFatal("the microphone does not become the default");
        m_voice = SoundSession::speak(SoundSession::counterFile(60.0, 1, 1), u"plugged"_s);
    }
    ~Plugged() { pull(); }
    Q_DISABLE_COPY_MOVE(Plugged)

    void pull()
    {
        m_voice.reset();
        if (!m_module.isEmpty())
            SoundSession::removeDevice(std::exchange(m_module, QString()));
    }

private:
    QString m_module;
    std::unique_ptr<SoundSession::Running> m_voice;
};
} // namespace

class TestMicrophoneRecorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY2(!microphone.isEmpty(), "needs a private session");
        // A new thread for every task: the race detector sees no work being handed to an old one.
        QThreadPool::globalInstance()->setExpiryTimeout(0);
    }

    void recordsWhatIsSpoken()
    {
        for (UndisturbedAttempts attempts; attempts.next();) {
            Recording recording;
            QVERIFY(recording.isRunning);
            QCOMPARE(recording.writers.encoding.channelCount, 1);
            QCOMPARE(recording.recorder->averagePower(0), -160.0F);
            const auto voice =
                SoundSession::speak(SoundSession::counterFile(30.0, 1, 1), microphone);
            // Two seconds of the counter, so that its value hardly changes within the meter's
            // window.
            const auto last = [&recording] {
                const std::vector<float> samples = recording.writers.sound.samples();
                return samples.empty() ? 0.0 : std::abs(double{samples.back()});
            };
            QTRY_VERIFY_WITH_TIMEOUT(last() > 96000.0 / 16777216.0, 20'000);
            const float power = recording.recorder->averagePower(0);
            const auto expected = static_cast<float>(20.0 * std::log10(last()));
            QCOMPARE(recording.recorder->averagePower(1), -160.0F);
            recording.end();
            if (attempts.wasDisturbed())
                continue;

            QVERIFY2(std::abs(power - expected) < 2.0F, qPrintable(QString::number(power)));
            const auto trace = CounterTrace::find(recording.writers.sound.samples(), 1);
            qInfo("start %lld ms, first sample %lld ms after the start",
                  recording.startMilliseconds, trace.firstPlace / 48);
            QVERIFY(trace.frames > 48000);
            QCOMPARE(trace.skipped + trace.repeated, 0);
            QVERIFY(recording.writers.sound.isWithoutHoles());
            QVERIFY(recording.writers.isFinished);
            QVERIFY(std::abs(recording.lengthError) < 0.2);
            QCOMPARE(recording.events, QList<Kind>());
            return;
        }
        QSKIP(UndisturbedAttempts::skipped);
    }

    void beginsTogetherWithTheSystemTrack()
    {
        for (UndisturbedAttempts attempts; attempts.next();) {
            // One player on both devices: the same counter, at the same time, and a common clock.
            const auto voice =
                SoundSession::speak(SoundSession::counterFile(30.0, 1, 1), microphone);
            QVERIFY(SoundSession::waitForOutput({u"pw-link"_s, u"-l"_s, u"-o"_s},
                                                u"-> "_s + microphone));
            const QString player =
                SoundSession::run({u"sh"_s, u"-c"_s, u"pw-link -o | grep -m1 ^voice-"_s});
            SoundSession::run({u"pw-link"_s, player, speaker + u":playback_FL"_s});

            Connection connection;
            LiveCapture system(connection);
            QVERIFY(system.started);
            LiveMicrophone recording(connection);
            QVERIFY(recording.waitFor(3.0));
            system.end();
            recording.end();
            QCOMPARE(recording.writers.sound.origin(), system.kept.sound.origin());

            if (attempts.wasDisturbed())
                continue;
            const auto heard = CounterTrace::find(system.kept.sound.samples(), 1);
            const auto spoken = CounterTrace::find(recording.writers.sound.samples(), 1);
            qInfo("the same sound is %.2f ms apart",
                  double(heard.lastOffset - spoken.lastOffset) / 48.0);
            QVERIFY(heard.frames > 48000);
            // What is played now reaches a virtual microphone at once, the output's monitor in the
            // next cycle, when it is heard.
            QCOMPARE(heard.lastOffset - spoken.lastOffset, 2048);
            return;
        }
        QSKIP(UndisturbedAttempts::skipped);
    }

    void keepsTimeWhileCyclesChange()
    {
        const QString silence = SoundSession::counterFile(60.0, 0, 2);
        const QTemporaryDir folder;
        for (UndisturbedAttempts attempts; attempts.next();) {
            const auto player = SoundSession::play(SoundSession::counterFile(60.0, 1, 2), speaker);
            const auto voice =
                SoundSession::speak(SoundSession::counterFile(60.0, 1, 1), microphone);
            Connection connection;
            LiveCapture system(connection);
            QVERIFY(system.started);
            LiveMicrophone recording(connection);
            QVERIFY(recording.isRunning);
            // Others who want short cycles come and go on both devices, and are there at the end.
            for (int change = 0; change < 20; ++change) {
                const auto until = [&] { return 0.5 + system.kept.sound.seconds(); };
                QVERIFY(system.waitFor(until()));
                const SoundSession::Running shortPlayer(
                    {u"pw-play"_s, u"--latency"_s, u"256"_s, u"--target"_s, speaker, silence});
                const SoundSession::Running shortRecorder({u"pw-record"_s, u"--latency"_s, u"256"_s,
                                                           u"--target"_s, microphone,
                                                           folder.filePath(u"other.wav"_s)});
                QVERIFY(system.waitFor(until()));
                if (change == 19) {
                    system.end();
                    recording.end();
                }
            }
            const auto heard = system.kept.sound.samples();
            const auto spoken = recording.writers.sound.samples();
            const double apart = std::chrono::duration<double>(system.kept.sound.origin() -
                                                               recording.writers.sound.origin())
                                     .count() +
                                 system.kept.sound.seconds() - recording.writers.sound.seconds();
            qInfo("lengths %.1f and %.1f ms off, ends %.1f ms apart", system.lengthError * 1000.0,
                  recording.lengthError * 1000.0, apart * 1000.0);
            if (attempts.wasDisturbed())
                continue;
            // A track that had lost its time by more than some milliseconds would have been
            // stretched, and its samples would not be whole numbers any more.
            QCOMPARE(CounterTrace::find(heard, 1).altered, 0);
            QCOMPARE(CounterTrace::find(spoken, 1).altered, 0);
            QVERIFY(CounterTrace::find(heard, 1).frames > 15 * 48000);
            QVERIFY(CounterTrace::find(spoken, 1).frames > 15 * 48000);
            QVERIFY(std::abs(system.lengthError) < 0.02);
            QVERIFY(std::abs(recording.lengthError) < 0.02);
            QVERIFY(std::abs(apart) < 0.02);
            return;
        }
        QSKIP(UndisturbedAttempts::skipped);
    }

    void followsTheDefaultMicrophone()
    {
        for (UndisturbedAttempts attempts; attempts.next();) {
            const auto voice =
                SoundSession::speak(SoundSession::counterFile(30.0, 1, 1), microphone);
            Recording recording;
            QVERIFY(recording.waitFor(2.0));
            const QString other = SoundSession::addMicrophone(u"other"_s);
            SoundSession::run({u"pactl"_s, u"set-default-source"_s, u"other"_s});
            QVERIFY(recording.waitFor(4.0));
            SoundSession::removeDevice(other);
            QVERIFY(recording.waitFor(6.0));
            recording.end();

            if (attempts.wasDisturbed())
                continue;
            const auto samples = recording.writers.sound.samples();
            const auto trace = CounterTrace::find(samples, 1);
            qInfo("away for %lld ms, counter moved by %lld", trace.skipped / 48,
                  trace.lastOffset - trace.firstOffset);
            QVERIFY(trace.skipped > 48000);
            QVERIFY(trace.lastPlace > static_cast<qint64>(samples.size()) - 24000);
            QVERIFY(std::abs(trace.lastOffset - trace.firstOffset) < 48000 / 20);
            QVERIFY(std::abs(recording.lengthError) < 0.2);
            QCOMPARE(recording.events, QList<Kind>());
            return;
        }
        QSKIP(UndisturbedAttempts::skipped);
    }

    void stopsWhenTheFileFails()
    {
        Recording recording;
        QVERIFY(recording.waitFor(0.5));
        recording.writers.isFull = true;
        QTRY_COMPARE(recording.events, QList<Kind>{Kind::ended});
        QCOMPARE(recording.texts, QStringList{u"磁盘空间不足"_s});
        recording.end();
        QCOMPARE(recording.events.size(), 1);
        QVERIFY(recording.writers.isFinished);
    }

    void neverRecordsTheSpeakers()
    {
        const auto player = SoundSession::play(SoundSession::counterFile(90.0, -1, 2), speaker);
        // From here on there is no microphone but the one that is pulled out.
        SoundSession::run({u"pw-cli"_s, u"destroy"_s, microphone});
        QVERIFY(SoundSession::waitForOutput({u"pactl"_s, u"get-default-source"_s}, speaker));
        auto plugged = std::make_unique<Plugged>();
        Recording recording;
        QVERIFY(recording.isRunning);
        QVERIFY(recording.waitFor(2.0));

        QElapsedTimer timer;
        for (int round = 0; round < 3; ++round) {
            recording.events.clear();
            plugged->pull();
            timer.start();
            QTRY_COMPARE_WITH_TIMEOUT(recording.events, QList<Kind>{Kind::interrupted}, 5000);
            qInfo("told after %lld ms: %s", timer.elapsed(), qPrintable(recording.texts.last()));
            QVERIFY(timer.elapsed() < 2000);
            // The session manager offers the speakers in its place.
            QVERIFY(SoundSession::waitForOutput({u"pactl"_s, u"get-default-source"_s}, speaker));
            QVERIFY(recording.waitFor(recording.writers.sound.seconds() + 0.5));
            plugged = std::make_unique<Plugged>();
            QTRY_COMPARE_WITH_TIMEOUT(recording.events,
                                      (QList<Kind>{Kind::interrupted, Kind::resumed}), 5000);
            const double before = recording.writers.sound.seconds();
            QVERIFY(recording.waitFor(before + 1.5));
        }
        recording.end();
        const auto samples = recording.writers.sound.samples();
        QCOMPARE(CounterTrace::find(samples, -1).frames, 0);
        const auto voice = CounterTrace::find(samples, 1);
        QVERIFY(voice.frames > 4 * 48000);
        QVERIFY(voice.lastPlace > static_cast<qint64>(samples.size()) - 24000);
        QVERIFY(recording.writers.sound.isWithoutHoles());
        qInfo("length %.1f ms off", recording.lengthError * 1000.0);
        QVERIFY(std::abs(recording.lengthError) < 0.2);
    }

    void needsAMicrophone()
    {
        QTRY_VERIFY(
            !SoundSession::run({u"pactl"_s, u"list"_s, u"sources"_s}).contains(u"plugged"_s));
        const Recording recording;
        QCOMPARE(recording.refusal, u"没有找到麦克风"_s);

        // A microphone that goes before its stream is linked is not replaced by the speakers.
        WakeUp worker;
        const auto lost = PipeWireStream::open(*PipeWireServer().connection(),
                                               {.microphone = 999'999, .channelCount = 1}, worker);
        QTRY_VERIFY((*lost)->failure());
        QVERIFY(!(*lost)->isLinked());

        Connection connection;
        KeptSoundWriters writers;
        PipeWireMicrophones microphones(connection.server, connection.origin, writers);
        QVERIFY(QCoro::waitFor(microphones.requestAccess()));
    }
};

QTEST_GUILESS_MAIN(TestMicrophoneRecorder)
#include "test_microphone_recorder.moc"
