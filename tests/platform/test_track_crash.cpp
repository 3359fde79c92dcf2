#include "audio/TrackMixing.h"
#include "audio/UnlistedRecordings.h"
#include "platform/linux/media/FinishTrack.h"
#include "platform/linux/media/PartFiles.h"
#include "platform/linux/media/TrackWriter.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "tests/support/Decoded.h"
#include "tests/support/Files.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <random>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// How long the process that is killed rests after it has removed a file: nobody could meet the
/// moment between two removals otherwise.
static std::chrono::milliseconds restAfterRemoval{0};

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name) theirs is reserved
extern "C" int unlink(const char *path) noexcept
{
    const auto result = static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
    if (restAfterRemoval > 0ms)
        std::this_thread::sleep_for(restAfterRemoval);
    return result;
}

/// What the disk was told, in order, since a test last cleared it.
static QStringList diskCalls;

static QString fileOf(int descriptor)
{
    return QFileInfo(QFile::symLinkTarget(u"/proc/self/fd/%1"_s.arg(descriptor))).fileName();
}

extern "C" int fdatasync(int descriptor)
{
    diskCalls.append(u"data "_s + fileOf(descriptor));
    return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

extern "C" int fsync(int descriptor)
{
    diskCalls.append(u"sync "_s + fileOf(descriptor));
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name) theirs are reserved
extern "C" int rename(const char *from, const char *to) noexcept
{
    diskCalls.append(u"name "_s + QFileInfo(QFile::decodeName(to)).fileName());
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace
{
constexpr AudioEncoding stereo{48000, 2, 128000};
constexpr qint64 blockFrames = 2048;
constexpr double toneFrequency = 997;
constexpr double toneAmplitude = 0.4;
const auto recordingName = u"recording-2026-02-03-04-05-06"_s;

MediaTime timeOf(qint64 frame)
{
    return MediaTime(frame * 1'000'000'000 / stereo.sampleRate);
}

/// A number in a file that is mapped into memory: it outlives the process that counts.
class Counter
{
public:
    explicit Counter(const QString &path)
        : m_file(path)
    {
        if (m_file.open(QIODevice::ReadWrite) && m_file.resize(sizeof(std::atomic<qint64>)))
            m_value =
                reinterpret_cast<std::atomic<qint64> *>(m_file.map(0, sizeof(std::atomic<qint64>)));
    }

    std::atomic<qint64> &value() { return *m_value; }

private:
    QFile m_file;
    std::atomic<qint64> *m_value = nullptr;
};

bool appendBlock(AudioFileWriter &writer, qint64 firstFrame, std::span<const float> samples)
{
    return writer.append({samples, stereo.channelCount, stereo.sampleRate, timeOf(firstFrame)});
}

bool appendTone(AudioFileWriter &writer, qint64 firstFrame)
{
    return appendBlock(writer, firstFrame,
                       sine(toneFrequency, toneAmplitude, blockFrames, stereo.channelCount,
                            stereo.sampleRate, firstFrame));
}

/// The process that is killed: records a tone at \p pace times its speed and counts the frames.
int recordForEver(const QString &path, double pace, const QString &counterPath)
{
    LiveTracks live;
    Counter counter(counterPath);
    TrackWriter writer(path, live);
    if (!writer.addInput(stereo) || !writer.startWriting())
        return 1;
    writer.startSession(0ns);
    const auto start = std::chrono::steady_clock::now();
    for (qint64 frame = 0; appendTone(writer, frame);) {
        frame += blockFrames;
        counter.value() = frame;
        std::this_thread::sleep_until(
            start + std::chrono::nanoseconds(
                        static_cast<qint64>(static_cast<double>(timeOf(frame).count()) / pace)));
    }
    return 1;
}

/// The process that is killed while it gives \p tracks their final form, again and again.
template<class Conclude>
int concludeForEver(const QString &folder, const QStringList &tracks, const QString &counterPath,
                    Conclude conclude)
{
    Counter counter(counterPath);
    do {
        for (const QString &track : tracks) {
            const QString again = folder + u"/again.m4a"_s;
            QFile::remove(again);
            if (::link(qPrintable(folder + u"/closed.m4a"_s), qPrintable(again)) != 0)
                return 1;
            ::rename(qPrintable(again), qPrintable(track));
        }
        ++counter.value();
    } while (conclude());
    return 1;
}

QString trackPath(const QString &folder, const QString &ending)
{
    return folder + u"/tracks/"_s + recordingName + ending;
}

int finishForEver(const QString &folder, const QString &counterPath)
{
    const QString system = trackPath(folder, u".system.m4a"_s);
    return concludeForEver(folder, {system}, counterPath,
                           [&] { return makePlainFile(system).has_value(); });
}

int mixForEver(const QString &folder, const QString &counterPath)
{
    restAfterRemoval = 5ms;
    LiveTracks live;
    FileAudioAssets assets(live);
    const QString system = trackPath(folder, u".system.m4a"_s);
    const QString mic = trackPath(folder, u".mic.m4a"_s);
    return concludeForEver(folder, {system, mic}, counterPath, [&] {
        const QUrl track = QUrl::fromLocalFile(system);
        return QCoro::waitFor(mixTracks(assets, track, QUrl::fromLocalFile(mic), {})) != track;
    });
}

int killCount()
{
    bool given = false;
    const int kills = qEnvironmentVariableIntValue("TRACK_KILLS", &given);
    return given ? kills : 40;
}

double lastHalfSecondLevel(const Decoded &decoded)
{
    const qint64 frames = std::min<qint64>(24000, decoded.frameCount());
    return toneLevel(decoded.channel(1, decoded.frameCount() - frames, frames), toneFrequency,
                     decoded.sampleRate);
}

} // namespace

/// What is left of a track when its recording, or what follows, ends badly.
class TestTrackCrash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void killedAtAnyMoment_data();
    void killedAtAnyMoment();
    void diskIsToldInTime();
    void cutAnywhere_data();
    void cutAnywhere();
    void fullDisk();
    void fileTakenAway_data();
    void fileTakenAway();
    void tornTracksAreRecovered_data();
    void tornTracksAreRecovered();
    void killedWhileConcluding_data();
    void killedWhileConcluding();

private:
    QString path() const { return m_folder->filePath(u"tracks/track.m4a"_s); }
    QString counterPath() const { return m_folder->filePath(u"counter"_s); }
    bool runAndKill(
        const QStringList &arguments, std::chrono::nanoseconds life,
        const std::function<bool()> &moment = [] { return true; });
    QString track(const QString &ending) const { return trackPath(m_folder->path(), ending); }
    QStringList remaining() const;
    QList<RecoveredRecording> recover();
    void checkConcluded(qint64 frames, QMap<QString, int> &seen);
    double lostSeconds(double pace, std::chrono::milliseconds life);
    void record(qint64 frames);
    QStringList abandonedTracks() const
    {
        return abandonedTrackFiles(QFileInfo(path()).path(), {u"*.m4a"_s});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    LiveTracks m_live;
};

void TestTrackCrash::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_folder->path()).mkdir(u"tracks"_s));
}

