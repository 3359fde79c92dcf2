#include "platform/linux/media/FinishTrack.h"
#include "platform/linux/media/M4aMuxer.h"
#include "platform/linux/media/PartFiles.h"
#include "platform/linux/media/TrackWriter.h"
#include "tests/support/Decoded.h"
#include "tests/support/Files.h"
#include "tests/support/Packets.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr AudioEncoding mono{48000, 1, 64000};
constexpr MediaTime sessionStart = 123456789012345ns;

MediaTime afterFrames(double frames)
{
    return sessionStart + MediaTime(std::llround(frames * 1e9 / mono.sampleRate));
}

/// A buffer of the noise that begins at the same place in time in every buffer.
struct Piece {
    qint64 atFrame; ///< from the start of the session
    qint64 frames;
    double jitter = 0; ///< what its presentation time is wrong by, in frames
};

struct Timeline {
    QList<Piece> pieces;
    qint64 length;                                ///< of the file, in frames
    QList<std::pair<qint64, qint64>> silentSpans; ///< in frames
};

QList<Piece> manyPieces(qint64 count, double jitterFrames)
{
    QList<Piece> pieces;
    for (qint64 i = 0; i < count; ++i)
        pieces.append({i * 1024, 1024, i % 2 ? jitterFrames : -jitterFrames});
    return pieces;
}
} // namespace
Q_DECLARE_METATYPE(Timeline)

