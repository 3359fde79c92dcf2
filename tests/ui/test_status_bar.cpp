#include "tests/support/TrayStage.h"

#include <QApplication>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

/// "text", or "text | keys", with a note where it is off or has a picture.
QString shown(const QAction &item)
{
    if (item.isSeparator())
        return u"-"_s;
    QString line = item.text();
    if (!item.shortcut().isEmpty() && item.isShortcutVisibleInContextMenu())
        line += u" | "_s + item.shortcut().toString(QKeySequence::PortableText);
    if (!item.icon().isNull() && item.isIconVisibleInMenu())
        line += u" (picture)"_s;
    return line + (item.isEnabled() ? u""_s : u" (off)"_s);
}

QStringList shown(const QMenu &menu)
{
    QStringList lines;
    for (const QAction *const item : menu.actions())
        lines.append(shown(*item));
    return lines;
}

/// Opens the menu as the desktop does, and closes it.
void visit(QMenu &menu)
{
    menu.popup({});
    menu.close();
}

/// Whether \p act asks the application to leave.
bool asksToLeave(const std::function<void()> &act)
{
    class Catcher : public QObject
    {
    public:
        Catcher() { qApp->installEventFilter(this); }
        bool eventFilter(QObject *, QEvent *event) override
        {
            if (event->type() != QEvent::Quit)
                return false;
            QCoreApplication::exit(1);
            return true;
        }
    };
    const Catcher catcher;
    QTimer limit;
    QObject::connect(&limit, &QTimer::timeout, [] { QCoreApplication::exit(0); });
    limit.start(5s);
    QTimer::singleShot(0, qApp, act);
    return QCoreApplication::exec() == 1;
}

QString firstTitle(const TrayStage &stage)
{
    return stage.recentsMenu().actions().constFirst()->text().section(u"  ·  "_s, 0, 0);
}

} // namespace

