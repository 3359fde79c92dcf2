#include "cloud/AuthSession.h"

#include "cloud/JsonMembers.h"
#include "cloud/ServiceRequests.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

QString encoded(const AuthSession &session)
{
    QJsonObject object{{u"token"_s, session.token}};
    if (session.email)
        object.insert(u"email"_s, *session.email);
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

std::optional<AuthSession> decodedSession(const QString &text)
{
    const auto document = JsonDocument::parse(text.toUtf8());
    if (!document)
        return std::nullopt;
    JsonMembers members(document->root());
    AuthSession session{.token = members.text("token"), .email = members.optionalText("email")};
    if (members.error() || !ServiceRequests::isUsableToken(session.token))
        return std::nullopt;
    return session;
}
