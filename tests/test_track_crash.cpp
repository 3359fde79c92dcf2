#include "platform/linux/media/FinishTrack.h"
#include "platform/linux/media/TrackWriter.h"
#include "tests/support/Decoded.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr AudioEncoding stereo{48000, 2, 128000};
constexpr qint64 blockFrames = 2048;
constexpr double toneFrequency = 997;
constexpr double toneAmplitude = 0.4;

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
int recordForEver(const QString &path, const QString &counterPath, double pace)
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

double lastHalfSecondLevel(const Decoded &decoded)
{
    const qint64 frames = std::min<qint64>(24000, decoded.frameCount());
    return toneLevel(decoded.channel(1, decoded.frameCount() - frames, frames), toneFrequency,
                     decoded.sampleRate);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void replaceContent(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), content.size());
}
} // namespace

/// What is left of a track when its recording ends badly.
class TestTrackCrash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void killedAtAnyMoment_data();
    void killedAtAnyMoment();
    void cutAnywhere();
    void damagedAnywhere_data();
    void damagedAnywhere();
    void fullDisk();
    void folderRemoved_data();
    void folderRemoved();
    void folderMovedAway();

private:
    QString path() const { return m_folder->filePath(u"tracks/track.m4a"_s); }
    double lostSeconds(double pace, std::chrono::milliseconds life);
    void record(qint64 frames);

    std::unique_ptr<QTemporaryDir> m_folder;
    LiveTracks m_live;
};

void TestTrackCrash::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_folder->path()).mkdir(u"tracks"_s));
}

/// Kills a recording after \p life of sound, and checks what it leaves. Seconds that are missing;
/// negative when something else is wrong.
double TestTrackCrash::lostSeconds(double pace, std::chrono::milliseconds life)
{
    const QString counterPath = m_folder->filePath(u"counter"_s);
    QFile::remove(counterPath);
    Counter counter(counterPath);
    QProcess recorder;
    recorder.start(QCoreApplication::applicationFilePath(),
                   {u"--record"_s, path(), counterPath, QString::number(pace)});
    // By the clock, not by the count: the kill may come in the middle of anything.
    if (!recorder.waitForStarted() || !QTest::qWaitFor([&] { return counter.value() > 0; }, 20000))
        return -1;
    std::this_thread::sleep_for(life / pace);
    ::kill(static_cast<pid_t>(recorder.processId()), SIGKILL);
    recorder.waitForFinished();

    const auto left = decodeFile(path());
    if (!left || left->errorCount > 0)
        return -2;
    if (left->frameCount() > 24000 && std::abs(lastHalfSecondLevel(*left) - toneAmplitude) > 0.02)
        return -3;
    if (!finishTrackFile(path()))
        return -4;
    const auto finished = decodeFile(path());
    if (!finished || finished->fragmented || finished->frameCount() != left->frameCount() ||
        finished->samples != left->samples)
        return -5;
    return static_cast<double>(counter.value() - left->frameCount()) / stereo.sampleRate;
}

void TestTrackCrash::killedAtAnyMoment_data()
{
    QTest::addColumn<int>("kills");
    QTest::addColumn<double>("pace");
    bool given = false;
    const int kills = qEnvironmentVariableIntValue("TRACK_KILLS", &given);
    QTest::addRow("fast") << (given ? kills : 40) << 20.0;
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
    QCoro::waitFor(writer.finish());
}

void TestTrackCrash::cutAnywhere()
{
    constexpr qint64 frames = 480000;
    record(frames);
    const QByteArray whole = contentOf(path());
    std::mt19937 random(9);
    std::uniform_int_distribution<qsizetype> position(1024, whole.size());
    for (int i = 0; i < 30; ++i) {
        const qsizetype cut = position(random);
        replaceContent(path(), whole.first(cut));
        // Noise: the bytes are spread evenly.
        const double there = static_cast<double>(cut) * frames / static_cast<double>(whole.size());
        const auto torn = decodeFile(path());
        QVERIFY(torn);
        QVERIFY(static_cast<double>(torn->frameCount()) > there - 1.2 * stereo.sampleRate);
        QVERIFY(finishTrackFile(path()));
        const auto finished = decodeFile(path());
        QVERIFY(finished);
        QCOMPARE(finished->errorCount, 0);
        QVERIFY(static_cast<double>(finished->frameCount()) > there - 1.2 * stereo.sampleRate);
        QVERIFY(static_cast<double>(finished->frameCount()) < there + 0.2 * stereo.sampleRate);
    }
}

