#include "tests/support/Picture.h"
#include "ui/MS.h"
#include "ui/RecordButton.h"
#include "ui/RecordButtonRipple.h"
#include "ui/Timeline.h"

#include <QAccessible>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using Look = RecordButton::Look;

Q_DECLARE_METATYPE(Look)

namespace
{

double moment = 0;

double atMoment()
{
    return moment;
}

QString spokenName(RecordButton &button)
{
    return QAccessible::queryAccessibleInterface(&button)->text(QAccessible::Name);
}

bool isTicking(const QWidget &part)
{
    const auto timers = part.findChildren<QTimer *>();
    return std::ranges::any_of(timers, &QTimer::isActive);
}

} // namespace

/// The four looks of the record button, its rings, and who can press it how.
class TestRecordButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        moment = 1741327500.5;
        Timeline::setClock(atMoment);
    }

    void cleanup() { Timeline::setClock(nullptr); }

    // Python: x = t*.5 + .5*k, p = x - floor(x), e = 1 - (1-p)**2, (1 + .55*e, .55 * (1-e))
    void ring_data()
    {
        QTest::addColumn<int>("k");
        QTest::addColumn<double>("seconds");
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("opacity");
        QTest::newRow("first, begins") << 0 << 0.0 << 1.0 << 0.55;
        QTest::newRow("second, a second apart") << 1 << 0.0 << 1.4125 << 0.1375;
        QTest::newRow("first, a quarter") << 0 << 0.5 << 1.240625 << 0.309375;
        QTest::newRow("first, half") << 0 << 1.0 << 1.4125 << 0.1375;
        QTest::newRow("first, nearly gone") << 0 << 1.75 << 1.54140625 << 0.00859375;
        QTest::newRow("second, at that time") << 1 << 1.75 << 1.33515625 << 0.21484375;
        QTest::newRow("first, again") << 0 << 2.0 << 1.0 << 0.55;
        QTest::newRow("first, today") << 0 << 1741327500.5 << 1.240625 << 0.309375;
        QTest::newRow("second, today") << 1 << 1741327500.5 << 1.515625 << 0.034375;
    }

    void ring()
    {
        QFETCH(const int, k);
        QFETCH(const double, seconds);
        const RecordButtonRipple::Ring ring = RecordButtonRipple::ring(k, seconds);
        QTEST(ring.scale, "scale");
        QTEST(ring.opacity, "opacity");
    }

    // Points of the 100 x 100: the ring at 32 from the centre, the disc at 22, outside the round
    // glyph but inside the square one, the glyph's centre, and the first ripple at this moment.
    void looks_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<QColor>("ring");
        QTest::addColumn<QColor>("disc");
        QTest::addColumn<QColor>("corner");
        QTest::addColumn<QColor>("glyph");
        QTest::addColumn<QColor>("ripple");
        const QColor nothing = MS::bg2;
        const QColor ink = MS::inkOnAmber;
        const QColor idle = onGround(MS::amber, 0.5);
        const QColor live = onGround(MS::ember, 0.5);
        QTest::newRow("disabled") << Look::disabled << onGround(MS::border) << nothing << nothing
                                  << onGround(MS::faint) << nothing;
        QTest::newRow("idle") << Look::idle << onGround(MS::amber, 0.15) << idle << idle << ink
                              << onGround(MS::amber, 0.309);
        QTest::newRow("live") << Look::live << onGround(MS::ember, 0.18) << live << ink << ink
                              << onGround(MS::ember, 0.309);
        QTest::newRow("stopping") << Look::stopping << onGround(MS::border) << nothing << nothing
                                  << nothing << nothing;
    }

    void looks()
    {
        QFETCH(const Look, look);
        RecordButton button;
        button.setLook(look);
        const QImage picture = pictureOf(button);
        QCOMPARE(picture.size(), QSize(100, 100));
        const std::pair<const char *, QPoint> points[] = {{"ring", {50, 17}},
                                                          {"disc", {28, 50}},
                                                          {"corner", {42, 42}},
                                                          {"glyph", {50, 50}},
                                                          {"ripple", {50, 10}}};
        for (const auto &[name, point] : points) {
            const auto expected = *static_cast<QColor *>(QTest::qData(name, qMetaTypeId<QColor>()));
            const QColor found = picture.pixelColor(point);
            QVERIFY2(isAlike(found, expected), (QByteArray(name) + ' ' + found.name().toLatin1()));
        }
    }

    void spinnerTurns()
    {
        RecordButton button;
        button.setLook(Look::stopping);
        const auto darkest = [&button] { // of the four sides of the track
            const QImage picture = pictureOf(button);
            int found = 0;
            const QPoint sides[] = {{50, 42}, {57, 50}, {50, 57}, {42, 50}};
            for (int i = 1; i < 4; ++i) {
                if (picture.pixelColor(sides[i]).red() < picture.pixelColor(sides[found]).red())
                    found = i;
            }
            return found;
        };
        // A quarter of the track is dark; it goes round with the clock, once a second.
        QList<int> seen;
        for (const double start = std::floor(moment); seen.size() < 5;) {
            moment = start + 0.125 + 0.25 * static_cast<double>(seen.size());
            seen.append(darkest());
        }
        const QList<int> turn{seen[0], (seen[0] + 1) % 4, (seen[0] + 2) % 4, (seen[0] + 3) % 4,
                              seen[0]};
        QCOMPARE(seen, turn);
    }

    void pressing_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<bool>("canBePressed");
        QTest::addColumn<QString>("name");
        QTest::newRow("disabled") << Look::disabled << false << u"开始录音"_s;
        QTest::newRow("idle") << Look::idle << true << u"开始录音"_s;
        QTest::newRow("live") << Look::live << true << u"停止录音"_s;
        QTest::newRow("stopping") << Look::stopping << false << u"停止中…"_s;
    }

    void pressing()
    {
        QFETCH(const Look, look);
        QFETCH(const bool, canBePressed);
        RecordButton button;
        button.setLook(look);
        button.show();
        QSignalSpy pressed(&button, &QAbstractButton::clicked);
        QTEST(spokenName(button), "name");
        QTest::mouseClick(&button, Qt::LeftButton, {}, {50, 8}); // on the ripple
        QCOMPARE(pressed.count(), 0);
        QTest::mouseClick(&button, Qt::LeftButton, {}, {50, 20});
        QCOMPARE(pressed.count(), canBePressed ? 1 : 0);
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter})
            QTest::keyClick(&button, key);
        QCOMPARE(pressed.count(), canBePressed ? 4 : 0);
    }

    void clickLeavesTheFocusWhereItIs()
    {
        QWidget panel;
        QLineEdit title(&panel);
        RecordButton button(&panel);
        button.setLook(Look::idle);
        panel.show();
        panel.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        title.setFocus();
        QTest::mouseClick(&button, Qt::LeftButton);
        QVERIFY(title.hasFocus());
        const QImage before = pictureOf(button);
        QTest::keyClick(&title, Qt::Key_Tab);
        QVERIFY(button.hasFocus());
        QVERIFY(pictureOf(button) != before);
    }

    void ticksOnlyWhileSomethingMoves_data()
    {
        QTest::addColumn<Look>("look");
        QTest::addColumn<bool>("moves");
        QTest::newRow("disabled") << Look::disabled << false;
        QTest::newRow("idle") << Look::idle << true;
        QTest::newRow("live") << Look::live << true;
        QTest::newRow("stopping") << Look::stopping << true;
    }

    void ticksOnlyWhileSomethingMoves()
    {
        QFETCH(const Look, look);
        QFETCH(const bool, moves);
        RecordButton button;
        button.setLook(look);
        QVERIFY(!isTicking(button));
        button.show();
        QCOMPARE(isTicking(button), moves);
        button.setLook(Look::disabled);
        QVERIFY(!isTicking(button));
        button.setLook(look);
        QCOMPARE(isTicking(button), moves);
        button.hide();
        QVERIFY(!isTicking(button));
    }
};

QTEST_MAIN(TestRecordButton)
#include "test_record_button.moc"
