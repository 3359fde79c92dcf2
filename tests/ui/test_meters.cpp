#include "ui/panel/LevelMeter.h"
#include "ui/panel/Waveform.h"
#include "ui/parts/MS.h"
#include "ui/parts/SectionLabel.h"
#include "ui/parts/Timeline.h"

#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace
{

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

/// The two rows of bars that move: how high they get, and what they repaint.
class TestMeters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void barsStayWithinTheirPlace()
    {
        Waveform waveform(40, 1);
        waveform.setLive(true);
        LevelMeter meter(12);
        meter.setActive(true);
        for (const double level : {-1.0, 0.0, 0.5, 1.0, 4.0, qQNaN()}) {
            waveform.setLevel(level);
            meter.setLevel(level);
            for (int moment = 0; moment < 10'000; ++moment) {
                const double height = waveform.amplitude(moment % 40, moment * 0.1);
                QVERIFY2(height >= 0.0 && height <= 1.0, QByteArray::number(level));
                const double filled = meter.fill(moment % 12, moment * 0.1);
                QVERIFY2(filled >= 0.0 && filled <= 1.0, QByteArray::number(level));
            }
        }
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
