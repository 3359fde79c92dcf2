#include "core/AppState.h"
#include "core/RecentsCoding.h"
#include "core/RecentsFile.h"
#include "core/RecordingJournal.h"
#include "tests/support/AppRig.h"
#include "tests/support/NoService.h"

#include <QCoroTask>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <optional>
#include <tuple>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(RecordingState)

namespace
{
using State = RecordingState;

const QString tooShort = u"录音不足 10 秒，已自动丢弃"_s;

/// The application's state on a scripted machine, where a second takes a millisecond.
class Stage : public AppRig
{
public:
    Stage() { start(); }

    /// As if the application had been started anew, where one runs already, with the list and the
    /// files that are there now.
    void start()
    {
        app.emplace(rig.platform(), service.uploader(), prefs, 1ms);
        std::ignore = app->recents();
    }

    /// Toggles, and waits until it has taken effect, or is held by the script.
    void toggle()
    {
        app->toggleRecording();
        settle();
    }

    void settle()
    {
        QVERIFY(QTest::qWaitFor([this] {
            return app->state() == State::idle || app->state() == State::recording ||
                   rig.script.isWaitingAnywhere();
        }));
    }

    /// Waits for exactly \p seconds counted seconds, and toggles within the last.
    void toggleAfter(int seconds)
    {
        afterTick(seconds, [this] { app->toggleRecording(); });
        settle();
    }

    void afterTick(int seconds, const std::function<void()> &act)
    {
        QEventLoop loop;
        const QObject context;
        QObject::connect(&*app, &AppState::elapsedChanged, &context, [&] {
            if (app->elapsed() != seconds)
                return;
            act();
            loop.quit();
        });
        loop.exec();
    }

    /// A recording of \p seconds.
    void record(int seconds)
    {
        toggle();
        toggleAfter(seconds);
    }

    QStringList listedNames() const
    {
        QStringList names;
        for (const RecentSession &session : app->recents())
            names.append(session.fileURL->fileName());
        return names;
    }

    int count(const QString &call) const { return static_cast<int>(rig.script.calls.count(call)); }

    NoService service;
    std::optional<AppState> app;
};
} // namespace

class AppStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void togglesWhileBusyDoNothing()
    {
        Stage stage;
        auto &script = stage.rig.script;
        script.holdAt(u"capture start"_s);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::starting);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::starting);
        script.releaseAt(u"capture start"_s);
        QTRY_COMPARE(stage.app->state(), State::recording);

        script.holdAt(u"capture stop"_s);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::stopping);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::stopping);
        script.releaseAt(u"capture stop"_s);
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.count(u"capture start"_s), 1);
        QCOMPARE(stage.count(u"capture stop"_s), 1);
    }

    void failedStartChangesOnlyStateAndMessage()
    {
        Stage stage;
        stage.record(12);
        const auto recents = stage.app->recents();
        stage.app->setSessionTitle(u"周会"_s);
        stage.rig.script.failAt(u"capture targets"_s);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.app->lastError(), u"屏幕录制权限未授予：capture trouble"_s);
        QCOMPARE(stage.app->elapsed(), 12.0);
        QCOMPARE(stage.app->sessionTitle(), u"周会"_s);
        QCOMPARE(stage.app->selectedTag(), std::nullopt);
        QVERIFY(stage.app->recents() == recents);
    }

    void nineSecondsDiscardTheRecording()
    {
        Stage stage;
        stage.app->setSessionTitle(u"周会"_s);
        stage.app->setSelectedTag(SessionTag::call);
        stage.record(9);
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.app->lastError(), tooShort);
        QCOMPARE(stage.app->elapsedFormatted(), u"00:00:09"_s);
        QCOMPARE(stage.app->sessionTitle(), QString());
        QCOMPARE(stage.app->selectedTag(), std::nullopt);
        QVERIFY(stage.app->recents().isEmpty());
        QCOMPARE(stage.rig.files(), QStringList());
    }

    void tenSecondsKeepTheRecording()
    {
        Stage stage;
        stage.app->setSessionTitle(u"周会"_s);
        stage.toggle();
        const QDateTime startedAt = stage.rig.clock.wall;
        stage.rig.clock.advance(10s);
        stage.toggleAfter(10);

        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.app->lastError(), std::nullopt);
        QCOMPARE(stage.app->recents().size(), 1);
        RecentSession expected;
        expected.id = stage.app->recents()[0].id;
        expected.title = u"周会"_s;
        expected.duration = u"10s"_s;
        expected.durationSeconds = 10;
        expected.when = u"刚刚"_s;
        expected.startedAt = startedAt;
        expected.fileURL = stage.rig.url(u"recording-2025-03-07-14-05-00.m4a"_s);
        expected.clientRecordingId = u"mac-file-recording-2025-03-07-14-05-00"_s;
        QVERIFY(stage.app->recents()[0] == expected);
        QVERIFY(QFile::exists(expected.fileURL->toLocalFile()));

        // A later recording stands before it, and both are there after a restart.
        stage.rig.clock.advance(1min);
        stage.record(11);
        QCOMPARE(stage.app->recents().size(), 2);
        QCOMPARE(stage.app->recents()[1].id, expected.id);
        QCOMPARE(stage.app->recents()[0].duration, u"11s"_s);
        const QStringList names = stage.listedNames();
        stage.start();
        QCOMPARE(stage.listedNames(), names);
    }

    void unfinishedFileIsKeptAndTold()
    {
        Stage stage;
        stage.app->setMicOn(false);
        stage.rig.script.failAt(u"finish system"_s);
        stage.record(10);
        QCOMPARE(stage.listedNames(), QStringList(u"recording-2025-03-07-14-05-00.system.m4a"_s));
        QVERIFY(QFile::exists(stage.app->recents().first().fileURL->toLocalFile()));
        QCOMPARE(stage.app->lastError(), u"录音已保存，但文件整理失败：assets trouble"_s);
    }

    void changesComeInOnePiece()
    {
        Stage stage;
        QStringList seen;
        connect(&*stage.app, &AppState::stateChanged, this, [&] {
            seen.append(u"%1 %2 %3 %4"_s.arg(static_cast<int>(stage.app->state()))
                            .arg(stage.app->elapsed())
                            .arg(stage.app->recents().size())
                            .arg(stage.app->sessionTitle()));
        });
        stage.app->setSessionTitle(u"周会"_s);
        stage.record(10);
        QCOMPARE(seen,
                 QStringList({u"2 0 0 周会"_s, u"1 0 0 周会"_s, u"3 10 0 周会"_s, u"0 10 1 "_s}));

        // The counter starts again only with the recording.
        seen.clear();
        stage.toggle();
        QCOMPARE(seen, QStringList({u"2 10 1 "_s, u"1 0 1 "_s}));
    }

    void listFollowsTheSaveFolder()
    {
        Stage stage;
        stage.record(10);
        const QString other = stage.rig.path(u"elsewhere"_s);
        stage.prefs.setSaveLocation(other);
        stage.rig.clock.advance(1min);
        stage.record(10);
        QCOMPARE(stage.app->recents().size(), 2);
        QCOMPARE(QDir(other).entryList(QDir::Files | QDir::Hidden),
                 QStringList({u".sessions.json"_s, u"recording-2025-03-07-14-06-00.m4a"_s}));
        const QStringList names = stage.listedNames();
        stage.start();
        QCOMPARE(stage.listedNames(), names);
    }

    void killedRecordingsAreListedAtLaunch_data()
    {
        // Of "recording-2026-02-03-04-05-06": left as they were being recorded, and finished.
        QTest::addColumn<QStringList>("tracks");
        QTest::addColumn<QStringList>("finished");
        QTest::addColumn<bool>("hasList");  // otherwise it is rebuilt from the files first
        QTest::addColumn<QString>("begun"); // the folder that a recording was begun in, if any
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("listed"); // title and duration
        QTest::addColumn<QStringList>("files");
        const QString entry = u"录音 2026-02-03 04:05 1m"_s;
        const QStringList both{u".system.m4a"_s, u".mic.m4a"_s};
        const QStringList mic{u".mic.m4a"_s};
        const QStringList mix{u".m4a"_s};
        const QStringList none;
        for (const bool hasList : {true, false}) {
            const char *const how = hasList ? "" : ", no list";
            QTest::addRow("both tracks%s", how)
                << both << none << hasList << u"."_s << 75.0 << entry << mix;
            QTest::addRow("one track%s", how)
                << mic << none << hasList << QString() << 75.0 << entry << mic;
            QTest::addRow("mix and one track%s", how)
                << mic << mix << hasList << u"."_s << 75.0 << entry << mix;
            QTest::addRow("too short%s", how)
                << mic << none << hasList << u"."_s << 9.9 << QString() << none;
        }
        QTest::newRow("elsewhere") << both << none << true << u"earlier"_s << 75.0 << entry << mix;
        QTest::newRow("finished") << none << mix << true << u"."_s << 75.0 << entry << mix;
        QTest::newRow("finished elsewhere")
            << none << mix << true << u"earlier"_s << 75.0 << entry << mix;
        QTest::newRow("finished, too short")
            << none << mix << true << u"."_s << 9.9 << QString() << mix;
        QTest::newRow("finished, too short, no list")
            << none << mix << false << u"."_s << 9.9 << QString() << mix;
        QTest::newRow("put there") << none << mix << true << QString() << 75.0 << QString() << mix;
        QTest::newRow("none") << none << none << true << u"."_s << 75.0 << QString() << none;
    }

    void killedRecordingsAreListedAtLaunch()
    {
        QFETCH(const QStringList, tracks);
        QFETCH(const QStringList, finished);
        QFETCH(const bool, hasList);
        QFETCH(const QString, begun);
        QFETCH(const double, seconds);
        QFETCH(const QString, listed);
        QFETCH(const QStringList, files);
        Stage stage;
        FakeAudioAssets &assets = stage.rig.assets;
        assets.duration = {{u"system"_s, seconds}, {u"mic"_s, seconds}, {u"mix"_s, seconds}};
        // However the folder is spelled, what is listed is known again.
        stage.prefs.setSaveLocation(stage.rig.home.path() + u"/."_s);
        const QString name = u"recording-2026-02-03-04-05-06"_s;
        const QString folder = QDir(stage.rig.path(begun)).absolutePath();
        QVERIFY(QDir().mkpath(folder));
        if (!begun.isEmpty())
            // The clock of a file server may be behind.
            RecordingJournal(stage.rig.journalPath())
                .begin(folder, QDateTime::currentDateTimeUtc().addSecs(30));
        QVERIFY(QThreadPool::globalInstance()->waitForDone());
        for (const QString &ending : tracks + finished) {
            const QString path = folder + u'/' + name + ending;
            stage.rig.putFile(QDir(stage.rig.home.path()).relativeFilePath(path), 3000);
            (tracks.contains(ending) ? assets.abandoned : assets.changed).append(path);
        }
        if (hasList) {
            QFile list(stage.rig.path(u".sessions.json"_s));
            QVERIFY(list.open(QFile::WriteOnly) && list.write("[]") == 2);
        }
        // Twice, as the next launch finds what stands in the list then.
        for (int launch = 0; launch < 2; ++launch) {
            stage.start();
            QCoro::waitFor(stage.app->recoverRecordings());
            QStringList entries;
            for (const RecentSession &session : stage.app->recents())
                entries.append(session.title + u' ' + session.duration);
            QCOMPARE(entries.join(u", "_s), listed);
            QStringList expected;
            for (const QString &ending : files)
                expected.append(name + ending);
            QCOMPARE(QDir(folder).entryList({u"*.m4a"_s}), expected);
            if (!listed.isEmpty())
                QCOMPARE(stage.listedNames(), expected);
            QVERIFY(QThreadPool::globalInstance()->waitForDone());
            QCOMPARE(RecordingJournal(stage.rig.journalPath()).left().size(), 0);
        }
    }

    /// As when the folder was copied to another place, or was renamed.
    void listedRecordingIsKnownWhereverItLies()
    {
        Stage stage;
        RecentSession listed = AppRig::entry(u"会议"_s);
        listed.fileURL = QUrl(u"file:///elsewhere/recording-2026-02-03-04-05-06.m4a"_s);
        listed.clientRecordingId = u"mac-file-recording-2026-02-03-04-05-06"_s;
        QFile list(stage.rig.path(u".sessions.json"_s));
        QVERIFY(list.open(QFile::WriteOnly) && list.write(encodeRecents({listed})) > 0);
        list.close();
        stage.rig.putFile(u"recording-2026-02-03-04-05-06.m4a"_s, 3000);
        stage.rig.assets.changed.append(stage.rig.path(u"recording-2026-02-03-04-05-06.m4a"_s));
        RecordingJournal(stage.rig.journalPath())
            .begin(stage.rig.home.path(), stage.rig.clock.now());
        QVERIFY(QThreadPool::globalInstance()->waitForDone());
        stage.start();
        QCoro::waitFor(stage.app->recoverRecordings());
        QCOMPARE(stage.app->recents().size(), 1);
    }

    void folderIsRememberedUntilTheRecordingIsListed()
    {
        Stage stage;
        const auto remembered = [&stage] {
            QThreadPool::globalInstance()->waitForDone();
            return RecordingJournal(stage.rig.journalPath()).left();
        };
        // A run before this one was killed, and its recording was not found yet.
        const QDateTime earlier = stage.rig.clock.now().toUTC().addDays(-1);
        RecordingJournal(stage.rig.journalPath()).begin(stage.rig.home.path(), earlier);
        QCOMPARE(remembered().size(), 1);
        stage.start();
        stage.toggle();
        QCOMPARE(remembered().size(), 1);
        QCOMPARE(remembered()[0].folder, stage.rig.home.path());
        QCOMPARE(remembered()[0].since, earlier);
        stage.toggleAfter(12);
        QCOMPARE(stage.app->recents().size(), 1);
        QCOMPARE(remembered().size(), 1);
        QCoro::waitFor(stage.app->recoverRecordings());
        QCOMPARE(remembered().size(), 0);

        // A list that cannot be saved knows the recording only as long as this process lives.
        stage.toggle();
        stage.prefs.setSaveLocation(u"/proc/nowhere"_s);
        stage.toggleAfter(12);
        QCOMPARE(stage.app->recents().size(), 2);
        QCOMPARE(remembered().size(), 1);
    }

    void tracksOutliveAShorterMix()
    {
        Stage stage;
        stage.rig.assets.duration.insert(u"mix"_s, 59.0);
        const QString name = stage.rig.path(u"recording-2026-02-03-04-05-06"_s);
        stage.rig.assets.abandoned = {name + u".mic.m4a"_s, name + u".system.m4a"_s};
        for (const QString &ending : {u".m4a"_s, u".mic.m4a"_s, u".system.m4a"_s})
            stage.rig.putFile(QFileInfo(name + ending).fileName(), 3000);
        stage.rig.script.failAt(u"export run"_s);
        QCoro::waitFor(stage.app->recoverRecordings());
        for (const QString &track : stage.rig.assets.abandoned)
            QVERIFY(QFile::exists(track));
    }

    void listIsBroughtUpToDateAtStart()
    {
        Stage stage;
        const QString path = stage.rig.path(u".sessions.json"_s);
        const auto stored = [&path] {
            QFile file(path);
            return decodeRecents(file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("[]"))
                .value_or(QList<RecentSession>());
        };
        QCOMPARE(stage.rig.assets.leftoversFolder, stage.rig.home.path());
        QVERIFY(!QFile::exists(path)); // nothing at all
        stage.rig.putFile(u"a.m4a"_s, 96'000);
        stage.start();
        QTRY_COMPARE(stored().size(), 1); // rebuilt
        QList<RecentSession> interrupted = stored();
        interrupted[0].status = RecentSession::Status::processing;
        QVERIFY(RecentsFile(stage.rig.clock).save(stage.rig.home.path(), interrupted));
        stage.start();
        QTRY_COMPARE(stored().first().status, RecentSession::Status::ready);
    }

    void listCanBeChangedWhileItLoads()
    {
        Stage stage;
        QList<RecentSession> entries;
        for (int i = 0; i < 3000; ++i)
            entries.append(AppRig::entry(QString::number(i)));
        RecentsFile file(stage.rig.clock);
        QVERIFY(file.save(stage.rig.home.path(), entries));
        AppState app(stage.rig.platform(), stage.service.uploader(), stage.prefs);
        app.startUpload(entries.last().id); // of somebody who is signed out
        const auto stored = file.load(stage.rig.home.path());
        QCOMPARE(stored.size(), entries.size());
        QCOMPARE(stored.last().uploadProgress, u"未登录"_s);
        QCOMPARE(app.recents().last().uploadProgress, u"未登录"_s);
    }

    void sameSecondTwiceLosesNothing()
    {
        Stage stage;
        stage.record(10);
        stage.record(10);
        stage.rig.clock.wall = stage.rig.clock.wall.addSecs(-1); // the clock is set back
        stage.record(10);
        QCOMPARE(stage.listedNames(), QStringList({u"recording-2025-03-07-14-04-59.m4a"_s,
                                                   u"recording-2025-03-07-14-05-01.m4a"_s,
                                                   u"recording-2025-03-07-14-05-00.m4a"_s}));
        for (const RecentSession &session : stage.app->recents())
            QVERIFY(QFile::exists(session.fileURL->toLocalFile()));
    }

    void failedSystemAudioStopsAndTells_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<int>("entries");
        QTest::newRow("kept") << 30 << 1;
        QTest::newRow("discarded") << 3 << 0;
    }

    void failedSystemAudioStopsAndTells()
    {
        QFETCH(const int, seconds);
        Stage stage;
        stage.toggle();
        stage.afterTick(seconds, [&] {
            stage.rig.capture.listener->didStop(Error(u"声音服务已断开"_s));
            stage.rig.microphones.handler({MicrophoneEvent::Kind::ended, u"麦克风已停止"_s});
        });
        QTRY_COMPARE(stage.app->lastError(), u"系统音频已停止：声音服务已断开"_s);
        QTRY_COMPARE(stage.app->state(), State::idle);
        QTEST(static_cast<int>(stage.app->recents().size()), "entries");
        QCOMPARE(stage.count(u"capture stop"_s), 1);

        // Nothing of it is left for the next recording.
        stage.rig.clock.advance(1min);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::recording);
        QCOMPARE(stage.app->lastError(), std::nullopt);
    }

    void failedSystemAudioWhileStarting_data()
    {
        QTest::addColumn<bool>("startSucceeds");
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("message");
        QTest::newRow("start succeeds") << true << State::recording << u"系统音频已停止：断开"_s;
        QTest::newRow("start fails") << false << State::idle << u"麦克风权限未授予"_s;
    }

    void failedSystemAudioWhileStarting()
    {
        QFETCH(const bool, startSucceeds);
        Stage stage;
        stage.rig.script.holdAt(u"mic access"_s);
        if (!startSucceeds)
            stage.rig.script.failAt(u"mic access"_s);
        stage.toggle();
        stage.rig.capture.listener->didStop(Error(u"断开"_s));
        QTRY_COMPARE(stage.app->lastError(), u"系统音频已停止：断开"_s);
        QTRY_COMPARE(stage.app->state(), State::idle);
        stage.toggle(); // the start is still under way: no second one
        QCOMPARE(stage.count(u"capture targets"_s), 1);

        stage.rig.script.releaseAt(u"mic access"_s);
        QFETCH(const State, state);
        QTRY_COMPARE(stage.app->state(), state);
        QFETCH(const QString, message);
        QTRY_COMPARE(stage.app->lastError().value_or(QString()), message);
        if (startSucceeds)
            stage.toggleAfter(10);
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.app->recents().size(), startSucceeds ? 1 : 0);
        QCOMPARE(stage.rig.capture.liveStreams, 0);
    }

    void microphoneEvents_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("systemAudioOn");
        QTest::addColumn<bool>("goesOn");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, MicrophoneEvent::Kind kind, bool systemAudioOn,
                            bool goesOn, const QString &message) {
            QTest::newRow(name) << static_cast<int>(kind) << systemAudioOn << goesOn << message;
        };
        using enum MicrophoneEvent::Kind;
        row("interrupted", interrupted, true, true, u"没有麦克风"_s);
        row("interrupted alone", interrupted, false, true, u"没有麦克风"_s);
        row("back again", resumed, false, true, QString());
        row("ended", ended, true, true, u"没有麦克风"_s);
        row("ended alone", ended, false, false, u"没有麦克风"_s);
    }

    void microphoneEvents()
    {
        QFETCH(const int, kind);
        QFETCH(const bool, systemAudioOn);
        QFETCH(const bool, goesOn);
        QFETCH(const QString, message);
        Stage stage;
        stage.app->setSystemAudioOn(systemAudioOn);
        stage.toggle();
        stage.app->setSystemAudioOn(
            !systemAudioOn); // for the next recording; this one has what it has
        const MicrophoneEvent event{.kind = static_cast<MicrophoneEvent::Kind>(kind),
                                    .text = message};
        stage.afterTick(12, [&] {
            if (event.kind == MicrophoneEvent::Kind::resumed)
                stage.rig.microphones.handler({MicrophoneEvent::Kind::interrupted, u"away"_s});
            stage.rig.microphones.handler(event);
        });
        QCoreApplication::processEvents(); // the events are queued
        QTRY_COMPARE(stage.app->lastError().value_or(QString()), message);
        QTRY_COMPARE(stage.app->state(), goesOn ? State::recording : State::idle);
        QCOMPARE(stage.app->recents().size(), goesOn ? 0 : 1);

        // Outside a recording nobody is told.
        if (goesOn)
            stage.toggle();
        stage.app->clearLastError();
        stage.rig.microphones.handler(event);
        QCoreApplication::processEvents();
        QCOMPARE(stage.app->lastError(), std::nullopt);
    }

    void diskThatRunsFullEndsTheRecording()
    {
        Stage stage;
        stage.rig.volume.available = qint64(1) << 30;
        stage.toggle();
        stage.afterTick(31, [&] { stage.rig.volume.available = 1 << 20; });
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.app->lastError(), u"磁盘空间不足，已自动停止录音"_s);
        QCOMPARE(stage.app->recents().size(), 1);
        QVERIFY(stage.app->elapsed() >= 31.0); // a look may be under way when it fills up

        stage.rig.clock.advance(1min);
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.app->lastError(), u"录音保存位置不可用：磁盘空间不足"_s);
        stage.rig.volume.available = qint64(1) << 30;
        stage.toggle();
        QTRY_COMPARE(stage.app->state(), State::recording);
    }

    void lateAnswerAboutRoomIsForgotten()
    {
        Stage stage;
        stage.toggle();
        std::atomic<int> questions = 0;
        QSemaphore answers;
        stage.rig.volume.available = 0;
        stage.rig.volume.beforeAnswer = [&] {
            ++questions;
            answers.acquire();
        };
        stage.toggleAfter(12);
        QTRY_COMPARE(stage.app->state(), State::idle);
        answers.release(9);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(questions, 1); // a disk that does not answer is not asked again
        QCOMPARE(stage.app->lastError(), std::nullopt);
    }

    void quitKeepsTheRecording_data()
    {
        QTest::addColumn<QString>("held"); // the step at which the application is left
        QTest::addColumn<int>("seconds");
        QTest::addColumn<int>("entries");
        QTest::newRow("idle") << QString() << 0 << 0;
        QTest::newRow("starting") << u"capture start"_s << 0 << 0;
        QTest::newRow("recording") << QString() << 12 << 1;
        QTest::newRow("stopping") << u"ahead finish"_s << 12 << 1;
    }

    void quitKeepsTheRecording()
    {
        QFETCH(const QString, held);
        QFETCH(const int, seconds);
        Stage stage;
        stage.rig.script.holdAt(held);
        if (seconds > 0 || !held.isEmpty())
            stage.toggle();
        if (seconds > 0)
            stage.afterTick(seconds, [] {});
        if (held == u"ahead finish"_s)
            stage.toggle();

        auto leaving = stage.app->finishForQuit();
        if (!held.isEmpty()) {
            QCoreApplication::processEvents();
            QVERIFY(!leaving.isReady());
        }
        stage.rig.script.releaseAt(held);
        QTRY_VERIFY(leaving.isReady());
        QTRY_COMPARE(stage.app->state(), State::idle);
        QTEST(static_cast<int>(stage.app->recents().size()), "entries");
        QCOMPARE(stage.rig.capture.liveStreams, 0);
        QCOMPARE(stage.rig.microphones.liveRecorders, 0);
    }

    void quitDuringAStartWhoseCaptureFailed()
    {
        Stage stage;
        stage.rig.script.holdAt(u"mic record"_s);
        stage.toggle();
        stage.rig.capture.listener->didStop(Error(u"断开"_s));
        QTRY_COMPARE(stage.app->state(), State::idle);
        auto leaving = stage.app->finishForQuit();
        QVERIFY(!leaving.isReady());
        stage.rig.script.releaseAt(u"mic record"_s);
        QTRY_VERIFY(leaving.isReady());
        QTRY_COMPARE(stage.app->state(), State::idle);
        QCOMPARE(stage.rig.microphones.liveRecorders, 0);
    }

    void quitLeavesRecoveryForTheNextLaunch()
    {
        Stage stage;
        FakeAudioAssets &assets = stage.rig.assets;
        for (const QString &second : {u"05"_s, u"06"_s}) {
            for (const QString &ending : {u".system.m4a"_s, u".mic.m4a"_s}) {
                const QString name = u"recording-2026-02-03-04-05-"_s + second + ending;
                stage.rig.putFile(name, 3000);
                assets.abandoned.append(stage.rig.path(name));
            }
        }
        const QStringList tracks = stage.rig.files();
        RecordingJournal(stage.rig.journalPath())
            .begin(stage.rig.home.path(), stage.rig.clock.now());
        QVERIFY(QThreadPool::globalInstance()->waitForDone());
        stage.start();
        stage.rig.script.holdAt(u"export run"_s);
        auto recovering = stage.app->recoverRecordings();
        QTRY_VERIFY(stage.rig.script.isWaitingAt(u"export run"_s));
        auto leaving = stage.app->finishForQuit();
        QVERIFY(!leaving.isReady()); // a thread of the export is still at work
        QVERIFY(assets.exportIsCancelled());
        stage.rig.script.releaseAt(u"export run"_s);
        QTRY_VERIFY(leaving.isReady() && recovering.isReady());
        for (const QString &track : tracks)
            QVERIFY(stage.rig.files().contains(track));
        QCOMPARE(stage.count(u"export run"_s), 1);
        QCOMPARE(stage.count(u"finish system"_s) + stage.count(u"finish mic"_s), 0);
        QVERIFY(QThreadPool::globalInstance()->waitForDone());
        QCOMPARE(RecordingJournal(stage.rig.journalPath()).left().size(), 1);

        stage.start();
        QCoro::waitFor(stage.app->recoverRecordings());
        QCOMPARE(stage.listedNames(), QStringList({u"recording-2026-02-03-04-05-06.m4a"_s,
                                                   u"recording-2026-02-03-04-05-05.m4a"_s}));
    }

    void quitSavesWhatIsStillADraft()
    {
        Stage stage;
        QFile list(stage.rig.path(u".sessions.json"_s));
        QVERIFY(list.open(QFile::WriteOnly) && list.write(encodeRecents({AppRig::entry(u"a"_s)})));
        list.close();
        stage.rig.clock.wall = stage.rig.clock.wall.addDays(1);
        stage.start();
        QCoro::waitFor(stage.app->finishForQuit());
        QVERIFY(list.open(QFile::ReadOnly));
        QCOMPARE(decodeRecents(list.readAll()).value()[0].when, stage.app->recents()[0].when);
    }

    void quitDoesNotWaitForAVolumeThatHangs()
    {
        Stage stage;
        stage.rig.script.holdAt(u"abandoned"_s);
        auto recovering = stage.app->recoverRecordings();
        QTRY_VERIFY(stage.rig.script.isWaitingAt(u"abandoned"_s));
        auto leaving = stage.app->finishForQuit();
        QTRY_VERIFY(leaving.isReady());
        stage.rig.script.releaseAt(u"abandoned"_s);
        QTRY_VERIFY(recovering.isReady());
    }

    void goneWhileTasksArePending_data()
    {
        QTest::addColumn<QString>("step");
        QTest::addColumn<QString>("lastCall"); // what was being recorded becomes a closed file
        const QString closed = u"writer finish"_s;
        QTest::newRow("outputs asked for") << u"capture targets"_s << u"capture targets"_s;
        QTest::newRow("capture starts") << u"capture start"_s << closed;
        QTest::newRow("microphone asked for") << u"mic access"_s << u"mic access"_s;
        QTest::newRow("microphone made") << u"mic create"_s << u"mic create"_s;
        QTest::newRow("microphone starts") << u"mic record"_s << u"mic stop"_s;
        QTest::newRow("capture stops") << u"capture stop"_s << closed;
        QTest::newRow("file is closed") << closed << closed;
        QTest::newRow("microphone stops") << u"mic stop"_s << u"ahead finish"_s;
        QTest::newRow("tracks are mixed") << u"ahead finish"_s << u"ahead finish"_s;
    }

    void goneWhileTasksArePending()
    {
        QFETCH(const QString, step);
        Stage stage;
        stage.rig.script.holdAt(step);
        stage.toggle();
        stage.toggle();
        QVERIFY(stage.rig.script.isWaitingAt(step));
        stage.app.reset();
        stage.rig.script.releaseAt(step);
        QFETCH(const QString, lastCall);
        const QRegularExpression steps(u"^(?!ahead$|ahead dropped)"_s);
        QTRY_COMPARE(stage.rig.script.calls.filter(steps).last(), lastCall);
        QTRY_COMPARE(stage.rig.capture.liveStreams, 0);
        QTRY_COMPARE(stage.rig.microphones.liveRecorders, 0);
    }
};

QTEST_GUILESS_MAIN(AppStateTest)
#include "test_app_state.moc"
