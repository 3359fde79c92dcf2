#pragma once

#include "tools/localservice/Misbehaviour.h"
#include "tools/localservice/RequestLog.h"
#include "tools/localservice/ServiceStore.h"
#include "tools/localservice/SocketServer.h"

#include <QJsonObject>

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

class ServiceCall;

/// Plays the web service on a loopback port: the calls of the program, the sign-in page, the pages
/// of the meetings. Takes no request for another host, by which a page of any site could reach it,
/// and shows meetings and recordings only to the browser that has signed in. Works on threads of
/// its own; the operations may be called on any thread.
class LocalService
{
public:
    enum class Exchange {
        signUpload,
        objectUpload,
        createMeeting,
        reconcile,
        identity,
        latestRelease,
        signInPage,
    };

    /// Keeps its meetings and objects in \p folder, and takes up those of an earlier run.
    explicit LocalService(const QString &folder);

    /// Port 0: any free one. False when the port is taken.
    bool listen(int port = 0);

    /// "http://127.0.0.1:PORT".
    QString origin() const;

    ServiceStore &store() { return m_store; }

    /// The program's release as the service knows it.
    void setLatestRelease(const QJsonObject &release);

    /// Answers the next \p times requests of an exchange that way; -1: all until told otherwise.
    void misbehave(Exchange exchange, const Misbehaviour &misbehaviour, int times = -1);

    /// All requests since the start or since the last clear, with those that were misbehaved to.
    QList<ReceivedRequest> requests() const { return m_log.requests(); }
    void clearRequests() { m_log.clear(); }

    /// "signUpload" and so on.
    static std::optional<Exchange> exchangeNamed(const QString &name);

private:
    struct Fault {
        Misbehaviour misbehaviour;
        int timesLeft;
    };
    struct Route {
        const char *method;
        const char *path;                 ///< with "*" for the name at its end
        std::optional<Exchange> exchange; ///< none: nothing goes wrong here
        void (LocalService::*answer)(ServiceCall &);
    };
    static const std::array<Route, 12> routes;

    void serve(ServiceCall call);
    std::optional<Misbehaviour> takeFault(std::optional<Exchange> exchange);
    void fail(const Misbehaviour &misbehaviour, ServiceCall &call, const Route &route);
    bool isOwnHost(const QByteArray &host) const;
    std::optional<QString> account(ServiceCall &call);
    std::optional<QString> visitor(ServiceCall &call);

    void signUpload(ServiceCall &call);
    void storeObject(ServiceCall &call);
    void createMeeting(ServiceCall &call);
    void reconcile(ServiceCall &call);
    void identity(ServiceCall &call);
    void latestRelease(ServiceCall &call);
    void signInPage(ServiceCall &call);
    void finishSignIn(ServiceCall &call);
    void homePage(ServiceCall &call);
    void meetingsPage(ServiceCall &call);
    void meetingPage(ServiceCall &call);
    void sendObject(ServiceCall &call);

    ServiceStore m_store;
    RequestLog m_log;

    std::mutex m_mutex;
    QJsonObject m_release;              ///< under the mutex
    std::map<Exchange, Fault> m_faults; ///< under the mutex

    std::unique_ptr<SocketServer> m_server; ///< last, because its threads use the others
};