/// Kills this program, run with \p arguments, when its counter has moved, \p moment has come, and
/// \p life has passed.
bool TestTrackCrash::runAndKill(const QStringList &arguments, std::chrono::nanoseconds life,
                                const std::function<bool()> &moment)
{
    QFile::remove(counterPath());
    Counter counter(counterPath());
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), arguments + QStringList{counterPath()});
    // By the clock, not by the count: the kill may come in the middle of anything.
    if (!process.waitForStarted() || !QTest::qWaitFor([&] { return counter.value() > 0; }, 20000))
        return false;
    for (const QDeadlineTimer limit(20s); !moment();) {
        if (limit.hasExpired())
            return false;
    }
    std::this_thread::sleep_for(life);
    ::kill(static_cast<pid_t>(process.processId()), SIGKILL);
    return process.waitForFinished();
}

/// Kills a recording after \p life of sound, and checks what it leaves. Seconds that are missing;
/// negative when something else is wrong.
double TestTrackCrash::lostSeconds(double pace, std::chrono::milliseconds life)
{
    const auto realLife = std::chrono::duration_cast<std::chrono::nanoseconds>(life / pace);
    if (!runAndKill({u"--record"_s, path(), QString::number(pace)}, realLife))
        return -1;

    const auto left = decodeFile(path());
    if (!left || left->errorCount > 0)
        return -2;
    if (left->frameCount() > 24000 && std::abs(lastHalfSecondLevel(*left) - toneAmplitude) > 0.02)
        return -3;
    if (!makePlainFile(path()))
        return -4;
    const auto finished = decodeFile(path());
    if (!finished || finished->fragmented || finished->frameCount() != left->frameCount() ||
        finished->samples != left->samples)
        return -5;
    return static_cast<double>(Counter(counterPath()).value() - left->frameCount()) /
           stereo.sampleRate;
}

