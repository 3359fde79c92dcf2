#include "core/AppState.h"
#include "settings/PrefsStore.h"
#include "tests/support/AudioRig.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/NoService.h"
#include "ui/TrayIcon.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QString firstItem(const TrayIcon &tray)
{
    const QAction *const item = tray.menu().actions().constFirst();
    return item->text() + (item->isEnabled() ? u""_s : u" (off)"_s);
}

} // namespace

/// The tray's menu beside the recorder's states.
class TestTray : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_prefs.setSaveLocation(m_rig.home.path());
        m_appState = std::make_unique<AppState>(m_rig.platform(), m_service.uploader(), m_prefs);
    }

    void firstItemFollowsTheRecorder()
    {
        const TrayIcon tray(*m_appState);
        QAction *const record = tray.menu().actions().constFirst();
        QStringList shown{firstItem(tray)};
        connect(m_appState.get(), &AppState::stateChanged, &tray,
                [&] { shown.append(firstItem(tray)); });
        record->trigger();
        QTRY_COMPARE(m_appState->state(), RecordingState::recording);
        record->trigger();
        QTRY_COMPARE(m_appState->state(), RecordingState::idle);
        const QStringList expected{u"开始录音"_s, u"开始录音"_s, u"停止录音"_s, u"停止中… (off)"_s,
                                   u"开始录音"_s};
        QCOMPARE(shown, expected);
    }

    void lastItemAsksToLeave()
    {
        const TrayIcon tray(*m_appState);
        QAction *const quit = tray.menu().actions().constLast();
        QSignalSpy asked(&tray, &TrayIcon::quitRequested);
        QCOMPARE(quit->text(), u"退出 Parlovance"_s);
        quit->trigger();
        QCOMPARE(asked.count(), 1);
    }

private:
    AudioRig m_rig;
    FakeDefaults m_defaults;
    FakeLoginItem m_loginItem;
    NoService m_service;
    PrefsStore m_prefs{m_defaults, m_loginItem, m_rig.home.path()};
    std::unique_ptr<AppState> m_appState;
};

QTEST_MAIN(TestTray)
#include "test_tray.moc"