/// A track from the first buffer to the finished file.
class TestTrackWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void buffersArePlacedByTheirTime_data()
    {
        QTest::addColumn<Timeline>("timeline");
        QTest::addRow("one after the other")
            << Timeline{{{0, 4800}, {4800, 480}, {5280, 20000}}, 25280, {}};
        QTest::addRow("rounded times") << Timeline{manyPieces(100, 0.9), 102400, {}};
        QTest::addRow("hole") << Timeline{{{0, 10000}, {30000, 10000}}, 40000, {{10000, 30000}}};
        QTest::addRow("long hole")
            << Timeline{{{0, 4800}, {960000, 4800}}, 964800, {{4800, 960000}}};
        QTest::addRow("starts late") << Timeline{{{20000, 10000}}, 30000, {{0, 20000}}};
        QTest::addRow("overlap") << Timeline{{{0, 20000}, {15000, 20000}}, 35000, {}};
        QTest::addRow("twice the same")
            << Timeline{{{0, 20000}, {0, 20000}, {20000, 9}}, 20009, {}};
        QTest::addRow("begins before the session") << Timeline{{{-5000, 20000}}, 15000, {}};
        QTest::addRow("all before the session") << Timeline{{{-5000, 5000}, {0, 9999}}, 9999, {}};
        QTest::addRow("hole, then overlap")
            << Timeline{{{0, 5000}, {15000, 5000}, {18000, 5000}}, 23000, {{5000, 15000}}};
        QTest::addRow("hole of two frames") << Timeline{{{0, 5000}, {5002, 5000}}, 10002, {}};
    }

    void buffersArePlacedByTheirTime()
    {
        QFETCH(Timeline, timeline);
        // What was said at a time sounds the same in whichever buffer it comes.
        constexpr qint64 before = 8192;
        const auto sound = noise(0.4, before + timeline.length + 8192, 5);
        const auto writer = started();
        QVERIFY(writer);
        for (const Piece &piece : timeline.pieces) {
            const auto at = static_cast<std::size_t>(piece.atFrame + before);
            const auto samples =
                std::span(sound).subspan(at, static_cast<std::size_t>(piece.frames));
            QVERIFY(
                writer->append({samples, 1, 48000,
                                afterFrames(static_cast<double>(piece.atFrame) + piece.jitter)}));
        }
        QCoro::waitFor(writer->finish());

        const auto decoded = decodeFile(path());
        QVERIFY(decoded);
        QCOMPARE(decoded->frameCount(), timeline.length);
        std::vector<float> expected(sound.begin() + before,
                                    sound.begin() + before + timeline.length);
        for (const auto &[first, end] : timeline.silentSpans) {
            std::fill(expected.begin() + first, expected.begin() + end, 0.0F);
            const qint64 inner = end - first - 4096; // codecs smear by a frame or two
            QVERIFY(rmsLevel(decoded->channel(0, first + 2048, inner)) < 0.002);
        }
        const auto last = static_cast<qint64>(expected.size()) - 4096;
        for (const qint64 at : {qint64{0}, last}) {
            const auto from = static_cast<std::size_t>(at);
            const auto window = std::span(expected).subspan(from, 4096);
            if (rmsLevel(window) > 0)
                QCOMPARE(correlationLag(window, decoded->channel(0, at, 4096), 40), 0);
        }
    }

    void closedTrackIsExactAndPrivate_data()
    {
        QTest::addColumn<int>("frames");
        QTest::addColumn<int>("channels");
        for (const int frames : {0, 1, 1023, 1024, 1025, 43007, 43008, 43009, 480123})
            for (const int channels : {1, 2})
                QTest::addRow("%d frames, %d channels", frames, channels) << frames << channels;
    }

    void closedTrackIsExactAndPrivate()
    {
        QFETCH(int, frames);
        QFETCH(int, channels);
        record({48000, channels, 128000}, sine(440, 0.5, frames, channels));
        const auto rights = QFile::permissions(path());
        QCOMPARE(rights & ~QFile::Permissions(QFile::ReadUser | QFile::WriteUser),
                 QFile::ReadOwner | QFile::WriteOwner);
        const auto closed = decodeFile(path());
        QVERIFY(closed);
        QCOMPARE(closed->frameCount(), frames);

        QVERIFY(makePlainFile(path()));
        const auto finished = decodeFile(path());
        QVERIFY(finished);
        QCOMPARE(finished->containerFrames, frames);
        QCOMPARE(finished->frameCount(), frames);
        QCOMPARE(finished->startSeconds, 0.0);
        QVERIFY(finished->indexInFront);
        QVERIFY(!finished->fragmented);
        QCOMPARE(QFile::permissions(path()), rights);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{u"track.m4a"_s});
        QVERIFY(frames > 0 || QFile(path()).size() < 1024); // what counts as without content
    }

    void finishingCopiesEveryPacket()
    {
        const auto samples = noise(0.4, 300000, 6);
        record(mono, samples);
        const EncodedSound expected = encodeSound(mono, samples);
        QVERIFY(readPackets(path()).packets == expected.packets);
        for (int i = 0; i < 2; ++i) { // again on the finished file
            QVERIFY(makePlainFile(path()));
            const QByteArray content = contentOf(path());
            const QByteArray unnamedStream("\0\0", 2); // that of the descriptor in the box
            QCOMPARE(content.mid(content.indexOf("esds") + 10, 2), unnamedStream);
            const StoredPackets stored = readPackets(path());
            QVERIFY(stored.packets == expected.packets);
            QCOMPARE(stored.frameCount, 300000);
        }
    }

    void finishingThatFailsKeepsTheTrack()
    {
        record(mono, sine(440, 0.5, 100000, 1));
        const QByteArray before = contentOf(path());
        QVERIFY(QDir().mkpath(partPath(path()) + u"/in the way"_s));
        const auto finished = makePlainFile(path());
        QVERIFY(!finished);
        QVERIFY(finished.error().description().startsWith(u"写入录音文件失败："));
        QCOMPARE(contentOf(path()), before);
    }

    void followerGetsEveryPacket()
    {
        const auto samples = noise(0.4, 200500, 7);
        const auto writer = started();
        QVERIFY(writer);
        const auto track = m_live.take(path());
        QVERIFY(track);
        QVERIFY(!m_live.take(path())); // only one can follow
        QCOMPARE(track->format().sampleRate, 48000);
        std::vector<AacPacket> packets;
        const auto drain = [&] {
            while (auto packet = track->next(0ms))
                packets.push_back(*std::move(packet));
        };
        QVERIFY(writer->append({samples, 1, 48000, sessionStart}));
        drain();
        QCOMPARE(track->state(), LiveTrack::State::growing);
        QVERIFY(packets.size() > 190); // they come while the track grows
        QCoro::waitFor(writer->finish());
        drain();
        QCOMPARE(track->state(), LiveTrack::State::ended);
        QCOMPARE(track->frameCount(), 200500);
        QVERIFY(packets == encodeSound(mono, samples).packets);
    }

    void followerLearnsOfTheEnd()
    {
        for (const bool isCancelled : {true, false}) {
            auto writer = started();
            QVERIFY(writer);
            const auto track = m_live.take(path());
            if (isCancelled)
                writer->cancel();
            else
                writer.reset();
            QVERIFY(!track->next(1h)); // returns at once
            QCOMPARE(track->state(), LiveTrack::State::lost);
        }
    }

    void slowFollowerIsGivenUp_data()
    {
        QTest::addColumn<bool>("isFollowed");
        QTest::addColumn<int>("shortestSeconds");
        QTest::addColumn<int>("longestSeconds");
        QTest::addRow("followed") << true << 300 << 900;
        QTest::addRow("nobody comes") << false << 30 << 90;
    }

    void slowFollowerIsGivenUp()
    {
        QFETCH(bool, isFollowed);
        QFETCH(int, shortestSeconds);
        QFETCH(int, longestSeconds);
        LiveTrack track({});
        if (isFollowed)
            track.follow();
        int accepted = 0;
        while (track.state() == LiveTrack::State::growing && accepted < 1'000'000) {
            track.push(AacPacket(10));
            ++accepted;
        }
        QCOMPARE(track.state(), LiveTrack::State::lost);
        QVERIFY(accepted > 48000LL * shortestSeconds / aacFrameLength);
        QVERIFY(accepted < 48000LL * longestSeconds / aacFrameLength); // memory is bounded
        track.end(accepted * aacFrameLength);
        QCOMPARE(track.state(), LiveTrack::State::lost);
        QVERIFY(!track.next(0ms)); // no hole in the middle goes unnoticed
    }

    void onlyAbandonedPartsAreRemoved()
    {
        const QString used = partPath(m_folder->filePath(u"recording-2.m4a"_s));
        const auto muxer = M4aMuxer::create(used, encodeSound(mono, {}).format);
        QVERIFY(muxer);
        const QStringList others{u".recording-3.m4a"_s, u".recording-3.part"_s,
                                 u".notes.m4a.part"_s, u"recording-3.m4a.part"_s};
        for (const QString &name : others + QStringList{u".recording-1.m4a.part"_s}) {
            QFile file(m_folder->filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        const auto now = QDateTime::currentDateTime();
        removeAbandonedParts(m_folder->path(), now.addSecs(-60)); // those may get their names yet
        QVERIFY(QFile::exists(m_folder->filePath(u".recording-1.m4a.part"_s)));
        removeAbandonedParts(m_folder->path(), now.addSecs(60));
        QStringList expected = others + QStringList{u".recording-2.m4a.part"_s};
        expected.sort();
        QStringList left = QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden);
        left.sort();
        QCOMPARE(left, expected);
    }

private:
    QString path() const { return m_folder->filePath(u"track.m4a"_s); }
    std::unique_ptr<TrackWriter> started(const AudioEncoding &encoding = mono)
    {
        auto writer = std::make_unique<TrackWriter>(path(), m_live);
        if (!writer->addInput(encoding) || !writer->startWriting())
            return nullptr;
        writer->startSession(sessionStart);
        return writer;
    }

    /// A closed track of \p samples.
    void record(const AudioEncoding &encoding, std::span<const float> samples)
    {
        const auto writer = started(encoding);
        QVERIFY(writer);
        QVERIFY(
            writer->append({samples, encoding.channelCount, encoding.sampleRate, sessionStart}));
        QCoro::waitFor(writer->finish());
        QVERIFY(!writer->failure());
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    LiveTracks m_live;
};

QTEST_GUILESS_MAIN(TestTrackWriter)
#include "test_track_writer.moc"
