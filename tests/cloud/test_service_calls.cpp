#include "cloud/ServiceReplies.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QString shown(const std::optional<QString> &text)
{
    return text.value_or(u"-"_s);
}

/// A failure in short: the case with status and body, or which kind of failure it was.
QString shown(const ServiceFailure &failure)
{
    struct Short {
        QString operator()(const UploadError &error) const
        {
            const QStringList cases{u"signFailed"_s,  u"ossPutFailed"_s, u"createMeetingFailed"_s,
                                    u"notLoggedIn"_s, u"unauthorized"_s, u"invalidResponse"_s};
            const QString &name = cases.at(static_cast<int>(error.kind()));
            return error.status() == 0
                       ? name
                       : u"%1 %2 %3"_s.arg(name, QString::number(error.status()), error.body());
        }
        QString operator()(const TransportError &) const { return u"transport"_s; }
        QString operator()(const DecodingError &) const { return u"undecodable"_s; }
        QString operator()(const Error &) const { return u"configuration"_s; }
    };
    return std::visit(Short(), failure.cause());
}

QString shown(const QList<ReconciledMeeting> &meetings)
{
    QStringList list;
    for (const ReconciledMeeting &meeting : meetings)
        list.append(meeting.id + u'/' + meeting.clientRecordingId + u'/' + shown(meeting.status));
    return u"meetings "_s + list.join(u' ');
}

/// What each exchange makes of one answer.
QString classified(const QString &exchange, const HttpOutcome &outcome)
{
    if (exchange == "sign"_L1) {
        const auto result = ServiceReplies::signUpload(outcome);
        return result ? result->uploadURL + u' ' + result->publicURL + u' ' + result->objectKey
                      : shown(result.error());
    }
    if (exchange == "put"_L1) {
        const auto result = ServiceReplies::objectUpload(outcome);
        return result ? u"stored"_s : shown(result.error());
    }
    if (exchange == "create"_L1) {
        const auto result = ServiceReplies::createMeeting(outcome);
        return result ? u"id "_s + *result : shown(result.error());
    }
    const auto result = ServiceReplies::reconcile(outcome);
    return result ? shown(*result) : shown(result.error());
}

QByteArray nested(int depth)
{
    return QByteArray("[").repeated(depth) + QByteArray("]").repeated(depth);
}
} // namespace

class ServiceCallsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classification_data();
    void classification();
    void longBodyIsCutWhereACharacterEnds();

private:
    void signRows();
    void putRows();
    void createRows();
    void reconcileRows();
};

void ServiceCallsTest::classification_data()
{
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");

    signRows();
    putRows();
    createRows();
    reconcileRows();
}

