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

/// How many pixels of \p widget are lit in about the colour of a live waveform.
int amberPixels(QWidget &widget)
{
    const QRect where(widget.mapTo(widget.window(), QPoint()), widget.size());
    const QImage picture = widget.window()->grab(where).toImage();
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            count += picture.pixelColor(x, y).red() > 120 ? 1 : 0;
    }
    return count;
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
    void bannerFollowsTheSession()
    {
        PanelStage stage({}, false);
        const auto shown = [&] {
            if (!stage.isShown(u"signInBanner"_s))
                return QStringList();
            const auto labels = stage.find(u"signInBanner"_s).findChildren<TextLabel *>();
            return QStringList({labels.at(0)->text(), labels.at(1)->text()});
        };
        QCOMPARE(shown(),
                 QStringList({u"登录网页版账号以云端同步"_s, u"未登录时会议仅保存在本机"_s}));
        stage.click(u"signIn"_s);
        QVERIFY(stage.desktop.workspace.opened.last().startsWith(
            u"https://s.example/desktop-auth?state="_s));
        stage.desktop.workspace.obstructed(QString());
        QVERIFY(shown().last().startsWith(u"无法打开浏览器"_s));
        stage.desktop.returnFromBrowser(u"a@b.c"_s);
        QVERIFY(shown().isEmpty());
        stage.auth->handleUnauthorized(u"t1"_s);
        QCOMPARE(shown(), QStringList({u"登录已过期，请重新登录"_s,
                                       u"上一次会话已失效，重新登录后可继续上传"_s}));
    }

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

    // A button that goes, or is off for a while, hands the keyboard to no other control.
    void spaceStaysWithItsButton()
    {
        PanelStage stage;
        const auto press = [&] { QTest::keyClick(stage.panel->focusWidget(), Qt::Key_Space); };
        auto &button = stage.find<RecordButton>(u"record"_s);
        while (!button.hasFocus())
            QTest::keyClick(stage.panel->focusWidget(), Qt::Key_Tab);
        stage.rig.script.holdAt(u"capture stop"_s);
        press();
        QTRY_COMPARE(stage.app->state(), State::recording);
        press();
        QTRY_COMPARE(stage.app->state(), State::stopping);
        press();
        letGo(stage);
        QTRY_COMPARE(stage.app->state(), State::idle);
        QVERIFY(button.hasFocus());
        QVERIFY(stage.app->systemAudioOn() && stage.app->micOn());

        auto &close = stage.find(u"closeError"_s);
        QVERIFY(close.isVisible()); // the recording was too short
        while (!close.hasFocus())
            QTest::keyClick(stage.panel->focusWidget(), Qt::Key_Tab);
        press();
        QVERIFY(!close.isVisible());
        QCOMPARE(stage.panel->focusWidget(), stage.panel.get());
    }

    void timerCounts()
    {
        PanelStage stage({}, true, std::chrono::milliseconds(1));
        stage.record(State::recording);
        const auto &timer = stage.find<QLabel>(u"timer"_s);
        QTRY_VERIFY(stage.app->elapsed() > 61);
        QCOMPARE(timer.text(), stage.app->elapsedFormatted());
        stage.record(State::idle);
        QCOMPARE(timer.text(), u"00:00:00"_s);
        // Until the next one runs, the count is the last one's.
        stage.rig.script.holdAt(u"capture start"_s);
        stage.record(State::starting);
        QVERIFY(timer.text() > u"00:01:00"_s);
        stage.rig.script.releaseAt(u"capture start"_s);
        QTRY_COMPARE(stage.app->state(), State::recording);
        QVERIFY(timer.text() < u"00:01:00"_s);
    }

    void waveformFollowsTheLouderSource()
    {
        Timeline::setClock([] { return 1000.0; });
        PanelStage stage;
        QWidget &waveform = stage.find(u"waveform"_s);
        QWidget &microphone = stage.find(u"microphone"_s);
        stage.record(State::recording);
        QTRY_VERIFY(amberPixels(waveform) > 0);
        const int silence = amberPixels(waveform);
        const int silentMeter = amberPixels(microphone);
        stage.rig.microphones.power = -5.0F;
        QTRY_VERIFY(amberPixels(waveform) > 3 * silence);
        QTRY_VERIFY(amberPixels(microphone) > silentMeter);
        stage.record(State::idle);
        QTRY_COMPARE(amberPixels(waveform), 0);
        Timeline::setClock(nullptr);
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

    void switches()
    {
        const PanelStage stage;
        for (const QString &row : {u"systemAudio"_s, u"microphone"_s}) {
            auto &toggle = *stage.find(row).findChild<QAbstractButton *>(u"switch"_s);
            QTest::mouseClick(&toggle, Qt::LeftButton);
            QCOMPARE(stage.app->systemAudioOn(), row != u"systemAudio"_s);
            QCOMPARE(stage.app->micOn(), row != u"microphone"_s);
            QTest::keyClick(&toggle, Qt::Key_Space);
            QVERIFY(stage.app->systemAudioOn() && stage.app->micOn() && toggle.isChecked());
        }
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

    void titleIsComposed()
    {
        const PanelStage stage;
        auto &field = stage.find<QLineEdit>(u"sessionTitle"_s);
        field.setFocus();
        QTest::keyClicks(&field, u"ab"_s);
        field.setCursorPosition(1);
        const auto compose = [&](const QString &preedit, const QString &commit) {
            QInputMethodEvent event(preedit, {});
            event.setCommitString(commit);
            QCoreApplication::sendEvent(&field, &event);
        };
        compose(u"hui'yi"_s, {});
        stage.app->setSelectedTag(SessionTag::call); // the same signal as a new title
        QCOMPARE(stage.app->sessionTitle(), u"ab"_s);
        compose({}, u"会议"_s);
        QCOMPARE(stage.app->sessionTitle(), u"a会议b"_s);
        QCOMPARE(field.cursorPosition(), 3);
    }

    void tags()
    {
        const PanelStage stage;
        const auto checked = [&] {
            QStringList names;
            for (const SessionTag tag : sessionTags) {
                const auto &chip = stage.find<PlainButton>(u"tag"_s + rawValue(tag));
                if (chip.isChecked())
                    names.append(chip.title());
            }
            return names;
        };
        QVERIFY(checked().isEmpty());
        stage.click(u"tag访谈"_s);
        QCOMPARE(stage.app->selectedTag(), SessionTag::interview);
        stage.click(u"tag通话"_s);
        QCOMPARE(stage.app->selectedTag(), SessionTag::call);
        QCOMPARE(checked(), QStringList(u"通话"_s));
        stage.click(u"tag通话"_s);
        QCOMPARE(stage.app->selectedTag(), std::nullopt);
        QVERIFY(checked().isEmpty());
        stage.app->setSelectedTag(SessionTag::notes);
        QCOMPARE(checked(), QStringList(u"笔记"_s));
    }

    void emptyListSaysHowToBegin()
    {
        PanelStage stage({}, true, std::chrono::milliseconds(1));
        QVERIFY(stage.isShown(u"emptyState"_s) && !stage.isShown(u"recentList"_s));
        stage.record(State::recording);
        QTRY_VERIFY(stage.app->elapsed() >= 12);
        stage.record(State::idle);
        QVERIFY(!stage.isShown(u"emptyState"_s) && stage.isShown(u"recentList"_s));
        QVERIFY(stage.isShown(u"recentRow"_s));
    }

    void footerShowsTheAccount()
    {
        PanelStage stage({}, false);
        QVERIFY(stage.isShown(u"shortcut"_s) && !stage.isShown(u"account"_s));
        QCOMPARE(stage.find<QLabel>(u"shortcut"_s).text(), u"⌃⌥R"_s);

        const QString email = u"r&d.%1@example.com"_s.arg(u"long"_s.repeated(20));
        stage.desktop.signIn(email);
        QVERIFY(!stage.isShown(u"shortcut"_s) && stage.isShown(u"account"_s));
        auto &account = stage.find<PlainButton>(u"account"_s);
        QCOMPARE(account.title(), email);
        QCOMPARE(account.accessibleName(), email);
        QTRY_VERIFY(account.geometry().right() < stage.find(u"preferences"_s).x());
        QVERIFY(account.x() > stage.find(u"openWeb"_s).geometry().right());
        QHelpEvent asked(QEvent::ToolTip, {}, {});
        QCoreApplication::sendEvent(&account, &asked);
        QVERIFY(account.toolTip().contains(u"r&amp;d.long"_s));
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

    void buttonsThatAsk()
    {
        const PanelStage stage;
        QStringList asked;
        connect(&AppNotifications::shared(), &AppNotifications::parlovanceOpenPreferences, this,
                [&] { asked.append(u"preferences"_s); });
        connect(stage.panel.get(), &PopoverView::minimiseRequested, this,
                [&] { asked.append(u"minimise"_s); });
        for (const QString &button :
             {u"preferences"_s, u"minimise"_s, u"sourcePicker"_s, u"openWeb"_s})
            stage.click(button);
        QCOMPARE(asked, QStringList({u"preferences"_s, u"minimise"_s}));
        QCOMPARE(stage.desktop.workspace.opened, QStringList(u"https://s.example/app"_s));
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
