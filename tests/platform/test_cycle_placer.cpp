#include "platform/linux/pipewire/CyclePlacer.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// A cycle at \p now milliseconds, its ticks and its length in frames.
CapturedCycle cycle(double now, quint64 ticks, quint32 frames = 480, quint32 rate = 48000)
{
    const std::chrono::duration<double, std::milli> time(now);
    return {1000s + std::chrono::round<MediaTime>(time), ticks, rate, frames};
}

/// The same of a device that is asked once it has captured a whole cycle.
CapturedCycle aged(double now, quint64 ticks, quint32 frames)
{
    CapturedCycle made = cycle(now, ticks, frames);
    made.age = MediaTime(frames * 1'000'000'000LL / 48000);
    return made;
}

MediaTime heardAt(qint64 frames)
{
    return 1000s + MediaTime(frames * 1'000'000'000 / 48000);
}
} // namespace

class TestCyclePlacer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void placesCycles_data()
    {
        QTest::addColumn<QList<CapturedCycle>>("cycles");
        QTest::addColumn<qint64>("silence");
        QTest::addColumn<qint64>("cut");
        using Cycles = QList<CapturedCycle>;
        const auto row = [](const char *name, const Cycles &cycles, qint64 silence, qint64 cut) {
            QTest::newRow(name) << cycles << silence << cut;
        };

        row("the first one", {cycle(0, 77777)}, 0, 0);
        row("the next one", {cycle(0, 1000), cycle(10, 1480)}, 0, 0);
        row("a cycle that never came", {cycle(0, 1000), cycle(20, 1960)}, 480, 0);
        row("seconds that never came", {cycle(0, 1000), cycle(3000, 145000)}, 143520, 0);
        row("the same cycle again",
            {cycle(0, 1000), cycle(10, 1480), cycle(10, 1480), cycle(20, 1960)}, 0, 480);
        row("a late start of a cycle without loss",
            {cycle(0, 1000), cycle(10, 1480), cycle(41, 1960), cycle(42, 2440)}, 0, 0);
        row("another driver, after a hole", {cycle(0, 500000), cycle(60, 500000)}, 2400, 0);
        row("another driver, too early", {cycle(0, 500000), cycle(5, 300)}, 0, 240);
        row("another driver far ahead", {cycle(0, 1000), cycle(12, 900000)}, 96, 0);
        row("another driver half a second ahead",
            {cycle(0, 1000), cycle(10, 1480), cycle(30, 1960 + 24000)}, 480, 0);
        row("a driver's number used again", {cycle(0, 90000), cycle(110, 1024)}, 4800, 0);
        row("another rate", {cycle(0, 1000), cycle(14, 1480, 480, 44100)}, 192, 0);
        row("a converter's short cycle",
            {cycle(0, 1000, 523, 44100), cycle(11.6, 1512, 557, 44100)}, 0, 0);
        row("a loss at another rate", {cycle(0, 1000, 480, 44100), cycle(110, 5851, 480, 44100)},
            4800, 0);

        row("a late start before the cycles change",
            {cycle(0, 1000), cycle(10, 1480), cycle(28, 1960), cycle(30, 2440, 96)}, 0, 0);
        row("a device whose cycles begin with their end",
            {aged(0, 256, 256), aged(5.333, 512, 256), aged(48, 2560, 2048),
             aged(90.667, 4608, 2048), aged(96, 6656, 256)},
            0, 0);

        // Measured where a player that asks for cycles of 256 frames comes to one of 2048, and
        // where it goes again; in 85.33 ms there are two long cycles, in 5.33 one short one.
        row("PipeWire 0.3.65, short cycles begin",
            {cycle(0, 2048, 2048), cycle(42.667, 4096, 2048), cycle(85.333, 6144, 256),
             cycle(128, 6400, 256), cycle(133.333, 6656, 256)},
            1792, 0);
        row("PipeWire 0.3.65, short cycles end",
            {cycle(0, 256, 256), cycle(5.333, 512, 256), cycle(10.667, 768, 256),
             cycle(16, 2816, 2048), cycle(58.667, 4864, 2048)},
            0, 0);
        row("PipeWire 1.4.2, short cycles begin",
            {cycle(0, 2048, 2048), cycle(42.667, 4096, 2048), cycle(85.333, 6144, 256),
             cycle(90.667, 6400, 256), cycle(96, 6656, 256)},
            0, 0);
        row("PipeWire 1.4.2, short cycles end",
            {cycle(0, 256, 256), cycle(5.333, 512, 256), cycle(48, 2560, 256),
             cycle(90.667, 4608, 2048), cycle(133.333, 6656, 2048)},
            3584, 0);
    }

    void placesCycles()
    {
        QFETCH(const QList<CapturedCycle>, cycles);
        CyclePlacer line(48000);
        qint64 appended = 0;
        CyclePlacer::Placement sum;
        for (const CapturedCycle &next : cycles) {
            const auto placement = line.place(next, appended, heardAt(appended));
            appended += placement.silence + next.frames - placement.cut;
            sum.silence += placement.silence;
            sum.cut += placement.cut;
        }
        QTEST(sum.silence, "silence");
        QTEST(sum.cut, "cut");
    }

    void cutsOnUntilTheOverlapIsOver()
    {
        CyclePlacer line(48000);
        line.place(cycle(0, 1000, 2400), 0, heardAt(0));
        QList<qint64> cuts;
        qint64 appended = 2400;
        // A new driver begins 35 ms before the track's end, with cycles of 10 ms.
        for (int number = 0; number < 5; ++number) {
            const CapturedCycle next = cycle(15 + 10 * number, 480 * static_cast<quint64>(number));
            const auto placement = line.place(next, appended, heardAt(appended));
            QCOMPARE(placement.silence, 0);
            appended += next.frames - placement.cut;
            cuts.append(placement.cut);
        }
        QCOMPARE(cuts, (QList<qint64>{480, 480, 480, 240, 0}));
    }

    void givesBackWhatTheClockFilledIn()
    {
        CyclePlacer line(48000);
        line.place(cycle(0, 1000), 0, heardAt(0));
        // Nothing came for 3 s; 2 s of them were filled in meanwhile.
        const qint64 appended = 480 + 96000;
        const auto placement = line.place(cycle(3010, 1480 + 144000), appended, heardAt(appended));
        QCOMPARE(placement, (CyclePlacer::Placement{48000, 0}));
    }
};

QTEST_GUILESS_MAIN(TestCyclePlacer)
#include "test_cycle_placer.moc"
