#include "platform/linux/media/LiveTrack.h"
#include "platform/linux/mix/FileAudioAssets.h"
#include "platform/linux/mix/MixFile.h"
#include "platform/linux/mix/WholeFileMix.h"
#include "tests/support/Decoded.h"
#include "tests/support/Files.h"
#include "tests/support/MadeTrack.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/mount.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

using namespace Qt::StringLiterals;

namespace
{
constexpr AudioEncoding systemEncoding{.sampleRate = 48000, .channelCount = 2, .bitRate = 128000};
constexpr AudioEncoding micEncoding{.sampleRate = 48000, .channelCount = 1, .bitRate = 64000};

/// What a mix of the two has to sound like.
std::vector<float> limitedSum(const Decoded &system, const Decoded &mic)
{
    const qint64 frames = std::max(system.frameCount(), mic.frameCount());
    std::vector<float> sum(static_cast<std::size_t>(frames) * 2);
    for (const Decoded *track : {&system, &mic}) {
        for (std::size_t i = 0; i < sum.size(); ++i) {
            const std::size_t source = track->channelCount == 1 ? i / 2 : i;
            if (source < track->samples.size())
                sum[i] += track->samples[source];
        }
    }
    for (float &sample : sum)
        sample = std::clamp(sample, -1.0F, 1.0F);
    return sum;
}

double power(std::span<const float> samples)
{
    const double level = rmsLevel(samples);
    return level * level;
}

std::vector<float> difference(std::span<const float> one, std::span<const float> other)
{
    std::vector<float> result(one.begin(), one.end());
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] -= other[i];
    return result;
}

/// Signal to noise ratio of \p decoded, in dB.
double fidelity(std::span<const float> original, std::span<const float> decoded)
{
    return 10 * std::log10(power(original) / power(difference(original, decoded)));
}

} // namespace

