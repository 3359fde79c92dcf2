#include "platform/linux/pipewire/SampleRing.h"

#include <QTest>

#include <numeric>
#include <thread>

class TestSampleRing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsOrderBetweenThreads();
    void countsWhatDoesNotFit();
    void holdsTenSeconds_data();
    void holdsTenSeconds();
};

void TestSampleRing::keepsOrderBetweenThreads()
{
    constexpr quint64 cycles = 200'000;
    SampleRing ring(2, 64, 4096);
    std::thread writer([&ring] {
        std::vector<float> samples;
        float value = 0.0F;
        for (quint64 number = 0; number < cycles; ++number) {
            // Lengths that do not divide the ring, so that cycles wrap at every place.
            const auto frames = static_cast<quint32>(1 + number % 37);
            samples.resize(frames * 2U);
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
        const CapturedCycle *front = ring.front();
        if (front == nullptr) {
            std::this_thread::yield();
            continue;
        }
        isInOrder = isInOrder && front->ticks == number &&
                    front->frames == static_cast<quint32>(1 + number % 37);
        const std::size_t count = front->frames * 2U;
        ring.take(samples);
        isInOrder = isInOrder && samples.size() == count;
        for (const float sample : samples) {
            expected = expected < 1e6F ? expected + 1 : 0;
            isInOrder = isInOrder && sample == expected;
        }
        ++number;
    }
    writer.join();
    QVERIFY(isInOrder);
    QVERIFY(ring.front() == nullptr);
}

void TestSampleRing::countsWhatDoesNotFit()
{
    SampleRing ring(1, 4, 1024);
    const std::vector<float> samples(500, 1.0F);
    for (quint64 number = 0; number < 4; ++number)
        ring.write({MediaTime(0), number, 48000, 500}, samples);
    QCOMPARE(ring.takeLostFrames(), 1000U);
    QCOMPARE(ring.takeLostFrames(), 0U);
    QCOMPARE(ring.highestFill(), 1000U);

    std::vector<float> taken;
    ring.take(taken);
    QVERIFY(ring.write({MediaTime(0), 7, 48000, 500}, samples));
    QCOMPARE(ring.front()->ticks, 1U);
    ring.take(taken);
    QCOMPARE(ring.front()->ticks, 7U);

    // Many short cycles run out of places before they run out of samples.
    ring.take(taken);
    QCOMPARE(ring.front(), nullptr);
    for (quint64 number = 0; number < 5; ++number)
        ring.write({MediaTime(0), number, 48000, 10}, std::span(samples).first(10));
    QCOMPARE(ring.takeLostFrames(), 10U);
}

void TestSampleRing::holdsTenSeconds_data()
{
    QTest::addColumn<int>("channels");
    QTest::addColumn<quint32>("frames");
    QTest::newRow("stereo, long cycles") << 2 << 2048U;
    QTest::newRow("mono, shortest cycles") << 1 << 32U;
}

void TestSampleRing::holdsTenSeconds()
{
    QFETCH(const int, channels);
    QFETCH(const quint32, frames);
    SampleRing ring = SampleRing::tenSeconds(channels);
    const std::vector<float> samples(frames * static_cast<std::size_t>(channels));
    for (quint32 written = 0; written < 480'000; written += frames)
        ring.write({MediaTime(0), written, 48000, frames}, samples);
    QCOMPARE(ring.takeLostFrames(), 0U);
}

QTEST_GUILESS_MAIN(TestSampleRing)
#include "test_sample_ring.moc"
