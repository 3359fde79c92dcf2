#pragma once

#include "base/Logger.h"
#include "cloud/AuthSession.h"
#include "cloud/Keychain.h"
#include "cloud/ServiceOrigin.h"

#include <QCoroTask>
#include <QFuture>
#include <QObject>
#include <QString>

#include <optional>

class HttpSession;
class SecretStore;
class Workspace;

enum class SessionStatus {
    loggedOut, ///< no session is stored
    cached,    ///< loaded at launch, not yet confirmed by the service
    verified,  ///< accepted by the service, or just signed in
    expired,   ///< refused by the service and deleted
};

/// Signs the user in through the browser, keeps the session in the secret store, checks it against
/// the service and tells the rest of the program whether uploads can be made.
///
/// One for the process, made at launch. Main thread; nothing waits for the network, and only
/// the creation waits for the secret store, for a moment.
class AuthClient : public QObject
{
    Q_OBJECT

public:
    /// Loads the session and, on the next turn of the event loop, starts to validate it. One that
    /// the secret store gives out later is taken then, unless the user has signed in or out. The
    /// references must outlive this object and its requests.
    AuthClient(ConfiguredOrigin origin, HttpSession &http, SecretStore &secrets,
               Workspace &workspace, QObject *parent = nullptr);
    ~AuthClient() override;

    SessionStatus sessionStatus() const { return m_sessionStatus; }
    bool isLoggedIn() const { return m_cachedSession.has_value(); }

    /// Never to be logged, shown, or put on a command line.
    std::optional<QString> token() const;

    /// The address of the account; none also where the service gave none.
    std::optional<QString> email() const;

    /// The last failed sign-in or refused session, for the user. Nothing clears it.
    const std::optional<QString> &lastError() const { return m_lastError; }

    /// What keeps the sign-in under way from its end, and what the user can do; none where nothing
    /// is known to.
    const std::optional<QString> &signInProblem() const { return m_signInProblem; }

    /// Opens the sign-in page in the browser. Only the latest attempt can be completed, and none
    /// after a restart. Without a usable origin nothing is opened; the attempt counts all the same.
    void beginLogin();

    /// Completes the sign-in with the address that the page returned to; \p url is its text,
    /// unchanged. An attempt can be completed once. Where it fails the session stays as it was, and
    /// a later address may still complete the attempt. A token that could not stand in a header
    /// fails like one that is missing.
    void handleCallback(const QString &url);

    /// Asks the service about the session; whether it was accepted. An answer that comes when its
    /// session is no longer the one in use is dropped, whatever it says.
    QCoro::Task<bool> validateSession();

    /// The service refused \p token (status 401 of any call). Nothing happens unless that is the
    /// token in use: it may be gone, or a call of an earlier session may have answered late.
    void handleUnauthorized(const QString &token);

    /// Forgets the session; the service is not told.
    void logout();

Q_SIGNALS:
    void changed();

    /// The stored session has come later than at the creation, as the user had to unlock it.
    void sessionCameLate();

private:
    std::optional<AuthSession> loadSession();
    void adoptWhenItComes(const QFuture<std::optional<QString>> &text);
    void saveSession(const AuthSession &session);
    void deleteSession();
    void setSignInProblem(const std::optional<QString> &problem);
    void completeLogin(const QString &token, std::optional<QString> email);
    void adoptEmail(const std::optional<QString> &email);
    bool judgeStatus(int status, const QString &token);

    const ConfiguredOrigin m_origin;
    HttpSession &m_http;
    Keychain m_keychain;
    Workspace &m_workspace;
    Logger m_logger{"auth"};
    SessionStatus m_sessionStatus = SessionStatus::loggedOut;
    std::optional<AuthSession> m_cachedSession;
    bool m_hasChangedSession = false; // since it was loaded, or not found
    std::optional<QString> m_lastError;
    std::optional<QString> m_pendingState; // of the sign-in under way
    std::optional<QString> m_signInProblem;
};
