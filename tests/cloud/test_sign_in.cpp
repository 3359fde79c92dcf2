#include "tests/support/AuthDesktop.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

class SignInTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void signInThroughTheBrowser();
    void callback_data();
    void callback();
    void callbackOfAnEarlierAttemptFails();
    void obstaclesAreToldUntilTheNextAttempt();
    void callbackWithoutAttemptFails();
    void sessionLivesOnWhereItCannotBeStored();
    void tokenIsNowhereElse();
};

void SignInTest::signInThroughTheBrowser()
{
    static const QRegularExpression page(
        u"\\Ahttps://s\\.example/desktop-auth\\?state="
        "[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\z"_s);
    AuthDesktop desktop;
    desktop.start();

    desktop.client->beginLogin();
    QVERIFY(page.match(desktop.workspace.opened.last()).hasMatch());
    const QString address =
        u"parlovance://auth?token=a+b%2Fc&email=a%40b.c&state="_s + desktop.openedState();
    desktop.changes = 0;
    desktop.client->handleCallback(address);

    QCOMPARE(desktop.state(), u"verified a+b/c a@b.c -"_s);
    QCOMPARE(desktop.changes, 1);
    QCOMPARE(desktop.secrets.own(), QStringList(uR"(session={"email":"a@b.c","token":"a+b/c"})"_s));
    const QStringList lines{u"info auth: handleCallback scheme=parlovance host=auth"_s,
                            u"info auth: logged in as a@b.c"_s};
    QCOMPARE(desktop.log.take(), lines);
    QVERIFY(desktop.http.requests.isEmpty());

    // The same address a second time changes nothing.
    desktop.client->handleCallback(address);
    QCOMPARE(desktop.state(), u"verified a+b/c a@b.c 登录回调验证失败"_s);
}

void SignInTest::callback_data()
{
    QTest::addColumn<QString>("address"); // %1: the state value, %2: in lower case
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("lastLine"); // %1: the state value

    const auto untouched = u"loggedOut - - -"_s;
    const auto failed = u"loggedOut - - 登录回调验证失败"_s;
    const auto mismatch = u"error auth: scheme/host mismatch"_s;
    const auto bothThere = u"error auth: callback verify fail: token=true state=true pending=%1"_s;
    const auto noAddress = u"info auth: logged in as unknown"_s;
    const auto row = [](const char *name, const QString &address, const QString &state,
                        const QString &line) { QTest::newRow(name) << address << state << line; };
    row("other host", u"parlovance://login?token=t&state=%1"_s, untouched, mismatch);
    row("other scheme", u"https://auth?token=t&state=%1"_s, untouched, mismatch);
    row("scheme in upper case", u"PARLOVANCE://auth?token=t&state=%1"_s, untouched, mismatch);
    row("host in upper case", u"parlovance://AUTH?token=t&state=%1"_s, untouched, mismatch);
    row("no address at all", u"?"_s, untouched, mismatch);
    row("state in lower case", u"parlovance://auth?token=t&state=%2"_s, failed, bothThere);
    row("no token", u"parlovance://auth?state=%1"_s, failed,
        u"error auth: callback verify fail: token=false state=true pending=%1"_s);
    row("no state", u"parlovance://auth?token=t"_s, failed,
        u"error auth: callback verify fail: token=true state=false pending=%1"_s);
    row("token without value", u"parlovance://auth?token&state=%1"_s, failed, bothThere);
    row("token with a line break", u"parlovance://auth?token=t%0d%0aA:b&state=%1"_s, failed,
        bothThere);
    row("token outside ASCII", u"parlovance://auth?token=%E4%B8%AD&state=%1"_s, failed, bothThere);
    row("empty token", u"parlovance://auth?token=&state=%1"_s, u"verified  - -"_s, noAddress);
    row("empty address", u"parlovance://auth?token=t&email=&state=%1"_s, u"verified t - -"_s,
        noAddress);
    row("address that is too long",
        u"parlovance://auth?token=t&email=%2@b.c&state=%1"_s.replace(u"%2"_s, QString(1025, u'a')),
        u"verified t - -"_s, noAddress);
    row("address with a line break", u"parlovance://auth?token=t&email=a%0Ab&state=%1"_s,
        u"verified t - -"_s, noAddress);
}