void TestTrackCrash::damagedAnywhere_data()
{
    QTest::addColumn<int>("firstByte");
    QTest::addColumn<int>("span");
    QTest::addRow("format") << 0 << 700;
    QTest::addRow("sound") << 700 << 60000;
}

void TestTrackCrash::damagedAnywhere()
{
    QFETCH(int, firstByte);
    QFETCH(int, span);
    constexpr qint64 frames = 4 * 48000;
    record(frames);
    const QByteArray whole = contentOf(path());
    std::mt19937 random(10);
    std::uniform_int_distribution<int> position(firstByte, firstByte + span - 1);
    int finishedCount = 0;
    for (int i = 0; i < 150; ++i) {
        QByteArray damaged = whole;
        for (int byte = 0; byte < 3; ++byte)
            damaged[position(random)] = static_cast<char>(random());
        replaceContent(path(), damaged);
        const auto before = decodeFile(path());
        // Whatever comes of it: the same bytes, or a file with no less in it.
        if (finishTrackFile(path())) {
            ++finishedCount;
            const auto after = decodeFile(path());
            QVERIFY(after || !before);
            const qint64 playable = before ? std::min(frames, before->frameCount()) : 0;
            const qint64 least = firstByte > 0 ? frames : playable;
            QVERIFY(!after || after->frameCount() > least - stereo.sampleRate);
        } else {
            QCOMPARE(contentOf(path()), damaged);
        }
        QCOMPARE(QDir(m_folder->filePath(u"tracks"_s)).entryList(QDir::Files | QDir::Hidden),
                 QStringList{u"track.m4a"_s});
    }
    qInfo("%d of 150 could be finished", finishedCount);
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
        const auto finished = finishTrackFile(path());
        QVERIFY(!finished);
        QCOMPARE(finished.error().description(), u"磁盘空间不足"_s);
        QCOMPARE(contentOf(path()), before);
        QVERIFY(QFile::remove(path()));
    }
}

void TestTrackCrash::folderRemoved_data()
{
    QTest::addColumn<bool>("canBeMadeAgain");
    QTest::addRow("made again") << true;
    QTest::addRow("a file in its place") << false;
}

void TestTrackCrash::folderRemoved()
{
    QFETCH(bool, canBeMadeAgain);
    const QString folder = m_folder->filePath(u"tracks"_s);
    TrackWriter writer(path(), m_live);
    QVERIFY(writer.addInput(stereo) && writer.startWriting());
    writer.startSession(0ns);
    constexpr qint64 blocks = 100;
    for (qint64 i = 0; i < blocks; ++i) {
        if (i == blocks / 2) {
            QVERIFY(QDir(folder).removeRecursively());
            if (!canBeMadeAgain)
                replaceContent(folder, "in the way");
        }
        const bool appended = appendTone(writer, i * blockFrames);
        QVERIFY(appended || !canBeMadeAgain);
    }
    QCoro::waitFor(writer.finish());
    if (canBeMadeAgain) {
        QVERIFY(!writer.failure());
        const auto decoded = decodeFile(path());
        QVERIFY(decoded);
        QCOMPARE(decoded->frameCount(), blocks * blockFrames);
        QCOMPARE(decoded->errorCount, 0);
    } else {
        QVERIFY(writer.failure());
        QVERIFY(writer.failure()->description().startsWith(u"写入录音文件失败："));
        QCOMPARE(contentOf(folder), QByteArray("in the way"));
    }
}

void TestTrackCrash::folderMovedAway()
{
    TrackWriter writer(path(), m_live);
    QVERIFY(writer.addInput(stereo) && writer.startWriting());
    writer.startSession(0ns);
    constexpr qint64 blocks = 100;
    for (qint64 i = 0; i < blocks; ++i) {
        if (i == blocks / 2)
            QVERIFY(QDir(m_folder->path()).rename(u"tracks"_s, u"elsewhere"_s));
        QVERIFY(appendTone(writer, i * blockFrames));
    }
    QCoro::waitFor(writer.finish());
    const auto decoded = decodeFile(m_folder->filePath(u"elsewhere/track.m4a"_s));
    QVERIFY(decoded);
    QCOMPARE(decoded->frameCount(), blocks * blockFrames);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5 && arguments[1] == u"--record"_s)
        return recordForEver(arguments[2], arguments[3], arguments[4].toDouble());
    TestTrackCrash test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_track_crash.moc"
