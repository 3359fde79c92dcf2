#include "ui/panel/PopoverPlacement.h"
#include "ui/panel/PopoverWindow.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <QWindow>

#include <string_view>

using namespace Qt::StringLiterals;

namespace
{
using Icon = std::optional<QRect>;

// Beside the icon only, so that the corner of the screen shows when it is not.
const QRect icon(300, 0, 24, 24);

/// A popover with a field for text, and another window that the user may turn to.
struct Desk {
    Desk() { elsewhere.show(); }

    void open()
    {
        popover.toggleBeside(icon);
        QVERIFY(QTest::qWaitForWindowActive(&popover));
    }

    void turnElsewhere() { elsewhere.activateWindow(); }

    static QWidget *makeContent()
    {
        auto *const made = new QWidget;
        made->setFixedSize(360, 400);
        return made;
    }

    QWidget *content = makeContent();
    QLineEdit *field = new QLineEdit(content);
    PopoverWindow popover{content};
    QWidget elsewhere;
};

/// Every turn of the loop that a deferred decision may take.
void settle()
{
    QTest::qWait(50);
}
} // namespace

/// Where the popover opens, and what closes it.
class TestPopoverWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void position_data()
    {
        QTest::addColumn<QRect>("available");
        QTest::addColumn<Icon>("place");
        QTest::addColumn<QPoint>("expected");
        const QRect whole(0, 0, 1920, 1080);
        const QRect underTop(0, 30, 1920, 1050);
        const QRect overBottom(0, 0, 1920, 1040);
        const auto at = [](int x, int y) { return Icon(QRect(x, y, 24, 24)); };
        QTest::newRow("panel above, at the right end")
            << underTop << at(1890, 3) << QPoint(1560, 31);
        QTest::newRow("panel above, at the left end") << underTop << at(2, 3) << QPoint(0, 31);
        QTest::newRow("panel below") << overBottom << at(1890, 1050) << QPoint(1560, 360);
        QTest::newRow("panel above that reserves nothing")
            << whole << at(1000, 3) << QPoint(832, 31);
        QTest::newRow("panel below that reserves nothing")
            << whole << at(1000, 1050) << QPoint(832, 366);
        QTest::newRow("panel at the left, in the middle")
            << QRect(40, 0, 1880, 1080) << at(8, 600) << QPoint(40, 0);
        QTest::newRow("the same, reserving nothing") << whole << at(8, 500) << QPoint(36, 400);
        QTest::newRow("panel at the right, reserving nothing")
            << whole << at(1890, 500) << QPoint(1526, 400);
        QTest::newRow("unknown, panel above") << underTop << Icon() << QPoint(1556, 34);
        QTest::newRow("unknown, panel below") << overBottom << Icon() << QPoint(1556, 356);
        QTest::newRow("unknown, no panel") << whole << Icon() << QPoint(1556, 4);
        QTest::newRow("a screen too small")
            << QRect(0, 30, 320, 450) << at(300, 3) << QPoint(0, 30);
        QTest::newRow("a second screen")
            << QRect(1920, 30, 1920, 1050) << at(3800, 3) << QPoint(3480, 31);
    }

    void position()
    {
        QFETCH(const QRect, available);
        QFETCH(const Icon, place);
        QRect screen(0, 0, 1920, 1080);
        if (available.left() >= screen.width())
            screen.translate(screen.width(), 0);
        if (available.width() < 360)
            screen.setSize({320, 480});
        QTEST(popoverPosition(QSize(360, 680), screen, available, place), "expected");
    }

    void closesWhenTheUserTurnsElsewhere()
    {
        Desk desk;
        desk.open();
        desk.turnElsewhere();
        QTRY_VERIFY(!desk.popover.isVisible());
        // Away and back within one turn, as while a window of the input method is dismissed.
        QTest::qWait(300);
        desk.open();
        desk.turnElsewhere();
        desk.popover.activateWindow();
        settle();
        QVERIFY(desk.popover.isVisible());
    }

    void staysForWindowsOfItsOwn_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("a menu") << 0;
        QTest::newRow("a dialog of its own") << 1;
        QTest::newRow("a dialog over the application") << 2;
    }

    void staysForWindowsOfItsOwn()
    {
        QFETCH(const int, kind);
        Desk desk;
        desk.open();
        QMenu menu(&desk.popover);
        menu.addAction(u"退出登录"_s);
        QDialog dialog(kind == 1 ? &desk.popover : nullptr);
        dialog.setModal(kind == 2);
        QWidget &inFront = kind == 0 ? static_cast<QWidget &>(menu) : dialog;
        if (kind == 0)
            menu.popup(desk.popover.pos());
        else
            dialog.show();
        inFront.activateWindow();
        QTRY_COMPARE(QGuiApplication::focusWindow(), inFront.windowHandle());
        settle();
        QVERIFY(desk.popover.isVisible());
        // The user leaves from there.
        inFront.hide();
        desk.turnElsewhere();
        QTRY_VERIFY(!desk.popover.isVisible());
    }

    void clickThatTookTheFocusDoesNotReopen()
    {
        Desk desk;
        desk.open();
        // The press of a click on the icon takes the focus, its release is the click.
        class Clicker : public QObject
        {
        public:
            explicit Clicker(PopoverWindow &window)
                : m_window(window)
            {
                window.installEventFilter(this);
            }
            bool eventFilter(QObject *, QEvent *event) override
            {
                if (event->type() == QEvent::Hide)
                    QMetaObject::invokeMethod(
                        this, [this] { m_window.toggleBeside(icon); }, Qt::QueuedConnection);
                return false;
            }

        private:
            PopoverWindow &m_window;
        };
        const Clicker clicker(desk.popover);
        desk.turnElsewhere();
        QTRY_VERIFY(!desk.popover.isVisible());
        QTest::qWait(300); // the guard's own time, too
        QVERIFY(!desk.popover.isVisible());
        desk.popover.toggleBeside(icon);
        QVERIFY(desk.popover.isVisible());
    }
};

QTEST_MAIN(TestPopoverWindow)
#include "test_popover_window.moc"
