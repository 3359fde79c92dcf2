#include "tests/support/SoundSession.h"
#include "tests/support/TrayStage.h"
#include "ui/parts/MS.h"
#include "ui/tray/ClassicTray.h"
#include "ui/tray/TrayGate.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

#include <signal.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

const QPoint bareScreen(200, 700);

void input(const QString &words)
{
    SoundSession::run(QStringList(u"xdotool"_s) + words.split(u' '));
}

void click(const QPoint &place)
{
    input(u"mousemove %1 %2 click 1"_s.arg(place.x()).arg(place.y()));
}

template<class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

xcb_connection_t *connectionToX11()
{
    return qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

/// The innermost window under the pointer, as the display server sees it.
xcb_window_t windowUnderPointer()
{
    xcb_connection_t *const x = connectionToX11();
    xcb_window_t window = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
    while (true) {
        const Owned<xcb_query_pointer_reply_t> reply(
            xcb_query_pointer_reply(x, xcb_query_pointer(x, window), nullptr), &std::free);
        if (!reply || reply->child == XCB_WINDOW_NONE)
            return window;
        window = reply->child;
    }
}

void killTray()
{
    const auto tray = SoundSession::processNamed(u"trayer"_s);
    QVERIFY(tray);
    ::kill(static_cast<pid_t>(*tray), SIGKILL);
    QTRY_VERIFY(!ClassicTray::isPresent());
}

/// Another tray, at the lower right of the screen.
SoundSession::Running lateTray()
{
    return SoundSession::Running({u"trayer"_s, u"--edge"_s, u"bottom"_s, u"--align"_s, u"right"_s,
                                  u"--SetDockType"_s, u"true"_s, u"--widthtype"_s, u"request"_s,
                                  u"--height"_s, u"28"_s});
}

/// The icon in the tray of the session, and the window that it opens.
class Desktop : public TrayStage
{
public:
    Desktop()
        : TrayStage({entry(u"周会 & 计划"_s, u"meeting-1"_s), entry(u"本地"_s)},
                    std::chrono::seconds(1))
    {
        show();
        // NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer) it is there only now
        popover = &TrayStage::popover();
        // Where it stands before the tray has taken it is the other end of the screen.
        const auto isInTray = [this] { return iconCentre().x() > 640; };
        if (!QTest::qWaitFor(isInTray))
            qFatal("the icon does not come into the tray");
    }

    QPoint iconCentre() const { return icon().geometry().center(); }

    /// The tray still moves and maps what it has taken when its place is known here.
    void clickIcon(int button = 1) const
    {
        const auto isUnderPointer = [this] {
            const QPoint place = iconCentre();
            input(u"mousemove %1 %2"_s.arg(place.x()).arg(place.y()));
            const QWidgetList windows = QApplication::topLevelWidgets();
            return std::ranges::any_of(windows, [over = windowUnderPointer()](QWidget *window) {
                return window->inherits("QSystemTrayIconSys") && window->winId() == over;
            });
        };
        QTRY_VERIFY(isUnderPointer());
        input(u"click %1"_s.arg(button));
    }

    void openPopover() const
    {
        clickIcon();
        QTRY_VERIFY(popover->isVisible());
        QVERIFY(QTest::qWaitForWindowActive(popover));
    }

    void openMenu() const
    {
        clickIcon(3);
        QTRY_VERIFY(menu().isVisible());
    }

    QWidget *popover = nullptr;
};

} // namespace

