#include "cloud/AuthSession.h"

#include "cloud/JsonMembers.h"
#include "cloud/ServiceRequests.h"

#include <QJsonDocument>

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
    const auto object = parsedObject(text.toUtf8());
    if (!object)
        return std::nullopt;
    JsonMembers members(*object);
    AuthSession session{.token = members.text(u"token"_s),
                        .email = members.optionalText(u"email"_s)};
    if (members.error() || !ServiceRequests::isUsableToken(session.token))
        return std::nullopt;
    return session;
}
