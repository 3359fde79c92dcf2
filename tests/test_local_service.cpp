#include "platform/linux/network/CurlHttpSession.h"
#include "tests/support/Awaited.h"
#include "tools/localservice/LocalService.h"

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Exchange = LocalService::Exchange;

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

    void start()
    {
        m_service = std::make_unique<LocalService>(m_folder.path());
        QVERIFY(m_service->listen());
    }

    HttpOutcome send(const QByteArray &method, const QString &path, const QByteArray &body = {},
                     const QString &file = {}) const
    {
        HttpRequest request(method, path.startsWith(u'/') ? m_service->origin() + path : path);
        if (file.isEmpty())
            request.addHeader("Authorization", "JWT " + m_token.toUtf8());
        else
            request.addHeader("Content-Type", "audio/mp4");
        request.setBody(body);
        request.setBodyFile(file);
        const Awaited<HttpOutcome> awaited(m_session->send(request));
        if (!awaited.wait())
            qFatal("neither a reply nor an error");
        return awaited.value();
    }

    QJsonObject json(const HttpOutcome &outcome) const
    {
        return outcome && outcome->isSuccess() ? QJsonDocument::fromJson(outcome->body()).object()
                                               : QJsonObject();
    }

    QByteArray meetingFor(const QString &audioUrl) const
    {
        return QJsonDocument(QJsonObject{{u"title"_s, u"<b>周会</b>"_s},
                                         {u"audioUrl"_s, audioUrl},
                                         {u"durationSeconds"_s, 61},
                                         {u"status"_s, u"draft"_s},
                                         {u"clientRecordingId"_s, u"mac-file-a"_s},
                                         {u"startedAt"_s, u"2025-03-14T09:26:53.589Z"_s}})
            .toJson();
    }

private Q_SLOTS:
    void init()
    {
        HttpSettings settings;
        settings.idleLimit = 1s;
        settings.loopbackHttp = WebAddress::LoopbackHttp::allowed;
        m_session = std::make_unique<CurlHttpSession>(settings);
        start();
        m_token = m_service->store().signIn(u"a@example.com"_s);
    }

    void signInReturnsToTheProgram()
    {
        const HttpOutcome page = send("GET", u"/desktop-auth?state=%3Cx%3E%22&more=1"_s);
        QVERIFY(page && page->body().contains("value=\"&lt;x&gt;&quot;\""));

        const HttpOutcome done =
            send("POST", u"/desktop-auth"_s, "state=A-1&email=a%2Bb%26c%40example.com");
        QVERIFY(done);
        QCOMPARE(done->status(), 303);
        const QString body = QString::fromUtf8(done->body());
        const QString token = body.section(u"token="_s, 1).section(u'&', 0, 0);
        QVERIFY(body.contains(
            u"parlovance://auth?token=%1&amp;state=A-1&amp;email=a%2Bb%26c%40example.com"_s.replace(
                u"%1"_s, token)));
        m_token = token;
        const QJsonObject me = json(send("GET", u"/api/auth/me"_s));
        QCOMPARE(me[u"user"_s][u"email"_s], u"a+b&c@example.com"_s);
        QCOMPARE(send("POST", u"/desktop-auth"_s, "state=&email=x")->status(), 400);
    }

    void uploadedRecordingSurvivesARestart()
    {
        QFile recording(m_folder.filePath(u"recording.m4a"_s));
        QVERIFY(recording.open(QIODevice::WriteOnly) && recording.resize(5'000'000));
        recording.close();

        const QByteArray lookUp = R"({"clientRecordingIds":["mac-file-a","mac-file-b"]})";
        QCOMPARE(json(send("POST", u"/api/meetings/reconcile"_s, lookUp))[u"meetings"_s],
                 QJsonArray());
        const QJsonObject place = json(send("POST", u"/api/oss/sign-upload"_s,
                                            R"({"filename":"a.m4a","contentType":"audio/mp4"})"));
        const QString uploadUrl = place[u"uploadURL"_s].toString();
        const QString publicUrl = place[u"publicURL"_s].toString();
        QCOMPARE(send("PUT", publicUrl, {}, recording.fileName())->status(), 403);
        QCOMPARE(send("PUT", uploadUrl, {}, recording.fileName())->status(), 200);
        QCOMPARE(m_service->requests().last().bodyBytes, 5'000'000);
        QCOMPARE(send("PUT", uploadUrl, {}, recording.fileName())->status(), 403); // once only

        const QString id =
            json(send("POST", u"/api/meetings"_s, meetingFor(publicUrl)))[u"doc"_s][u"id"_s]
                .toString();
        QCOMPARE(json(send("POST", u"/api/meetings"_s, meetingFor(publicUrl)))[u"doc"_s][u"id"_s],
                 id);

        m_service.reset();
        start();
        const QJsonArray meetings =
            json(send("POST", u"/api/meetings/reconcile"_s, lookUp))[u"meetings"_s].toArray();
        QCOMPARE(meetings.size(), 1);
        QCOMPARE(meetings[0][u"id"_s], id);
        const HttpOutcome page = send("GET", u"/app/meetings/"_s + id);
        QVERIFY(page && page->body().contains("&lt;b&gt;周会&lt;/b&gt;"));
        QVERIFY(page->body().contains(publicUrl.toUtf8()));
        const HttpOutcome audio = send("GET", u"/objects/"_s + place[u"objectKey"_s].toString());
        QCOMPARE(audio->body().size(), 5'000'000);
    }

    void portThatIsTaken()
    {
        const int port = m_service->origin().section(u':', 2).toInt();
        QVERIFY(!LocalService(m_folder.path()).listen(port));
    }

    void withoutATokenNothing()
    {
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
        m_service->misbehave(Exchange::reconcile, *Misbehaviour::parse(u"status:503"_s), 1);
        const QByteArray body = R"({"clientRecordingIds":["mac-file-a"]})";
        QCOMPARE(send("POST", u"/api/meetings/reconcile"_s, body)->status(), 503);
        QCOMPARE(send("POST", u"/api/meetings/reconcile"_s, body)->status(), 200);
        QCOMPARE(m_service->requests().size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestLocalService)
#include "test_local_service.moc"
