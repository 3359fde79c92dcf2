#include "tests/support/Picture.h"
#include "ui/parts/MS.h"
#include "ui/parts/MSSwitch.h"

#include <QSignalBlocker>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

// Where the knob's middle is when the switch is off and on.
constexpr QPoint leading(8, 8);
constexpr QPoint trailing(21, 8);

/// "off", "on" or, between the two, "under way".
QString shown(MSSwitch &toggle)
{
    const QImage picture = pictureOf(toggle);
    const QColor first = picture.pixelColor(leading);
    const QColor last = picture.pixelColor(trailing);
    if (isAlike(first, Qt::white) && isAlike(last, MS::hover))
        return u"off"_s;
    if (isAlike(first, MS::amber) && isAlike(last, Qt::white))
        return u"on"_s;
    return u"under way"_s;
}

} // namespace

/// The switch: where its knob is, and who moves it.
class TestSwitch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCursor::setPos(700, 500); } // a switch under the pointer is lighter

    void follows_data()
    {
        QTest::addColumn<QString>("by");
        QTest::newRow("Return") << u"return"_s;
        QTest::newRow("program") << u"program"_s;
        QTest::newRow("program, without signals") << u"silent"_s;
    }

    void follows()
    {
        QFETCH(const QString, by);
        MSSwitch toggle;
        toggle.show();
        QSignalSpy toggled(&toggle, &QAbstractButton::toggled);
        const auto press = [&](bool on) {
            const QSignalBlocker blocked(by == "silent"_L1 ? &toggle : nullptr);
            if (by == "return"_L1)
                QTest::keyClick(&toggle, Qt::Key_Return);
            else
                toggle.setChecked(on);
        };
        press(true);
        QVERIFY(toggle.isChecked());
        QTRY_COMPARE(shown(toggle), u"on"_s);
        press(false);
        QVERIFY(!toggle.isChecked());
        QTRY_COMPARE(shown(toggle), u"off"_s);
        QCOMPARE(toggled.count(), by == "silent"_L1 ? 0 : 2);
    }

    void hidingEndsTheSlide()
    {
        MSSwitch toggle;
        toggle.show();
        toggle.click();
        toggle.hide();
        QCOMPARE(shown(toggle), u"on"_s);
    }
};

QTEST_MAIN(TestSwitch)
#include "test_switch.moc"
