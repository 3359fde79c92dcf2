#include "platform/linux/network/CurlHttpSession.h"
#include "tests/support/Awaited.h"
#include "tools/localservice/SocketServer.h"

#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>

using namespace Qt::StringLiterals;
using Kind = TransportError::Kind;

namespace
{

constexpr qint64 uploadBytes = 20'000'000;

/// Refuses every upload by its head and closes at once. Argument: its certificate.
const auto refusingServer = uR"(
import socket, ssl, sys
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(sys.argv[1] + '.pem', sys.argv[1] + '.key')
listener = socket.create_server(('127.0.0.1', 0))
print(listener.getsockname()[1], flush=True)
while True:
    with context.wrap_socket(listener.accept()[0], server_side=True) as connection:
        connection.recv(1)
        connection.sendall(b'HTTP/1.1 403 No\r\nContent-Length: 2\r\n\r\nno')
)"_s;

/// A real TLS server with a certificate, for one connection; counts what got through to it.
class TrustedServer
{
public:
    explicit TrustedServer(const QString &name)
    {
        QFile key(name + u".key"_s);
        if (!key.open(QIODevice::ReadOnly) || !m_server.listen(QHostAddress::LocalHost))
            qFatal("no TLS server");
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificateChain(QSslCertificate::fromPath(name + u".pem"_s));
        configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
        m_server.setSslConfiguration(configuration);
        QObject::connect(&m_server, &QTcpServer::pendingConnectionAvailable, &m_server, [this] {
            m_socket = m_server.nextPendingConnection();
            QObject::connect(m_socket, &QIODevice::readyRead, &m_server, [this] { serve(); });
        });
    }

    QString address(const QString &host) const
    {
        return u"https://%1:%2/"_s.arg(host).arg(m_server.serverPort());
    }
    int requests() const { return m_requests; }
    qint64 bytesStored() const { return m_bytesStored; }

private:
    void serve()
    {
        while (!m_head.endsWith("\r\n\r\n")) {
            if (!m_socket->canReadLine())
                return;
            m_head += m_socket->readLine();
        }
        const bool isStored = m_head.startsWith("PUT /stored");
        if (isStored)
            m_bytesStored += m_socket->readAll().size();
        if (isStored && m_bytesStored < uploadBytes)
            return;
        ++m_requests;
        QObject::disconnect(m_socket, nullptr, &m_server, nullptr);
        m_socket->write("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nthanks");
        m_socket->disconnectFromHost();
    }

    QSslServer m_server;
    QTcpSocket *m_socket = nullptr;
    QByteArray m_head;
    int m_requests = 0;
    qint64 m_bytesStored = 0;
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

    /// The certificate NAME again as expired.pem, signed by the authority.
    void expire(const QString &name)
    {
        QFile settings(m_folder.filePath(u"settings"_s));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        settings.write("[ca]\ndefault_ca=own\n[own]\nrand_serial=yes\ndefault_md=sha256\n"
                       "database=index\nnew_certs_dir=.\npolicy=any\ncopy_extensions=copy\n"
                       "[any]\ncommonName=supplied\n");
        settings.close();
        QVERIFY(QFile(m_folder.filePath(u"index"_s)).open(QIODevice::WriteOnly));
        QProcess openssl;
        openssl.setWorkingDirectory(m_folder.path());
        // The only command of it that takes dates of the past in each of its versions.
        openssl.start(u"openssl"_s,
                      {u"ca"_s, u"-batch"_s, u"-config"_s, u"settings"_s, u"-ss_cert"_s,
                       name + u".pem"_s, u"-cert"_s, u"authority.pem"_s, u"-keyfile"_s,
                       u"authority.key"_s, u"-startdate"_s, u"20200101000000Z"_s, u"-enddate"_s,
                       u"20200201000000Z"_s, u"-notext"_s, u"-out"_s, u"expired.pem"_s});
        QVERIFY(openssl.waitForFinished());
        QVERIFY2(openssl.exitCode() == 0, openssl.readAllStandardError().constData());
        QVERIFY(
            QFile::copy(m_folder.filePath(name + u".key"_s), m_folder.filePath(u"expired.key"_s)));
    }

    HttpRequest upload(const QString &address)
    {
        QFile file(m_folder.filePath(u"recording.m4a"_s));
        if (!file.open(QIODevice::WriteOnly) || !file.resize(uploadBytes))
            qFatal("no test file");
        HttpRequest request("PUT", address);
        request.setBodyFile(file.fileName());
        return request;
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
        expire(u"self-signed"_s);
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

    void uploadIsStored()
    {
        const TrustedServer server(m_folder.filePath(u"good"_s));
        const HttpOutcome outcome = sent(upload(server.address(u"localhost"_s) + u"stored"_s),
                                         m_folder.filePath(u"authority.pem"_s));
        QVERIFY2(outcome, qPrintable(outcome ? QString() : outcome.error().description()));
        QCOMPARE(outcome->status(), 200);
        QCOMPARE(outcome->body(), ""); // a success says nothing
        QCOMPARE(server.requests(), 1);
        QCOMPARE(server.bytesStored(), uploadBytes);
    }

    void earlyRefusalOfAnUpload()
    {
        QProcess server;
        server.start(u"python3"_s, {u"-c"_s, refusingServer, m_folder.filePath(u"good"_s)});
        QVERIFY(server.waitForReadyRead());
        const QString port = QString::fromLatin1(server.readLine().trimmed());
        int heard = 0;
        for (int i = 0; i < 20; ++i) {
            const HttpOutcome outcome = sent(upload(u"https://localhost:%1/"_s.arg(port)),
                                             m_folder.filePath(u"authority.pem"_s));
            heard += outcome && outcome->status() == 403 && outcome->body() == "no" ? 1 : 0;
        }
        server.kill();
        server.waitForFinished();
        QCOMPARE(heard, 20);
    }
};

QTEST_GUILESS_MAIN(TestHttpTrust)
#include "test_http_trust.moc"
