#include "platform/linux/network/CurlHttpSession.h"
#include "tests/support/Awaited.h"
#include "tools/localservice/LocalService.h"

#include <QFile>
#include <QJsonDocument>
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

    void showsMeetingsOnlyToTheBrowserThatSignedIn()
    {
        const QJsonObject meeting = m_service->store().createMeeting(u"a@example.com"_s, {});
        const QString page = u"/app/meetings/"_s + meeting[u"id"_s].toString();
        const auto shown = [&](const QString &path, const QString &email, const char *host) {
            HttpRequest request("GET", m_service->origin() + path);
            if (!email.isEmpty())
                request.addHeader("Cookie",
                                  "a=b; session=" + m_service->store().signIn(email).toLatin1());
            if (host)
                request.addHeader("Host", host);
            return answerTo(request)->status();
        };
        const auto a = u"a@example.com"_s;
        QCOMPARE(shown(page, a, nullptr), 200);
        QCOMPARE(shown(page, u"b@example.com"_s, nullptr), 404);
        QCOMPARE(shown(u"/objects/../service.json"_s, a, nullptr), 404);
        for (const QString &path : {page, u"/app"_s, u"/objects/x"_s})
            QCOMPARE(shown(path, {}, nullptr), 401);
        QCOMPARE(shown(page, a, "rebound.example:80"), 421);
    }

    void keepsEverythingPrivate()
    {
        const QString folder = m_folder.filePath(u"new/service"_s);
        ServiceStore store(folder);
        store.signIn(u"a@example.com"_s);
        constexpr auto own = QFileDevice::ReadUser | QFileDevice::WriteUser;
        for (const QString &path : {folder, folder + u"/objects"_s})
            QCOMPARE(QFile::permissions(path) & ~ServiceStore::privateFile & ~own,
                     QFileDevice::ExeOwner | QFileDevice::ExeUser);
        QCOMPARE(QFile::permissions(folder + u"/service.json"_s), ServiceStore::privateFile | own);
    }
};

QTEST_GUILESS_MAIN(TestLocalService)
#include "test_local_service.moc"
