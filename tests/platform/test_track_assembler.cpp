#include "platform/linux/pipewire/TrackAssembler.h"

#include <QTest>

#include <cmath>
#include <numbers>
#include <random>

using namespace std::chrono_literals;

namespace
{
constexpr int rate = 48000;
constexpr MediaTime begin = 1000s;

/// Collects a track and checks that it has no holes.
class Track
{
public:
    explicit Track(bool keepsSamples)
        : m_keepsSamples(keepsSamples)
    {
    }

    TrackAssembler::Output output()
    {
        return [this](const AudioBuffer &buffer) { take(buffer); };
    }

    void take(const AudioBuffer &buffer)
    {
        if (frames == 0)
            m_origin = buffer.presentationTime;
        const auto expected = m_origin + MediaTime(frames * 1'000'000'000 / rate);
        isContinuous = isContinuous &&
                       std::abs((buffer.presentationTime - expected).count()) <= 1 &&
                       buffer.frameCount() <= 2 * 8192;
        frames += static_cast<qint64>(buffer.frameCount());
        if (m_keepsSamples)
            samples.insert(samples.end(), buffer.samples.begin(), buffer.samples.end());
    }

    bool isContinuous = true;
    qint64 frames = 0;
    std::vector<float> samples;

private:
    bool m_keepsSamples;
    MediaTime m_origin{0};
};

/// A device whose crystal is off, with the jitter of a timer and cycles that change their length.
class Device
{
public:
    Device(double partsPerMillion, bool changesCycles)
        : m_frameSeconds(1.0 / rate / (1.0 + partsPerMillion * 1e-6))
        , m_changesCycles(changesCycles)
    {
    }

    CapturedCycle next()
    {
        const bool isShort = m_changesCycles && std::fmod(m_seconds, 60.0) > 30.0;
        const quint32 frames = isShort ? 1024 : 2048;
        const std::chrono::duration<double> now(m_seconds + m_jitter(m_random));
        const CapturedCycle cycle{begin + std::chrono::round<MediaTime>(now), m_ticks, rate,
                                  frames};
        m_ticks += frames;
        m_seconds += frames * m_frameSeconds;
        return cycle;
    }

    double seconds() const { return m_seconds; }

private:
    double m_frameSeconds;
    bool m_changesCycles;
    double m_seconds = 0.0;
    quint64 m_ticks = 4096;
    std::mt19937 m_random{7};
    std::uniform_real_distribution<double> m_jitter{-0.001, 0.001};
};
} // namespace

class TestTrackAssembler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTimeForHours_data()
    {
        QTest::addColumn<double>("partsPerMillion");
        QTest::addColumn<bool>("changesCycles");
        QTest::addColumn<double>("hours");
        QTest::newRow("0.1 % fast") << 1000.0 << false << 2.0;
        QTest::newRow("0.1 % slow, restless") << -1000.0 << true << 0.25;
        QTest::newRow("0.01 % slow, restless") << -100.0 << true << 0.25;
    }

    void keepsTimeForHours()
    {
        QFETCH(const double, partsPerMillion);
        QFETCH(const bool, changesCycles);
        QFETCH(const double, hours);
        Track track(false);
        TrackAssembler assembler(rate, 1, track.output());
        Device device(partsPerMillion, changesCycles);
        const std::vector<float> samples(2048);
        double worst = 0.0;
        while (device.seconds() < hours * 3600.0) {
            const double truth = device.seconds();
            const CapturedCycle cycle = device.next();
            assembler.append(cycle, std::span(samples).first(cycle.frames));
            const double length = std::chrono::duration<double>(assembler.end() - begin).count();
            worst = std::max(worst, std::abs(length - truth - cycle.frames / double(rate)));
        }
        qInfo("worst error %.1f ms, at the end corrected by %.0f ppm", worst * 1000.0,
              assembler.partsPerMillion());
        // What the resampler held back is the track's end.
        const MediaTime whole = assembler.end();
        assembler.finish();
        QVERIFY(std::chrono::abs(assembler.end() - whole) < 50us);
        QVERIFY(track.isContinuous);
        QCOMPARE(assembler.record(), (TrackAssembler::Record{0, 0}));
        // Against a track that is right, this is how far the two are apart, at any time.
        QVERIFY2(worst < 0.040, qPrintable(QString::number(worst)));
    }