void ServiceCallsTest::signRows()
{
    const auto row = [](const char *name, int status, const QByteArray &body,
                        const QString &expected) {
        QTest::addRow("sign: %s", name) << u"sign"_s << status << body << expected;
    };
    const QByteArray whole = R"({"uploadURL":"u","publicURL":"p","objectKey":"k","more":[1]})";
    row("200", 200, whole, u"u p k"_s);
    row("299", 299, whole, u"u p k"_s);
    row("204 without body", 204, "", u"undecodable"_s);
    row("199", 199, whole, u"signFailed 199 "_s + QString::fromLatin1(whole));
    row("no key", 200, R"({"uploadURL":"u","publicURL":"p"})", u"undecodable"_s);
    row("key null", 200, R"({"uploadURL":"u","publicURL":"p","objectKey":null})", u"undecodable"_s);
    row("key a number", 200, R"({"uploadURL":"u","publicURL":"p","objectKey":1})",
        u"undecodable"_s);
    row("garbage behind", 200, whole + "x", u"undecodable"_s);
    row("not UTF-8", 200, "{\"uploadURL\":\"\xff\",\"publicURL\":\"p\",\"objectKey\":\"k\"}",
        u"undecodable"_s);
    row("half a pair", 200, R"({"uploadURL":"\ud800","publicURL":"p","objectKey":"k"})",
        u"undecodable"_s);
    row("twice", 200, R"({"uploadURL":"u","uploadURL":1,"publicURL":"p","objectKey":"k"})",
        u"u p k"_s);
    row("numbers beyond all in members", 200,
        whole.chopped(1) + R"(,"x":[1e999,-9223372036854775809,0.1e-999],"9e999":{"y":)" +
            QByteArray(5000, '9') + "}}",
        u"u p k"_s);
    row("beside a broken one", 200, whole.chopped(1) + R"(,"x":1e999,"y":01e999})",
        u"undecodable"_s);
    row("key beyond all", 200, R"({"uploadURL":"u","publicURL":"p","objectKey":1e999})",
        u"undecodable"_s);
    row("half a pair in a member", 200, whole.chopped(1) + R"(,"x":"\ud800"})", u"undecodable"_s);
    row("too deep in a member", 200, whole.chopped(1) + ",\"x\":" + nested(100'000) + "}",
        u"undecodable"_s);
}

void ServiceCallsTest::putRows()
{
    const auto row = [](const char *name, int status, const QByteArray &body,
                        const QString &expected) {
        QTest::addRow("put: %s", name) << u"put"_s << status << body << expected;
    };
    row("200, any body", 200, "\xff{", u"stored"_s);
    row("204", 204, "", u"stored"_s);
    row("307", 307, "", u"ossPutFailed 307 "_s);
}

void ServiceCallsTest::createRows()
{
    const auto row = [](const char *name, int status, const QByteArray &body,
                        const QString &expected) {
        QTest::addRow("create: %s", name) << u"create"_s << status << body << expected;
    };
    const auto invalid = u"invalidResponse"_s;
    row("in doc", 201, R"({"id":"b2","doc":{"id":"a1"}})", u"id a1"_s);
    row("doc a string", 200, R"({"id":"b2","doc":"x"})", u"id b2"_s);
    row("doc null", 200, R"({"id":"b2","doc":null})", u"id b2"_s);
    row("doc without id", 200, R"({"id":"b2","doc":{}})", invalid);
    row("integer", 200, R"({"id":42})", u"id 42"_s);
    row("integer in doc", 200, R"({"doc":{"id":-7}})", u"id -7"_s);
    row("beyond doubles", 200, R"({"id":9007199254740993})", u"id 9007199254740993"_s);
    row("64 bits", 200, R"({"id":9223372036854775807})", u"id 9223372036854775807"_s);
    row("beyond 64 bits", 200, R"({"id":9223372036854775808})", invalid);
    row("beyond all", 200, R"({"id":1e999})", invalid);
    row("fraction", 200, R"({"id":4.5})", invalid);
    row("null", 200, R"({"id":null})", invalid);
    row("boolean", 200, R"({"id":true})", invalid);
    row("half a pair", 200, R"({"id":"\udc00"})", invalid);
    row("1 KiB", 200, R"({"id":")" + QByteArray(1024, 'a') + "\"}", u"id "_s + QString(1024, u'a'));
    row("longer", 200, R"({"id":")" + QByteArray(1025, 'a') + "\"}", invalid);
    row("empty object", 200, "{}", invalid);
    row("array", 200, R"([{"id":"a"}])", invalid);
    row("no body", 204, "", invalid);
}

void ServiceCallsTest::reconcileRows()
{
    const auto row = [](const char *name, int status, const QByteArray &body,
                        const QString &expected) {
        QTest::addRow("reconcile: %s", name) << u"reconcile"_s << status << body << expected;
    };
    const auto undecodable = u"undecodable"_s;
    row("none", 200, R"({"meetings":[]})", u"meetings "_s);
    row("in order", 200,
        R"({"meetings":[{"id":"2","clientRecordingId":"b","status":"done"},)"
        R"({"id":"1","clientRecordingId":"a","status":null},{"id":"","clientRecordingId":""}]})",
        u"meetings 2/b/done 1/a/- //-"_s);
    row("one without client identifier", 200,
        R"({"meetings":[{"id":"1","clientRecordingId":"a"},{"id":"2"}]})", undecodable);
    row("identifier a number", 200, R"({"meetings":[{"id":1,"clientRecordingId":"a"}]})",
        undecodable);
    row("status a number", 200, R"({"meetings":[{"id":"1","clientRecordingId":"a","status":1}]})",
        undecodable);
    row("identifier over 1 KiB", 200,
        R"({"meetings":[{"id":")" + QByteArray(1025, 'a') + R"(","clientRecordingId":"a"}]})",
        undecodable);
    row("one null", 200, R"({"meetings":[null]})", undecodable);
    row("meetings absent", 200, "{}", undecodable);
}

void ServiceCallsTest::classification()
{
    QFETCH(const QString, exchange);
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    const auto outcome = HttpOutcome(HttpReply(status, body));
    QTEST(classified(exchange, outcome), "expected");
}

void ServiceCallsTest::longBodyIsCutWhereACharacterEnds()
{
    // One letter under megabytes of marks.
    const QString body = u"a"_s + u"\U0001E94A"_s.repeated(4'000'000);

    const QString message = UploadError(UploadError::Case::signFailed, 500, body).description();

    QVERIFY(message.size() < 10'000);
    QVERIFY(message.isValidUtf16());
}

QTEST_GUILESS_MAIN(ServiceCallsTest)
#include "test_service_calls.moc"
