#include "audio/PermissionChecker.h"
#include "platform/linux/desktop/RememberedAccess.h"
#include "tests/support/FakeCapture.h"
#include "tests/support/FakeDefaults.h"
#include "tests/support/FakeMicrophones.h"
#include "tests/support/FakeWorkspace.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
QString text(PermissionStatus status)
{
    switch (status) {
    case PermissionStatus::granted:
        return u"granted"_s;
    case PermissionStatus::denied:
        return u"denied"_s;
    case PermissionStatus::unknown:
        return u"unknown"_s;
    }
    Q_UNREACHABLE();
}

class CountedAccess : public RememberedAccess
{
public:
    using RememberedAccess::RememberedAccess;

    bool canCaptureScreen() const override
    {
        ++looks;
        return RememberedAccess::canCaptureScreen();
    }

    mutable int looks = 0;
};

/// The checker over what is remembered of a sound server that does what the script says.
struct Stage {
    Script script;
    FakeDefaults defaults;
    FakeMicrophones microphones{script};
    FakeCaptureService capture{script};
    FakeWorkspace workspace;
    CountedAccess access{defaults, microphones, capture};
    PermissionChecker checker{access, workspace, 1ms};

    /// As long as a watch would have taken for twenty looks.
    static void passTwentyLooks()
    {
        QTimer clock;
        clock.setInterval(1ms);
        int ticks = 0;
        QObject::connect(&clock, &QTimer::timeout, &clock, [&ticks] { ++ticks; });
        clock.start();
        QTRY_VERIFY(ticks >= 20);
    }

    QString shown() const
    {
        return text(checker.mic()) + u' ' + text(checker.screen()) +
               (checker.screenNeedsRestart() ? u" restart"_s : QString());
    }
};
} // namespace

class TestPermissions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersAreRemembered_data()
    {
        QTest::addColumn<QString>("refused"); // a step of the sound server
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("atNextLaunch");
        QTest::newRow("granted") << QString() << u"granted granted"_s << u"granted granted"_s;
        QTest::newRow("microphone refused")
            << u"mic access"_s << u"denied granted"_s << u"denied granted"_s;
        QTest::newRow("machine refused")
            << u"capture targets"_s << u"granted denied restart"_s << u"granted unknown"_s;
    }

    void answersAreRemembered()
    {
        QFETCH(const QString, refused);
        Stage stage;
        stage.checker.refresh();
        QCOMPARE(stage.shown(), u"unknown unknown"_s);
        stage.script.failAt(refused);
        QCoro::waitFor(stage.checker.requestMic());
        QCoro::waitFor(stage.checker.requestScreen());
        QTEST(stage.shown(), "shown");
        stage.checker.refresh();
        QTEST(stage.shown(), "shown");

        PermissionChecker next(stage.access, stage.workspace);
        next.refresh();
        QTEST(u"%1 %2"_s.arg(text(next.mic()), text(next.screen())), "atNextLaunch");
    }

    void answersToARecordingAreRemembered()
    {
        Stage stage;
        Microphones &microphones = stage.access;
        CaptureService &capture = stage.access;
        QVERIFY(QCoro::waitFor(microphones.requestAccess()));
        QVERIFY(QCoro::waitFor(capture.targets()));
        stage.checker.refresh();
        QCOMPARE(stage.shown(), u"granted granted"_s);
    }

    void grantInTheSettingsRestarts()
    {
        Stage stage;
        QSignalSpy leaving(&stage.checker, &PermissionChecker::leaveRequested);
        stage.script.failAt(u"capture targets"_s);
        QCoro::waitFor(stage.checker.requestScreen());
        QCOMPARE(stage.workspace.settingsPages, QList{SettingsPage::screenCapture});
        QTRY_VERIFY(stage.access.looks > 3);
        QCOMPARE(stage.workspace.newInstances, 0);

        stage.script.succeedAt(u"capture targets"_s);
        QTRY_COMPARE(stage.workspace.newInstances, 1);
        QCOMPARE(leaving.count(), 1);
        stage.checker.refresh();
        QCOMPARE(stage.shown(), u"unknown granted"_s);
        Stage::passTwentyLooks();
        QCOMPARE(stage.workspace.newInstances, 1);
    }

    void grantOfTheOwnRequestDoesNot()
    {
        Stage stage;
        PermissionChecker checker(stage.access, stage.workspace, 10ms);
        stage.script.failAt(u"capture targets"_s);
        QCoro::waitFor(checker.requestScreen());
        stage.script.succeedAt(u"capture targets"_s);
        QCoro::waitFor(checker.requestScreen());
        Stage::passTwentyLooks();
        QCOMPARE(checker.screen(), PermissionStatus::granted);
        QCOMPARE(stage.workspace.newInstances, 0);
    }

    void whatWasRefusedIsLookedAtAgain()
    {
        Stage stage;
        stage.script.failAt(u"mic access"_s);
        QCoro::waitFor(stage.checker.requestMic());
        QCoro::waitFor(stage.checker.reconsider());
        QCOMPARE(stage.shown(), u"denied unknown"_s);
        stage.script.succeedAt(u"mic access"_s);
        QCoro::waitFor(stage.checker.reconsider());
        QCOMPARE(stage.shown(), u"granted unknown"_s);
    }

    void watchEndsAndBeginsAnew()
    {
        Stage stage;
        stage.script.failAt(u"capture targets"_s);
        QCoro::waitFor(stage.checker.requestScreen());
        QTRY_VERIFY(stage.access.looks >= 60);
        QCoro::waitFor(stage.checker.requestScreen());
        QTRY_VERIFY(stage.access.looks >= 60 + 120);
        Stage::passTwentyLooks();
        const int looks = stage.access.looks;
        Stage::passTwentyLooks();
        QCOMPARE(stage.access.looks, looks);
        QCOMPARE(stage.shown(), u"unknown denied restart"_s);
        QCOMPARE(stage.workspace.newInstances, 0);
    }
};

QTEST_GUILESS_MAIN(TestPermissions)
#include "test_permissions.moc"