void TestTrackCrash::killedAtAnyMoment_data()
{
    QTest::addColumn<int>("kills");
    QTest::addColumn<double>("pace");
    QTest::addRow("fast") << killCount() << 20.0;
    QTest::addRow("at its own speed") << 5 << 1.0;
}

void TestTrackCrash::killedAtAnyMoment()
{
    QFETCH(int, kills);
    QFETCH(double, pace);
    const quint32 seed = std::random_device()();
    qInfo("seed %u", seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> life(0, pace > 1 ? 8000 : 4000);
    std::vector<double> lost;
    for (int i = 0; i < kills; ++i) {
        lost.push_back(lostSeconds(pace, std::chrono::milliseconds(life(random))));
        QVERIFY2(lost.back() >= 0, qPrintable(u"kill %1: %2"_s.arg(i).arg(lost.back())));
    }
    std::ranges::sort(lost);
    const double median = lost[lost.size() / 2];
    qInfo("%d kills: lost %.3f s at best, %.3f s in the median, %.3f s at worst", kills,
          lost.front(), median, lost.back());
    QVERIFY(lost.back() <= 1.5);
    QVERIFY(median <= 1.0);
}

/// A track of noise, closed in order.
void TestTrackCrash::record(qint64 frames)
{
    TrackWriter writer(path(), m_live);
    QVERIFY(writer.addInput(stereo) && writer.startWriting());
    writer.startSession(0ns);
    QVERIFY(appendBlock(writer, 0, noise(0.4, frames * stereo.channelCount, 8)));
    QCOMPARE(abandonedTracks(), QStringList()); // somebody is writing it
    QCoro::waitFor(writer.finish());
}

/// A power cut takes away a few seconds, and never a recording that had its final name.
void TestTrackCrash::diskIsToldInTime()
{
    diskCalls.clear();
    record(480000); // eleven fragments and a bit
    QVERIFY(makePlainFile(path()));
    QCOMPARE(diskCalls,
             QStringList({u"data track.m4a"_s, u"data track.m4a"_s, u"sync track.m4a"_s,
                          u"sync .track.m4a.part"_s, u"name track.m4a"_s, u"sync tracks"_s}));
}

void TestTrackCrash::cutAnywhere_data()
{
    QTest::addColumn<bool>("keepsLength");
    QTest::addRow("nothing behind") << false;
    QTest::addRow("zeros behind") << true; // a file system that knew the length before the content
}

void TestTrackCrash::cutAnywhere()
{
    QFETCH(const bool, keepsLength);
    constexpr qint64 frames = 480000;
    record(frames);
    const QByteArray whole = contentOf(path());
    std::mt19937 random(9);
    std::uniform_int_distribution<qsizetype> position(1024, whole.size());
    for (int i = 0; i < 30; ++i) {
        const qsizetype cut = position(random);
        const QByteArray start = whole.first(cut);
        put(path(), keepsLength ? start.leftJustified(whole.size(), '\0') : start);
        // Noise: the bytes are spread evenly.
        const double there = static_cast<double>(cut) * frames / static_cast<double>(whole.size());
        QCOMPARE(abandonedTracks(), QStringList{path()});
        const auto torn = decodeFile(path());
        QVERIFY(torn);
        QVERIFY(static_cast<double>(torn->frameCount()) > there - 1.2 * stereo.sampleRate);
        QVERIFY(makePlainFile(path()));
        QCOMPARE(abandonedTracks(), QStringList());
        const auto finished = decodeFile(path());
        QVERIFY(finished);
        QCOMPARE(finished->errorCount, 0);
        QVERIFY(static_cast<double>(finished->frameCount()) > there - 1.2 * stereo.sampleRate);
        QVERIFY(static_cast<double>(finished->frameCount()) < there + 0.2 * stereo.sampleRate);
    }
}

void TestTrackCrash::fullDisk()
{
    const QByteArray folder = QFile::encodeName(m_folder->filePath(u"tracks"_s));
    if (::mount("none", folder.constData(), "tmpfs", 0, "size=1m") != 0)
        QSKIP("mounting is not permitted");
    const auto unmount = qScopeGuard([&] { ::umount2(folder.constData(), MNT_DETACH); });

    for (int recording = 0; recording < 2; ++recording) { // the second, once there is room again
        TrackWriter writer(path(), m_live);
        QVERIFY(writer.addInput(stereo) && writer.startWriting());
        const auto track = m_live.take(path());
        writer.startSession(0ns);
        const auto block = noise(0.4, blockFrames * stereo.channelCount, 11);
        qint64 frame = 0;
        while (frame < 300 * stereo.sampleRate && appendBlock(writer, frame, block))
            frame += blockFrames;
        QVERIFY(!writer.isReady());
        QVERIFY(writer.failure());
        QCOMPARE(writer.failure()->description(), u"磁盘空间不足"_s);
        QVERIFY(!appendBlock(writer, frame, block));
        QCoro::waitFor(writer.finish());
        QCOMPARE(track->state(), LiveTrack::State::lost);

        const auto left = decodeFile(path());
        QVERIFY(left);
        QCOMPARE(left->errorCount, 0);
        QVERIFY(frame - left->frameCount() < 2 * stereo.sampleRate);
        QVERIFY(left->frameCount() > 30 * stereo.sampleRate);
        const QByteArray before = contentOf(path());
        const auto finished = makePlainFile(path());
        QVERIFY(!finished);
        QCOMPARE(finished.error().description(), u"磁盘空间不足"_s);
        QCOMPARE(contentOf(path()), before);
        QVERIFY(QFile::remove(path()));
    }
}

void TestTrackCrash::fileTakenAway_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QByteArray>("disk"); // mounted on the folder
    QTest::addColumn<QString>("failure");
    const QString none;
    QTest::addRow("folder removed") << u"rm -r tracks"_s << QByteArray() << none;
    QTest::addRow("folder moved") << u"mv tracks elsewhere"_s << QByteArray() << none;
    QTest::addRow("file renamed") << u"mv tracks/track.m4a tracks/b.m4a"_s << QByteArray() << none;
    QTest::addRow("file replaced")
        << u"rm tracks/track.m4a; date > tracks/track.m4a"_s << QByteArray() << none;
    QTest::addRow("volume gone") << u"umount -l tracks"_s << QByteArray("size=1m") << none;
    QTest::addRow("a file in the folder's place")
        << u"rm -r tracks; date > tracks"_s << QByteArray()
        << u"写入录音文件失败：同名位置上不是文件夹"_s;
    // What was removed takes up its room for as long as it is open.
    QTest::addRow("no room for another")
        << u"rm tracks/track.m4a"_s << QByteArray("size=60k") << u"磁盘空间不足"_s;
    QTest::addRow("no room beside what came back")
        << u"cp tracks/track.m4a earlier; rm tracks/track.m4a; cp earlier tracks/track.m4a;"
           " cat /dev/zero > tracks/rest; true"_s
        << QByteArray("size=400k") << u"磁盘空间不足"_s;
}

