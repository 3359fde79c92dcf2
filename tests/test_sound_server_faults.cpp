#include "base/Tasks.h"
#include "platform/linux/pipewire/MediaClock.h"
#include "platform/linux/pipewire/PipeWireCaptureService.h"
#include "platform/linux/pipewire/PipeWireMicrophones.h"
#include "tests/support/KeptSound.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SoundSession.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QTest>
#include <QThreadPool>

#include <signal.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// Both tracks, from creation to end().
class Meeting
{
public:
    Meeting()
    {
        QElapsedTimer timer;
        timer.start();
        m_stream = m_service.makeStream({}, CaptureFormat());
        if (m_stream->deliverTo(system, u"com.parlovance.audio.system"_s))
            started = QCoro::waitFor(m_stream->start());
        startMilliseconds = timer.elapsed();
        PipeWireMicrophones microphones(m_server, m_origin, writers);
        auto created = QCoro::waitFor(microphones.create(u"/nowhere"_s, {48000, 1, 48000}));
        if (!created) {
            refusal = created.error().description();
            return;
        }
        m_recorder = std::move(*created);
        m_recorder->setEventHandler([this](const MicrophoneEvent &event) {
            if (event.kind == MicrophoneEvent::Kind::ended)
                endings.append(event.text);
        });
        QCoro::waitFor(m_recorder->prepare());
        QCoro::waitFor(m_recorder->record());
    }

    bool waitFor(double seconds) const
    {
        return started &&
               QTest::qWaitFor([&] { return system.sound.seconds() >= seconds; }, 10'000);
    }

    void end()
    {
        const MediaTime stopTime = mediaNow();
        QCoro::waitFor(m_stream->stop());
        stopMilliseconds = std::chrono::duration<double, std::milli>(mediaNow() - stopTime).count();
        lengthError = system.sound.lengthError(stopTime, mediaNow());
        QCoro::waitFor(m_recorder->stop());
    }

    KeptCapture system;
    KeptSoundWriters writers;
    QStringList endings; ///< of the microphone
    QString refusal;
    std::expected<void, Error> started = std::unexpected(Error(u"not delivered"_s));
    qint64 startMilliseconds = 0;
    double stopMilliseconds = 0;
    double lengthError = 0;

private:
    PipeWireServer m_server;
    TrackOrigin m_origin;
    PipeWireCaptureService m_service{m_server, m_origin};
    std::unique_ptr<CaptureStream> m_stream;
    std::unique_ptr<MicrophoneRecorder> m_recorder;
};

/// The private session's sound server stops answering until thawed.
class Frozen
{
public:
    explicit Frozen(const QString &process)
        : m_process(static_cast<pid_t>(SoundSession::processNamed(process).value_or(0)))
    {
        if (m_process == 0 || ::kill(m_process, SIGSTOP) != 0)
            qFatal("no process to stop");
    }
    ~Frozen() { ::kill(m_process, SIGCONT); }
    Q_DISABLE_COPY_MOVE(Frozen)

private:
    pid_t m_process;
};

void killProcess(const QString &name)
{
    const auto process = SoundSession::processNamed(name);
    QVERIFY(process);
    QCOMPARE(::kill(static_cast<pid_t>(*process), SIGKILL), 0);
}
} // namespace

class TestSoundServerFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY2(qEnvironmentVariableIsSet("PARLOVANCE_SESSION"), "needs a session");
        // A new thread for every task: the race detector sees no work being handed to an old one.
        QThreadPool::globalInstance()->setExpiryTimeout(0);
    }

    void survivesAShortFreeze();
    void tellsWhenTheServerFreezes();
    void tellsWhenTheServerDies();
    void tellsWhenTheSessionManagerLeaves(); // last: it never serves a running server again

private:
    std::unique_ptr<SoundSession::Running> m_server;
    std::unique_ptr<SoundSession::Running> m_manager;
};

void TestSoundServerFaults::survivesAShortFreeze()
{
    LogCapture log;
    Meeting meeting;
    QVERIFY(meeting.waitFor(1.0));
    {
        const Frozen frozen(u"pipewire"_s);
        QTest::qWait(3000);
    }
    QVERIFY(meeting.waitFor(6.0));
    meeting.end();
    // However long silence is filled in, it is not told over and over.
    const QStringList lines = log.take().filter(u"filled in"_s);
    QVERIFY2(lines.size() >= 2 && lines.size() <= 12, qPrintable(lines.join(u'\n')));
    qInfo("length %.1f ms off", meeting.lengthError * 1000.0);
    QVERIFY(std::abs(meeting.lengthError) < 0.1);
    QVERIFY(meeting.system.sound.isWithoutHoles());
    QCOMPARE(meeting.system.stopReasons(), QStringList());
}

