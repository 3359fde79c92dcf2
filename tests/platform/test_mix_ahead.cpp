#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/mix/LiveMix.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/WholeFileMix.h"
#include "tests/support/Decoded.h"
#include "tests/support/Files.h"
#include "tests/support/MadeTrack.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sys/mount.h>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr AudioEncoding systemEncoding{.sampleRate = 48000, .channelCount = 2, .bitRate = 128000};
constexpr AudioEncoding micEncoding{.sampleRate = 48000, .channelCount = 1, .bitRate = 64000};
constexpr std::size_t secondOfPackets = 47;

/// A track as its recorder hands it over: packets into a file, and to whoever follows.
struct Recording {
    EncodedSound sound;
    std::shared_ptr<LiveTrack> live = std::make_shared<LiveTrack>(sound.format);
    std::size_t recorded = 0;

    bool isRecorded() const { return recorded == sound.packets.size(); }
    void record(std::size_t packets)
    {
        for (; packets > 0 && !isRecorded(); --packets)
            live->push(sound.packets[recorded++]);
    }
    void end()
    {
        record(sound.packets.size());
        live->end(sound.frameCount);
    }
    void end(const QString &path)
    {
        end();
        QVERIFY(makeFragmentedTrack(path, sound));
    }
};

/// Unevenly and much faster than they would sound, but so that a follower comes to the end of what
/// there is now and then.
void recordBoth(Recording &first, Recording &second)
{
    while (!first.isRecorded() || !second.isRecorded()) {
        first.record(30);
        QThread::msleep(2);
        second.record(37);
        QThread::msleep(2);
    }
}

} // namespace

