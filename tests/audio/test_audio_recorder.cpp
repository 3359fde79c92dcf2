#include "tests/support/AudioRig.h"

#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const QString systemName = u"recording-2025-03-07-14-05-00.system.m4a"_s;
const QString micName = u"recording-2025-03-07-14-05-00.mic.m4a"_s;
const QString mixName = u"recording-2025-03-07-14-05-00.m4a"_s;

RecordingSettings settings(const AudioRig &rig, AudioQuality quality = AudioQuality::high)
{
    RecordingSettings result;
    result.saveDirectory = QUrl::fromLocalFile(rig.home.path());
    result.quality = quality;
    return result;
}

/// The sentence that a start fails with; empty when it succeeds.
QString failureOf(QCoro::Task<std::expected<void, Error>> task)
{
    const auto started = QCoro::waitFor(task);
    return started ? QString() : started.error().description();
}

QString nameOf(const std::optional<QUrl> &file)
{
    return file ? file->fileName() : u"none"_s;
}
} // namespace

class AudioRecorderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusedStartTouchesNothing()
    {
        AudioRig rig;
        AudioRecorder recorder(rig.platform());
        auto elsewhere = settings(rig);
        elsewhere.saveDirectory = rig.url(u"missing"_s);
        QCOMPARE(failureOf(recorder.start(false, false, elsewhere)),
                 u"至少开启一个音源（系统声音或麦克风）"_s);
        QVERIFY(!QFile::exists(rig.path(u"missing"_s)));
        QCOMPARE(QCoro::waitFor(recorder.stop()), std::nullopt);
        QCOMPARE(rig.script.calls, QStringList());

        QCOMPARE(failureOf(recorder.start(true, false, settings(rig))), QString());
        rig.script.calls.clear();
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), u"已在录音中"_s);
        QVERIFY(recorder.isActive());
        QCOMPARE(rig.script.calls, QStringList());
        QCOMPARE(nameOf(QCoro::waitFor(recorder.stop())), systemName);
    }

    void saveFolderIsMadeOrRefused()
    {
        AudioRig rig;
        AudioRecorder recorder(rig.platform());
        auto deep = settings(rig);
        deep.saveDirectory = rig.url(u"会议 100%/#2025"_s);
        QCOMPARE(failureOf(recorder.start(false, true, deep)), QString());
        const auto file = QCoro::waitFor(recorder.stop());
        QCOMPARE(file, std::optional(rig.url(u"会议 100%/#2025/"_s + micName)));
        QVERIFY(QFile::exists(file->toLocalFile()));
        const auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
        QVERIFY(!(QFileInfo(deep.saveDirectory.toLocalFile()).permissions() & others));

        rig.putFile(u"file"_s, 1);
        rig.script.calls.clear();
        for (const QString &blocked : {u"file"_s, u"file/deeper"_s}) {
            deep.saveDirectory = rig.url(blocked);
            QCOMPARE(failureOf(recorder.start(true, true, deep)),
                     u"录音保存位置不可用：同名位置上不是文件夹"_s);
        }

        deep.saveDirectory = rig.url(u"locked"_s);
        const QString locked = deep.saveDirectory.toLocalFile();
        QVERIFY(QDir().mkdir(locked, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther |
                                         QFile::ExeOther));
        const QString way = QFileInfo(locked).path();
        QVERIFY(QFile::setPermissions(way, QFile::permissions(way) | QFile::ExeOther));
        constexpr uid_t nobody = 65534;
        const uid_t before = geteuid(); // root may write everywhere
        QVERIFY(before != 0 || seteuid(nobody) == 0);
        const QString refused = failureOf(recorder.start(true, true, deep));
        QCOMPARE(seteuid(before), 0);
        QCOMPARE(refused, u"录音保存位置不可用：没有写入权限"_s);
        QCOMPARE(rig.script.calls, QStringList());
    }

    void failedStartLeavesNothingBehind_data()
    {
        QTest::addColumn<QString>("step");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QStringList>("callsBehind"); // the one that failed
        QTest::addColumn<QStringList>("files");       // both names are taken before

        const auto row = [](const char *name, const QString &step, const QString &message,
                            const QStringList &callsBehind, const QStringList &files) {
            QTest::newRow(name) << step << message << callsBehind << files;
        };
        const QStringList none;
        const QStringList both{micName, systemName};
        const QStringList mic{micName};
        const QStringList system{systemName};
        const QStringList stopped{u"capture stop"_s};
        const QStringList cancelled{u"capture stop"_s, u"writer cancel"_s};
        // What was captured meanwhile is a finished file.
        const QStringList finished{u"capture stop"_s, u"writer finish"_s, u"finish system"_s};
        const auto noFile = u"系统音频文件创建失败"_s;
        const auto trouble = u"capture trouble"_s;
        const auto setup = u"麦克风初始化失败："_s;
        const QString refused = setup + u"prepareToRecord/record returned false"_s;
        row("system refused", u"capture targets"_s, u"屏幕录制权限未授予：capture trouble"_s, none,
            both);
        row("no output", QString(), u"没有可用的显示器"_s, none, both);
        row("no writer", u"writer create"_s, u"writer trouble"_s, stopped, mic);
        row("input refused", u"writer input"_s, noFile, stopped, mic);
        row("writing does not start", u"writer start"_s, noFile, stopped, mic);
        row("receiver refused", u"capture deliver"_s, trouble, cancelled, mic);
        row("capture does not start", u"capture start"_s, trouble, cancelled, mic);
        row("microphone refused", u"mic access"_s, u"麦克风权限未授予"_s, finished, both);
        row("no microphone", u"mic create"_s, setup + u"mic trouble"_s, finished, system);
        row("cannot prepare", u"mic prepare"_s, refused, finished, system);
        row("does not record", u"mic record"_s, refused, finished, system);
    }

    void failedStartLeavesNothingBehind()
    {
        QFETCH(const QString, step);
        AudioRig rig;
        rig.putFile(systemName, 10);
        rig.putFile(micName, 10);
        rig.script.failAt(step);
        const auto outputs = rig.capture.outputs;
        if (step.isEmpty())
            rig.capture.outputs.clear();
        AudioRecorder recorder(rig.platform());
        QTEST(failureOf(recorder.start(true, true, settings(rig))), "message");

        const QString last = step.isEmpty() ? u"capture targets"_s : step;
        QTEST(rig.script.calls.sliced(rig.script.calls.indexOf(last) + 1), "callsBehind");
        QTEST(rig.files(), "files");
        QVERIFY(!recorder.isActive() && !recorder.recordsSystemAudio());
        QCOMPARE(rig.capture.liveStreams + rig.microphones.liveRecorders, 0);
        QCOMPARE(QCoro::waitFor(recorder.stop()), std::nullopt);

        rig.script.succeedAt(step);
        rig.capture.outputs = outputs;
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), QString());
    }

    void roomBeforeAndWhileRecording_data()
    {
        QTest::addColumn<bool>("micOn");
        QTest::addColumn<std::optional<qint64>>("available");
        QTest::addColumn<bool>("starts");
        QTest::addColumn<bool>("hasAnHour");

        using Bytes = std::optional<qint64>;
        // In high quality: 128 kbit/s, with the microphone 64 and with it the mix 136 more, that is
        // 16 or 41 kB a second; and 4 MiB to spare.
        constexpr qint64 spare = 4 * 1024 * 1024;
        QTest::newRow("unknown") << true << Bytes() << true << true;
        QTest::newRow("two minutes") << true << Bytes(120 * 41000 + spare) << true << false;
        QTest::newRow("less") << true << Bytes(120 * 41000 + spare - 1) << false << false;
        QTest::newRow("one source") << false << Bytes(120 * 16000 + spare) << true << false;
        QTest::newRow("less for one") << false << Bytes(120 * 16000 + spare - 1) << false << false;
        QTest::newRow("an hour") << true << Bytes(3600 * 41000 + spare) << true << true;
        QTest::newRow("full") << false << Bytes(0) << false << false;
    }

    void roomBeforeAndWhileRecording()
    {
        QFETCH(const bool, micOn);
        QFETCH(const bool, starts);
        QFETCH(const std::optional<qint64>, available);
        AudioRig rig;
        rig.volume.available = available;
        AudioRecorder recorder(rig.platform());
        QCOMPARE(failureOf(recorder.start(true, micOn, settings(rig))),
                 starts ? QString() : u"录音保存位置不可用：磁盘空间不足"_s);
        QCOMPARE(rig.script.calls.isEmpty(), !starts);
        if (starts)
            QTEST(QCoro::waitFor(recorder.hasRoomFor(1h)), "hasAnHour");
    }

    void listedNamesAreNotTaken_data()
    {
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<QString>("name");
        const QString next = u"recording-2025-03-07-14-05-01"_s;
        QTest::newRow("none") << QStringList() << systemName;
        QTest::newRow("unlisted files are replaced") << QStringList(u"other.m4a"_s) << systemName;
        QTest::newRow("system") << QStringList(systemName) << next + u".system.m4a"_s;
        QTest::newRow("microphone") << QStringList(micName) << next + u".system.m4a"_s;
        QTest::newRow("mix") << QStringList(mixName) << next + u".system.m4a"_s;
        QTest::newRow("several") << QStringList({mixName, next + u".mic.m4a"_s})
                                 << u"recording-2025-03-07-14-05-02.system.m4a"_s;
    }

    void listedNamesAreNotTaken()
    {
        QFETCH(const QStringList, listed);
        AudioRig rig;
        auto withList = settings(rig);
        rig.putFile(systemName, 1);
        for (const QString &name : listed) {
            rig.putFile(name, 7);
            withList.listedFiles.insert(rig.path(name));
        }
        AudioRecorder recorder(rig.platform());
        QCOMPARE(failureOf(recorder.start(true, false, withList)), QString());
        const auto file = QCoro::waitFor(recorder.stop());
        QTEST(nameOf(file), "name");
        QCOMPARE(QFileInfo(file->toLocalFile()).size(), 5000);
        for (const QString &name : listed)
            QCOMPARE(QFileInfo(rig.path(name)).size(), 7);
    }

    void qualityReachesBothSources()
    {
        AudioRig rig;
        AudioRecorder recorder(rig.platform());
        for (const auto quality :
             {AudioQuality::standard, AudioQuality::high, AudioQuality::lossless}) {
            QCOMPARE(failureOf(recorder.start(true, true, settings(rig, quality))), QString());
            const bool isStandard = quality == AudioQuality::standard;
            QCOMPARE(rig.writers.lastEncoding.bitRate, isStandard ? 64000 : 128000);
            QCOMPARE(rig.writers.lastEncoding.channelCount, 2);
            QCOMPARE(rig.microphones.lastEncoding.bitRate, isStandard ? 48000 : 64000);
            QCOMPARE(rig.microphones.lastEncoding.channelCount, 1);
            QVERIFY(QCoro::waitFor(recorder.stop()));
        }
    }

    void fileThatStandsForTheRecording_data()
    {
        QTest::addColumn<int>("systemBytes"); // -1: the source is off
        QTest::addColumn<int>("micBytes");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("finished");

        const QString none = u"none"_s;
        const QStringList system{u"finish system"_s};
        const QStringList mic{u"finish mic"_s};
        QTest::newRow("both") << 1025 << 1025 << mixName << QStringList(mixName) << QStringList();
        QTest::newRow("system alone")
            << 1025 << -1 << systemName << QStringList(systemName) << system;
        QTest::newRow("mic alone") << -1 << 1025 << micName << QStringList(micName) << mic;
        QTest::newRow("empty mic")
            << 1025 << 1024 << systemName << QStringList({micName, systemName}) << system;
        QTest::newRow("empty system")
            << 1024 << 1025 << micName << QStringList({micName, systemName}) << mic;
        QTest::newRow("both empty")
            << 1024 << 1024 << none << QStringList({micName, systemName}) << QStringList();
        QTest::newRow("system empty alone")
            << 1024 << -1 << none << QStringList(systemName) << QStringList();
        QTest::newRow("mic empty alone")
            << -1 << 1024 << none << QStringList(micName) << QStringList();
    }

    void fileThatStandsForTheRecording()
    {
        QFETCH(const int, systemBytes);
        QFETCH(const int, micBytes);
        AudioRig rig;
        rig.writers.contentBytes = systemBytes;
        rig.microphones.contentBytes = micBytes;
        AudioRecorder recorder(rig.platform());
        QCOMPARE(failureOf(recorder.start(systemBytes >= 0, micBytes >= 0, settings(rig))),
                 QString());
        QVERIFY(recorder.isActive());
        QCOMPARE(recorder.recordsSystemAudio(), systemBytes >= 0);

        auto stopping = recorder.stop();
        QVERIFY(!recorder.isActive());
        QTEST(nameOf(QCoro::waitFor(stopping)), "result");
        QTEST(rig.files(), "files");
        QTEST(rig.script.calls.filter(QRegularExpression(u"^finish"_s)), "finished");
        // A head start for the mix is made for two sources, and never left over.
        const bool isMixed = systemBytes > 1024 && micBytes > 1024;
        QCOMPARE(rig.script.calls.count(u"ahead"_s), systemBytes >= 0 && micBytes >= 0 ? 1 : 0);
        QCOMPARE(rig.script.calls.count(u"ahead finish"_s), isMixed ? 1 : 0);
        QCOMPARE(rig.script.calls.count(u"ahead dropped"_s), rig.script.calls.count(u"ahead"_s));
        QVERIFY(!rig.script.calls.contains(u"export make"_s));
        QVERIFY(!recorder.recordsSystemAudio());
    }

    void mixOutcomes_data()
    {
        QTest::addColumn<QString>("failing"); // a step, or a track without sound
        QTest::addColumn<QString>("log");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QStringList>("files");

        const QStringList tracks{micName, systemName};
        const QString missing =
            u"error audio: mix: missing audio tracks, falling back to system-only"_s;
        const QString trouble = u"error audio: mix error: assets trouble"_s;
        const auto row = [&](const char *name, const QString &failing, const QString &log,
                             const QStringList &files) {
            const QString result = files.contains(mixName) ? mixName : systemName;
            QTest::newRow(name) << failing << log << result << files;
        };
        const QString mixed = u"info audio: mixed → "_s + mixName;
        const QString anew = u"info audio: mixing anew: assets trouble"_s;
        row("mixed", QString(), mixed, QStringList(mixName));
        row("mixed anew", u"ahead finish"_s, anew + u'\n' + mixed, QStringList(mixName));
        row("no system track", u"system"_s, missing, QStringList(systemName));
        row("no microphone track", u"mic"_s, missing, QStringList(systemName));
        row("system tracks not read", u"tracks system"_s, trouble, tracks);
        row("microphone tracks not read", u"tracks mic"_s, trouble, tracks);
        row("system duration not read", u"duration system"_s, trouble, tracks);
        row("microphone duration not read", u"duration mic"_s, trouble, tracks);
        row("no export", u"export make"_s,
            anew + u"\nerror audio: mix: AVAssetExportSession init failed"_s, tracks);
        row("export fails", u"export run"_s,
            anew + u"\nerror audio: export failed: assets trouble"_s, tracks);
        row("export fails silently", u"export run silently"_s,
            anew + u"\nerror audio: export failed: unknown"_s, tracks);
    }

    void mixOutcomes()
    {
        QFETCH(const QString, failing);
        QFETCH(const QString, result);
        AudioRig rig;
        rig.assets.trackCount.insert(failing, 0);
        if (failing == u"export run silently"_s)
            rig.assets.exportError.reset();
        rig.script.failAt(failing == u"export run silently"_s ? u"export run"_s : failing);
        if (failing.startsWith(u"export"_s))
            rig.script.failAt(u"ahead finish"_s);
        AudioRecorder recorder(rig.platform());
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), QString());
        rig.putFile(mixName,
                    1); // what stands at the output's name is replaced, but not for nothing
        const bool isExported =
            failing.isEmpty() || failing.contains(QRegularExpression(u"^export|^ahead"_s));
        rig.log.take();

        QCOMPARE(nameOf(QCoro::waitFor(recorder.stop())), result);

        QTEST(rig.log.take().join(u'\n'), "log");
        QFETCH(QStringList, files);
        if (!isExported)
            files.prepend(mixName);
        QCOMPARE(rig.files(), files);
        // Whatever was not mixed away gets its final form.
        QStringList finished;
        if (files.contains(systemName))
            finished.append(u"finish system"_s);
        if (files.contains(micName))
            finished.append(u"finish mic"_s);
        QCOMPARE(rig.script.calls.filter(QRegularExpression(u"^finish"_s)), finished);
    }

    void exportGetsBothTracksWhole()
    {
        AudioRig rig;
        rig.assets.duration = {{u"system"_s, 60.0}, {u"mic"_s, 58.0}};
        rig.script.failAt(u"finish system"_s);
        rig.script.failAt(u"ahead finish"_s);
        rig.script.failAt(u"export run"_s);
        AudioRecorder recorder(rig.platform());
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), QString());
        QCOMPARE(rig.assets.aheadFiles, QStringList({systemName, micName, mixName}));
        rig.log.take();
        QCOMPARE(nameOf(QCoro::waitFor(recorder.stop())), systemName);

        const auto &parts = rig.assets.lastComposition.parts();
        QCOMPARE(parts.size(), 2);
        QCOMPARE(parts[0].path, rig.path(systemName));
        QCOMPARE(parts[0].durationSeconds, 60.0);
        QCOMPARE(parts[1].path, rig.path(micName));
        QCOMPARE(parts[1].durationSeconds, 58.0);
        // A track whose final form fails stays, and the log says so.
        QCOMPARE(rig.files(), QStringList({micName, systemName}));
        QCOMPARE(rig.log.take().last(),
                 u"error audio: finishing "_s + systemName + u" failed: assets trouble"_s);
    }

    void startAndStopDoNotOverlap()
    {
        AudioRig rig;
        AudioRecorder recorder(rig.platform());
        rig.script.holdAt(u"capture start"_s);
        auto starting = recorder.start(true, true, settings(rig));
        QTRY_VERIFY(rig.script.isWaitingAt(u"capture start"_s));
        rig.script.calls.clear();
        auto stopping = recorder.stop();
        QVERIFY(stopping.isReady());
        QCOMPARE(QCoro::waitFor(stopping), std::nullopt);
        QCOMPARE(rig.script.calls, QStringList());
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), u"已在录音中"_s);

        rig.script.releaseAt(u"capture start"_s);
        QVERIFY(QCoro::waitFor(starting));
        QVERIFY(recorder.isActive());

        // Nor does a start come between the stops of the two sources.
        rig.script.holdAt(u"capture stop"_s);
        auto ending = recorder.stop();
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), u"已在录音中"_s);
        QCOMPARE(QCoro::waitFor(recorder.stop()), std::nullopt);
        rig.script.releaseAt(u"capture stop"_s);
        QCOMPARE(nameOf(QCoro::waitFor(ending)), mixName);
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), QString());
    }

    void levels()
    {
        AudioRig rig;
        AudioRecorder recorder(rig.platform());
        QCOMPARE(recorder.currentLevels().mic, 0.0);
        QCOMPARE(failureOf(recorder.start(true, true, settings(rig))), QString());
        constexpr float sample = 0.25F;
        rig.capture.listener->didCapture({.samples = {&sample, 1},
                                          .channelCount = 1,
                                          .sampleRate = 48000,
                                          .presentationTime = 0s});
        QCOMPARE(recorder.currentLevels().system, 0.25);
        const QMap<float, double> levelOfPower{{-160.0F, 0.0}, {-80.0F, 0.0}, {-50.0F, 0.0},
                                               {-25.0F, 0.5},  {-10.0F, 0.8}, {0.0F, 1.0}};
        for (const auto &[power, level] : levelOfPower.asKeyValueRange()) {
            rig.microphones.power = power;
            QCOMPARE(recorder.currentLevels().mic, level);
        }

        rig.script.holdAt(u"capture stop"_s);
        auto stopping = recorder.stop();
        QCOMPARE(recorder.currentLevels().system, 0.0);
        QCOMPARE(recorder.currentLevels().mic, 0.0);
        rig.script.releaseAt(u"capture stop"_s);
        QVERIFY(QCoro::waitFor(stopping));
        QCOMPARE(failureOf(recorder.start(true, false, settings(rig))), QString());
        QCOMPARE(recorder.currentLevels().mic, 0.0);
    }
};

QTEST_GUILESS_MAIN(AudioRecorderTest)
#include "test_audio_recorder.moc"
