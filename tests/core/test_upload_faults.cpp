#include "tests/support/UploadStage.h"
#include "tools/localservice/SocketServer.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Exchange = LocalService::Exchange;
using Kind = TransportError::Kind;

namespace
{
/// One step of an upload, in the order in which they are made.
struct Step {
    Exchange exchange;
    QString name;
    QString failure; ///< how its message begins when the service answers with a failure
};

const QList<Step> chain{
    {Exchange::reconcile, u"reconcile"_s, u"创建会议记录失败 (HTTP %1)："_s},
    {Exchange::signUpload, u"sign"_s, u"获取签名 URL 失败 (HTTP %1)："_s},
    {Exchange::objectUpload, u"put"_s, u"上传到 OSS 失败 (HTTP %1)："_s},
    {Exchange::createMeeting, u"create"_s, u"创建会议记录失败 (HTTP %1)："_s},
};

const auto unusable = u"服务器返回异常"_s;
const auto undecodable = u"服务器的回复无法解析：…"_s;
constexpr qsizetype recordingBytes = 1'000'000;

/// The sentence, and whatever technical text comes behind it.
QString sentence(Kind kind)
{
    return TransportError(kind, QString()).description() + u"（…"_s;
}

QStringList callsUpTo(qsizetype step)
{
    QStringList calls;
    for (qsizetype i = 0; i <= step; ++i)
        calls.append(chain.at(i).name + u" 1"_s);
    return calls;
}

void addRow(qsizetype step, const char *fault, const Misbehaviour &misbehaviour,
            const QString &message)
{
    QTest::addRow("%s: %s", qPrintable(chain.at(step).name), fault)
        << step << misbehaviour << message;
}

/// What goes wrong on the way, whatever was asked.
void addTransportFaults(qsizetype step)
{
    addRow(step, "reset", Misbehaviour::closed(-1), sentence(Kind::brokenReply));
    addRow(step, "silence", Misbehaviour::late(60s), sentence(Kind::timedOut));
    addRow(step, "cut off in the head", Misbehaviour::bytes("HTTP/1.1 200 O"),
           sentence(Kind::brokenReply));
    // A store that says it has the file has it, however its text ends.
    if (chain.at(step).exchange != Exchange::objectUpload) {
        addRow(step, "cut off in the body", Misbehaviour::cutOff(R"({"meetings":[]})", 5),
               sentence(Kind::brokenReply));
    }
    addRow(step, "not HTTP", Misbehaviour::bytes("\x16\x03\x01garbage\r\n\r\n"),
           sentence(Kind::brokenReply));
    addRow(step, "done, but the reply is lost", Misbehaviour::replyLost(),
           sentence(Kind::brokenReply));
}

void addRefusals(qsizetype step)
{
    const QString &failure = chain.at(step).failure;
    addRow(step, "503", Misbehaviour::answered(503, "busy"), failure.arg(503) + u"busy"_s);
    addRow(step, "403, long text", Misbehaviour::answered(403, QByteArray("界").repeated(121)),
           failure.arg(403) + u"界"_s.repeated(120));
    addRow(step, "500, not UTF-8", Misbehaviour::answered(500, "a\xff"), failure.arg(500));
    // Where it leads nobody answers.
    addRow(step, "302", Misbehaviour::redirected(302, "http://127.0.0.1:9/x"), failure.arg(302));
}

/// Success by its status, but not by what it says. A stored object's reply is not read.
void addWrongReplies(qsizetype step, const QByteArray &wrongType, const QString &message)
{
    addRow(step, "wrong type", Misbehaviour::answered(200, wrongType), message);
    addRow(step, "not UTF-8", Misbehaviour::answered(200, "{\"a\":\"\xff\"}"), message);
    addRow(step, "too long", Misbehaviour::oversized(9'000'000), message);
    addRow(step, "too deep", Misbehaviour::answered(200, QByteArray(100'000, '[')), message);
}
} // namespace

/// Uploads through a service that fails in every way at every step: what the list says, what is
/// kept, and that the next attempt makes the one meeting.
class UploadFaultsTest : public QObject
{
    Q_OBJECT

private:
    static void verifyFailed(const UploadStage &stage, const RecentSession &recording,
                             const QString &message);
    static void verifyRetry(UploadStage &stage);

private Q_SLOTS:
    void fault_data();
    void fault();
    void cutOffWhileTheFileIsSent();
    void noConnectionToTheStore();
};

/// One failed upload that touched nothing else.
void UploadFaultsTest::verifyFailed(const UploadStage &stage, const RecentSession &recording,
                                    const QString &message)
{
    const QString shown = stage.app->recents().first().uploadProgress.value_or(QString());
    RecentSession expected = recording;
    expected.status = RecentSession::Status::failed;
    expected.uploadProgress = shown;
    QVERIFY(stage.app->recents() == QList{expected});
    QVERIFY(stage.storedList() == stage.app->recents());
    if (message.endsWith(u'…'))
        QVERIFY2(shown.startsWith(message.chopped(1)), qPrintable(shown));
    else
        QCOMPARE(shown, message);
    QVERIFY(!shown.contains(stage.token));
    QVERIFY(!shown.contains(u"signature="));

    QCOMPARE(stage.app->lastError(), std::nullopt);
    QVERIFY(stage.auth->isLoggedIn());
    QCOMPARE(QFileInfo(recording.fileURL->toLocalFile()).size(), recordingBytes);
}

void UploadFaultsTest::verifyRetry(UploadStage &stage)
{
    stage.app->retryUpload(stage.id());
    QVERIFY(stage.shown().first().startsWith(u"processing | 上传中 | "));
    stage.waitUntilIdle();
    const QString meeting = stage.meetingOf(u"mac-file-a"_s);
    QCOMPARE(stage.shown(), QStringList(u"ready | - | "_s + meeting));
    QVERIFY(stage.storedList() == stage.app->recents());
    QCOMPARE(stage.objectOf(meeting), QByteArray(recordingBytes, 'a'));
    QCOMPARE(stage.service->store().meetings().size(), 1);
}

void UploadFaultsTest::fault_data()
{
    QTest::addColumn<qsizetype>("step");
    QTest::addColumn<Misbehaviour>("misbehaviour");
    QTest::addColumn<QString>("message"); // an ellipsis at its end stands for anything
    for (qsizetype step = 0; step < chain.size(); ++step) {
        addTransportFaults(step);
        addRefusals(step);
    }
    addWrongReplies(0, R"({"meetings":{}})", undecodable);
    addRow(0, "one meeting without identifier",
           Misbehaviour::answered(200, R"({"meetings":[{"clientRecordingId":"mac-file-a"}]})"),
           undecodable);
    addWrongReplies(1, R"({"uploadURL":1,"publicURL":"","objectKey":""})", undecodable);
    addRow(1, "address of a file",
           Misbehaviour::answered(200,
                                  R"({"uploadURL":"file:///tmp/x","publicURL":"","objectKey":""})"),
           unusable);
    addRow(2, "401", Misbehaviour::answered(401, "no"), u"上传到 OSS 失败 (HTTP 401)：no"_s);
    addWrongReplies(3, R"({"doc":{"id":4.5}})", unusable);
}

void UploadFaultsTest::fault()
{
    QFETCH(const qsizetype, step);
    QFETCH(const Misbehaviour, misbehaviour);
    QFETCH(const QString, message);
    UploadStage stage;
    const RecentSession recording = stage.recording(u"a"_s, recordingBytes);
    stage.start({recording});
    stage.service->misbehave(chain.at(step).exchange, misbehaviour, 1);

    stage.app->startUpload(recording.id);
    stage.waitUntilIdle();

    verifyFailed(stage, recording, message);
    QCOMPARE(stage.script.calls, callsUpTo(step));
    verifyRetry(stage);
    QVERIFY(!stage.rig.log.take().join(u'\n').contains(stage.token));
}

void UploadFaultsTest::cutOffWhileTheFileIsSent()
{
    UploadStage stage;
    const RecentSession recording = stage.recording(u"a"_s, recordingBytes);
    stage.start({recording});
    stage.service->misbehave(Exchange::objectUpload, Misbehaviour::closed(recordingBytes / 2), 1);

    stage.app->startUpload(recording.id);
    stage.waitUntilIdle();

    verifyFailed(stage, recording, sentence(Kind::brokenReply));
    verifyRetry(stage);
}

void UploadFaultsTest::noConnectionToTheStore()
{
    const QString closed = SocketServer([](ServedSocket) {}).origin();
    UploadStage stage;
    const RecentSession recording = stage.recording(u"a"_s, recordingBytes);
    stage.start({recording});
    const QString reply =
        uR"({"uploadURL":"%1/x?signature=s","publicURL":"p","objectKey":"k"})"_s.arg(closed);
    stage.service->misbehave(Exchange::signUpload, Misbehaviour::answered(200, reply.toUtf8()), 1);

    stage.app->startUpload(recording.id);
    stage.waitUntilIdle();

    verifyFailed(stage, recording, sentence(Kind::noConnection));
    verifyRetry(stage);
}

QTEST_GUILESS_MAIN(UploadFaultsTest)
#include "test_upload_faults.moc"
