#include "cloud/UpdateAlert.h"
#include "cloud/UpdateChecker.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeHttpSession.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/LogCapture.h"

#include <QTemporaryFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const auto release = u"GET /api/release/latest"_s;

/// Answers every alert with the same button.
class FakeUpdateAlert : public UpdateAlert
{
public:
    explicit FakeUpdateAlert(Script &script)
        : m_script(script)
    {
    }

    QCoro::Task<int> present(QString title, QString text, QStringList buttons) override
    {
        shown.append(title + u'|' + text + u'|' + buttons.join(u'|'));
        co_await m_script.reach(u"alert"_s);
        co_return answer;
    }

    QStringList shown;
    int answer = 1;

private:
    Script &m_script;
};

BundleInformation bundle(const QByteArray &content)
{
    QTemporaryFile file;
    if (!file.open() || file.write(content) != content.size() || !file.flush())
        return {};
    return BundleInformation::fromFile(file.fileName());
}

class Rig
{
public:
    explicit Rig(const QByteArray &content = R"({"shortVersion":"1.2.0","version":"9"})",
                 const QString &origin = u"https://s.example"_s)
        : checker(ServiceOrigin::parse(origin), bundle(content),
                  {.http = http, .workspace = workspace, .clock = clock, .alert = alert})
    {
    }

    void offer(const QByteArray &version)
    {
        http.answer(release, 200,
                    R"({"downloadUrl":"https://evil.example/d","version":")" + version + "\"}");
    }

    /// Runs a check to its end; gives "kind text".
    QString check(bool presentAlert)
    {
        QCoro::waitFor(checker.check(presentAlert));
        return status();
    }

    QString status() const
    {
        const QStringList kinds{u"idle"_s, u"checking"_s, u"upToDate"_s, u"updateAvailable"_s,
                                u"failed"_s};
        return kinds.at(static_cast<int>(checker.status().kind)) + u' ' + checker.status().text;
    }

    Script script;
    FakeHttpSession http{script};
    FakeWorkspace workspace;
    FakeClock clock;
    FakeUpdateAlert alert{script};
    LogCapture log;
    UpdateChecker checker;
};
} // namespace

class UpdateCheckerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newer_data();
    void newer();
    void outcomes_data();
    void outcomes();
    void failureKeepsWhatWasKnown();
    void eachVersionIsAnnouncedOnce();
};

void UpdateCheckerTest::newer_data()
{
    QTest::addColumn<QString>("candidate");
    QTest::addColumn<QString>("reference");
    QTest::addColumn<bool>("isNewer");

    const auto row = [](const QString &candidate, const QString &reference, bool isNewer) {
        QTest::addRow("%s against %s", qPrintable(candidate), qPrintable(reference))
            << candidate << reference << isNewer;
    };
    row(u"1.2.10"_s, u"1.2.9"_s, true);
    row(u"1.2"_s, u"1.2.0"_s, false);
    row(u"1.2.0"_s, u"1.2"_s, false);
    row(u"2"_s, u"1.9.9"_s, true);
    row(u"1.9.9"_s, u"2"_s, false);
    row(u"1.2.0"_s, u"1.2.0"_s, false);
    row(u"1.3.0-beta"_s, u"1.3.0"_s, false);
    row(u"1.3.1-beta.1"_s, u"1.3.0"_s, true);
    row(u"v1.3.0"_s, u"1.2.0"_s, true);
    row(u"v2.0.0"_s, u"1.9.0"_s, false);
    row(u"1..2"_s, u"1.2"_s, false);
    row(u".1.3."_s, u"1.2"_s, true);
    row(u"0.0.1"_s, u"0.0.0"_s, true);
    row(u""_s, u"0"_s, false);
    row(u"0"_s, u"-1"_s, true);
    row(u"1"_s, u"1.-1"_s, true);
    row(u"+2"_s, u"1"_s, true);
    row(u"+-2.1"_s, u"1"_s, false);
    row(u"++2.1"_s, u"1"_s, false);
    row(u"+.1"_s, u"1"_s, false);
    row(u" 2.1"_s, u"1"_s, false);
    row(u"２.1"_s, u"1"_s, false);
    row(u"0x2.1"_s, u"1"_s, false);
    row(u"9223372036854775807"_s, u"9223372036854775806"_s, true);
    row(u"9223372036854775808.1"_s, u"1"_s, false);
}