void TestTrackCrash::fileTakenAway()
{
    QFETCH(const QString, how);
    QFETCH(const QByteArray, disk);
    QFETCH(const QString, failure);
    const QByteArray folder = QFile::encodeName(m_folder->filePath(u"tracks"_s));
    if (!disk.isEmpty() && ::mount("none", folder.constData(), "tmpfs", 0, disk.constData()) != 0)
        QSKIP("mounting is not permitted");
    const auto unmount = qScopeGuard([&] { ::umount2(folder.constData(), MNT_DETACH); });

    TrackWriter writer(path(), m_live);
    QVERIFY(writer.addInput(stereo) && writer.startWriting());
    writer.startSession(0ns);
    constexpr qint64 blocks = 100;
    const auto sound = noise(0.4, blockFrames * stereo.channelCount, 12);
    for (qint64 i = 0; i < blocks; ++i) {
        if (i == blocks / 2) {
            QProcess shell;
            shell.setWorkingDirectory(m_folder->path());
            shell.start(u"sh"_s, {u"-c"_s, how});
            QVERIFY(shell.waitForFinished() && shell.exitCode() == 0);
        }
        QVERIFY(appendBlock(writer, i * blockFrames, sound) || !failure.isEmpty());
    }
    QCoro::waitFor(writer.finish());
    QCOMPARE(writer.failure().value_or(Error({})).description(), failure);
    if (!QFileInfo(QString::fromLocal8Bit(folder)).isDir())
        return;
    QVERIFY(!QFileInfo::exists(partPath(path())));
    // Whole, or as much as there was room for.
    const auto decoded = decodeFile(path());
    QVERIFY(decoded);
    QCOMPARE(decoded->errorCount, 0);
    QVERIFY(decoded->frameCount() > stereo.sampleRate / 2);
    if (failure.isEmpty())
        QCOMPARE(decoded->frameCount(), blocks * blockFrames);
}

