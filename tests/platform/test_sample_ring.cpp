#include "platform/linux/pipewire/SampleRing.h"

#include <QTest>

#include <numeric>
#include <thread>

class TestSampleRing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsOrderBetweenThreads()
    {
        constexpr quint64 cycles = 200'000;
        SampleRing ring(2, 4099);
        std::thread writer([&ring] {
            std::vector<float> samples;
            float value = 0.0F;
            for (quint64 number = 0; number < cycles; ++number) {
                // Lengths that do not divide the ring, so that cycles wrap at every place.
                const auto frames = static_cast<quint32>(1 + number % 37);
                samples.resize(frames * std::size_t{2});
                std::ranges::generate(samples,
                                      [&value] { return value = value < 1e6F ? value + 1 : 0; });
                while (!ring.write({MediaTime(number), number, 48000, frames}, samples))
                    std::this_thread::yield();
            }
        });

        float expected = 0.0F;
        bool isInOrder = true;
        std::vector<float> samples;
        for (quint64 number = 0; number < cycles;) {
            const auto cycle = ring.take(samples);
            if (!cycle) {
                std::this_thread::yield();
                continue;
            }
            isInOrder = isInOrder && cycle->ticks == number &&
                        cycle->frames == static_cast<quint32>(1 + number % 37) &&
                        samples.size() == cycle->frames * std::size_t{2};
            for (const float sample : samples) {
                expected = expected < 1e6F ? expected + 1 : 0;
                isInOrder = isInOrder && sample == expected;
            }
            ++number;
        }
        writer.join();
        QVERIFY(isInOrder);
        QVERIFY(!ring.take(samples));
    }

    void countsWhatDoesNotFit()
    {
        // Two cycles fit; a third does not, whatever has been taken before.
        constexpr std::size_t frames = 500;
        SampleRing ring(1, 3 * (frames + SampleRing::headerSamples) - 1);
        const std::vector<float> samples(frames, 1.0F);
        std::vector<float> taken;
        quint64 number = 0;
        for (int round = 0; round < 3; ++round) {
            const quint64 first = number;
            for (int cycle = 0; cycle < 4; ++cycle)
                ring.write({MediaTime(0), number++, 48000, frames}, samples);
            QCOMPARE(ring.takeLostFrames(), 2 * frames);
            QCOMPARE(ring.takeLostFrames(), 0U);
            QCOMPARE(ring.take(taken)->ticks, first);
            QVERIFY(ring.write({MediaTime(0), number++, 48000, frames}, samples));
            QCOMPARE(ring.take(taken)->ticks, first + 1);
            QCOMPARE(ring.take(taken)->ticks, first + 4);
            QVERIFY(!ring.take(taken));
        }
        QCOMPARE(ring.highestFill(), 2 * (frames + SampleRing::headerSamples));

        // What never fits leaves the ring as it was.
        const std::vector<float> tooLong(4 * frames, 1.0F);
        QVERIFY(!ring.write({MediaTime(0), 0, 48000, 4 * frames}, tooLong));
        QVERIFY(ring.write({MediaTime(0), 99, 48000, frames}, samples));
        QCOMPARE(ring.take(taken)->ticks, 99U);
        QCOMPARE(taken, samples);
    }
};

QTEST_GUILESS_MAIN(TestSampleRing)
#include "test_sample_ring.moc"
