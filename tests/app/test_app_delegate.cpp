#include "app/AppDelegate.h"
#include "platform/linux/desktop/RememberedAccess.h"
#include "tests/support/AppRig.h"
#include "tests/support/FakeHttpSession.h"
#include "tests/support/FakeSecretStore.h"
#include "tests/support/FakeSleepInhibitor.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/LogCapture.h"
#include "ui/parts/AppNotifications.h"
#include "ui/windows/AlertBox.h"

#include <QApplication>
#include <QTest>

#include <signal.h>

#include <deque>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// The application over a scripted machine and a web service that is not there.
class Desk : public AppRig
{
public:
    Desk() { prefs.setHasCompletedOnboarding(true); }

    void launch()
    {
        delegate.emplace(AppPlatform{.audio = rig.platform(),
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
        delegate->applicationDidFinishLaunching();
    }

    /// The titles of what is on the screen.
    static QStringList windows()
    {
        QStringList titles;
        for (const QWidget *const window : QApplication::topLevelWidgets()) {
            if (window->isVisible())
                titles.append(window->windowTitle());
        }
        titles.sort();
        return titles;
    }

    FakeHttpSession http{rig.script};
    FakeSecretStore secrets;
    RememberedAccess access{defaults, rig.microphones, rig.capture};
    FakeWorkspace workspace;
    FakeSleepInhibitor sleepInhibitor;
    AlertBox alert;
    std::optional<AppDelegate> delegate;
};

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

constexpr int byKeyboard = -1;

void leave(int signalNumber)
{
    if (signalNumber == 0)
        QCoreApplication::quit();
    else if (signalNumber == byKeyboard)
        QTest::keyClick(QApplication::activeWindow(), Qt::Key_Q, Qt::ControlModifier);
    else
        raise(signalNumber);
}
} // namespace

/// The application as a whole: its launch, what reaches it from outside, and every way of leaving.
class TestAppDelegate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void launchGreetsNewUsersOnly()
    {
        Desk desk;
        desk.launch();
        QCOMPARE(Desk::windows(), QStringList());
        desk.prefs.setHasCompletedOnboarding(false);
        desk.launch();
        QCOMPARE(Desk::windows(), QStringList(u"Parlovance"_s));
    }

    void activationOpensThePanelWithoutATray()
    {
        Desk desk;
        desk.launch();
        desk.delegate->activate();
        QTRY_VERIFY(QApplication::activeWindow());
        QCOMPARE(QApplication::activeWindow()->objectName(), u"popover"_s);
        desk.delegate->activate(); // who asks for it again still wants it
        QVERIFY(QApplication::activeWindow()->isVisible());
    }

    void addressesReachTheSignInAndNotTheLog()
    {
        Desk desk;
        desk.launch();
        LogCapture log;
        desk.delegate->open({u"parlovance://auth?token=first-secret"_s,
                             u"parlovance://other?token=second-secret"_s});
        const QStringList lines = log.take();
        const QString told = lines.join(u'\n');
        QCOMPARE(lines.filter(u"handleCallback"_s),
                 QStringList({u"info auth: handleCallback scheme=parlovance host=auth"_s,
                              u"info auth: handleCallback scheme=parlovance host=other"_s}));
        QCOMPARE(told.count(u"info app: open url: parlovance://"_s), 2);
        QVERIFY2(!told.contains(u"secret"_s), qPrintable(told));
    }

    void recordingIsKept_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("the toolkit's own way, as the menu takes it") << 0;
        QTest::newRow("Control and Q in a window") << byKeyboard;
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }

    void recordingIsKept()
    {
        QFETCH(const int, signalNumber);
        Desk desk;
        desk.launch();
        AppState &appState = desk.delegate->appState();
        AudioRig &rig = desk.rig;
        desk.delegate->showPreferences();
        QTRY_VERIFY(QApplication::activeWindow());

        QVERIFY(!desk.sleepInhibitor.isHeld);
        appState.toggleRecording();
        QVERIFY(desk.sleepInhibitor.isHeld);
        QTRY_VERIFY(appState.elapsed() >= 10.0);
        QVERIFY(desk.sleepInhibitor.isHeld);
        rig.script.holdAt(u"mic stop"_s);
        QTimer::singleShot(0, this, [&] { leave(signalNumber); });
        // Asked twice, as by an impatient user; the microphone is still being closed then.
        const QuitCounter quits([&] { rig.script.releaseAt(u"mic stop"_s); });
        connect(&appState, &AppState::stateChanged, this, [&] {
            if (appState.state() != RecordingState::stopping)
                return;
            QTimer::singleShot(0, this, [&] {
                desk.delegate->activate();
                leave(signalNumber);
            });
        });
        QCOMPARE(QCoreApplication::exec(), 0);
        QCOMPARE(desk.workspace.newInstances, 1);

        QCOMPARE(appState.state(), RecordingState::idle);
        QVERIFY(!desk.sleepInhibitor.isHeld);
        QCOMPARE(appState.recents().size(), 1);
        QVERIFY(QFile::exists(appState.recents().constFirst().fileURL->toLocalFile()));
        QVERIFY(rig.files().contains(u".sessions.json"_s));
    }
};

QTEST_MAIN(TestAppDelegate)
#include "test_app_delegate.moc"
