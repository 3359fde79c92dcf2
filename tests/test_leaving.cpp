#include "app/AppDelegate.h"
#include "platform/linux/desktop/RememberedAccess.h"
#include "settings/PrefsStore.h"
#include "tests/support/AudioRig.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/FakeHttpSession.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/FakeSecretStore.h"
#include "tests/support/FakeSleepInhibitor.h"
#include "tests/support/FakeWorkspace.h"
#include "ui/AlertBox.h"

#include <QApplication>
#include <QTest>

#include <signal.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// Tells when the application is asked to leave for the second time.
class QuitCounter : public QObject
{
public:
    explicit QuitCounter(std::function<void()> second)
        : m_second(std::move(second))
    {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Quit && ++m_count == 2)
            m_second();
        return false;
    }

private:
    std::function<void()> m_second;
    int m_count = 0;
};
} // namespace

/// Every way of leaving the application while it records keeps the recording.
class TestLeaving : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordingIsKept_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("the toolkit's own way, as the menu takes it") << 0;
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void recordingIsKept()
    {
        QFETCH(const int, signalNumber);
        AudioRig rig;
        FakeDefaults defaults;
        FakeLoginItem loginItem;
        PrefsStore prefs(defaults, loginItem, rig.home.path());
        prefs.setSaveLocation(rig.home.path());
        FakeHttpSession http(rig.script);
        FakeSecretStore secrets;
        RememberedAccess access(defaults, rig.microphones, rig.capture);
        FakeWorkspace workspace;
        FakeSleepInhibitor sleepInhibitor;
        AlertBox alert;
        AppDelegate delegate({.audio = rig.platform(),
                              .prefs = prefs,
                              .bundle = BundleInformation(),
                              .serviceOrigin = ServiceOrigin::parse(u"https://s.example"_s),
                              .http = http,
                              .secrets = secrets,
                              .access = access,
                              .workspace = workspace,
                              .sleepInhibitor = sleepInhibitor,
                              .alert = alert},
                             1ms);
        AppState &appState = delegate.appState();

        QVERIFY(!sleepInhibitor.isHeld);
        appState.toggleRecording();
        QVERIFY(sleepInhibitor.isHeld);
        QTRY_VERIFY(appState.elapsed() >= 10.0);
        QVERIFY(sleepInhibitor.isHeld);
        rig.script.holdAt(u"mic stop"_s);
        QTimer::singleShot(0, this, [&] { leave(signalNumber); });
        // Asked twice, as by an impatient user; the microphone is still being closed then.
        const QuitCounter quits([&] { rig.script.releaseAt(u"mic stop"_s); });
        connect(&appState, &AppState::stateChanged, this, [&] {
            if (appState.state() != RecordingState::stopping)
                return;
            QTimer::singleShot(0, this, [&] { leave(signalNumber); });
        });
        QCOMPARE(QCoreApplication::exec(), 0);

        QCOMPARE(appState.state(), RecordingState::idle);
        QVERIFY(!sleepInhibitor.isHeld);
        QCOMPARE(appState.recents().size(), 1);
        QVERIFY(QFile::exists(appState.recents().constFirst().fileURL->toLocalFile()));
        QVERIFY(rig.files().contains(u".sessions.json"_s));
    }

private:
    static void leave(int signalNumber)
    {
        if (signalNumber == 0)
            QCoreApplication::quit();
        else
            raise(signalNumber);
    }
};

QTEST_MAIN(TestLeaving)
#include "test_leaving.moc"