/// A mix that is made while its tracks are recorded is the very mix of the closed files, or is
/// given up without a trace.
class TestMixAhead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void equalsTheMixOfTheClosedFiles_data()
    {
        QTest::addColumn<qint64>("systemFrames");
        QTest::addColumn<qint64>("micFrames");
        constexpr qint64 second = 48000;
        QTest::newRow("equally long") << 50 * second << 50 * second;
        QTest::newRow("microphone ends early") << 45 * second + 123 << 2 * second + 1;
        QTest::newRow("system ends early") << 3 * second + 500 << 25 * second + 1023;
        QTest::newRow("ends with a packet") << 90 * 1024LL << 90 * 1024LL - 1;
        QTest::newRow("shorter than what is held back") << 700LL << 1LL;
    }

    void equalsTheMixOfTheClosedFiles()
    {
        QFETCH(qint64, systemFrames);
        QFETCH(qint64, micFrames);
        Recording first = systemTrack(systemFrames);
        Recording second = micTrack(micFrames);
        LiveMix ahead(first.live, second.live, output(), 1ms);
        recordBoth(first, second);
        second.end(mic());
        first.end(system());

        QVERIFY(QCoro::waitFor(ahead.finish(composition(first, second))));
        QVERIFY(!QFile::exists(part()));
        QVERIFY(mixWholeFiles(composition(first, second), file(u"whole.m4a"_s)));
        QCOMPARE(decodeFile(output())->frameCount(), std::max(systemFrames, micFrames));
        QVERIFY(contentOf(output()) == contentOf(file(u"whole.m4a"_s)));
    }

    void stalledTrackIsWaitedFor()
    {
        Recording first = systemTrack(30 * 48000);
        Recording second = micTrack(30 * 48000);
        LiveMix ahead(first.live, second.live, output(), 1ms);
        second.record(1);
        recordBoth(first, first); // the other one comes all at once in the end
        first.end(system());
        second.end(mic());
        QVERIFY(QCoro::waitFor(ahead.finish(composition(first, second))));
        QVERIFY(mixWholeFiles(composition(first, second), file(u"whole.m4a"_s)));
        QVERIFY(contentOf(output()) == contentOf(file(u"whole.m4a"_s)));
    }

    void doubtDiscards_data()
    {
        QTest::addColumn<QString>("doubt");
        for (const char *doubt : {"lost at once", "lost in the end", "damaged packet", "not ended",
                                  "longer file", "shorter file", "three files", "too few packets"})
            QTest::newRow(doubt) << QString::fromLatin1(doubt);
    }

    void doubtDiscards()
    {
        QFETCH(QString, doubt);
        constexpr qint64 frames = 5 * 48000;
        Recording first = systemTrack(frames);
        Recording second = micTrack(frames);
        QList<qint64> lengths{frames, frames};
        LiveMix ahead(first.live, second.live, output());
        if (doubt == u"lost at once")
            first.live->lose();
        if (doubt == u"damaged packet")
            second.sound.packets[50] = AacPacket(200, std::byte{0xa5});
        first.record(2 * secondOfPackets);
        second.record(2 * secondOfPackets);
        if (doubt == u"lost in the end")
            second.live->lose();
        if (doubt == u"longer file")
            lengths[1] += 2;
        if (doubt == u"shorter file")
            lengths[0] -= 2;
        if (doubt == u"three files")
            lengths.append(frames);
        if (doubt == u"too few packets")
            second.live->end(frames);
        first.end();
        if (doubt != u"not ended")
            second.end();

        QElapsedTimer timer;
        timer.start();
        const auto mix = QCoro::waitFor(ahead.finish(composition(lengths)));
        QVERIFY(!mix);
        QVERIFY(!mix.error().description().isEmpty());
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden), QStringList());
        // Nobody reads them any more: they must not keep what is still recorded.
        for (const Recording *track : {&first, &second})
            QVERIFY(track->live->state() != LiveTrack::State::growing);
    }

    void abandonedLeavesNothing()
    {
        Recording first = systemTrack(48000);
        Recording second = micTrack(48000);
        auto ahead = std::make_unique<LiveMix>(first.live, second.live, output());
        first.record(40);
        second.record(40);
        QTRY_VERIFY(QFile::exists(part()));
        ahead.reset();
        QTRY_VERIFY(!QFile::exists(part()));
        QTRY_COMPARE(first.live->state(), LiveTrack::State::lost);
    }

    void fullDiskGivesTheRoomBack()
    {
        const QString folder = file(u"small"_s);
        QVERIFY(QDir().mkdir(folder));
        const QByteArray place = QFile::encodeName(folder);
        if (::mount("tmpfs", place.constData(), "tmpfs", 0, "size=512k") != 0)
            QSKIP("mounting is not permitted");
        const auto unmount = qScopeGuard([&] { ::umount(place.constData()); });
        Recording first = systemTrack(90 * 48000);
        Recording second = micTrack(90 * 48000);
        LiveMix ahead(first.live, second.live, folder + u"/a.m4a"_s, 1ms);
        recordBoth(first, second);
        // While both go on: the disk is needed for them.
        QTRY_COMPARE_WITH_TIMEOUT(first.live->state(), LiveTrack::State::lost, 60000);
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList());
        QVERIFY(!QCoro::waitFor(ahead.finish(composition(first, second))));
    }

    void needsBothTracks()
    {
        LiveTracks tracks;
        FileAudioAssets assets(tracks);
        const auto only = tracks.open(system(), systemTrack(1024).sound.format);
        QVERIFY(!assets.mixAhead(system(), mic(), output()));
        QCOMPARE(only->state(), LiveTrack::State::lost);
    }

private:
    QString file(const QString &name) const { return m_folder->filePath(name); }
    QString system() const { return file(u"a.system.m4a"_s); }
    QString mic() const { return file(u"a.mic.m4a"_s); }
    QString output() const { return file(u"a.m4a"_s); }
    QString part() const { return file(u".a.m4a.part"_s); }

    static Recording systemTrack(qint64 frames)
    {
        return {.sound = encodeSound(systemEncoding, liveliness(frames, 2, 1))};
    }
    static Recording micTrack(qint64 frames)
    {
        return {.sound = encodeSound(micEncoding, liveliness(frames, 1, 2))};
    }
    MixComposition composition(const QList<qint64> &frameCounts) const
    {
        MixComposition result;
        for (qsizetype i = 0; i < frameCounts.size(); ++i)
            result.insert(i == 0 ? system() : mic(), static_cast<double>(frameCounts[i]) / 48000);
        return result;
    }
    MixComposition composition(const Recording &first, const Recording &second) const
    {
        return composition({first.sound.frameCount, second.sound.frameCount});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TestMixAhead)
#include "test_mix_ahead.moc"
