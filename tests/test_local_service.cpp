#include "platform/linux/network/CurlHttpSession.h"
#include "tests/support/Awaited.h"
#include "tools/localservice/LocalService.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// That the service which the other tests and the demonstration run against plays by the rules, and
/// breaks them when told to.
class TestLocalService : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    std::unique_ptr<LocalService> m_service;
    std::unique_ptr<CurlHttpSession> m_session;
    QString m_token;

    HttpOutcome answerTo(const HttpRequest &request) const
    {
        const Awaited<HttpOutcome> awaited(m_session->send(request));
        if (!awaited.wait())
            qFatal("neither a reply nor an error");
        return awaited.value();
    }

    HttpOutcome send(const QByteArray &method, const QString &path,
                     const QByteArray &body = {}) const
    {
        HttpRequest request(method, m_service->origin() + path);
        request.addHeader("Authorization", "JWT " + m_token.toUtf8());
        request.setBody(body);
        return answerTo(request);
    }

    int put(const QString &address, const QFile &file) const
    {
        HttpRequest request("PUT", address);
        request.addHeader("Content-Type", "audio/mp4");
        request.setBodyFile(file.fileName());
        return answerTo(request)->status();
    }

private Q_SLOTS:
    void init()
    {
        HttpSettings settings;
        settings.idleLimit = 1s;
        settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
        m_session = std::make_unique<CurlHttpSession>(settings);
        m_service = std::make_unique<LocalService>(m_folder.path());
        QVERIFY(m_service->listen());
        m_token = m_service->store().signIn(u"a@example.com"_s);
    }

    void signInReturnsToTheProgram()
    {
        const HttpOutcome page = send("GET", u"/desktop-auth?state=%3Cx%3E%22&more=1"_s);
        QVERIFY(page && page->body().contains("value=\"&lt;x&gt;&quot;\""));
        const HttpOutcome done =
            send("POST", u"/desktop-auth"_s, "state=A-1&email=a%2Bb%26c%40example.com");
        QVERIFY(done && done->status() == 303);
        QVERIFY(done->body().contains("&amp;state=A-1&amp;email=a%2Bb%26c%40example.com"));
        QCOMPARE(send("POST", u"/desktop-auth"_s, "state=&email=x")->status(), 400);
    }

    void keepsToItselfWhatItStores()
    {
        QTcpSocket browser;
        const QUrl origin(m_service->origin());
        const auto ask = [&](const QByteArray &host, const QByteArray &token) {
            browser.connectToHost(u"127.0.0.1"_s, static_cast<quint16>(origin.port()));
            browser.write("GET /app HTTP/1.1\r\nHost: " + host +
                          "\r\nCookie: a=b; parlovance-session=" + token + "\r\n\r\n");
            QByteArray reply;
            while (browser.waitForReadyRead())
                reply += browser.readAll();
            return reply.mid(9, 3);
        };
        const QByteArray port = ':' + QByteArray::number(origin.port());
        QCOMPARE(ask("127.0.0.1" + port, m_token.toUtf8()), "200");
        QCOMPARE(ask("localhost" + port, "guessed"), "401");
        QCOMPARE(ask("elsewhere.example" + port, m_token.toUtf8()), "421");
        const auto others = QFile::ReadGroup | QFile::ReadOther | QFile::ExeGroup | QFile::ExeOther;
        for (const QString &name : {u"."_s, u"objects"_s, u"service.json"_s})
            QVERIFY(!(QFileInfo(m_folder.filePath(name)).permissions() & others));
    }

    void refusesWhatTheRealOneRefuses()
    {
        QFile recording(m_folder.filePath(u"recording.m4a"_s));
        QVERIFY(recording.open(QIODevice::WriteOnly) && recording.resize(5'000'000));
        const auto place =
            QJsonDocument::fromJson(send("POST", u"/api/oss/sign-upload"_s,
                                         R"({"filename":"a.m4a","contentType":"audio/mp4"})")
                                        ->body());
        const QString uploadUrl = place[u"uploadURL"_s].toString();
        QCOMPARE(put(place[u"publicURL"_s].toString(), recording), 403);
        QCOMPARE(put(uploadUrl, recording), 200);
        QCOMPARE(m_service->requests().last().bodyBytes, 5'000'000);
        QCOMPARE(put(uploadUrl, recording), 403); // once only

        m_service->store().revoke(m_token);
        for (const QString &path :
             {u"/api/oss/sign-upload"_s, u"/api/meetings"_s, u"/api/meetings/reconcile"_s})
            QCOMPARE(send("POST", path, "{}")->status(), 401);
        QCOMPARE(send("GET", u"/api/auth/me"_s)->status(), 401);
        QCOMPARE(send("GET", u"/objects/../service.json"_s)->status(), 404);
    }

    void misbehavesAsTold()
    {
        QVERIFY(!Misbehaviour::parse(u"politely"_s));
        m_service->misbehave(LocalService::Exchange::reconcile,
                             *Misbehaviour::parse(u"status:503"_s), 1);
        for (const int status : {503, 200})
            QCOMPARE(send("POST", u"/api/meetings/reconcile"_s,
                          R"({"clientRecordingIds":["mac-file-a"]})")
                         ->status(),
                     status);
    }
};

QTEST_GUILESS_MAIN(TestLocalService)
#include "test_local_service.moc"
