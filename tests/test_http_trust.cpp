#include "platform/linux/network/CurlHttpSession.h"
#include "tests/support/Awaited.h"
#include "tests/support/SocketServer.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <httplib.h>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using Kind = TransportError::Kind;

namespace
{

/// A real TLS server with a certificate; counts the requests that got through to it.
class TrustedServer
{
public:
    explicit TrustedServer(const QString &name)
        : m_server((name + u".pem"_s).toUtf8().constData(), (name + u".key"_s).toUtf8().constData())
        , m_port(m_server.bind_to_any_port("127.0.0.1"))
    {
        m_server.Get("/", [this](const auto &, auto &response) {
            ++m_requests;
            response.set_content("ok", "text/plain");
        });
        m_server.Put("/stored", [this](const auto &request, auto &response) {
            ++m_requests;
            m_bytesStored = static_cast<int>(request.body.size());
            response.set_content("thanks", "text/plain");
        });
        m_server.Put("/refused", [this](const auto &, auto &response, const auto &reader) {
            ++m_requests;
            // The rest is not taken.
            reader([](const char *, size_t) { return false; });
            response.status = 403;
            response.set_content("no", "text/plain");
        });
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
        while (!m_server.is_running())
            std::this_thread::yield();
    }
    ~TrustedServer()
    {
        m_server.stop();
        m_thread.join();
    }
    TrustedServer(const TrustedServer &) = delete;
    TrustedServer &operator=(const TrustedServer &) = delete;

    QString address(const QString &host) const { return u"https://%1:%2/"_s.arg(host).arg(m_port); }
    int requests() const { return m_requests; }
    int bytesStored() const { return m_bytesStored; }

private:
    httplib::SSLServer m_server;
    int m_port;
    std::atomic_int m_requests = 0;
    std::atomic_int m_bytesStored = 0;
    std::thread m_thread;
};

HttpOutcome sent(HttpRequest request, const QString &trustedAuthority)
{
    HttpSettings settings;
    settings.trustedAuthority = trustedAuthority;
    CurlHttpSession session(settings);
    request.addHeader("Authorization", "JWT secret");
    const Awaited<HttpOutcome> awaited(session.send(request));
    if (!awaited.wait())
        qFatal("neither a reply nor an error");
    return awaited.value();
}

HttpOutcome fetch(const QString &address, const QString &trustedAuthority)
{
    return sent(HttpRequest("GET", address), trustedAuthority);
}

} // namespace

/// Which certificates are taken. They are made anew for every run.
class TestHttpTrust : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    /// A certificate NAME.pem with its key NAME.key.
    void make(const QString &name, const QString &alternativeName, const QStringList &more)
    {
        const QString path = m_folder.filePath(name);
        QStringList arguments{u"req"_s,    u"-x509"_s,       u"-newkey"_s,
                              u"ec"_s,     u"-pkeyopt"_s,    u"ec_paramgen_curve:prime256v1"_s,
                              u"-nodes"_s, u"-keyout"_s,     path + u".key"_s,
                              u"-out"_s,   path + u".pem"_s, u"-days"_s,
                              u"2"_s,      u"-subj"_s,       u"/CN="_s + name};
        if (!alternativeName.isEmpty())
            arguments << u"-addext"_s << u"subjectAltName="_s + alternativeName;
        QCOMPARE(QProcess::execute(u"openssl"_s, arguments + more), 0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QString own = u"DNS:localhost,IP:127.0.0.1"_s;
        make(u"authority"_s, {}, {});
        const QStringList signedByAuthority{u"-CA"_s, m_folder.filePath(u"authority.pem"_s),
                                            u"-CAkey"_s, m_folder.filePath(u"authority.key"_s)};
        make(u"good"_s, own, signedByAuthority);
        make(u"self-signed"_s, own, {});
        const QString inTime = m_folder.filePath(u"self-signed"_s);
        const QString expired = m_folder.filePath(u"expired"_s);
        const QStringList dated{
            u"x509"_s,  u"-in"_s, inTime + u".pem"_s, u"-out"_s, expired + u".pem"_s,
            u"-days"_s, u"-1"_s,  u"-set_serial"_s,   u"1"_s};
        QCOMPARE(QProcess::execute(u"openssl"_s, dated + signedByAuthority), 0);
        QVERIFY(QFile::copy(inTime + u".key"_s, expired + u".key"_s));
        make(u"other-host"_s, u"DNS:example.com,IP:127.0.0.2"_s, signedByAuthority);
    }

    void certificates_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("knowsAuthority");
        QTest::addColumn<bool>("isTaken");

        const auto row = [](const char *what, const QString &name, bool knows, bool isTaken) {
            QTest::addRow("%s, by name", what) << name << u"localhost"_s << knows << isTaken;
            QTest::addRow("%s, by address", what) << name << u"127.0.0.1"_s << knows << isTaken;
        };
        row("of a known authority", u"good"_s, true, true);
        row("of an unknown authority", u"good"_s, false, false);
        row("signed by itself", u"self-signed"_s, true, false);
        row("expired", u"expired"_s, true, false);
        row("for another host", u"other-host"_s, true, false);
    }

    void certificates()
    {
        QFETCH(QString, name);
        QFETCH(QString, host);
        QFETCH(bool, knowsAuthority);
        QFETCH(bool, isTaken);
        const TrustedServer server(m_folder.filePath(name));
        const HttpOutcome outcome =
            fetch(server.address(host),
                  knowsAuthority ? m_folder.filePath(u"authority.pem"_s) : QString());
        QCOMPARE(outcome.has_value(), isTaken);
        QCOMPARE(server.requests(), isTaken ? 1 : 0);
        if (!isTaken)
            QVERIFY2(outcome.error().kind() == Kind::untrusted,
                     qPrintable(outcome.error().description()));
    }

    void uploads_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("stored") << u"stored"_s << 200 << QByteArray(); // a success says nothing
        QTest::newRow("refused before its end") << u"refused"_s << 403 << QByteArray("no");
    }

    void uploads()
    {
        QFETCH(const QString, path);
        const TrustedServer server(m_folder.filePath(u"good"_s));
        QFile file(m_folder.filePath(u"recording.m4a"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(20'000'000));
        HttpRequest request("PUT", server.address(u"localhost"_s) + path);
        request.setBodyFile(file.fileName());

        const HttpOutcome outcome = sent(request, m_folder.filePath(u"authority.pem"_s));

        QVERIFY2(outcome, qPrintable(outcome ? QString() : outcome.error().description()));
        QTEST(outcome->status(), "status");
        QTEST(outcome->body(), "body");
        QCOMPARE(server.requests(), 1);
        QCOMPARE(server.bytesStored(), outcome->isSuccess() ? 20'000'000 : 0);
    }

    void serverWithoutTls()
    {
        std::atomic_bool sawSecret = false;
        const SocketServer server([&](ServedSocket socket) {
            sawSecret = socket.read(4096).contains("secret");
            socket.send("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        });
        const HttpOutcome outcome = fetch(u"https://127.0.0.1:%1/"_s.arg(server.port()), {});
        QVERIFY(!outcome);
        QVERIFY(outcome.error().kind() == Kind::noConnection);
        QVERIFY(!sawSecret);
    }
};

QTEST_GUILESS_MAIN(TestHttpTrust)
#include "test_http_trust.moc"