/// The tray icon's click rule, its picture, its menu and what the menu's items do.
class TestStatusBar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clickRule_data()
    {
        using Icon = QSystemTrayIcon;
        QTest::addColumn<Icon::ActivationReason>("reason");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<IconClick>("expected");
        const Qt::KeyboardModifiers none;
        const Qt::KeyboardModifiers control = Qt::ControlModifier;
        QTest::newRow("left") << Icon::Trigger << none << IconClick::togglesPopover;
        QTest::newRow("Ctrl+left") << Icon::Trigger << control << IconClick::opensMenu;
        QTest::newRow("Ctrl+Shift+left")
            << Icon::Trigger << (control | Qt::ShiftModifier) << IconClick::opensMenu;
        QTest::newRow("Alt+left") << Icon::Trigger << Qt::KeyboardModifiers(Qt::AltModifier)
                                  << IconClick::togglesPopover;
        QTest::newRow("right: the host opens the menu")
            << Icon::Context << none << IconClick::nothing;
        QTest::newRow("the second of a double click")
            << Icon::DoubleClick << none << IconClick::nothing;
        QTest::newRow("middle") << Icon::MiddleClick << control << IconClick::nothing;
    }

    void clickRule()
    {
        QFETCH(const QSystemTrayIcon::ActivationReason, reason);
        QFETCH(const Qt::KeyboardModifiers, modifiers);
        QTEST(iconClick(reason, modifiers), "expected");
    }

    void menuAsAWhole()
    {
        TrayStage stage;
        stage.show();
        visit(stage.menu());
        QStringList expected{u"开始录音 | Ctrl+Alt+R"_s,
                             u"打开主面板 | Ctrl+Alt+M"_s,
                             u"打开网页版 (picture)"_s,
                             u"-"_s,
                             u"最近会议 (off)"_s,
                             u"偏好设置… | Ctrl+,"_s,
                             u"-"_s,
                             u"退出 Parlovance | Ctrl+Q"_s};
        QCOMPARE(shown(stage.menu()), expected);
        QCOMPARE(shown(stage.recentsMenu()), QStringList(u"暂无记录 (off)"_s));

        // A kept recording is in the list at the next opening.
        TrayStage::item(stage.menu(), u"开始录音"_s)->trigger();
        QTRY_VERIFY(stage.app->elapsed() >= 10.0);
        TrayStage::item(stage.menu(), u"停止录音"_s)->trigger();
        stage.waitFor(RecordingState::idle);
        visit(stage.menu());
        expected[4] = u"最近会议"_s;
        QCOMPARE(shown(stage.menu()), expected);
        QCOMPARE(stage.recentsMenu().actions().size(), 1);

        TrayStage::item(stage.menu(), u"打开网页版"_s)->trigger();
        QCOMPARE(stage.workspace.opened, QStringList(u"https://s.example/app"_s));
        TrayStage::item(stage.menu(), u"偏好设置…"_s)->trigger();
        QCOMPARE(stage.preferencesOpened, 1);
        stage.statusBar->showOnboarding();
        QCOMPARE(stage.onboardingOpened, 1);
        QVERIFY(asksToLeave([&] { TrayStage::item(stage.menu(), u"退出"_s)->trigger(); }));
    }

    void titlesAreText_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("shownTitle");
        QTest::addColumn<QString>("exportedTitle"); // empty: the same
        const QString same;
        QTest::newRow("ampersands") << u"R&D && Q&A"_s << u"R&&D &&&& Q&&A"_s << u"R&&D && Q&A"_s;
        QTest::newRow("underscores") << u"_周_会"_s << u"_周_会"_s << u"__周__会"_s;
        QTest::newRow("markup") << u"<b>周会</b>"_s << u"<b>周会</b>"_s << same;
        QTest::newRow("a tab begins no shortcut") << u"周会\tCtrl+Q"_s << u"周会 Ctrl+Q"_s << same;
        QTest::newRow("several lines") << u"周会\r\n第二行"_s << u"周会 第二行"_s << same;
        QTest::newRow("turned writing") << u"周会\u202Eexe\u2066"_s << u"周会exe"_s << same;
        QTest::newRow("control characters") << u"周\u0007会\u001B[31m"_s << u"周会[31m"_s << same;
    }

    void titlesAreText()
    {
        QFETCH(const QString, title);
        TrayStage stage({TrayStage::entry(title, u"m"_s)});
        stage.show();
        visit(stage.menu());
        QFETCH(const QString, shownTitle);
        QFETCH(const QString, exportedTitle);
        QCOMPARE(firstTitle(stage), shownTitle);
        stage.show(true);
        visit(stage.menu());
        QCOMPARE(firstTitle(stage), exportedTitle.isEmpty() ? shownTitle : exportedTitle);

        TrayStage longStage({TrayStage::entry(title + u"很长的标题"_s.repeated(20'000), u"m"_s)});
        longStage.show();
        visit(longStage.menu());
        const QString text = longStage.recentsMenu().actions().constFirst()->text();
        QVERIFY2(text.endsWith(u"…  ·  1m"_s), qPrintable(text.right(30)));
        QVERIFY(longStage.recentsMenu().sizeHint().width() < 500);
    }

    void entryIsTheOneThatWasShown()
    {
        TrayStage stage({TrayStage::entry(u"旧"_s, u"old"_s), TrayStage::entry(u"本地"_s)});
        stage.show();
        stage.menu().popup({});
        QAction *const chosen = stage.recentsMenu().actions().constFirst();
        stage.app->toggleRecording();
        QTRY_VERIFY(stage.app->elapsed() >= 10.0);
        stage.app->toggleRecording();
        QTRY_COMPARE(stage.app->recents().size(), 3); // another one is the first now
        chosen->trigger();
        QCOMPARE(stage.workspace.opened, QStringList(u"https://s.example/app/meetings/old"_s));

        stage.statusBar->openRecent(QUuid::createUuid());
        stage.statusBar->openRecent(stage.app->recents().constFirst().id); // not uploaded
        stage.statusBar->openRecent(stage.app->recents().constLast().id);
        QCOMPARE(stage.workspace.opened.size(), 1);
    }

    void keysWorkInTheMenu()
    {
        TrayStage stage({TrayStage::entry(u"周会"_s)});
        stage.show();
        for (const bool isSubmenuOpen : {false, true}) {
            stage.menu().popup({});
            if (isSubmenuOpen)
                stage.menu().setActiveAction(stage.recentsMenu().menuAction());
            QTRY_COMPARE(stage.recentsMenu().isVisible(), isSubmenuOpen);
            QWidget *const open = QApplication::activePopupWidget();
            QTest::keyPress(open, Qt::Key_Control, Qt::ControlModifier);
            QTest::keyPress(open, Qt::Key_Alt, Qt::ControlModifier | Qt::AltModifier);
            QVERIFY(open->isVisible());
            QTest::keyClick(open, Qt::Key_R, Qt::ControlModifier | Qt::AltModifier);
            stage.waitFor(isSubmenuOpen ? RecordingState::idle : RecordingState::recording);
            QVERIFY(!stage.menu().isVisible() && !stage.recentsMenu().isVisible());
        }
    }
};

QTEST_MAIN(TestStatusBar)
#include "test_status_bar.moc"
