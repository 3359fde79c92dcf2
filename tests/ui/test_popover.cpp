#include "tests/support/PanelStage.h"
#include "tests/support/TimerCount.h"
#include "ui/panel/RecordButton.h"
#include "ui/parts/AppNotifications.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/TextLabel.h"
#include "ui/parts/Timeline.h"

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(RecordingState)

namespace
{
using State = RecordingState;

const auto longMessage =
    u"声音设备被拔出了。\n\nThe stream has ended (Broken pipe) <b>&amp;</b>. "_s.repeated(8);

/// Brings the recorder into \p state, and holds it there.
void bringTo(PanelStage &stage, State state)
{
    auto &script = stage.rig.script;
    script.holdAt(state == State::starting ? u"capture start"_s : u"capture stop"_s);
    if (state == State::stopping)
        stage.record(State::recording);
    if (state != State::idle)
        stage.record(state);
}

void letGo(PanelStage &stage)
{
    stage.rig.script.releaseAt(u"capture start"_s);
    stage.rig.script.releaseAt(u"capture stop"_s);
}

/// By a start without any source.
void tellAnError(const PanelStage &stage)
{
    stage.app->setSystemAudioOn(false);
    stage.app->setMicOn(false);
    stage.app->toggleRecording();
    stage.app->setSystemAudioOn(true);
    stage.app->setMicOn(true);
    QVERIFY(stage.isShown(u"errorStrip"_s));
}

/// Or onto another.
void nobodyIsPushedOut(const PanelStage &stage)
{
    QVERIFY(stage.find(u"recentSection"_s).height() >= 60);
    int bottom = 0;
    for (const QWidget *const section :
         stage.panel->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        QVERIFY(!section->isVisible() || section->y() >= bottom);
        if (section->isVisible())
            bottom = section->geometry().bottom() + 1;
        QVERIFY(!section->isVisible() || section->minimumSizeHint().height() <= section->height());
    }
    QCOMPARE(bottom, stage.panel->height());
}
} // namespace

class PopoverTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recorderStates_data()
    {
        QTest::addColumn<State>("state");
        QTest::addColumn<bool>("systemOn");
        QTest::addColumn<bool>("micOn");
        QTest::addColumn<QStringList>("shown"); // pill, timer, button
        const auto zero = u"00:00:00"_s;
        const QStringList ready{u"READY"_s, zero, u"开始录音"_s};
        const QStringList live{u"LIVE"_s, zero, u"停止录音"_s};
        QTest::newRow("idle") << State::idle << true << true << ready;
        QTest::newRow("idle, microphone only") << State::idle << false << true << ready;
        QTest::newRow("idle, both off")
            << State::idle << false << false << QStringList{u"READY"_s, zero, u"开始录音, off"_s};
        QTest::newRow("starting") << State::starting << true << true << live;
        QTest::newRow("recording") << State::recording << true << true << live;
        QTest::newRow("recording, both off by now") << State::recording << false << false << live;
        QTest::newRow("stopping") << State::stopping << true << true
                                  << QStringList{u"处理中"_s, u"正在合并音频…"_s,
                                                 u"停止中…, off"_s};
    }

    void recorderStates()
    {
        QFETCH(const State, state);
        QFETCH(const bool, systemOn);
        QFETCH(const bool, micOn);
        PanelStage stage;
        bringTo(stage, state);
        stage.app->setSystemAudioOn(systemOn);
        stage.app->setMicOn(micOn);

        const auto &button = stage.find<RecordButton>(u"record"_s);
        const QStringList shown{
            stage.find<QLabel>(u"pill"_s).text(), stage.find<QLabel>(u"timer"_s).text(),
            button.accessibleName() + (button.isEnabled() ? u""_s : u", off"_s)};
        QTEST(shown, "shown");
        letGo(stage);
    }

    void nothingMovesWhileHidden()
    {
        PanelStage stage;
        TimerCount timers;
        const auto ticks = [&timers] { return timers.during(std::chrono::milliseconds(300)); };
        stage.record(State::recording);
        QVERIFY(ticks() > 5);
        stage.panel->hide();
        QCOMPARE(ticks(), 0);
        // Nor does what changes meanwhile set anything in motion.
        for (const State state : {State::idle, State::recording}) {
            stage.record(state);
            QTRY_COMPARE(ticks(), 0);
        }
        stage.panel->show();
        QVERIFY(ticks() > 5);
    }

    void everythingFits_data()
    {
        QTest::addColumn<bool>("hasEntries");
        QTest::newRow("list") << true;
        QTest::newRow("no recording yet") << false;
    }

    /// With all that can be shown at once, and with texts that are too long.
    void everythingFits()
    {
        QFETCH(const bool, hasEntries);
        QList<RecentSession> entries;
        if (hasEntries)
            entries.append(PanelStage::failed(longMessage, longMessage));
        PanelStage stage(entries, false);
        stage.record(State::recording);
        stage.rig.capture.listener->didStop(Error(longMessage));
        QTRY_VERIFY(stage.isShown(u"errorStrip"_s) && stage.app->state() == State::idle);

        auto &message = stage.find<TextLabel>(u"message"_s);
        QTRY_COMPARE(message.height(), 3 * QFontMetrics(message.font()).height());
        QVERIFY(message.isCut());
        QHelpEvent asked(QEvent::ToolTip, {}, {});
        QCoreApplication::sendEvent(&message, &asked);
        QVERIFY(message.toolTip().contains(u"&lt;b&gt;&amp;amp;"));

        QCOMPARE(stage.panel->size(), QSize(360, 680));
        QVERIFY(stage.panel->heightForWidth(360) <= 680);
        nobodyIsPushedOut(stage);

        // On a small screen the list is shorter.
        stage.app->clearLastError();
        QTRY_VERIFY(stage.panel->minimumHeight() <= (hasEntries ? 560 : 630));
        stage.panel->resize(360, stage.panel->minimumHeight());
        nobodyIsPushedOut(stage);
    }

    void titleGoesBothWays()
    {
        const PanelStage stage;
        auto &field = stage.find<QLineEdit>(u"sessionTitle"_s);
        QCOMPARE(field.placeholderText(), u"给这次会议起个名字…"_s);
        QTest::mouseClick(&field, Qt::LeftButton);
        QTest::keyClicks(&field, u"weekly"_s);
        QCOMPARE(stage.app->sessionTitle(), u"weekly"_s);
        QTest::keyClick(&field, Qt::Key_Home);
        QTest::keyClicks(&field, u"a "_s);
        QCOMPARE(stage.app->sessionTitle(), u"a weekly"_s);
        QCOMPARE(field.cursorPosition(), 2);
        stage.app->setSessionTitle({});
        QCOMPARE(field.text(), QString());
    }

    void footerSignsOut()
    {
        const PanelStage stage;
        stage.click(u"account"_s);
        auto &menu = stage.find<QMenu>(u"accountMenu"_s);
        QTRY_VERIFY(menu.isVisible());
        QCOMPARE(menu.actions().size(), 1);
        QCOMPARE(menu.actions().first()->text(), u"退出登录"_s);
        QTest::keyClick(&menu, Qt::Key_Down);
        QTest::keyClick(&menu, Qt::Key_Return);
        QVERIFY(!stage.auth->isLoggedIn());
        QVERIFY(stage.desktop.secrets.own().isEmpty());
        QVERIFY(stage.isShown(u"shortcut"_s) && stage.isShown(u"signInBanner"_s));
        QVERIFY(!stage.isShown(u"account"_s));
    }

    void everyControlHasANameForTheKeyboard()
    {
        const PanelStage stage({PanelStage::entry(u"周会"_s)}, false);
        tellAnError(stage);
        QStringList order;
        QTest::keyClick(stage.panel.get(), Qt::Key_Tab);
        const QWidget *const first = stage.panel->focusWidget();
        do {
            const QWidget *const widget = stage.panel->focusWidget();
            QVERIFY2(!widget->accessibleName().isEmpty(), qPrintable(widget->objectName()));
            order.append(widget->objectName());
            QTest::keyClick(stage.panel->focusWidget(), Qt::Key_Tab);
        } while (stage.panel->focusWidget() != first && order.size() < 30);
        QCOMPARE(order, QStringList({u"record"_s, u"signIn"_s, u"closeError"_s, u"minimise"_s,
                                     u"switch"_s, u"switch"_s, u"sourcePicker"_s, u"sessionTitle"_s,
                                     u"tag会议"_s, u"tag访谈"_s, u"tag笔记"_s, u"tag通话"_s,
                                     u"recentRow"_s, u"upload"_s, u"openWeb"_s, u"preferences"_s}));

        // Opened again, the panel itself has the keyboard, not the button used last.
        stage.find(u"preferences"_s).setFocus();
        stage.panel->hide();
        stage.panel->show();
        QCOMPARE(stage.panel->focusWidget(), stage.panel.get());
    }

    void lowScreenKeepsTheFooter()
    {
        const PanelStage stage({PanelStage::entry(u"周会"_s)});
        QWidget &lowest = stage.find(u"recentRow"_s);
        stage.panel->resize(360, 300);
        const QWidget &web = stage.find(u"openWeb"_s);
        QCOMPARE(web.visibleRegion().boundingRect(), web.rect());
        lowest.setFocus();
        QCOMPARE(lowest.visibleRegion().boundingRect(), lowest.rect());
        // Scrolled out of view it has the keyboard no longer.
        auto &view = stage.find<QScrollArea>(u"sections"_s);
        view.verticalScrollBar()->setValue(0);
        QCOMPARE(stage.panel->focusWidget(), stage.panel.get());
    }
};

QTEST_MAIN(PopoverTest)
#include "test_popover.moc"