    void leavesGoodSamplesAlone()
    {
        Track track(true);
        TrackAssembler assembler(rate, 2, track.output());
        Device device(20.0, false);
        std::vector<float> played;
        std::mt19937 random(1);
        std::uniform_real_distribution<float> noise(-1.0F, 1.0F);
        while (device.seconds() < 60.0) {
            const CapturedCycle cycle = device.next();
            std::vector<float> samples(std::size_t{cycle.frames} * 2);
            std::ranges::generate(samples, [&] { return noise(random); });
            played.insert(played.end(), samples.begin(), samples.end());
            assembler.append(cycle, samples);
        }
        assembler.finish();
        QVERIFY(track.samples == played);
    }

    void correctsWithoutClicks()
    {
        Track track(true);
        TrackAssembler assembler(rate, 1, track.output());
        Device device(800.0, false);
        constexpr double frequency = 1000.0;
        qint64 frame = 0;
        while (device.seconds() < 40.0) {
            const CapturedCycle cycle = device.next();
            std::vector<float> samples(cycle.frames);
            for (float &sample : samples) {
                const double phase = 2.0 * std::numbers::pi * frequency * double(frame++) / rate;
                sample = static_cast<float>(0.5 * std::sin(phase));
            }
            assembler.append(cycle, samples);
        }
        assembler.finish();
        QVERIFY(track.frames < frame - 500);

        // Any sine of this frequency satisfies x[n+1] + x[n-1] = 2 cos(w) x[n]; a click does not.
        const double turn = 2.0 * std::cos(2.0 * std::numbers::pi * frequency / rate);
        double worst = 0.0;
        for (std::size_t n = 1; n + 64 < track.samples.size(); ++n) {
            const double residue =
                double(track.samples[n + 1]) + track.samples[n - 1] - turn * track.samples[n];
            worst = std::max(worst, std::abs(residue));
        }
        QVERIFY2(worst < 1e-3, qPrintable(QString::number(worst)));
    }

    void fillsGapsAndCutsOverlaps()
    {
        Track track(true);
        TrackAssembler assembler(rate, 1, track.output());
        const std::vector<float> ones(480, 1.0F);
        const auto at = [](int milliseconds, quint64 ticks) {
            return CapturedCycle{begin + std::chrono::milliseconds(milliseconds), ticks, rate, 480};
        };
        assembler.fillUntil(begin + 5s); // has not begun
        assembler.append(at(0, 1000), ones);
        assembler.append(at(1000, 49000), ones); // 990 ms were lost
        assembler.fillUntil(begin + 2s);
        assembler.append(at(1995, 50), ones); // another driver, 5 ms too early
        assembler.append(at(2005, 530), ones);
        assembler.finish();

        QVERIFY(track.isContinuous);
        QCOMPARE(track.frames, 96000 + 240 + 480);
        QCOMPARE(assembler.record(), (TrackAssembler::Record{47520 + 47520, 240}));
        const auto loud = std::ranges::count(track.samples, 1.0F);
        QCOMPARE(loud, 480 + 480 + 240 + 480);
        QCOMPARE(track.samples.at(48000), 1.0F);
        QCOMPARE(track.samples.at(47999), 0.0F);
        QCOMPARE(track.samples.at(96000), 1.0F);
    }

    void findsLossesThatTicksHide_data()
    {
        QTest::addColumn<quint32>("frames");
        QTest::addColumn<bool>("isLoss");
        QTest::addRow("more than a cycle") << 480U << true;
        QTest::addRow("less than a cycle") << 8192U << false;
    }

    void findsLossesThatTicksHide()
    {
        QFETCH(const quint32, frames);
        QFETCH(const bool, isLoss);
        Track track(false);
        TrackAssembler assembler(rate, 1, track.output());
        const std::vector<float> samples(frames);
        for (quint64 ticks = 0; ticks < 30 * rate; ticks += frames) {
            // After 5 s the clock goes on by 120 ms that the driver does not count.
            const auto lost = ticks >= 5 * rate ? 120ms : 0ms;
            const auto now = begin + lost + MediaTime(ticks * 1'000'000'000 / rate);
            assembler.append({now, ticks, rate, frames}, samples);
        }
        QVERIFY(track.isContinuous);
        QCOMPARE(assembler.record().silence > 0, isLoss);
        QCOMPARE(assembler.record().cut, 0);
        const double error =
            std::chrono::duration<double>(assembler.end() - (begin + 30s + 120ms)).count();
        QVERIFY2(!isLoss || std::abs(error) < 0.02, qPrintable(QString::number(error)));
    }
};

QTEST_GUILESS_MAIN(TestTrackAssembler)
#include "test_track_assembler.moc"
