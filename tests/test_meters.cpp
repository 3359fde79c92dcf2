#include "ui/BarRow.h"
#include "ui/LevelMeter.h"
#include "ui/MS.h"
#include "ui/SectionLabel.h"
#include "ui/Timeline.h"
#include "ui/Waveform.h"

#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

constexpr double moment = 1741327500.5; // seconds since 1970

/// The interval at which a part is repainted, in milliseconds; zero: no timer runs.
int ticking(const QWidget &part)
{
    const auto timers = part.findChildren<QTimer *>();
    const bool runs = std::ranges::any_of(timers, &QTimer::isActive);
    const auto interval = part.findChild<Timeline *>()->interval();
    return runs ? qRound(static_cast<double>(interval.count()) / 1000) : 0;
}

/// Counts the events of one type that a part gets.
class Counted : public QObject
{
public:
    Counted(QWidget &part, QEvent::Type type)
        : m_type(type)
    {
        part.installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        count += event->type() == m_type ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

    int count = 0;

private:
    QEvent::Type m_type;
};

} // namespace

/// The two rows of bars that move: their arithmetic and when they tick.
class TestMeters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Timeline::setClock([] { return moment; });
    }

    void cleanup() { Timeline::setClock(nullptr); }

    // Python: b = abs(sin(p*.7+i*.41+s))*.5 + abs(cos(i*.19+s*.5+p))*.35 +
    // abs(sin(i*.73+p*1.3))*.25, max(min(b, 1), .1), and live times (max(l**.7, .06) if l**.7 < 1
    // else 1)
    void amplitude_data()
    {
        QTest::addColumn<int>("bar");
        QTest::addColumn<double>("phase");
        QTest::addColumn<double>("seed");
        QTest::addColumn<double>("level"); // negative: not live
        QTest::addColumn<double>("expected");
        QTest::newRow("last bar") << 39 << 12.5 << 1.0 << -1.0 << 0.457079896;
        QTest::newRow("today, half level") << 7 << 5572248001.6 << 1.0 << 0.5 << 0.399301574;
        QTest::newRow("limited above") << 32 << 0.0 << 1.0 << -1.0 << 1.0;
        QTest::newRow("limited below") << 8 << 2.7 << 1.0 << -1.0 << 0.1;
        QTest::newRow("level beyond full") << 20 << 7.0 << 1.0 << 4.0 << 0.852186945;
        QTest::newRow("no number") << 8 << 2.7 << 1.0 << qQNaN() << 0.006;
    }

    void amplitude()
    {
        QFETCH(const double, seed);
        QFETCH(const double, level);
        QFETCH(const int, bar);
        QFETCH(const double, phase);
        QFETCH(const double, expected);
        Waveform waveform(40, seed);
        waveform.setLive(!(level < 0));
        waveform.setLevel(level);
        QVERIFY2(std::abs(waveform.amplitude(bar, phase) - expected) < 1e-6,
                 QByteArray::number(waveform.amplitude(bar, phase), 'g', 12));
    }

    // Python: h = (sin(i*.7+t)*.5+.5) * (sin(t*1.7+i*1.3)*.3+.7) with t = 8 or 1.4 times the
    // seconds, then h * level or h * .1 + .05
    void fill_data()
    {
        QTest::addColumn<int>("bar");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<bool>("isActive");
        QTest::addColumn<double>("level");
        QTest::addColumn<double>("expected");
        QTest::newRow("idle") << 0 << 0.0 << false << 0.0 << 0.085;
        QTest::newRow("idle today") << 11 << moment << false << 0.8 << 0.096755618;
        QTest::newRow("active today") << 11 << moment << true << 0.8 << 0.584504881;
        QTest::newRow("level beyond full") << 5 << 1.25 << true << 7.0 << 0.361275827;
        QTest::newRow("no number") << 5 << 1.25 << true << qQNaN() << 0.0;
    }

    void fill()
    {
        QFETCH(const int, bar);
        QFETCH(const double, seconds);
        QFETCH(const bool, isActive);
        QFETCH(const double, level);
        QFETCH(const double, expected);
        LevelMeter meter(12);
        meter.setActive(isActive);
        meter.setLevel(level);
        QVERIFY2(std::abs(meter.fill(bar, seconds) - expected) < 1e-6,
                 QByteArray::number(meter.fill(bar, seconds), 'g', 12));
    }

    // Python: e = (w - g*(n-1)) / n, r = lambda x: floor(x*d + .5) / d, r(i*(e+g)), r(i*(e+g) + e)
    void barsEndOnWholePixels_data()
    {
        QTest::addColumn<int>("bar");
        QTest::addColumn<int>("bars");
        QTest::addColumn<double>("gap");
        QTest::addColumn<double>("width");
        QTest::addColumn<double>("pixelRatio");
        QTest::addColumn<double>("left");
        QTest::addColumn<double>("barWidth");
        QTest::newRow("first") << 0 << 40 << 2.0 << 210.0 << 1.0 << 0.0 << 3.0;
        QTest::newRow("wider by a pixel") << 1 << 40 << 2.0 << 210.0 << 1.0 << 5.0 << 4.0;
        QTest::newRow("last") << 39 << 40 << 2.0 << 210.0 << 1.0 << 207.0 << 3.0;
        QTest::newRow("half a point") << 5 << 40 << 2.0 << 210.0 << 2.0 << 26.5 << 3.5;
        QTest::newRow("two thirds") << 11 << 12 << 1.0 << 40.0 << 1.5 << 112 / 3.0 << 8 / 3.0;
        QTest::newRow("no room") << 3 << 40 << 2.0 << 50.0 << 1.0 << 6.0 << 0.0;
    }

    void barsEndOnWholePixels()
    {
        QFETCH(const int, bar);
        QFETCH(const int, bars);
        QFETCH(const double, gap);
        QFETCH(const double, width);
        QFETCH(const double, pixelRatio);
        const BarSpan span = barSpan(bar, bars, gap, width, pixelRatio);
        QTEST(span.left, "left");
        QTEST(span.width, "barWidth");
    }

    void tickOnlyWhileVisible_data()
    {
        QTest::addColumn<bool>("isLive");
        QTest::addColumn<int>("waveform");
        QTest::addColumn<int>("meter");
        QTest::newRow("idle") << false << 167 << 125;
        QTest::newRow("live") << true << 50 << 33;
    }

    void tickOnlyWhileVisible()
    {
        QFETCH(const bool, isLive);
        QWidget panel;
        auto *const column = new QVBoxLayout(&panel);
        auto *const waveform = new Waveform(40, 1);
        auto *const meter = new LevelMeter(12);
        column->addWidget(waveform);
        column->addWidget(meter);
        const auto setLive = [&](bool live) {
            waveform->setLive(live);
            meter->setActive(live);
        };
        setLive(isLive);
        QCOMPARE(ticking(*waveform) + ticking(*meter), 0);
        panel.show();
        QTEST(ticking(*waveform), "waveform");
        QTEST(ticking(*meter), "meter");
        setLive(!isLive);
        setLive(isLive);
        QTEST(ticking(*waveform), "waveform");
        QTEST(ticking(*meter), "meter");
        panel.hide();
        setLive(!isLive);
        setLive(isLive);
        QCOMPARE(ticking(*waveform) + ticking(*meter), 0);
    }

    void repaintTogetherAndNothingElse()
    {
        QWidget panel;
        auto *const column = new QVBoxLayout(&panel);
        auto *const first = new LevelMeter(12);
        auto *const second = new LevelMeter(12);
        auto *const label = new SectionLabel(u"Capture"_s, MS::faint);
        for (QWidget *const part : std::initializer_list<QWidget *>{label, first, second})
            column->addWidget(part);
        first->setActive(true);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QTest::qWait(20); // so that the second would tick at another time than the first
        second->setActive(true);
        QTRY_VERIFY(!panel.testAttribute(Qt::WA_PendingUpdate));
        Counted ofLabel(*label, QEvent::Paint);
        Counted ofFirst(*first, QEvent::Paint);
        Counted ofSecond(*second, QEvent::Paint);
        Counted ofPanel(panel, QEvent::UpdateRequest);
        QTRY_VERIFY(ofFirst.count >= 12 && ofSecond.count >= 12);
        QCOMPARE(ofLabel.count, 0);
        QVERIFY2(ofPanel.count <= 18, QByteArray::number(ofPanel.count)); // 24 if each for itself
    }
};

QTEST_MAIN(TestMeters)
#include "test_meters.moc"
