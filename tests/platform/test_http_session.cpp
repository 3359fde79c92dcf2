#include "base/FileDescriptor.h"
#include "platform/linux/network/CurlHttpSession.h"
#include "platform/linux/network/SocketTraffic.h"
#include "tests/support/Awaited.h"
#include "tools/localservice/SocketServer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <ctime>
#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = TransportError::Kind;

namespace
{

const QByteArray token = "secret-token-1234";
const QByteArray okReply = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok";

HttpSettings settings(std::chrono::milliseconds idleLimit = 20s)
{
    HttpSettings settings;
    settings.idleLimit = idleLimit;
    settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
    return settings;
}

HttpRequest request(const QString &address, const QByteArray &method = "GET")
{
    HttpRequest request(method, address);
    request.addHeader("Authorization", "JWT " + token);
    return request;
}

HttpRequest upload(const QString &address, const QString &path)
{
    HttpRequest request("PUT", address);
    request.addHeader("Content-Type", "audio/mp4");
    request.setBodyFile(path);
    return request;
}

/// A server that answers every request with \p bytes and closes.
SocketServer::Script answering(const QByteArray &bytes)
{
    return [bytes](ServedSocket socket) {
        socket.readHead();
        socket.send(bytes);
    };
}

std::optional<Kind> kindOf(const HttpOutcome &outcome)
{
    return outcome ? std::nullopt : std::optional(outcome.error().kind());
}

} // namespace

/// The HTTP session over real sockets, against servers that answer as real ones do at their worst.
class TestHttpSession : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    /// Whatever happens, no text of it gives away the token or what is behind a question mark.
    static HttpOutcome fetch(CurlHttpSession &session, const HttpRequest &request)
    {
        const Awaited<HttpOutcome> awaited(session.send(request));
        if (!awaited.wait())
            qFatal("neither a reply nor an error");
        if (!awaited.value()) {
            const QString text = awaited.value().error().description();
            if (text.contains(QString::fromLatin1(token)) || text.contains(u"signature"_s))
                qFatal("a secret in: %s", qPrintable(text));
        }
        return awaited.value();
    }

    static HttpOutcome fetch(const HttpRequest &request, const HttpSettings &with = settings())
    {
        CurlHttpSession session(with);
        return fetch(session, request);
    }

    QString file(const QString &name, qint64 bytes)
    {
        const QString path = m_folder.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || !file.resize(bytes))
            qFatal("no test file");
        return path;
    }