void TestSoundServerFaults::tellsWhenTheServerFreezes()
{
    Meeting meeting;
    QVERIFY(meeting.waitFor(1.0));
    {
        QElapsedTimer timer;
        timer.start();
        const Frozen frozen(u"pipewire"_s);
        QTRY_COMPARE_WITH_TIMEOUT(meeting.system.stopReasons().size(), 1, 8000);
        qInfo("told after %lld ms: %s", timer.elapsed(),
              qPrintable(meeting.system.stopReasons().constFirst()));
        QVERIFY(timer.elapsed() > 4000);
        QTRY_COMPARE(meeting.endings.size(), 1);
        meeting.end();
        QVERIFY2(meeting.stopMilliseconds < 1000, "stop() waited for a frozen server");
        QVERIFY(std::abs(meeting.lengthError) < 0.1);

        timer.start();
        const Meeting next;
        QVERIFY(!next.started);
        qInfo("refused after %lld ms: %s", next.startMilliseconds,
              qPrintable(next.started.error().description()));
        QVERIFY(next.startMilliseconds < 6000);
    }
    const Meeting thawed;
    QVERIFY(thawed.started);
}

void TestSoundServerFaults::tellsWhenTheServerDies()
{
    Meeting meeting;
    QVERIFY(meeting.waitFor(1.0));
    QElapsedTimer timer;
    timer.start();
    killProcess(u"pipewire"_s);
    QTRY_COMPARE_WITH_TIMEOUT(meeting.system.stopReasons().size(), 1, 2000);
    qInfo("told after %lld ms: %s", timer.elapsed(),
          qPrintable(meeting.system.stopReasons().constFirst()));
    QVERIFY(timer.elapsed() < 500);
    QCOMPARE(meeting.system.stopReasons(), QStringList{u"声音服务已断开（connection error）"_s});
    QTRY_COMPARE(meeting.endings, QStringList{u"声音服务已断开（connection error）"_s});
    // The stop that follows may take its time.
    QVERIFY(meeting.waitFor(meeting.system.sound.seconds() + 0.5));
    meeting.end();
    QVERIFY(std::abs(meeting.lengthError) < 0.1);
    QVERIFY(meeting.system.sound.isWithoutHoles());
    QCOMPARE(meeting.system.stopReasons().size(), 1);

    const Meeting refused;
    QVERIFY(!refused.started);
    qInfo("refused after %lld ms: %s", refused.startMilliseconds,
          qPrintable(refused.started.error().description()));
    QVERIFY(refused.startMilliseconds < 1000);
    QVERIFY(refused.started.error().description().startsWith(u"无法连接声音服务（"_s));
    QCOMPARE(refused.refusal, refused.started.error().description());

    m_server = std::make_unique<SoundSession::Running>(QStringList{u"pipewire"_s});
    QVERIFY(SoundSession::waitForOutput({u"pw-cli"_s, u"info"_s, u"0"_s}, u"PipeWire:Interface"_s));
    m_manager = std::make_unique<SoundSession::Running>(QStringList{u"wireplumber"_s});
    QVERIFY(SoundSession::waitForOutput({u"pw-metadata"_s}, u"default.audio.sink"_s));
    const Meeting again;
    QVERIFY(again.started);
    QCOMPARE(again.refusal, QString());
}

void TestSoundServerFaults::tellsWhenTheSessionManagerLeaves()
{
    Meeting meeting;
    QVERIFY(meeting.waitFor(1.0));
    QElapsedTimer timer;
    timer.start();
    killProcess(u"wireplumber"_s);
    QTRY_COMPARE_WITH_TIMEOUT(meeting.system.stopReasons().size(), 1, 10'000);
    qInfo("told after %lld ms: %s", timer.elapsed(),
          qPrintable(meeting.system.stopReasons().constFirst()));
    meeting.end();
    QVERIFY(std::abs(meeting.lengthError) < 0.1);
}

QTEST_GUILESS_MAIN(TestSoundServerFaults)
#include "test_sound_server_faults.moc"
