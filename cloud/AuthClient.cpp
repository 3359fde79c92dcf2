#include "cloud/AuthClient.h"

#include "cloud/CallbackUrl.h"
#include "cloud/PresentableText.h"
#include "cloud/ServiceReplies.h"
#include "cloud/ServiceRequests.h"
#include "platform/Workspace.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace
{
const auto sessionKey = u"session"_s;
// An earlier layout: token and address as bare texts.
const auto earlierTokenKey = u"payload-token"_s;
const auto earlierEmailKey = u"user-email"_s;

const auto none = u"?"_s;

QString truth(bool holds)
{
    return holds ? u"true"_s : u"false"_s;
}

/// The address of an account, unless it could disguise what is around it, or is none at its length.
std::optional<QString> undisguised(std::optional<QString> email)
{
    if (email && (presentable(*email) != *email || !isShort(*email)))
        return std::nullopt;
    return email;
}
/// Empty: no browser could be opened.
QString obstacle(const QString &otherProgram)
{
    if (otherProgram.isEmpty())
        return u"无法打开浏览器，请在系统设置中选择默认浏览器后重试"_s;
    return u"登录后会回跳到“%1”，请在系统设置中让 Parlovance 打开 parlovance 链接后重试"_s.arg(
        presentable(otherProgram));
}
} // namespace

AuthClient::AuthClient(ConfiguredOrigin origin, HttpSession &http, SecretStore &secrets,
                       Workspace &workspace, QObject *parent)
    : QObject(parent)
    , m_origin(std::move(origin))
    , m_http(http)
    , m_keychain(secrets)
    , m_workspace(workspace)
{
    m_cachedSession = loadSession();
    m_sessionStatus = m_cachedSession ? SessionStatus::cached : SessionStatus::loggedOut;
    const auto validate = [this] { [[maybe_unused]] const auto ignored = validateSession(); };
    QMetaObject::invokeMethod(this, validate, Qt::QueuedConnection);
}

AuthClient::~AuthClient() = default;

std::optional<QString> AuthClient::token() const
{
    return m_cachedSession ? std::optional(m_cachedSession->token) : std::nullopt;
}

std::optional<QString> AuthClient::email() const
{
    return m_cachedSession ? m_cachedSession->email : std::nullopt;
}

std::optional<AuthSession> AuthClient::loadSession()
{
    if (const auto text = m_keychain.get(sessionKey)) {
        if (auto session = decodedSession(*text))
            return session;
    }
    adoptWhenItComes(m_keychain.lastAnswer());
    const auto earlierToken = m_keychain.get(earlierTokenKey);
    if (!earlierToken || !ServiceRequests::isUsableToken(*earlierToken))
        return std::nullopt;
    AuthSession session{.token = *earlierToken, .email = m_keychain.get(earlierEmailKey)};
    saveSession(session);
    m_keychain.remove(earlierTokenKey);
    m_keychain.remove(earlierEmailKey);
    return session;
}

/// The user may have needed longer to unlock the secret store than we waited for it.
void AuthClient::adoptWhenItComes(const QFuture<std::optional<QString>> &text)
{
    auto *const watcher = new QFutureWatcher<std::optional<QString>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        const auto answer = watcher->future();
        const auto found = answer.resultCount() > 0 ? answer.result() : std::nullopt;
        auto session = found ? decodedSession(*found) : std::nullopt;
        if (!session || m_hasChangedSession)
            return;
        m_cachedSession = std::move(session);
        m_sessionStatus = SessionStatus::cached;
        Q_EMIT changed();
        Q_EMIT sessionCameLate();
        [[maybe_unused]] const auto ignored = validateSession();
    });
    watcher->setFuture(text);
}

void AuthClient::saveSession(const AuthSession &session)
{
    m_hasChangedSession = true;
    m_keychain.set(encoded(session), sessionKey);
    m_cachedSession = session;
}

void AuthClient::deleteSession()
{
    m_hasChangedSession = true;
    m_keychain.remove(sessionKey);
    m_cachedSession.reset();
}

