#include "tools/localservice/LocalService.h"

#include "tools/localservice/Pages.h"
#include "tools/localservice/ServiceCall.h"

#include <QFile>
#include <QJsonArray>
#include <QUrl>
#include <QUrlQuery>

#include <array>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

/// The refusals of object storage are XML.
QByteArray storageRefusal(const QByteArray &code)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?><Error><Code>)" + code + "</Code></Error>";
}

constexpr std::array exchangeNames{
    "signUpload", "objectUpload",  "createMeeting", "reconcile",
    "identity",   "latestRelease", "signInPage",
};

} // namespace

LocalService::LocalService(const QString &folder)
    : m_store(folder)
{
    routeCalls();
    routePages();
}

LocalService::~LocalService()
{
    if (!m_thread.joinable())
        return;
    m_server.stopNow();
    m_thread.join();
}

bool LocalService::listen(int port)
{
    constexpr const char *host = "127.0.0.1";
    m_port = port;
    if (port == 0)
        m_port = m_server.bind_to_any_port(host);
    else if (!m_server.bind_to_port(host, port))
        return false;
    if (m_port < 0)
        return false;
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    while (!m_server.is_running())
        std::this_thread::yield();
    return true;
}

QString LocalService::origin() const
{
    return u"http://127.0.0.1:%1"_s.arg(m_port);
}

void LocalService::setLatestRelease(const QJsonObject &release)
{
    const std::scoped_lock lock(m_mutex);
    m_release = release;
}

void LocalService::misbehave(Exchange exchange, const Misbehaviour &misbehaviour, int times)
{
    const std::scoped_lock lock(m_mutex);
    m_faults.insert_or_assign(exchange, Fault{misbehaviour, times});
}

std::optional<LocalService::Exchange> LocalService::exchangeNamed(const QString &name)
{
    const auto found = std::ranges::find(exchangeNames, name.toStdString());
    if (found == exchangeNames.end())
        return std::nullopt;
    return static_cast<Exchange>(found - exchangeNames.begin());
}

void LocalService::routeCalls()
{
    route("POST", "/api/oss/sign-upload", Exchange::signUpload, &LocalService::signUpload);
    route("PUT", "/objects/([^/]+)", Exchange::objectUpload, &LocalService::storeObject);
    route("POST", "/api/meetings", Exchange::createMeeting, &LocalService::createMeeting);
    route("POST", "/api/meetings/reconcile", Exchange::reconcile, &LocalService::reconcile);
    route("GET", "/api/auth/me", Exchange::identity, &LocalService::identity);
    route("GET", "/api/release/latest", Exchange::latestRelease, &LocalService::latestRelease);
    route("GET", "/desktop-auth", Exchange::signInPage, &LocalService::signInPage);
    route("POST", "/desktop-auth", Exchange::signInPage, &LocalService::finishSignIn);
}

void LocalService::routePages()
{
    const auto page = [](httplib::Response &response, int status, const QByteArray &content) {
        response.status = status;
        response.set_content(content.toStdString(), "text/html; charset=utf-8");
    };
    m_server.Get("/", [page](const auto &, auto &response) { page(response, 200, Pages::home()); });
    m_server.Get("/app", [this, page](const auto &, auto &response) {
        page(response, 200, Pages::meetings(m_store.meetings()));
    });
    m_server.Get("/app/meetings/(.+)", [this, page](const auto &request, auto &response) {
        const auto meeting = m_store.meeting(text(request.matches[1]));
        if (meeting)
            page(response, 200, Pages::meeting(*meeting));
        else
            page(response, 404, Pages::problem(u"没有这个会议。"_s));
    });
    m_server.Get("/objects/([^/]+)",
                 [this](const auto &request, auto &response) { sendObject(request, response); });
}