/// The endings of what is left of the recording; those of unfinished tracks with a star.
QStringList TestTrackCrash::remaining() const
{
    const QDir tracks(m_folder->filePath(u"tracks"_s));
    const QStringList unfinished = abandonedTracks();
    QStringList endings;
    for (const QFileInfo &file : tracks.entryInfoList(QDir::Files | QDir::Hidden, QDir::Name)) {
        const bool isUnfinished = unfinished.contains(file.filePath());
        endings.append(file.fileName().mid(recordingName.size()) +
                       (isUnfinished ? u"*"_s : QString()));
    }
    return endings;
}

/// What the next launch lists, whose list is older than anything here.
QList<RecoveredRecording> TestTrackCrash::recover()
{
    FileAudioAssets assets(m_live);
    RecordingSettings settings;
    settings.saveDirectory = QUrl::fromLocalFile(m_folder->filePath(u"tracks"_s));
    const QDateTime listSavedAt = QDateTime::currentDateTime().addDays(-1);
    QList<RecoveredRecording> listed;
    for (const auto &left : QCoro::waitFor(unlistedRecordings(assets, settings, listSavedAt))) {
        if (const auto recovered = QCoro::waitFor(recoverRecording(assets, left, {})))
            listed.append(*recovered);
    }
    return listed;
}

void TestTrackCrash::tornTracksAreRecovered_data()
{
    QTest::addColumn<double>("system"); // how much of it is left
    QTest::addColumn<double>("mic");
    QTest::addColumn<QString>("listed");
    QTest::addColumn<double>("seconds");
    QTest::addColumn<bool>("keepsLength");
    const QString mix = u".m4a"_s;
    QTest::addRow("neither") << 1.0 << 1.0 << mix << 10.0 << false;
    QTest::addRow("both, zeros behind") << 0.53 << 0.57 << mix << 5.7 << true;
    QTest::addRow("both") << 0.95 << 0.95 << mix << 9.5 << false;
    QTest::addRow("system") << 0.5 << 1.0 << mix << 10.0 << false;
    QTest::addRow("microphone") << 1.0 << 0.5 << mix << 10.0 << false;
    QTest::addRow("nothing whole of the system") << 0.05 << 0.5 << u".mic.m4a"_s << 5.0 << false;
    QTest::addRow("nothing whole of the microphone")
        << 0.5 << 0.05 << u".system.m4a"_s << 5.0 << false;
}

/// As the power cut leaves them.
void TestTrackCrash::tornTracksAreRecovered()
{
    QFETCH(const double, system);
    QFETCH(const double, mic);
    QFETCH(const double, seconds);
    QFETCH(const bool, keepsLength);
    record(480000);
    const QByteArray whole = contentOf(path());
    QVERIFY(QFile::remove(path()));
    const auto part = [&](double left) {
        const QByteArray start = whole.first(qsizetype(left * double(whole.size())));
        return keepsLength ? start.leftJustified(whole.size(), '\0') : start;
    };
    put(track(u".system.m4a"_s), part(system));
    put(track(u".mic.m4a"_s), part(mic));
    const auto listed = recover();
    QCOMPARE(listed.size(), 1);
    const QString file = listed.first().file.toLocalFile();
    QTEST(file.mid(track({}).size()), "listed");
    QVERIFY(std::abs(listed.first().durationSeconds - seconds) < 1.2);
    const auto decoded = decodeFile(file);
    QVERIFY(decoded && decoded->errorCount == 0);
    QVERIFY(std::abs(double(decoded->frameCount()) / 48000 - seconds) < 1.2);
}