void AuthClient::beginLogin()
{
    const QString state = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    m_pendingState = state;
    setSignInProblem(std::nullopt);
    // Silent: every other call tells that the origin is not configured properly.
    if (!m_origin)
        return;
    const auto tell = [self = QPointer(this), state](const QString &otherProgram) {
        if (self && self->m_pendingState == state)
            self->setSignInProblem(obstacle(otherProgram));
    };
    m_workspace.openSignInPage(m_origin->signInPage(state), tell);
}

void AuthClient::setSignInProblem(const std::optional<QString> &problem)
{
    if (m_signInProblem == problem)
        return;
    m_signInProblem = problem;
    Q_EMIT changed();
}

void AuthClient::handleCallback(const QString &url)
{
    const CallbackUrl callback(url);
    m_logger.info("handleCallback scheme="_L1 + callback.scheme().value_or(none) + " host="_L1 +
                  callback.host().value_or(none));
    if (callback.scheme() != u"parlovance"_s || callback.host() != u"auth"_s) {
        m_logger.error(u"scheme/host mismatch"_s);
        return;
    }
    const auto token = callback.value(u"token");
    const auto state = callback.value(u"state");
    const bool isUsable = token && ServiceRequests::isUsableToken(*token);
    if (isUsable && state && m_pendingState && *state == *m_pendingState) {
        completeLogin(*token, callback.value(u"email"));
        return;
    }
    m_logger.error(u"callback verify fail: token=%1 state=%2 pending=%3"_s.arg(
        truth(callback.hasItem(u"token")), truth(callback.hasItem(u"state")),
        m_pendingState.value_or(u"nil"_s)));
    m_lastError = u"登录回调验证失败"_s;
    if (m_pendingState)
        m_signInProblem = m_lastError;
    Q_EMIT changed();
}

void AuthClient::completeLogin(const QString &token, std::optional<QString> email)
{
    m_pendingState.reset();
    m_signInProblem.reset();
    email = undisguised(std::move(email));
    if (email && email->isEmpty())
        email.reset();
    saveSession(AuthSession{.token = token, .email = email});
    m_sessionStatus = SessionStatus::verified;
    m_logger.info("logged in as "_L1 + email.value_or(u"unknown"_s));
    Q_EMIT changed();
}

QCoro::Task<bool> AuthClient::validateSession()
{
    const QPointer self(this);
    if (!m_cachedSession) {
        m_sessionStatus = SessionStatus::loggedOut;
        Q_EMIT changed();
        co_return false;
    }
    const QString sentToken = m_cachedSession->token;
    if (!m_origin) {
        m_logger.error("validateSession network error: "_L1 + m_origin.error().description());
        co_return false;
    }
    const auto request = ServiceRequests::identity(*m_origin, sentToken);
    const HttpOutcome outcome = co_await m_http.send(request);
    if (!self || token() != sentToken)
        co_return false;
    if (!outcome) {
        m_logger.error("validateSession network error: "_L1 + outcome.error().description());
        co_return false;
    }
    if (!judgeStatus(outcome->status(), sentToken))
        co_return false;

    const auto me = co_await readInBackground(&decodedMe, outcome->body());
    if (!self || token() != sentToken)
        co_return false;
    // Accepted is accepted, also with a body that says nothing.
    if (me)
        adoptEmail(undisguised(me->user.email));
    m_sessionStatus = SessionStatus::verified;
    Q_EMIT changed();
    co_return true;
}

/// Whether the service accepted the session.
bool AuthClient::judgeStatus(int status, const QString &token)
{
    if (status >= 200 && status <= 299)
        return true;
    if (status == 401)
        handleUnauthorized(token);
    else
        m_logger.error("validateSession unexpected status "_L1 + QString::number(status));
    return false;
}

void AuthClient::adoptEmail(const std::optional<QString> &email)
{
    if (email && email != m_cachedSession->email)
        saveSession(AuthSession{.token = m_cachedSession->token, .email = email});
}

void AuthClient::handleUnauthorized(const QString &token)
{
    if (!m_cachedSession || m_cachedSession->token != token)
        return;
    m_logger.info(u"session expired, clearing keychain"_s);
    deleteSession();
    m_sessionStatus = SessionStatus::expired;
    m_lastError = u"登录已过期，请重新登录"_s;
    Q_EMIT changed();
}

void AuthClient::logout()
{
    deleteSession();
    m_sessionStatus = SessionStatus::loggedOut;
    Q_EMIT changed();
}