void LocalService::route(const char *method, const char *pattern, Exchange exchange, Answer answer)
{
    const auto plain = [=, this](const httplib::Request &request, httplib::Response &response) {
        ServiceCall call(m_log, request, response);
        serve(exchange, call, answer);
    };
    const auto withBody = [=, this](const httplib::Request &request, httplib::Response &response,
                                    const httplib::ContentReader &reader) {
        ServiceCall call(m_log, request, response, &reader);
        serve(exchange, call, answer);
    };
    if (QByteArrayView(method) == "GET")
        m_server.Get(pattern, plain);
    else if (QByteArrayView(method) == "PUT")
        m_server.Put(pattern, withBody);
    else
        m_server.Post(pattern, withBody);
}

void LocalService::serve(Exchange exchange, ServiceCall &call, Answer answer)
{
    if (const auto misbehaviour = takeFault(exchange))
        fail(*misbehaviour, call, answer);
    else
        (this->*answer)(call);
}

std::optional<Misbehaviour> LocalService::takeFault(Exchange exchange)
{
    const std::scoped_lock lock(m_mutex);
    const auto found = m_faults.find(exchange);
    if (found == m_faults.end())
        return std::nullopt;
    Misbehaviour misbehaviour = found->second.misbehaviour;
    if (found->second.timesLeft == 1)
        m_faults.erase(found);
    else if (found->second.timesLeft > 1)
        --found->second.timesLeft;
    return misbehaviour;
}

void LocalService::fail(const Misbehaviour &misbehaviour, ServiceCall &call, Answer answer)
{
    Connection &connection = RawServer::connection();
    if (misbehaviour.doesWhatIsAsked())
        (this->*answer)(call);
    else
        call.readBody(misbehaviour.bodyBytesRead(), [](QByteArrayView) { return true; });

    if (!m_server.pause(misbehaviour.delay()) || misbehaviour.answersProperly())
        return;
    if (misbehaviour.byteInterval().count() == 0)
        connection.send(misbehaviour.raw());
    else
        for (const char &byte : misbehaviour.raw()) {
            if (!connection.send(QByteArrayView(&byte, 1)) ||
                !m_server.pause(misbehaviour.byteInterval()))
                break;
        }
    if (misbehaviour.resets())
        connection.reset();
    else
        connection.finish();
}

/// The account that the request belongs to; without one it is answered here.
std::optional<QString> LocalService::account(ServiceCall &call)
{
    const QString credential = text(call.request.get_header_value("Authorization"));
    const auto email =
        credential.startsWith("JWT "_L1) ? m_store.emailOf(credential.sliced(4)) : std::nullopt;
    if (!email) {
        // The body has to be read, or the connection ends in a reset.
        call.readJson();
        call.answer(401, {{u"message"_s, u"未登录"_s}});
    }
    return email;
}

void LocalService::signUpload(ServiceCall &call)
{
    if (!account(call))
        return;
    const QJsonObject request = call.readJson();
    if (!request[u"filename"_s].isString() || request[u"contentType"_s] != u"audio/mp4"_s) {
        call.answer(400, {{u"message"_s, u"filename 或 contentType 无效"_s}});
        return;
    }
    const ServiceStore::Place place = m_store.newPlace();
    const QString address = origin() + u"/objects/"_s + place.key;
    call.answer(200, {{u"uploadURL"_s, address + u"?signature="_s + place.signature},
                      {u"publicURL"_s, address},
                      {u"objectKey"_s, place.key}});
}

/// Straight to the disk; the object appears when it is whole.
void LocalService::storeObject(ServiceCall &call)
{
    const ServiceStore::Place place{.key = text(call.request.matches[1]),
                                    .signature = text(call.request.get_param_value("signature"))};
    if (call.request.get_header_value("Content-Type") != "audio/mp4" || !m_store.usePlace(place)) {
        call.answer(403, storageRefusal("SignatureDoesNotMatch"), "application/xml");
        call.readBody(-1, [](QByteArrayView) { return true; });
        return;
    }
    const QString path = m_store.objectPath(place.key);
    QFile part(path + u".part"_s);
    const bool isStored =
        part.open(QIODevice::WriteOnly) &&
        call.readBody(-1,
                      [&](QByteArrayView bytes) {
                          return part.write(bytes.data(), bytes.size()) == bytes.size();
                      }) &&
        part.flush() && part.rename(path);
    if (!isStored) {
        part.remove();
        call.answer(500, storageRefusal("IncompleteBody"), "application/xml");
        return;
    }
    call.response.status = 200;
}