/// Whatever carries a final name is whole, and the next launch lists it as one recording.
void TestTrackCrash::checkConcluded(qint64 frames, QMap<QString, int> &seen)
{
    const QDir tracks(m_folder->filePath(u"tracks"_s));
    removeAbandonedParts(tracks.path(), QDateTime::currentDateTime().addDays(1));
    ++seen[remaining().join(u' ')];
    for (const QString &name : tracks.entryList(QDir::Files | QDir::Hidden)) {
        const auto decoded = decodeFile(tracks.filePath(name));
        QVERIFY2(decoded, qPrintable(name));
        QCOMPARE(decoded->errorCount, 0);
        QCOMPARE(decoded->frameCount(), frames);
    }
    const auto listed = recover();
    QCOMPARE(listed.size(), 1);
    QCOMPARE(listed.first().durationSeconds, double(frames) / 48000);
    QCOMPARE(tracks.entryList(QDir::Files | QDir::Hidden),
             QStringList{listed.first().file.fileName()});
    const auto decoded = decodeFile(listed.first().file.toLocalFile());
    QVERIFY(decoded && !decoded->fragmented);
    QCOMPARE(decoded->errorCount, 0);
    QCOMPARE(decoded->frameCount(), frames);
}

void TestTrackCrash::killedWhileConcluding_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QStringList>("windows"); // what the kills must have left
    QTest::addRow("finishing") << u"--finish"_s << u".system.m4a"_s
                               << QStringList{u".system.m4a*"_s, u".system.m4a"_s};
    QTest::addRow("mixing") << u"--mix"_s << u".m4a"_s
                            << QStringList{u".mic.m4a* .system.m4a*"_s,
                                           u".m4a .mic.m4a* .system.m4a*"_s, u".m4a .mic.m4a*"_s,
                                           u".m4a"_s};
}

void TestTrackCrash::killedWhileConcluding()
{
    QFETCH(const QString, how);
    QFETCH(const QString, result);
    QFETCH(const QStringList, windows);
    constexpr qint64 frames = 2 * 48000;
    record(frames);
    const QString folder = m_folder->path();
    QVERIFY(QFile::rename(path(), folder + u"/closed.m4a"_s));
    const quint32 seed = std::random_device()();
    qInfo("seed %u", seed);
    std::mt19937 random(seed);
    const QStringList arguments{how, folder};
    QVERIFY(runAndKill(arguments, 1s));
    // In every step of the first two rounds, however fast the machine is.
    std::uniform_real_distribution<> life(0.0, 2.0 / double(Counter(counterPath()).value()));
    QMap<QString, int> seen;
    const auto isSeen = [&seen](const QString &window) { return seen.contains(window); };
    const QDeadlineTimer limit(120s);
    for (int i = 0;
         i < killCount() || !(std::ranges::all_of(windows, isSeen) || limit.hasExpired()); ++i) {
        const std::chrono::duration<double> seconds(life(random));
        QVERIFY(runAndKill(arguments, std::chrono::round<std::chrono::nanoseconds>(seconds)));
        checkConcluded(frames, seen);
        if (QTest::currentTestFailed())
            return;
        if (how != u"--mix"_s)
            continue;
        // Between the publishing of the mix and the removal of the tracks, or between the two.
        QVERIFY(QFile::remove(track(result)));
        const QString system = track(u".system.m4a"_s);
        QVERIFY(runAndKill(arguments, 0ms, [&] {
            return QFile::exists(track(result)) && (i % 2 == 0 || !QFile::exists(system));
        }));
        checkConcluded(frames, seen);
        if (QTest::currentTestFailed())
            return;
    }
    for (const auto &[names, times] : seen.asKeyValueRange())
        qInfo("%d times %s", times, qPrintable(names));
    for (const QString &window : windows)
        QVERIFY2(isSeen(window), qPrintable(window));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5 && arguments[1] == u"--record"_s)
        return recordForEver(arguments[2], arguments[3].toDouble(), arguments[4]);
    if (arguments.size() == 4 && arguments[1] == u"--finish"_s)
        return finishForEver(arguments[2], arguments[3]);
    if (arguments.size() == 4 && arguments[1] == u"--mix"_s)
        return mixForEver(arguments[2], arguments[3]);
    TestTrackCrash test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_track_crash.moc"