void UpdateCheckerTest::newer()
{
    QFETCH(const QString, candidate);
    QFETCH(const QString, reference);

    QTEST(UpdateChecker::isNewer(candidate, reference), "isNewer");
}

void UpdateCheckerTest::outcomes_data()
{
    QTest::addColumn<int>("status"); // 0: the transport fails
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("line");

    const auto row = [](const char *name, int status, const QByteArray &body,
                        const QString &expected, const QString &line) {
        QTest::newRow(name) << status << body << expected << line;
    };
    const auto failed = u"failed "_s;
    const auto failedLine = u"error update: update check failed: "_s;
    const auto noVersion = u"failed 无法获取版本信息"_s;
    const auto noVersionLine =
        u"error update: server returned null version; check GITHUB_TOKEN on web side"_s;
    const QString broken =
        TransportError(TransportError::Kind::noConnection, u"technical"_s).description();
    row("newer", 200, R"({"version":"v1.3"})", u"updateAvailable v1.3"_s,
        u"info update: update available: v1.3 > 1.2.0"_s);
    row("same", 201, R"({"version":"1.2"})", u"upToDate "_s,
        u"info update: up to date (current=1.2.0, latest=1.2)"_s);
    row("version null", 200, R"({"version":null})", noVersion, noVersionLine);
    row("version empty", 200, R"({"version":""})", noVersion, noVersionLine);
    row("no version", 200, "{}", noVersion, noVersionLine);
    row("version of a hundred characters", 200, R"({"version":"1.)" + QByteArray(98, '0') + "\"}",
        u"upToDate "_s,
        u"info update: up to date (current=1.2.0, latest=1.%1)"_s.arg(QString(98, u'0')));
    row("longer version", 200, R"({"version":"2.)" + QByteArray(99, '0') + "\"}", noVersion,
        noVersionLine);
    row("offline", 0, "", failed + broken, failedLine + broken);
    row("refused", 401, R"({"version":"2"})", u"failed 服务器的回复无效"_s,
        failedLine + u"服务器的回复无效"_s);
    row("moved", 302, "", u"failed 服务器的回复无效"_s, failedLine + u"服务器的回复无效"_s);
    const auto undecodable = u"服务器的回复无法解析：\"version\" is not a string"_s;
    row("undecodable", 200, R"({"version":2})", failed + undecodable, failedLine + undecodable);
}

void UpdateCheckerTest::outcomes()
{
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    QFETCH(const QString, line);
    Rig rig;
    if (status != 0)
        rig.http.answer(release, status, body);
    QCOMPARE(rig.status(), u"idle "_s);

    QTEST(rig.check(false), "expected");
    QCOMPARE(rig.log.take(), QStringList(line));
    QCOMPARE(rig.alert.shown, QStringList());
}

void UpdateCheckerTest::failureKeepsWhatWasKnown()
{
    Rig rig;
    rig.offer("1.3");
    rig.check(false);
    const QDateTime first = rig.clock.now();
    rig.clock.advance(std::chrono::hours(1));
    rig.http.answer(release, 500);
    rig.check(false);
    QCOMPARE(rig.checker.latestVersion(), u"1.3"_s);
    QCOMPARE(rig.checker.lastCheckedAt(), first);

    rig.http.answer(release, 200, R"({"version":null})");
    rig.check(false);
    QCOMPARE(rig.checker.latestVersion(), std::nullopt);
    QCOMPARE(rig.checker.lastCheckedAt(), rig.clock.now());
}

void UpdateCheckerTest::eachVersionIsAnnouncedOnce()
{
    Rig rig;
    rig.offer("1.3");
    rig.check(false);
    QCOMPARE(rig.alert.shown.size(), 0);

    rig.check(true);
    rig.check(true);
    const auto text = u"Parlovance 1.3 可用|你当前使用的是 v1.2.0。下载新版后，把图标拖到 "
                      u"Applications 替换即可。|前往下载|稍后"_s;
    QCOMPARE(rig.alert.shown, QStringList(text));
    QCOMPARE(rig.workspace.opened, QStringList());

    rig.offer(R"(1.4.\u202e\n0)");
    rig.check(true);
    QCOMPARE(rig.alert.shown.size(), 2);
    QVERIFY(rig.alert.shown.last().startsWith(u"Parlovance 1.4.0 可用|"));
}

QTEST_GUILESS_MAIN(UpdateCheckerTest)
#include "test_update_checker.moc"