void LocalService::createMeeting(ServiceCall &call)
{
    const auto email = account(call);
    if (!email)
        return;
    const QJsonObject request = call.readJson();
    const bool isComplete = request[u"title"_s].isString() && request[u"audioUrl"_s].isString() &&
                            request[u"durationSeconds"_s].isDouble() &&
                            request[u"clientRecordingId"_s].isString() &&
                            request[u"startedAt"_s].isString();
    if (!isComplete) {
        call.answer(400, {{u"message"_s, u"会议信息不完整"_s}});
        return;
    }
    call.answer(201, {{u"doc"_s, m_store.createMeeting(*email, request)}});
}

void LocalService::reconcile(ServiceCall &call)
{
    const auto email = account(call);
    if (!email)
        return;
    const QJsonArray recordings = call.readJson()[u"clientRecordingIds"_s].toArray();
    if (recordings.isEmpty())
        call.answer(400, {{u"message"_s, u"clientRecordingIds 不能为空"_s}});
    else
        call.answer(200, {{u"meetings"_s, m_store.meetingsOf(*email, recordings)}});
}

void LocalService::identity(ServiceCall &call)
{
    if (const auto email = account(call))
        call.answer(200, {{u"user"_s, QJsonObject{{u"id"_s, *email}, {u"email"_s, *email}}}});
}

void LocalService::latestRelease(ServiceCall &call)
{
    const std::scoped_lock lock(m_mutex);
    call.answer(200, m_release);
}

void LocalService::signInPage(ServiceCall &call)
{
    const QString state = text(call.request.get_param_value("state"));
    if (state.isEmpty())
        call.answerPage(400, Pages::problem(u"请从应用中开始登录。"_s));
    else
        call.answerPage(200, Pages::signIn(state));
}

void LocalService::finishSignIn(ServiceCall &call)
{
    QByteArray body;
    call.readBody(-1, [&](QByteArrayView bytes) {
        body.append(bytes);
        return body.size() < 64 * 1024;
    });
    const QUrlQuery form(QString::fromUtf8(body.replace('+', ' ')));
    const QString state = form.queryItemValue(u"state"_s, QUrl::FullyDecoded);
    const QString email = form.queryItemValue(u"email"_s, QUrl::FullyDecoded);
    if (state.isEmpty() || email.isEmpty()) {
        call.answerPage(400, Pages::problem(u"请填写邮箱，并从应用中开始登录。"_s));
        return;
    }
    const auto escaped = [](const QString &value) {
        return QString::fromLatin1(QUrl::toPercentEncoding(value));
    };
    const QString callback = u"parlovance://auth?token=%1&state=%2&email=%3"_s.arg(
        escaped(m_store.signIn(email)), escaped(state), escaped(email));
    call.answerPage(303, Pages::signedIn(callback));
    call.response.set_header("Location", callback.toStdString());
}

void LocalService::sendObject(const httplib::Request &request, httplib::Response &response)
{
    const auto file = std::make_shared<QFile>(m_store.objectPath(text(request.matches[1])));
    if (!file->open(QIODevice::ReadOnly)) {
        response.status = 404;
        return;
    }
    response.set_content_provider(
        static_cast<size_t>(file->size()), "audio/mp4",
        [file](size_t offset, size_t length, httplib::DataSink &sink) {
            constexpr size_t pieceBytes = 256 * 1024;
            file->seek(static_cast<qint64>(offset));
            const QByteArray piece = file->read(static_cast<qint64>(std::min(length, pieceBytes)));
            return !piece.isEmpty() &&
                   sink.write(piece.constData(), static_cast<size_t>(piece.size()));
        });
}
