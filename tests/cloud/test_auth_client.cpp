#include "tests/support/AuthDesktop.h"

#include <QTest>
#include <QThreadPool>

using namespace Qt::StringLiterals;

namespace
{
const auto identity = u"GET /api/auth/me"_s;
const auto expiredMessage = u"登录已过期，请重新登录"_s;
} // namespace

class AuthClientTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storedItems_data()
    {
        QTest::addColumn<QStringList>("items"); // key, value, key, value
        QTest::addColumn<QString>("state");
        QTest::addColumn<QStringList>("left");

        const auto out = u"loggedOut - - -"_s;
        const auto row = [](const char *name, const QStringList &items, const QString &state,
                            const QStringList &left) {
            QTest::newRow(name) << items << state << left;
        };
        const auto session = u"session"_s;
        const auto earlierToken = u"payload-token"_s;
        const auto earlierEmail = u"user-email"_s;
        const auto bare = uR"({"token":"t"})"_s;
        row("nothing", {}, out, {});
        row("session", {session, uR"({"token":"t","email":"a@b.c"})"_s}, u"cached t a@b.c -"_s,
            {uR"(session={"token":"t","email":"a@b.c"})"_s});
        row("without address", {session, bare}, u"cached t - -"_s, {u"session="_s + bare});
        row("address null", {session, uR"({"token":"t","email":null})"_s}, u"cached t - -"_s,
            {uR"(session={"token":"t","email":null})"_s});
        row("undecodable stays", {session, u"t"_s}, out, {u"session=t"_s});
        row("token a number", {session, uR"({"token":1})"_s}, out, {uR"(session={"token":1})"_s});
        row("token unfit for a header", {session, uR"({"token":"t\r\nA: b"})"_s}, out,
            {uR"(session={"token":"t\r\nA: b"})"_s});
        row("earlier layout", {earlierToken, u"t"_s, earlierEmail, u"a@b.c"_s},
            u"cached t a@b.c -"_s, {uR"(session={"email":"a@b.c","token":"t"})"_s});
        row("earlier layout without address", {earlierToken, u"t"_s}, u"cached t - -"_s,
            {u"session="_s + bare});
        row("earlier layout with empty address", {earlierToken, u"t"_s, earlierEmail, u""_s},
            u"cached t  -"_s, {uR"(session={"email":"","token":"t"})"_s});
        row("earlier layout beside an undecodable session", {session, u"{"_s, earlierToken, u"t"_s},
            u"cached t - -"_s, {u"session="_s + bare});
        row("earlier layout beside a session", {session, bare, earlierToken, u"u"_s},
            u"cached t - -"_s, {u"payload-token=u"_s, u"session="_s + bare});
        row("only the earlier address", {earlierEmail, u"a@b.c"_s}, out, {u"user-email=a@b.c"_s});
    }

    void storedItems()
    {
        QFETCH(const QStringList, items);
        AuthDesktop desktop;
        for (qsizetype i = 0; i < items.size(); i += 2)
            desktop.keep(items.at(i), items.at(i + 1));

        desktop.start();

        QTEST(desktop.state(), "state");
        QTEST(desktop.secrets.own(), "left");
    }

    void sessionIsValidatedAtLaunch()
    {
        AuthDesktop desktop;
        desktop.keepSession();
        desktop.http.answer(identity, 200, R"({"user":{"email":"new@b.c"}})");

        desktop.start();
        QCOMPARE(desktop.state(), u"cached t0 old@b.c -"_s);

        QTRY_COMPARE(desktop.state(), u"verified t0 new@b.c -"_s);
        QCOMPARE(desktop.secrets.own(),
                 QStringList(uR"(session={"email":"new@b.c","token":"t0"})"_s));
        QCOMPARE(desktop.http.requests.first().headers().first().value, "JWT t0");
    }

    void sessionThatComesLate_data()
    {
        QTest::addColumn<QString>("meanwhile");
        QTest::addColumn<std::optional<QString>>("answer");
        QTest::addColumn<QString>("state");

        const std::optional<QString> session(uR"({"token":"t0","email":"old@b.c"})"_s);
        QTest::newRow("unlocked") << u"nothing"_s << session << u"verified t0 old@b.c -"_s;
        QTest::newRow("refused") << u"nothing"_s << std::optional<QString>()
                                 << u"loggedOut - - -"_s;
        QTest::newRow("signed in meanwhile") << u"signs in"_s << session << u"verified t1 - -"_s;
        QTest::newRow("signed out meanwhile") << u"signs out"_s << session << u"loggedOut - - -"_s;
        QTest::newRow("client gone") << u"goes"_s << session << QString();
    }

    void sessionThatComesLate()
    {
        QFETCH(const QString, meanwhile);
        QFETCH(const std::optional<QString>, answer);
        QFETCH(const QString, state);
        AuthDesktop desktop;
        desktop.http.answer(identity, 200, "{}");
        desktop.secrets.isLocked = true;
        desktop.start();
        QCoreApplication::processEvents();
        QCOMPARE(desktop.state(), u"loggedOut - - -"_s);

        if (meanwhile == u"goes") {
            desktop.client.reset();
        } else if (meanwhile != u"nothing") {
            desktop.signIn();
            if (meanwhile == u"signs out")
                desktop.client->logout();
        }
        int cameLate = 0;
        if (desktop.client) {
            connect(&*desktop.client, &AuthClient::sessionCameLate, this, [&] { ++cameLate; });
        }
        desktop.secrets.answerLate(u"session"_s, answer);
        QCoreApplication::processEvents();

        if (desktop.client)
            QTRY_COMPARE(desktop.state(), state);
        QCOMPARE(cameLate, meanwhile == u"nothing"_s && answer ? 1 : 0);
    }

    void validation_data()
    {
        QTest::addColumn<int>("status"); // 0: the transport fails
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("isAccepted");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QStringList>("log");

        const auto cached = u"cached t0 old@b.c -"_s;
        const auto same = u"verified t0 old@b.c -"_s;
        const QString broken =
            TransportError(TransportError::Kind::noConnection, u"technical"_s).description();
        QTest::newRow("offline") << 0 << QByteArray() << false << cached
                                 << QStringList(u"error auth: validateSession network error: "_s +
                                                broken);
        QTest::newRow("refused") << 401 << QByteArray() << false
                                 << u"expired - - "_s + expiredMessage
                                 << QStringList(u"info auth: session expired, clearing keychain"_s);
        for (const int status : {302, 403, 500}) {
            QTest::addRow("%d", status)
                << status << QByteArray() << false << cached
                << QStringList(u"error auth: validateSession unexpected status %1"_s.arg(status));
        }
        const auto accepted = [](const char *name, const QByteArray &body, const QString &state) {
            QTest::newRow(name) << 200 << body << true << state << QStringList();
        };
        accepted("empty body", "", same);
        accepted("HTML", "<html>", same);
        accepted("no address", R"({"user":{}})", same);
        accepted("user of another kind", R"({"user":{"id":1,"email":"new@b.c"}})", same);
        accepted("another address", R"({"user":{"email":"new@b.c"}})", u"verified t0 new@b.c -"_s);
        accepted("empty address", R"({"user":{"email":""}})", u"verified t0  -"_s);
        accepted("address in disguise", R"({"user":{"email":"a\u202e@b.c"}})", same);
    }

    void validation()
    {
        QFETCH(const int, status);
        QFETCH(const QByteArray, body);
        AuthDesktop desktop;
        desktop.keepSession();
        if (status != 0)
            desktop.http.answer(identity, status, body);
        desktop.start();

        const bool isAccepted = QCoro::waitFor(desktop.client->validateSession());

        QTEST(isAccepted, "isAccepted");
        QTEST(desktop.state(), "state");
        QFETCH(const QStringList, log);
        QStringList lines = desktop.log.take();
        lines.removeDuplicates(); // the validation at launch may have said the same
        QCOMPARE(lines, log);
        const auto token = desktop.client->token();
        QCOMPARE(desktop.secrets.own().join(u' ').contains(u"t0"), token == u"t0"_s);
    }

    void lateReplyIsDropped_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("isBeingRead"); // when the session ends
        QTest::addColumn<bool>("signsInAgain");

        for (const int status : {200, 401, 500}) {
            QTest::addRow("%d after sign-out", status) << status << false << false;
            QTest::addRow("%d after a new sign-in", status) << status << false << true;
        }
        QTest::newRow("200, sign-out while it is read") << 200 << true << false;
        QTest::newRow("200, new sign-in while it is read") << 200 << true << true;
    }

    void lateReplyIsDropped()
    {
        QFETCH(const int, status);
        QFETCH(const bool, isBeingRead);
        QFETCH(const bool, signsInAgain);
        AuthDesktop desktop;
        desktop.keepSession();
        desktop.http.answer(identity, status, R"({"user":{"email":"new@b.c"}})");
        desktop.script.holdAt(identity);
        desktop.start();
        QTRY_VERIFY(desktop.script.isWaitingAt(identity));

        if (isBeingRead)
            desktop.script.releaseAt(identity);
        desktop.client->logout();
        if (signsInAgain) {
            desktop.signIn();
        }
        const QString before = desktop.state();
        const QStringList stored = desktop.secrets.own();
        desktop.log.take();

        desktop.script.releaseAt(identity);
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();

        QCOMPARE(desktop.state(), before);
        QCOMPARE(desktop.secrets.own(), stored);
        QCOMPARE(desktop.log.take(), QStringList());
    }

    void refusedTokenEndsTheSessionOnce()
    {
        AuthDesktop desktop;
        desktop.keepSession();
        desktop.start();

        desktop.client->handleUnauthorized(u"an earlier one"_s);
        QCOMPARE(desktop.state(), u"cached t0 old@b.c -"_s);

        desktop.client->handleUnauthorized(u"t0"_s);
        QCOMPARE(desktop.state(), u"expired - - "_s + expiredMessage);
        QCOMPARE(desktop.secrets.own(), QStringList());

        desktop.changes = 0;
        desktop.client->handleUnauthorized(u"t0"_s);
        QCOMPARE(desktop.changes, 0);
        QCOMPARE(desktop.log.take(),
                 QStringList(u"info auth: session expired, clearing keychain"_s));
    }

    void logoutForgets()
    {
        AuthDesktop desktop;
        desktop.keepSession();
        desktop.start();
        desktop.client->beginLogin();
        const QString pending = desktop.openedState();

        desktop.client->logout();

        QCOMPARE(desktop.state(), u"loggedOut - - -"_s);
        QCOMPARE(desktop.changes, 1);
        QCOMPARE(desktop.secrets.own(), QStringList());
        QCOMPARE(desktop.log.take(), QStringList());
        desktop.client->handleCallback(u"parlovance://auth?token=t1&state="_s + pending);
        QCOMPARE(desktop.state(), u"verified t1 - -"_s);
    }
};

QTEST_GUILESS_MAIN(AuthClientTest)
#include "test_auth_client.moc"