/// Two closed tracks become one file, or both stay as they are.
class TestMix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void sumsBothTracksFromZero_data()
    {
        QTest::addColumn<qint64>("systemFrames");
        QTest::addColumn<qint64>("micFrames");
        QTest::addColumn<bool>("fragmented");
        const auto row = [](const char *name, qint64 systemFrames, qint64 micFrames) {
            for (const bool fragmented : {true, false})
                QTest::addRow("%s, %s", name, fragmented ? "just recorded" : "finished")
                    << systemFrames << micFrames << fragmented;
        };
        row("equally long", 480000, 480000);
        row("shorter microphone", 480123, 470001);
        row("shorter system", 96001, 481023);
        row("one frame over a packet", 1025, 1024);
        row("one frame", 1, 1);
        row("many seconds and a frame against one frame", 1, 240001);
    }

    void sumsBothTracksFromZero()
    {
        QFETCH(qint64, systemFrames);
        QFETCH(qint64, micFrames);
        QFETCH(bool, fragmented);
        const auto make = fragmented ? makeFragmentedTrack : makePlainTrack;
        QVERIFY(make(system(), encodeSound(systemEncoding, sine(700, 0.3, systemFrames, 2))));
        QVERIFY(make(mic(), encodeSound(micEncoding, sine(1100, 0.2, micFrames, 1))));

        const auto outcome = mixInto(output());
        QVERIFY2(outcome.completed, qPrintable(outcome.error.value_or(Error({})).description()));
        const auto mixed = decodeFile(output());
        const auto systemTrack = decodeFile(system());
        const auto micTrack = decodeFile(mic());
        QVERIFY(mixed && systemTrack && micTrack);
        QCOMPARE(systemTrack->frameCount(), systemFrames);
        QCOMPARE(mixed->frameCount(), std::max(systemFrames, micFrames));
        QCOMPARE(mixed->containerFrames, std::max(systemFrames, micFrames));
        QCOMPARE(mixed->startSeconds, 0.0);
        QCOMPARE(mixed->channelCount, 2);
        QCOMPARE(mixed->sampleRate, 48000);
        QCOMPARE(mixed->errorCount, 0);
        QVERIFY(mixed->indexInFront);
        if (systemFrames + micFrames < 48000)
            return;
        // With one of the tracks late by a frame there are 19 dB, with the microphone 3 dB down 15.
        QCOMPARE_GE(fidelity(limitedSum(*systemTrack, *micTrack), mixed->samples), 25.0);
    }

    void cutsOffAtFullScale()
    {
        QVERIFY(makePlainTrack(system(), encodeSound(systemEncoding, sine(440, 0.9, 96000, 2))));
        QVERIFY(makePlainTrack(mic(), encodeSound(micEncoding, sine(440, 0.9, 96000, 1))));
        QVERIFY(mixInto(output()).completed);
        const auto mixed = decodeFile(output());
        QVERIFY(mixed);
        const auto expected = limitedSum(*decodeFile(system()), *decodeFile(mic()));
        QCOMPARE(std::ranges::max(expected), 1.0F);
        QCOMPARE_GE(fidelity(expected, mixed->samples), 25.0);
    }

    void whatIsNoNumberIsSilence()
    {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        std::vector<float> sum{0.5F, -3.0F, infinity, infinity, 0.25F};
        addSound(sum, std::vector{0.75F, 0.5F, -infinity, 1.0F, -0.5F});
        limitToFullScale(sum);
        QCOMPARE(sum, (std::vector{1.0F, -1.0F, 0.0F, 1.0F, -0.25F}));
    }

    void trackAtAnotherRateFailsTheExport()
    {
        makeTracks();
        const AudioEncoding slower{.sampleRate = 44100, .channelCount = 1, .bitRate = 64000};
        QVERIFY(makePlainTrack(mic(), encodeSound(slower, sine(1000, 0.5, 44100, 1, 44100))));
        const auto outcome = mixInto(output());
        QVERIFY(!outcome.completed && outcome.error);
        QCOMPARE(files(), (QStringList{u"a.mic.m4a"_s, u"a.system.m4a"_s}));
    }

    void tellsTracksFromDamage_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("tracks"); // -1: an error
        init();
        makeTracks();
        const QByteArray plain = contentOf(mic());
        const QByteArray fragmented = contentOf(system());
        const auto with = [&](QByteArray bytes, const char *before, const char *after) {
            return bytes.replace(bytes.indexOf(before), 4, after);
        };
        QTest::newRow("finished track") << plain << 1;
        QTest::newRow("just recorded track") << fragmented << 1;
        QTest::newRow("moving pictures only") << with(plain, "soun", "vide") << 0;
        QTest::newRow("damaged track") << with(plain, "trak", "trax") << -1;
        QTest::newRow("damaged description") << with(plain, "stsd", "stsx") << -1;
        QTest::newRow("damaged index") << with(plain, "moov", "moox") << -1;
        QTest::newRow("cut in the index") << plain.first(plain.indexOf("stsz") + 40) << -1;
        QTest::newRow("cut in the last fragment") << fragmented.chopped(100) << 1;
        QTest::newRow("cut in the first fragment") << fragmented.first(3000) << -1;
        QTest::newRow("empty") << QByteArray() << -1;
        QTest::newRow("zeros") << QByteArray(4096, '\0') << -1;
        QTest::newRow("text") << QByteArray("no sound at all\n").repeated(200) << -1;
        QTest::newRow("wave file")
            << "RIFF" + QByteArray(4, '\x7f') + "WAVEfmt " + QByteArray(4000, 1) << -1;
        QTest::newRow("stream of AAC")
            << QByteArray("\xff\xf1\x4c\x80\x2e\x7f\xfc", 7).repeated(600) << -1;
    }

    void tellsTracksFromDamage()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, tracks);
        put(mic(), content);
        const auto counted = QCoro::waitFor(m_assets.audioTrackCount(mic()));
        QCOMPARE(counted.value_or(-1), tracks);
        QVERIFY(counted || !counted.error().description().isEmpty());
        QVERIFY(!QCoro::waitFor(m_assets.audioTrackCount(m_folder->path())));
        QVERIFY(!QCoro::waitFor(m_assets.audioTrackCount(file(u"missing"_s))));
        if (tracks == 1)
            QCOMPARE(contentOf(mic()), content);
    }

    void damagedSoundFailsTheExport_data()
    {
        QTest::addColumn<bool>("systemTrack"); // the one that is just recorded
        QTest::addColumn<double>("from");      // parts of the file
        QTest::addColumn<double>("to");
        QTest::addColumn<char>("filler"); // -1: cut off
        QTest::newRow("finished, cut") << false << 0.7 << 1.0 << '\0';
        QTest::newRow("finished, zeros") << false << 0.4 << 0.6 << '\1';
        QTest::newRow("finished, garbage") << false << 0.4 << 0.6 << '\xa5';
        QTest::newRow("just recorded, zeros") << true << 0.4 << 0.6 << '\1';
        QTest::newRow("just recorded, garbage") << true << 0.4 << 0.6 << '\xa5';
    }

    void damagedSoundFailsTheExport()
    {
        QFETCH(bool, systemTrack);
        QFETCH(double, from);
        QFETCH(double, to);
        QFETCH(char, filler);
        makeTracks(20);
        const QString damaged = systemTrack ? system() : mic();
        QByteArray content = contentOf(damaged);
        const auto start = static_cast<qsizetype>(from * static_cast<double>(content.size()));
        const auto end = static_cast<qsizetype>(to * static_cast<double>(content.size()));
        if (filler == '\0')
            content.truncate(start);
        else
            content.replace(start, end - start,
                            QByteArray(end - start, filler == '\1' ? '\0' : filler));
        put(damaged, content);
        put(output(), "another recording");

        const auto outcome = mixInto(output());
        QVERIFY(!outcome.completed);
        QVERIFY(outcome.error && !outcome.error->description().isEmpty());
        QCOMPARE(contentOf(damaged), content);
        QCOMPARE(contentOf(output()), "another recording");
        QCOMPARE(files(), (QStringList{u"a.m4a"_s, u"a.mic.m4a"_s, u"a.system.m4a"_s}));
    }

    void noRoomFailsTheExport()
    {
        makeTracks(60);
        const QString folder = file(u"small"_s);
        QVERIFY(QDir().mkdir(folder));
        const QByteArray place = QFile::encodeName(folder);
        if (::mount("tmpfs", place.constData(), "tmpfs", 0, "size=256k") != 0)
            QSKIP("mounting is not permitted");
        const auto outcome = mixInto(folder + u"/a.m4a"_s);
        const QStringList left = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        ::umount(place.constData());
        QCOMPARE(left, QStringList());
        QVERIFY(!outcome.completed);
        QVERIFY(outcome.error && !outcome.error->description().isEmpty());
        QVERIFY(decodeFile(system()) && decodeFile(mic()));
    }

    void stoppedExportLeavesTheTracks()
    {
        makeTracks(600);
        const auto both = composition();
        QVERIFY(both);
        const auto session = m_assets.makeExport(*both, output());
        std::stop_source stop;
        auto exporting = session->run(stop.get_token());
        QTRY_VERIFY(files().contains(u".a.m4a.part"_s));
        stop.request_stop();
        const auto outcome = QCoro::waitFor(exporting);
        QVERIFY(!outcome.completed);
        QVERIFY(outcome.error);
        QCOMPARE(files(), (QStringList{u"a.mic.m4a"_s, u"a.system.m4a"_s}));

        const QByteArray track = contentOf(system());
        QVERIFY(!QCoro::waitFor(m_assets.finishTrack(system(), stop.get_token())));
        QCOMPARE(contentOf(system()), track);
        QCOMPARE(files(), (QStringList{u"a.mic.m4a"_s, u"a.system.m4a"_s}));
    }

