#pragma once

#include "platform/HttpSession.h"
#include "tests/support/Script.h"

#include <QHash>

#include <memory>

/// A session whose replies, when they have come, wait at the gates of a script. The step of the
/// second request to create a meeting is "create 2", and so on; the outcome of a step is not looked
/// at. So script.calls are the requests in the order in which they were answered.
class GatedHttpSession : public HttpSession
{
public:
    GatedHttpSession(HttpSession &real, Script &script)
        : m_real(real)
        , m_script(script)
    {
    }

    QCoro::Task<HttpOutcome> send(HttpRequest request) override
    {
        const QString kind = kindOf(request);
        const QString step = kind + u' ' + QString::number(++m_counts[kind]);
        // Taken along: the session may end first.
        Script &script = m_script;
        const auto inFlight = m_inFlight;
        ++*inFlight;
        const HttpOutcome outcome = co_await m_real.send(request);
        co_await script.reach(step);
        --*inFlight;
        co_return outcome;
    }

    /// Whether a request waits for its answer, or the answer at a gate.
    bool isBusy() const { return *m_inFlight > 0; }

    /// Forgets what was sent so far.
    void restart()
    {
        m_counts.clear();
        m_script.calls.clear();
    }

private:
    static QString kindOf(const HttpRequest &request)
    {
        const QString &address = request.address();
        if (request.method() == "PUT")
            return QStringLiteral("put");
        if (address.endsWith(u"/api/meetings/reconcile"))
            return QStringLiteral("reconcile");
        if (address.endsWith(u"/api/oss/sign-upload"))
            return QStringLiteral("sign");
        return address.endsWith(u"/api/meetings") ? QStringLiteral("create")
                                                  : QStringLiteral("identity");
    }

    HttpSession &m_real;
    Script &m_script;
    QHash<QString, int> m_counts;
    std::shared_ptr<int> m_inFlight = std::make_shared<int>(0);
};
