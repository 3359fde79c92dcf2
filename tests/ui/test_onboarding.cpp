#include "tests/support/TimerCount.h"
#include "tests/support/WindowStage.h"
#include "ui/parts/TextLabel.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const auto completed = u"prefs.hasCompletedOnboarding=true"_s;

/// At the third step.
void goToSignIn(WindowStage &stage)
{
    stage.setPermissions(u"granted"_s, u"granted"_s);
    stage.showOnboarding();
    stage.click(u"primary"_s);
}

QString place(const WindowStage &stage)
{
    return stage.find<QLabel>(u"place"_s).text();
}
} // namespace

class OnboardingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersGivenBeforeSkipTheWelcome_data()
    {
        QTest::addColumn<QString>("mic");
        QTest::addColumn<QString>("screen");
        QTest::addColumn<QString>("place");
        const auto row = [](const QString &mic, const QString &screen, const QString &shown) {
            QTest::addRow("%s %s", qPrintable(mic), qPrintable(screen)) << mic << screen << shown;
        };
        row(u"unknown"_s, u"unknown"_s, u"1 / 3"_s);
        row(u"granted"_s, u"unknown"_s, u"2 / 3"_s);
        row(u"denied"_s, u"unknown"_s, u"2 / 3"_s);
        row(u"unknown"_s, u"granted"_s, u"2 / 3"_s);
        row(u"unknown"_s, u"denied"_s, u"2 / 3"_s);
    }

    void answersGivenBeforeSkipTheWelcome()
    {
        QFETCH(const QString, mic);
        QFETCH(const QString, screen);
        WindowStage stage;
        stage.setPermissions(mic, screen);
        stage.showOnboarding();
        QTEST(place(stage), "place");
    }

    void permissionsAreLookedAtForThreeSeconds()
    {
        WindowStage stage;
        const QSignalSpy looks(&stage.perms, &PermissionChecker::changed);
        stage.showOnboarding();
        QTRY_COMPARE_WITH_TIMEOUT(looks.count(), 1 + 12, 10000);
        TimerCount timers;
        QCOMPARE(timers.during(600ms), 0);
        QCOMPARE(looks.count(), 1 + 12);
    }

    void permissions_data()
    {
        QTest::addColumn<QString>("mic");
        QTest::addColumn<QString>("screen");
        QTest::addColumn<QString>("micState");
        QTest::addColumn<QString>("screenState");
        QTest::addColumn<QString>("primary");
        QTest::addColumn<bool>("hasHint");
        const auto row = [](const QString &mic, const QString &screen) -> QTestData & {
            return QTest::addRow("%s %s", qPrintable(mic), qPrintable(screen)) << mic << screen;
        };
        const auto off = u"(继续 →)"_s;
        const auto on = u"[继续 →]"_s;
        const auto grant = u"[授权]"_s;
        const auto settings = u"[前往设置]"_s;
        const auto granted = u"已授权"_s;
        const auto restarts = u"需重启"_s;
        row(u"unknown"_s, u"unknown"_s) << grant << grant << off << false;
        row(u"denied"_s, u"unknown"_s) << settings << grant << off << false;
        row(u"granted"_s, u"unknown"_s) << granted << grant << on << false;
        row(u"unknown"_s, u"granted"_s) << grant << granted << on << false;
        row(u"denied"_s, u"granted"_s) << settings << granted << on << false;
        row(u"granted"_s, u"granted"_s) << granted << granted << on << false;
        row(u"unknown"_s, u"denied"_s) << grant << restarts << u"(重启后继续)"_s << true;
        row(u"denied"_s, u"denied"_s) << settings << restarts << u"(重启后继续)"_s << true;
        row(u"granted"_s, u"denied"_s) << granted << restarts << on << true;
    }

    void permissions()
    {
        QFETCH(const QString, mic);
        QFETCH(const QString, screen);
        WindowStage stage;
        stage.showOnboarding();
        stage.click(u"primary"_s);
        stage.setPermissions(mic, screen);
        QTEST(stage.texts(u"microphone"_s).last(), "micState");
        QTEST(stage.texts(u"screen"_s).last(), "screenState");
        QTEST(stage.texts().last(), "primary");
        QTEST(stage.isShown(u"restartHint"_s), "hasHint");
    }

    void signIn()
    {
        WindowStage stage;
        goToSignIn(stage);
        stage.click(u"connect"_s);
        QVERIFY(stage.desktop.workspace.opened.last().startsWith(
            u"https://s.example/desktop-auth?state="_s));
        QCOMPARE(stage.texts().last(3),
                 QStringList({u"3 / 3 · 等待中"_s, u"[上一步]"_s, u"(完成 →)"_s}));
        stage.desktop.returnFromBrowser(u"a@b.c"_s);
        QCOMPARE(stage.texts(u"account"_s), QStringList({u"a@b.c"_s, u"a@b.c"_s, u"已连接"_s}));
        QCOMPARE(stage.texts().last(3), QStringList({u"3 / 3"_s, u"[上一步]"_s, u"[完成 →]"_s}));
    }

    void cancelledSignInCanBeRepeated()
    {
        WindowStage stage;
        goToSignIn(stage);
        stage.click(u"connect"_s);
        stage.click(u"cancel"_s);
        QVERIFY(stage.isShown(u"connect"_s));
        QCOMPARE(stage.texts().last(), u"[完成 →]"_s);
        QCOMPARE(place(stage), u"3 / 3"_s);
        stage.click(u"connect"_s);
        QCOMPARE(stage.desktop.workspace.opened.size(), 2);
        QVERIFY(stage.isShown(u"cancel"_s));
        TimerCount timers;
        QVERIFY(timers.during(300ms) > 0); // it turns
        stage.window().close();
        QCOMPARE(timers.during(300ms), 0);
        stage.showOnboarding();
        QVERIFY(stage.isShown(u"cancel"_s));
    }

    void finishingStoresThat()
    {
        for (const bool signsIn : {true, false}) {
            WindowStage stage;
            goToSignIn(stage);
            if (signsIn) {
                stage.click(u"connect"_s);
                stage.click(u"primary"_s); // not yet
                QVERIFY(stage.window().isVisible());
                stage.desktop.returnFromBrowser(u"a@b.c"_s);
            }
            stage.defaults.writes.clear();
            stage.click(u"primary"_s);
            QVERIFY(!stage.window().isVisible());
            QCOMPARE(stage.defaults.writes, QStringList(completed));
        }
    }

    void keyboard()
    {
        WindowStage stage;
        stage.showOnboarding();
        const auto press = [&stage](const QString &name, Qt::Key key) {
            stage.find(name).setFocus();
            QTest::keyClick(&stage.find(name), key);
            // Wherever the keyboard goes when its control vanishes, it is not lost.
            QVERIFY(stage.window().focusWidget() && stage.window().focusWidget()->isVisible());
        };
        QCOMPARE(stage.tabStops(), QStringList(u"primary"_s));
        press(u"primary"_s, Qt::Key_Space);
        QCOMPARE(stage.tabStops(), QStringList({u"grant"_s, u"grant"_s, u"back"_s}));
        press(u"microphone/grant"_s, Qt::Key_Return);
        QCOMPARE(stage.tabStops(), QStringList({u"grant"_s, u"back"_s, u"primary"_s}));
        press(u"primary"_s, Qt::Key_Enter);
        QCOMPARE(stage.tabStops(), QStringList({u"connect"_s, u"back"_s, u"primary"_s}));
        press(u"connect"_s, Qt::Key_Space);
        QCOMPARE(stage.tabStops(), QStringList({u"cancel"_s, u"back"_s}));
        press(u"cancel"_s, Qt::Key_Space);
        press(u"back"_s, Qt::Key_Space);
        QCOMPARE(place(stage), u"2 / 3"_s);
    }
};

QTEST_MAIN(OnboardingTest)
#include "test_onboarding.moc"
