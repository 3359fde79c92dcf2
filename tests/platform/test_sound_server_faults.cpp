#include "tests/support/LiveSound.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SoundSession.h"

#include <QCoroTask>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <QThreadPool>

#include <signal.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// Both tracks, from creation to end().
struct Meeting : Connection {
    void end()
    {
        capture.end();
        mic.end();
    }

    LiveCapture capture{*this};
    LiveMicrophone mic{*this};
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

QList<QByteArray> threadNames()
{
    QList<QByteArray> names;
    const QDir threads(u"/proc/self/task"_s);
    for (const QString &thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (QFile file(threads.filePath(thread + u"/comm"_s)); file.open(QIODevice::ReadOnly))
            names.append(file.readAll().trimmed());
    }
    return names;
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

    void survivesAShortFreeze()
    {
        LogCapture log;
        Meeting meeting;
        QVERIFY(meeting.capture.waitFor(1.0));
        {
            const Frozen frozen(u"pipewire"_s);
            QTest::qWait(3000);
        }
        QVERIFY(meeting.capture.waitFor(6.0));
        meeting.end();
        // However long silence is filled in, it is not told over and over.
        const QStringList lines = log.take().filter(u"filled in"_s);
        QVERIFY2(lines.size() >= 2 && lines.size() <= 12, qPrintable(lines.join(u'\n')));
        qInfo("length %.1f ms off", meeting.capture.lengthError * 1000.0);
        QVERIFY(std::abs(meeting.capture.lengthError) < 0.1);
        QVERIFY(meeting.capture.kept.sound.isWithoutHoles());
        QCOMPARE(meeting.capture.kept.stopReasons(), QStringList());
    }

    void tellsWhenTheServerFreezes()
    {
        Meeting meeting;
        QVERIFY(meeting.capture.waitFor(1.0));
        {
            QElapsedTimer timer;
            timer.start();
            const Frozen frozen(u"pipewire"_s);
            QTRY_COMPARE_WITH_TIMEOUT(meeting.capture.kept.stopReasons().size(), 1, 8000);
            qInfo("told after %lld ms: %s", timer.elapsed(),
                  qPrintable(meeting.capture.kept.stopReasons().constFirst()));
            QVERIFY(timer.elapsed() > 4000);
            QTRY_COMPARE(meeting.mic.events.count(MicrophoneEvent::Kind::ended), 1);
            meeting.end();
            QVERIFY2(meeting.capture.stopMilliseconds < 1000, "stop() waited for a frozen server");
            QVERIFY(std::abs(meeting.capture.lengthError) < 0.1);

            timer.start();
            const Meeting next;
            QVERIFY(!next.capture.started);
            qInfo("refused after %lld ms: %s", next.capture.startMilliseconds,
                  qPrintable(next.capture.started.error().description()));
            QVERIFY(next.capture.startMilliseconds < 6000);
        }
        const Meeting thawed;
        QVERIFY(thawed.capture.started);
    }

    void tellsWhenTheServerDies()
    {
        Meeting meeting;
        QVERIFY(meeting.capture.waitFor(1.0));
        for (const char *const name : {"audio.system", "audio.mic", "sound-server", "sound-data"})
            QVERIFY2(threadNames().contains(name), name);
        QElapsedTimer timer;
        timer.start();
        killProcess(u"pipewire"_s);
        QTRY_COMPARE_WITH_TIMEOUT(meeting.capture.kept.stopReasons().size(), 1, 2000);
        qInfo("told after %lld ms: %s", timer.elapsed(),
              qPrintable(meeting.capture.kept.stopReasons().constFirst()));
        QVERIFY(timer.elapsed() < 500);
        QCOMPARE(meeting.capture.kept.stopReasons(), QStringList{u"声音服务已断开"_s});
        QTRY_COMPARE(meeting.mic.texts, QStringList{u"声音服务已断开"_s});
        // The stop that follows may take its time.
        QVERIFY(meeting.capture.waitFor(meeting.capture.kept.sound.seconds() + 0.5));
        meeting.end();
        QVERIFY(std::abs(meeting.capture.lengthError) < 0.1);
        QVERIFY(meeting.capture.kept.sound.isWithoutHoles());
        QCOMPARE(meeting.capture.kept.stopReasons().size(), 1);

        const Meeting refused;
        QVERIFY(!refused.capture.started);
        qInfo("refused after %lld ms: %s", refused.capture.startMilliseconds,
              qPrintable(refused.capture.started.error().description()));
        QVERIFY(refused.capture.startMilliseconds < 1000);
        QVERIFY(refused.capture.started.error().description().startsWith(u"无法连接声音服务（"_s));
        QCOMPARE(refused.mic.refusal, refused.capture.started.error().description());

        m_server = std::make_unique<SoundSession::Running>(QStringList{u"pipewire"_s});
        QVERIFY(
            SoundSession::waitForOutput({u"pw-cli"_s, u"info"_s, u"0"_s}, u"PipeWire:Interface"_s));
        m_manager = std::make_unique<SoundSession::Running>(QStringList{u"wireplumber"_s});
        QVERIFY(SoundSession::waitForOutput({u"pw-metadata"_s}, u"default.audio.sink"_s));
        const Meeting again;
        QVERIFY(again.capture.started);
        QCOMPARE(again.mic.refusal, QString());
    }

    void tellsWhenTheSessionManagerLeaves()
    {
        Meeting meeting;
        QVERIFY(meeting.capture.waitFor(1.0));
        QElapsedTimer timer;
        timer.start();
        killProcess(u"wireplumber"_s);
        QTRY_COMPARE_WITH_TIMEOUT(meeting.capture.kept.stopReasons().size(), 1, 10'000);
        qInfo("told after %lld ms: %s", timer.elapsed(),
              qPrintable(meeting.capture.kept.stopReasons().constFirst()));
        QTRY_COMPARE(meeting.mic.events, QList{MicrophoneEvent::Kind::interrupted});
        meeting.end();
        QVERIFY(std::abs(meeting.capture.lengthError) < 0.1);
    }

private:
    std::unique_ptr<SoundSession::Running> m_server;
    std::unique_ptr<SoundSession::Running> m_manager;
};

QTEST_GUILESS_MAIN(TestSoundServerFaults)
#include "test_sound_server_faults.moc"
