#include "tools/localservice/LocalService.h"

#include "tools/localservice/Pages.h"
#include "tools/localservice/ServiceCall.h"

#include <QFile>
#include <QJsonArray>
#include <QUrlQuery>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// The refusals of object storage are XML.
QByteArray storageRefusal(const QByteArray &code)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?><Error><Code>)" + code + "</Code></Error>";
}

/// What the cookie of a browser that has signed in begins with; a token comes behind it.
const QByteArray pageSession = "session=";

constexpr std::array exchangeNames{
    "signUpload", "objectUpload",  "createMeeting", "reconcile",
    "identity",   "latestRelease", "signInPage",
};

} // namespace

LocalService::LocalService(const QString &folder)
    : m_store(folder)
{
}

bool LocalService::listen(int port)
{
    m_server = std::make_unique<SocketServer>(
        [this](ServedSocket socket) { serve(ServiceCall(socket, m_log)); }, port);
    return m_server->port() > 0;
}

QString LocalService::origin() const
{
    return m_server->origin();
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

const std::array<LocalService::Route, 12> LocalService::routes{{
    {"POST", "/api/oss/sign-upload", Exchange::signUpload, &LocalService::signUpload},
    {"PUT", "/objects/*", Exchange::objectUpload, &LocalService::storeObject},
    {"POST", "/api/meetings", Exchange::createMeeting, &LocalService::createMeeting},
    {"POST", "/api/meetings/reconcile", Exchange::reconcile, &LocalService::reconcile},
    {"GET", "/api/auth/me", Exchange::identity, &LocalService::identity},
    {"GET", "/api/release/latest", Exchange::latestRelease, &LocalService::latestRelease},
    {"GET", "/desktop-auth", Exchange::signInPage, &LocalService::signInPage},
    {"POST", "/desktop-auth", Exchange::signInPage, &LocalService::finishSignIn},
    {"GET", "/", std::nullopt, &LocalService::homePage},
    {"GET", "/app", std::nullopt, &LocalService::meetingsPage},
    {"GET", "/app/meetings/*", std::nullopt, &LocalService::meetingPage},
    {"GET", "/objects/*", std::nullopt, &LocalService::sendObject},
}};

void LocalService::serve(ServiceCall call)
{
    if (!isOwnHost(call.header("Host"))) {
        call.answerPage(421, Pages::problem(u"这个地址不属于本机服务。"_s));
        return call.sendAnswer();
    }
    const QString path = call.path();
    const QString anyName = path.chopped(call.name().size()) + u'*';
    const auto *const route = std::ranges::find_if(routes, [&](const Route &candidate) {
        return call.method() == candidate.method && (path == QLatin1StringView(candidate.path) ||
                                                     anyName == QLatin1StringView(candidate.path));
    });
    const bool isKnown = route != routes.end();
    if (const auto fault = isKnown ? takeFault(route->exchange) : std::nullopt)
        return fail(*fault, call, *route);
    if (isKnown)
        (this->*route->answer)(call);
    else
        call.answerPage(404, Pages::problem(u"没有这个页面。"_s));
    call.sendAnswer();
}

std::optional<Misbehaviour> LocalService::takeFault(std::optional<Exchange> exchange)
{
    const std::scoped_lock lock(m_mutex);
    const auto found = exchange ? m_faults.find(*exchange) : m_faults.end();
    if (found == m_faults.end())
        return std::nullopt;
    Misbehaviour misbehaviour = found->second.misbehaviour;
    if (found->second.timesLeft == 1)
        m_faults.erase(found);
    else if (found->second.timesLeft > 1)
        --found->second.timesLeft;
    return misbehaviour;
}

void LocalService::fail(const Misbehaviour &misbehaviour, ServiceCall &call, const Route &route)
{
    if (misbehaviour.doesWhatIsAsked())
        (this->*route.answer)(call);
    call.readBody(misbehaviour.bodyBytesRead(), [](QByteArrayView) { return true; });

    ServedSocket &socket = call.socket();
    if (!socket.pause(misbehaviour.delay()))
        return;
    if (misbehaviour.answersProperly())
        return call.sendAnswer();
    if (misbehaviour.resets())
        return socket.resetAtClose();
    if (misbehaviour.byteInterval().count() == 0)
        socket.send(misbehaviour.raw());
    else
        socket.drip(misbehaviour.raw(), misbehaviour.byteInterval());
    socket.finish();
}

/// The account that the request belongs to; without one it is answered here.
std::optional<QString> LocalService::account(ServiceCall &call)
{
    const QString credential = QString::fromLatin1(call.header("Authorization"));
    const auto email =
        credential.startsWith("JWT "_L1) ? m_store.emailOf(credential.sliced(4)) : std::nullopt;
    if (!email)
        call.answer(401, {{u"message"_s, u"未登录"_s}});
    return email;
}

bool LocalService::isOwnHost(const QByteArray &host) const
{
    const QByteArray port = ':' + QByteArray::number(m_server->port());
    return host == "127.0.0.1" + port || host == "localhost" + port;
}

/// The account that was signed in with in this browser; without one the page is answered here.
std::optional<QString> LocalService::visitor(ServiceCall &call)
{
    for (const QByteArray &cookie : call.header("Cookie").split(';')) {
        const QByteArray pair = cookie.trimmed();
        const auto email = pair.startsWith(pageSession)
                               ? m_store.emailOf(QString::fromLatin1(pair.mid(pageSession.size())))
                               : std::nullopt;
        if (email)
            return email;
    }
    call.answerPage(401, Pages::problem(u"请先从应用中登录。"_s));
    return std::nullopt;
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
    const QString address =
        u"http://%1/objects/%2"_s.arg(QLatin1StringView(call.header("Host")), place.key);
    call.answer(200, {{u"uploadURL"_s, address + u"?signature="_s + place.signature},
                      {u"publicURL"_s, address},
                      {u"objectKey"_s, place.key}});
}

/// Straight to the disk; the object appears when it is whole.
void LocalService::storeObject(ServiceCall &call)
{
    const ServiceStore::Place place{.key = call.name(),
                                    .signature = call.parameter(u"signature"_s)};
    if (call.header("Content-Type") != "audio/mp4" || !m_store.usePlace(place)) {
        call.answer(403, storageRefusal("SignatureDoesNotMatch"), "application/xml");
        return;
    }
    const QString path = m_store.objectPath(place.key);
    QFile part(path + u".part"_s);
    const bool isStored =
        part.open(QIODevice::WriteOnly, ServiceStore::privateFile) &&
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
    call.answer(200, {}, "text/plain");
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
    const QString state = call.parameter(u"state"_s);
    if (state.isEmpty())
        call.answerPage(400, Pages::problem(u"请从应用中开始登录。"_s));
    else
        call.answerPage(200, Pages::signIn(state));
}

void LocalService::finishSignIn(ServiceCall &call)
{
    const QUrlQuery form(QString::fromUtf8(call.readText().replace('+', ' ')));
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
    const QByteArray cookie =
        pageSession + m_store.signIn(email).toLatin1() + "; Path=/; HttpOnly; SameSite=Strict";
    call.answerPage(303, Pages::signedIn(callback),
                    "Location: " + callback.toUtf8() + "\r\nSet-Cookie: " + cookie + "\r\n");
}

void LocalService::homePage(ServiceCall &call)
{
    call.answerPage(200, Pages::home());
}

void LocalService::meetingsPage(ServiceCall &call)
{
    if (const auto email = visitor(call))
        call.answerPage(200, Pages::meetings(m_store.meetings(*email)));
}

void LocalService::meetingPage(ServiceCall &call)
{
    const auto email = visitor(call);
    if (!email)
        return;
    const auto meeting = m_store.meeting(call.name());
    if (meeting && (*meeting)[u"account"_s] == *email)
        call.answerPage(200, Pages::meeting(*meeting));
    else
        call.answerPage(404, Pages::problem(u"没有这个会议。"_s));
}

void LocalService::sendObject(ServiceCall &call)
{
    if (visitor(call))
        call.answerFile(m_store.objectPath(call.name()), "audio/mp4");
}