/// The tray icon as a user meets it: a real tray, a real window manager, real clicks and keys.
class TestStatusBarDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Faster than a user, no two clicks here are a double one.
    void initTestCase() { QApplication::setDoubleClickInterval(1); }
    void clickOpensAndCloses()
    {
        const Desktop desktop;
        desktop.openPopover();
        const QRect icon = desktop.icon().geometry();
        const QRect popover = desktop.popover->frameGeometry();
        QCOMPARE(popover.size(), QSize(360, 680));
        QVERIFY(popover.top() > icon.bottom() && popover.top() < icon.bottom() + 10);
        QVERIFY(popover.left() <= icon.left() && popover.right() >= icon.center().x());
        QVERIFY(QApplication::primaryScreen()->geometry().contains(popover));
        const auto footer = [&popover] {
            const QPixmap seen = QApplication::primaryScreen()->grabWindow(
                0, popover.left() + 3, popover.bottom() - 3, 1, 1);
            return seen.toImage().pixelColor(0, 0);
        };
        QTRY_COMPARE(footer(), MS::bg2);

        desktop.clickIcon();
        QTRY_VERIFY(!desktop.popover->isVisible());
        QTest::qWait(400); // past the time within which it might open again
        QVERIFY(!desktop.popover->isVisible());
        desktop.openPopover();
    }

    void clickElsewhereCloses()
    {
        const Desktop desktop;
        desktop.openPopover();
        click(bareScreen);
        QTRY_VERIFY(!desktop.popover->isVisible());

        QWidget other;
        other.setGeometry(100, 500, 300, 300);
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QTest::qWait(300); // the guard against one click that closes and opens
        desktop.openPopover();
        click(other.geometry().center());
        QTRY_VERIFY(!desktop.popover->isVisible());
        QTRY_VERIFY(other.isActiveWindow());
    }

    void iconTakesTheColorOfThePanel()
    {
        QCOMPARE(ClassicTray::textColor(), std::nullopt);
        xcb_connection_t *const x = connectionToX11();
        const auto atom = [x](const QByteArray &name) {
            const auto cookie =
                xcb_intern_atom(x, 0, static_cast<quint16>(name.size()), name.data());
            const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(x, cookie, nullptr),
                                                       &std::free);
            return reply->atom;
        };
        const Owned<xcb_get_selection_owner_reply_t> tray(
            xcb_get_selection_owner_reply(
                x, xcb_get_selection_owner(x, atom("_NET_SYSTEM_TRAY_S0")), nullptr),
            &std::free);
        const xcb_atom_t property = atom("_NET_SYSTEM_TRAY_COLORS");
        const std::array<quint32, 12> told{0xffff, 0x8080, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3};
        xcb_change_property(x, XCB_PROP_MODE_REPLACE, tray->owner, property, XCB_ATOM_CARDINAL, 32,
                            told.size(), told.data());
        {
            const Desktop desktop;
            const QImage picture = desktop.icon().icon().pixmap(64).toImage();
            QSet<QString> colors;
            for (int column = 0; column < picture.width(); ++column) {
                if (const QColor color = picture.pixelColor(column, 32); color.alpha() == 255)
                    colors.insert(color.name());
            }
            QCOMPARE(colors, QSet<QString>{u"#ff8000"_s});
        }
        xcb_delete_property(x, tray->owner, property);
        QCOMPARE(ClassicTray::textColor(), std::nullopt);
    }

    void iconComesBackWithTheTray()
    {
        const Desktop desktop;
        killTray();
        const auto another = lateTray();
        QTRY_VERIFY(desktop.icon().geometry().top() > 800);
        desktop.openPopover();
        QVERIFY(desktop.popover->frameGeometry().bottom() < desktop.icon().geometry().top());
    }

    void iconWaitsForATrayThatComesLate()
    {
        QTRY_VERIFY(!ClassicTray::isPresent());
        TrayStage stage({}, 1s);
        int asked = 0;
        const ClassicTray tray;
        TrayGate gate([&asked] { return ++asked, ClassicTray::isPresent(); }, 50ms);
        connect(&tray, &ClassicTray::arrived, &gate, &TrayGate::giveGrace);
        connect(&gate, &TrayGate::opened, this,
                [&stage](bool isOnTheBus) { stage.show(isOnTheBus); });
        gate.wait();
        QTRY_COMPARE(asked, 1);
        QTest::qWait(300);
        QCOMPARE(asked, 1); // nothing goes on where there is no tray
        QVERIFY(!stage.statusBar);
        const auto late = lateTray();
        QTRY_VERIFY(stage.statusBar && stage.icon().geometry().top() > 800);
    }
};

QTEST_MAIN(TestStatusBarDesktop)
#include "test_status_bar_desktop.moc"