private:
    QString file(const QString &name) const { return m_folder->filePath(name); }
    QString system() const { return file(u"a.system.m4a"_s); }
    QString mic() const { return file(u"a.mic.m4a"_s); }
    QString output() const { return file(u"a.m4a"_s); }
    QStringList files() const
    {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    void makeTracks(double seconds = 5)
    {
        const auto frames = static_cast<qint64>(seconds * 48000);
        QVERIFY(
            makeFragmentedTrack(system(), encodeSound(systemEncoding, liveliness(frames, 2, 1))));
        QVERIFY(makePlainTrack(mic(), encodeSound(micEncoding, liveliness(frames - 4321, 1, 2))));
    }

    std::expected<MixComposition, Error> composition()
    {
        MixComposition composition;
        for (const QString &path : {system(), mic()}) {
            const auto duration = QCoro::waitFor(m_assets.durationSeconds(path));
            if (!duration)
                return std::unexpected(duration.error());
            composition.insert(path, *duration);
        }
        return composition;
    }

    ExportOutcome mixInto(const QString &path)
    {
        const auto both = composition();
        if (!both)
            return ExportOutcome{.completed = false, .error = both.error()};
        const auto session = m_assets.makeExport(*both, path);
        return session ? QCoro::waitFor(session->run({})) : ExportOutcome{};
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    LiveTracks m_live;
    FileAudioAssets m_assets{m_live};
};

QTEST_GUILESS_MAIN(TestMix)
#include "test_mix.moc"
