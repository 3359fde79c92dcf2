#pragma once

#include "cloud/AuthClient.h"
#include "tests/support/FakeHttpSession.h"
#include "tests/support/FakeSecretStore.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/LogCapture.h"

#include <QUrl>

#include <memory>

/// A desktop on which a client is started; the service is not there until a test says so.
class AuthDesktop
{
public:
    void keep(const QString &key, const QString &value)
    {
        secrets.add(QStringLiteral("com.parlovance.mac"), key, value);
    }

    void keepSession()
    {
        keep(QStringLiteral("session"), QStringLiteral(R"({"email":"old@b.c","token":"t0"})"));
    }

    /// Starts the client; its validation at launch has not run yet.
    AuthClient &start(const QString &origin = QStringLiteral("https://s.example"))
    {
        client =
            std::make_unique<AuthClient>(ServiceOrigin::parse(origin), http, secrets, workspace);
        QObject::connect(client.get(), &AuthClient::changed, client.get(), [this] { ++changes; });
        return *client;
    }

    /// Signs in through the browser; \p email is empty for an account without address.
    void signIn(const QString &email = {}) const
    {
        client->beginLogin();
        returnFromBrowser(email);
    }

    /// The page that was opened last returns with a token.
    void returnFromBrowser(const QString &email = {}) const
    {
        const QString address = QStringLiteral("parlovance://auth?token=t1&state=") + openedState();
        const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(email));
        client->handleCallback(email.isEmpty() ? address
                                               : address + QStringLiteral("&email=") + encoded);
    }

    /// The state value in the address that was opened last.
    QString openedState() const { return workspace.opened.last().section(u'=', 1); }

    /// "status token email lastError".
    QString state() const
    {
        const QStringList names{QStringLiteral("loggedOut"), QStringLiteral("cached"),
                                QStringLiteral("verified"), QStringLiteral("expired")};
        const QStringList parts{names.at(static_cast<int>(client->sessionStatus())),
                                client->token().value_or(QStringLiteral("-")),
                                client->email().value_or(QStringLiteral("-")),
                                client->lastError().value_or(QStringLiteral("-"))};
        return parts.join(u' ');
    }

    Script script;
    FakeHttpSession http{script};
    FakeSecretStore secrets;
    FakeWorkspace workspace;
    LogCapture log;
    int changes = 0;
    std::unique_ptr<AuthClient> client;
};