void SignInTest::callback()
{
    QFETCH(QString, address);
    QFETCH(QString, lastLine);
    AuthDesktop desktop;
    desktop.start();
    desktop.client->beginLogin();
    const QString state = desktop.openedState();

    // Not arg(), which would take escapes for places to fill in.
    address.replace(u"state=%1"_s, u"state="_s + state);
    address.replace(u"state=%2"_s, u"state="_s + state.toLower());
    desktop.client->handleCallback(address);

    QTEST(desktop.state(), "state");
    QCOMPARE(desktop.log.take().last(), lastLine.replace(u"%1"_s, state));

    // A failed one leaves the attempt open.
    if (desktop.client->isLoggedIn())
        return;
    desktop.client->handleCallback(u"parlovance://auth?token=t&state="_s + state);
    QVERIFY(desktop.client->isLoggedIn());
}

void SignInTest::callbackOfAnEarlierAttemptFails()
{
    AuthDesktop desktop;
    desktop.start();
    desktop.client->beginLogin();
    const QString earlier = desktop.openedState();
    desktop.client->beginLogin();

    desktop.client->handleCallback(u"parlovance://auth?token=t&state="_s + earlier);
    QVERIFY(!desktop.client->isLoggedIn());

    desktop.client->handleCallback(u"parlovance://auth?token=t&state="_s + desktop.openedState());
    QVERIFY(desktop.client->isLoggedIn());
}

void SignInTest::obstaclesAreToldUntilTheNextAttempt()
{
    AuthDesktop desktop;
    const AuthClient &client = desktop.start();
    desktop.client->beginLogin();
    const auto ofEarlierAttempt = desktop.workspace.obstructed;
    ofEarlierAttempt(QString());
    QVERIFY(client.signInProblem().value().contains(u"无法打开浏览器"_s));

    desktop.client->beginLogin();
    ofEarlierAttempt(QString());
    QCOMPARE(client.signInProblem(), std::nullopt);
    desktop.workspace.obstructed(u"org.other"_s);
    QVERIFY(client.signInProblem().value().contains(u"“org.other”"_s));
    desktop.client->handleCallback(u"parlovance://auth?token=t&state=x"_s);
    QCOMPARE(client.signInProblem(), u"登录回调验证失败"_s);

    desktop.returnFromBrowser();
    QCOMPARE(client.signInProblem(), std::nullopt);
}

void SignInTest::callbackWithoutAttemptFails()
{
    AuthDesktop desktop;
    desktop.keepSession();
    desktop.start();

    desktop.client->handleCallback(u"parlovance://auth?token=t1&state=nil"_s);

    QCOMPARE(desktop.state(), u"cached t0 old@b.c 登录回调验证失败"_s);
    QCOMPARE(desktop.log.take().last(),
             u"error auth: callback verify fail: token=true state=true pending=nil"_s);
}

void SignInTest::sessionLivesOnWhereItCannotBeStored()
{
    AuthDesktop desktop;
    desktop.keepSession();
    desktop.start();
    desktop.secrets.refusesToAdd = true;

    desktop.signIn();

    QCOMPARE(desktop.state(), u"verified t1 - -"_s);
    QCOMPARE(desktop.secrets.own(), QStringList());
}

void SignInTest::tokenIsNowhereElse()
{
    AuthDesktop desktop;
    desktop.start();
    const auto secret = u"token-secret"_s;
    desktop.client->beginLogin();
    const QString state = desktop.openedState();

    for (const QString &address :
         {u"parlovance://auth?token=%1"_s, u"parlovance://other?token=%1"_s,
          u"parlovance:auth?token=%1"_s, u"parlovance://auth&token=%1"_s,
          u"parlovance://%1@auth?token=%1"_s, u"parlovance?token=%1:"_s,
          u"parlovance://auth?email=a&token=%1&state="_s + state})
        desktop.client->handleCallback(address.arg(secret));
    QCOMPARE(desktop.client->token(), secret);
    for (const int status : {200, 500, 401}) {
        desktop.http.answer(u"GET /api/auth/me"_s, status, secret.toLatin1());
        QCoro::waitFor(desktop.client->validateSession());
    }

    const QString seen = desktop.log.take().join(u'\n') + desktop.client->lastError().value() +
                         desktop.workspace.opened.join(u'\n');
    QVERIFY(!seen.contains(secret));
}

QTEST_GUILESS_MAIN(SignInTest)
#include "test_sign_in.moc"
