#pragma once

#include "platform/HttpSession.h"
#include "tests/support/Script.h"

#include <QList>

#include <map>

/// A web service in memory. The step of a request is "METHOD path"; it is answered, when the script
/// lets it pass, with what the test laid out for it last. Without that there is no connection.
class FakeHttpSession : public HttpSession
{
public:
    explicit FakeHttpSession(Script &script)
        : m_script(script)
    {
    }

    void answer(const QString &step, int status, const QByteArray &body = {})
    {
        m_outcomes.insert_or_assign(step, HttpOutcome(HttpReply(status, body)));
    }

    void fail(const QString &step, TransportError::Kind kind)
    {
        const TransportError error(kind, QStringLiteral("technical"));
        m_outcomes.insert_or_assign(step, HttpOutcome(std::unexpected(error)));
    }

    QCoro::Task<HttpOutcome> send(HttpRequest request) override
    {
        requests.append(request);
        const QString path = request.address().sliced(request.address().indexOf(u'/', 8));
        const QString step = QString::fromLatin1(request.method()) + u' ' + path;
        const bool isConnected = co_await m_script.reach(step);
        const auto found = m_outcomes.find(step);
        if (!isConnected || found == m_outcomes.end()) {
            const TransportError error(TransportError::Kind::noConnection,
                                       QStringLiteral("technical"));
            co_return HttpOutcome(std::unexpected(error));
        }
        // A copy: what is returned by name is moved from, also where it is no local.
        const HttpOutcome outcome = found->second;
        co_return outcome;
    }

    QList<HttpRequest> requests;

private:
    Script &m_script;
    std::map<QString, HttpOutcome> m_outcomes;
};
