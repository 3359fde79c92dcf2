#include "cloud/MediaUploader.h"
#include "tests/support/FakeHttpSession.h"
#include "tests/support/LogCapture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const auto reconcileStep = u"POST /api/meetings/reconcile"_s;
const auto signStep = u"POST /api/oss/sign-upload"_s;
const auto putStep = u"PUT /bucket/key?sig=credential"_s;
const auto createStep = u"POST /api/meetings"_s;
const QStringList wholeChain{reconcileStep, signStep, putStep, createStep};

const auto token = u"token-secret"_s;

UploadRequest recording()
{
    return {.fileURL = QUrl::fromLocalFile(u"/r/rec 1#%.m4a"_s),
            .title = u"周会"_s,
            .durationSeconds = 75,
            .startedAt = QDateTime::fromMSecsSinceEpoch(1'741'944'413'589).toUTC(),
            .clientRecordingId = u"mac-file-rec 1#%"_s};
}

/// A service at which everything goes well and nothing is known.
class Service
{
public:
    Service()
    {
        http.answer(reconcileStep, 200, R"({"meetings":[]})");
        http.answer(signStep, 200, signReply("https://o.example/bucket/key?sig=credential"));
        http.answer(putStep, 200);
        http.answer(createStep, 201, R"({"doc":{"id":7}})");
    }

    static QByteArray signReply(const QByteArray &uploadURL)
    {
        return R"({"uploadURL":")" + uploadURL +
               R"(","publicURL":"https://o.example/public","objectKey":"bucket/key)" +
               QByteArray(100'000, 'k') + R"("})";
    }

    /// "id audioUrl", or the message.
    QString uploaded(const UploadRequest &request) const
    {
        const auto result = QCoro::waitFor(uploader.upload(request, token));
        return result ? result->id + u' ' + result->audioUrl : result.error().description();
    }

    QJsonObject sent(qsizetype position) const
    {
        return QJsonDocument::fromJson(http.requests.at(position).body()).object();
    }

    Script script;
    FakeHttpSession http{script};
    MediaUploader uploader{ServiceOrigin::parse(u"https://s.example"_s), http};
    LogCapture log;
};
} // namespace

class MediaUploaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knownRecordingIsNotSentAgain();
    void unusableAddressGetsNothing_data();
    void unusableAddressGetsNothing();
    void tokenStaysInItsHeaderAndLogsAreShort();
};

void MediaUploaderTest::knownRecordingIsNotSentAgain()
{
    Service service;
    service.http.answer(reconcileStep, 200,
                        R"({"meetings":[{"id":"m2","clientRecordingId":"other"},)"
                        R"({"id":"m1","clientRecordingId":"mac-file-rec 1#%"}]})");

    QCOMPARE(service.uploaded(recording()), u"m2 "_s);

    QCOMPARE(service.script.calls, QStringList(reconcileStep));
    QCOMPARE(service.log.take(), QStringList(u"info upload: meeting already exists id=m2"_s));
}

void MediaUploaderTest::unusableAddressGetsNothing_data()
{
    QTest::addColumn<QByteArray>("address");

    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("a file") << QByteArray("file:///r/rec 1.m4a");
    QTest::newRow("not encrypted") << QByteArray("http://o.example/k");
    QTest::newRow("this machine") << QByteArray("http://127.0.0.1/k");
    QTest::newRow("header in it") << QByteArray(R"(https://o.example/k\r\nA: b)");
}

void MediaUploaderTest::unusableAddressGetsNothing()
{
    QFETCH(const QByteArray, address);
    Service service;
    service.http.answer(signStep, 200, Service::signReply(address));

    QCOMPARE(service.uploaded(recording()), u"服务器返回异常"_s);

    QCOMPARE(service.script.calls, wholeChain.first(2));
}

void MediaUploaderTest::tokenStaysInItsHeaderAndLogsAreShort()
{
    Service service;
    QString seen = service.uploaded(recording());
    for (const QString &step : wholeChain) {
        service.http.answer(step, 500, "x");
        seen += service.uploaded(recording());
    }
    seen += service.log.take().join(u'\n');

    QVERIFY(seen.size() < 10'000);
    QVERIFY(!seen.contains(token));
    for (const HttpRequest &request : std::as_const(service.http.requests)) {
        QVERIFY(!request.address().contains(token));
        QVERIFY(!request.body().contains(token.toLatin1()));
        QCOMPARE(request.headers().first().name == "Authorization", request.method() != "PUT");
    }
}

QTEST_GUILESS_MAIN(MediaUploaderTest)
#include "test_media_uploader.moc"