private Q_SLOTS:
    void replies_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<int>("status"); // 0: a broken reply
        QTest::addColumn<QByteArray>("body");

        const auto row = [](const char *name, const QByteArray &sent, int status = 0,
                            const QByteArray &body = {}) {
            QTest::newRow(name) << sent << status << body;
        };
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        row("whole", okReply, 200, "ok");
        row("old protocol", "HTTP/1.0 200 OK\r\n\r\nok", 200, "ok");
        row("no length, then the end", ok + "\r\nok", 200, "ok");
        row("chunks", ok + "Transfer-Encoding: chunked\r\n\r\n1\r\no\r\n1\r\nk\r\n0\r\n\r\n", 200,
            "ok");
        row("a trailer that looks like a head",
            ok + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\nHTTP/1.1 100: x\r\n\r\n", 200,
            "ok");
        row("after a continue", "HTTP/1.1 100 Continue\r\n\r\n" + okReply, 200, "ok");
        row("no content", "HTTP/1.1 204 No Content\r\n\r\n", 204);
        row("more than its length", ok + "Content-Length: 2\r\n\r\nok, and more", 200, "ok");
        row("packed, though nobody asked",
            ok + "Content-Encoding: gzip\r\nContent-Length: 2\r\n\r\nok", 200, "ok");
        for (const int status : {400, 401, 403, 404, 413, 429, 500, 503}) {
            row(QByteArray::number(status).constData(),
                "HTTP/1.1 " + QByteArray::number(status) +
                    " No\r\nWWW-Authenticate: Basic\r\nContent-Length: 3\r\n\r\nwhy",
                status, "why");
        }
        row("nothing", "");
        row("garbage", "\x16\x03\x01\x02garbage\r\n\r\nmore");
        row("no status", "ok\r\n\r\n");
        row("cut in a chunk", ok + "Transfer-Encoding: chunked\r\n\r\n5\r\nok");
        row("chunks without an end", ok + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n");
        row("broken chunk", ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\nok\r\n0\r\n\r\n");
        row("unknown coding", ok + "Transfer-Encoding: strange\r\nContent-Length: 2\r\n\r\nok");
        row("length is no number", ok + "Content-Length: -5\r\n\r\nok");
        row("length beyond all numbers", ok + "Content-Length: 99999999999999999999\r\n\r\nok", 200,
            "ok");
        row("two lengths", ok + "Content-Length: 2\r\nContent-Length: 5\r\n\r\nok");
        // A reply that is cut off after any of its bytes is no reply.
        for (qsizetype kept = 1; kept < okReply.size(); ++kept)
            row(("cut after " + QByteArray::number(kept)).constData(), okReply.first(kept));
    }

    void replies()
    {
        QFETCH(QByteArray, sent);
        QFETCH(int, status);
        const SocketServer server(answering(sent));
        const HttpOutcome outcome = fetch(request(server.origin() + u"/?signature=1"_s, "POST"));
        if (status == 0) {
            QCOMPARE(kindOf(outcome), Kind::brokenReply);
        } else {
            QVERIFY2(outcome, qPrintable(outcome ? QString() : outcome.error().description()));
            QCOMPARE(outcome->status(), status);
            QTEST(outcome->body(), "body");
        }
        QCOMPARE(server.connectionCount(), 1); // nothing is sent twice
    }

    void redirectsAreNotFollowed()
    {
        const SocketServer other(answering(okReply));
        int exchanges = 0;
        for (const QByteArray &place : {"/same-origin"_ba, other.origin().toLatin1() + "/"}) {
            for (const int status : {301, 302, 303, 307, 308}) {
                const SocketServer server(answering("HTTP/1.1 " + QByteArray::number(status) +
                                                    " Moved\r\nLocation: " + place +
                                                    "\r\nContent-Length: 0\r\n\r\n"));
                const QByteArray method = ++exchanges % 2 == 0 ? "GET" : "POST";
                QCOMPARE(fetch(request(server.origin(), method))->status(), status);
                QCOMPARE(server.connectionCount(), 1);
            }
        }
        QCOMPARE(other.connectionCount(), 0);
    }

    void requestsCarryWhatWasAskedAndNoMore()
    {
        std::mutex mutex;
        QByteArray heads;
        const SocketServer server([&](ServedSocket socket) {
            const QByteArray head = socket.readHead();
            const std::scoped_lock lock(mutex);
            heads += head;
            socket.send("HTTP/1.1 200 OK\r\nSet-Cookie: a=1; Path=/\r\nContent-Length: 0\r\n\r\n");
        });
        CurlHttpSession session(settings());
        HttpRequest post = request(server.origin() + u"/a/../b?x=%2f"_s, "POST");
        post.addHeader("X-Empty", "");
        post.setBody("{}");
        QVERIFY(fetch(session, post));
        QVERIFY(fetch(session, upload(server.origin(), file(u"empty"_s, 0))));
        QVERIFY(fetch(session, HttpRequest("GET", server.origin())));
        const QByteArray host = "Host: 127.0.0.1:" + QByteArray::number(server.port()) +
                                "\r\nUser-Agent: Parlovance\r\nAccept: */*\r\n";
        QCOMPARE(heads, "POST /a/../b?x=%2f HTTP/1.1\r\n" + host + "Authorization: JWT " + token +
                            "\r\nX-Empty:\r\nContent-Length: 2\r\n\r\n{}" + "PUT / HTTP/1.1\r\n" +
                            host + "Content-Type: audio/mp4\r\nContent-Length: 0\r\n\r\n" +
                            "GET / HTTP/1.1\r\n" + host + "\r\n");
    }

    void plainHttpIsRefusedWhereItIsNotAllowed()
    {
        const SocketServer server(answering(okReply));
        QCOMPARE(kindOf(fetch(request(server.origin()), HttpSettings())), Kind::refusedAddress);
        QCOMPARE(server.connectionCount(), 0);
        QCOMPARE(kindOf(fetch(request(u"http://example.com/?signature=1"_s))),
                 Kind::refusedAddress);
        QCOMPARE(kindOf(fetch(request(u"file:///etc/passwd"_s))), Kind::refusedAddress);
    }

    void silence_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<bool>("isUpload");
        QTest::newRow("from the start") << QByteArray() << false;
        QTest::newRow("in the headers") << "HTTP/1.1 200 OK\r\nConte"_ba << false;
        QTest::newRow("in the body") << okReply.chopped(1) << false;
        QTest::newRow("an upload that nobody reads") << QByteArray() << true;
    }

    void silence()
    {
        QFETCH(QByteArray, sent);
        QFETCH(bool, isUpload);
        const SocketServer server([sent](ServedSocket socket) {
            socket.read(1);
            socket.send(sent);
            socket.waitForEnd();
        });
        QElapsedTimer timer;
        timer.start();
        HttpRequest silent =
            isUpload ? upload(server.origin(), file(u"big"_s, 64 << 20)) : request(server.origin());
        QCOMPARE(kindOf(fetch(silent, settings(600ms))), Kind::timedOut);
        QVERIFY2(timer.elapsed() >= 600 && timer.elapsed() < 5000,
                 qPrintable(QString::number(timer.elapsed())));
    }

    void tooLarge_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("filler");
        QTest::addColumn<int>("status"); // 0: no reply
        QTest::newRow("declared") << "HTTP/1.1 200 OK\r\nContent-Length: 2000000\r\n\r\n"_ba
                                  << "x"_ba << 200;
        QTest::newRow("endless") << "HTTP/1.1 200 OK\r\n\r\n"_ba << "x"_ba << 200;
        QTest::newRow("refusal") << "HTTP/1.1 401 No\r\n\r\n"_ba << "x"_ba << 401;
        QTest::newRow("endless chunks")
            << "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"_ba
            << "10\r\nxxxxxxxxxxxxxxxx\r\n"_ba << 200;
        QTest::newRow("endless headers") << "HTTP/1.1 200 OK\r\n"_ba << "X: 1\r\n"_ba << 0;
        QTest::newRow("endless header") << "HTTP/1.1 200 OK\r\n"_ba << "X"_ba << 0;
        QTest::newRow("endless continues") << ""_ba << "HTTP/1.1 100 Continue\r\n\r\n"_ba << 0;
    }

    void tooLarge()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, filler);
        const SocketServer server([=](ServedSocket socket) {
            socket.readHead();
            socket.send(head + filler.repeated(2'000'000 / filler.size()));
        });
        HttpSettings small = settings();
        small.replyLimitBytes = 1'000'000;
        const HttpOutcome outcome = fetch(request(server.origin()), small);
        QTEST(outcome ? outcome->status() : 0, "status");
        if (outcome)
            QCOMPARE(outcome->body().isEmpty(), outcome->isSuccess());
        else
            QVERIFY(kindOf(outcome) == Kind::brokenReply &&
                    outcome.error().technicalText().contains(u"header"_s));
    }

    void tooLongTextOfARefusalEndsWithAWholeCharacter_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QByteArray>("kept");
        QTest::newRow("between") << "0123456789x"_ba << "0123456789"_ba;
        QTest::newRow("of three") << "01234567会"_ba << "01234567"_ba;
        QTest::newRow("behind one") << "0123456会x"_ba << "0123456会"_ba;
        QTest::newRow("of four") << "0123456\U0001F600"_ba << "0123456"_ba;
    }

    void tooLongTextOfARefusalEndsWithAWholeCharacter()
    {
        QFETCH(const QByteArray, sent);
        const SocketServer server(answering("HTTP/1.1 500 No\r\n\r\n" + sent));
        HttpSettings small = settings();
        small.replyLimitBytes = 10;
        QTEST(fetch(request(server.origin()), small)->body(), "kept");
    }

    void tokenDoesNotComeBackWithARefusal()
    {
        const SocketServer server([](ServedSocket socket) {
            socket.send("HTTP/1.1 500 No\r\n\r\nyou sent: " + socket.readHead());
        });
        const HttpOutcome outcome = fetch(request(server.origin()));
        QVERIFY2(outcome->body().contains("Authorization: JWT ***"), outcome->body());
        QVERIFY(!outcome->body().contains(token));
        HttpRequest withoutToken("GET", server.origin());
        withoutToken.addHeader("Authorization", "JWT ");
        QVERIFY(!fetch(withoutToken)->body().contains("***"));
    }

    void storedIsStoredWhateverTheReplySays_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("filler");
        QTest::newRow("long") << "HTTP/1.1 200 OK\r\n\r\n"_ba << QByteArray(2'000'000, 'x');
        QTest::newRow("trickling") << "HTTP/1.1 200 OK\r\n\r\n"_ba << ""_ba;
        QTest::newRow("cut short") << "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n"_ba << "x"_ba;
    }

    void storedIsStoredWhateverTheReplySays()
    {
        QFETCH(const QByteArray, head);
        QFETCH(const QByteArray, filler);
        const SocketServer server([=](ServedSocket socket) {
            socket.readHead();
            socket.send(head + filler);
            if (filler.isEmpty())
                socket.drip(QByteArray(1000, 'x'), 50ms);
        });
        HttpSettings small = settings();
        small.replyLimitBytes = 1'000'000;
        QElapsedTimer timer;
        timer.start();
        const HttpOutcome outcome = fetch(upload(server.origin(), file(u"stored"_s, 1000)), small);
        QVERIFY2(outcome, qPrintable(outcome ? QString() : outcome.error().description()));
        QCOMPARE(outcome->status(), 200);
        QVERIFY(timer.elapsed() < 10'000);
    }

    void earlySuccessIsNone_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<Kind>("kind");
        QTest::newRow("and the end") << "Connection: close"_ba << Kind::brokenReply;
        QTest::newRow("and talk without end") << "Connection: keep-alive"_ba << Kind::timedOut;
    }

    void earlySuccessIsNone()
    {
        QFETCH(const QByteArray, header);
        const SocketServer server([header](ServedSocket socket) {
            socket.readHead();
            socket.send("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n" + header + "\r\n\r\nok");
            socket.pause(200ms);
            socket.drip(QByteArray(1000, 'x'), 50ms);
        });
        const std::clock_t before = std::clock();
        const HttpOutcome outcome =
            fetch(upload(server.origin(), file(u"big"_s, 64 << 20)), settings(1s));
        QTEST(kindOf(outcome).value(), "kind");
        // It waits without turning on the spot.
        QVERIFY(std::clock() - before < CLOCKS_PER_SEC / 2);
    }

    void earlyRefusalOfAnUpload_data()
    {
        QTest::addColumn<bool>("reads");
        QTest::newRow("by a server that reads on") << true;
        QTest::newRow("by a server that closes at once") << false;
    }

    void earlyRefusalOfAnUpload()
    {
        QFETCH(bool, reads);
        const SocketServer server([reads](ServedSocket socket) {
            socket.readHead();
            socket.send("HTTP/1.1 403 Forbidden\r\nContent-Length: 3\r\n\r\nwhy");
            if (reads)
                socket.readToEnd();
        });
        const QString path = file(u"big"_s, 256 << 20);
        CurlHttpSession session(settings());
        int heard = 0;
        for (int i = 0; i < 20; ++i) {
            const HttpOutcome outcome = fetch(session, upload(server.origin(), path));
            if (!outcome) {
                QVERIFY(kindOf(outcome) == Kind::brokenReply);
                continue;
            }
            QCOMPARE(outcome->status(), 403);
            QCOMPARE(outcome->body(), "why");
            ++heard;
        }
        // A reset that comes within the microseconds between the last look and the sending wins.
        QVERIFY2(heard >= (reads ? 20 : 18), qPrintable(QString::number(heard)));
    }

    void shrinkingFileEndsTheUpload()
    {
        const QString path = file(u"shrinks"_s, 64 << 20);
        const SocketServer server([path](ServedSocket socket) {
            socket.readHead();
            QFile::resize(path, 100);
            socket.readToEnd();
        });
        QCOMPARE(kindOf(fetch(upload(server.origin(), path))), Kind::unreadableFile);
    }

    void closingCancelsWhatIsInFlight()
    {
        const SocketServer server([](ServedSocket socket) {
            socket.read(1);
            socket.waitForEnd();
        });
        auto session = std::make_unique<CurlHttpSession>(settings());
        const Awaited<HttpOutcome> waiting(session->send(request(server.origin())));
        const Awaited<HttpOutcome> sending(
            session->send(upload(server.origin(), file(u"big"_s, 64 << 20))));
        QTRY_COMPARE(server.connectionCount(), 2);
        const Awaited<HttpOutcome> justStarted(session->send(request(server.origin())));
        QElapsedTimer timer;
        timer.start();
        session.reset();
        QVERIFY(timer.elapsed() < 1000);
        for (const Awaited<HttpOutcome> *const one : {&waiting, &sending, &justStarted}) {
            QVERIFY(one->wait());
            QCOMPARE(kindOf(one->value()), Kind::cancelled);
        }
    }
};

QTEST_GUILESS_MAIN(TestHttpSession)
#include "test_http_session.moc"
