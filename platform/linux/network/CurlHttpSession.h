#pragma once

#include "platform/HttpSession.h"
#include "platform/linux/network/HttpSettings.h"

#include <memory>
#include <unordered_map>

class CurlLoop;
class QSocketNotifier;
template<class T>
class QPromise;

/// The HTTP session on libcurl: one thread moves all requests, their tasks resume on the main
/// thread. Destroying the session ends what is in flight; those tasks then resume as cancelled.
///
/// Every request has a connection of its own, and nothing of it is written to any log.
class CurlHttpSession : public HttpSession
{
public:
    explicit CurlHttpSession(const HttpSettings &settings);
    ~CurlHttpSession() override;

    CurlHttpSession(const CurlHttpSession &) = delete;
    CurlHttpSession &operator=(const CurlHttpSession &) = delete;

    QCoro::Task<HttpOutcome> send(HttpRequest request) override;

private:
    void deliver();

    WebAddress::LoopbackHttp m_loopbackHttp;
    std::unordered_map<uint64_t, std::unique_ptr<QPromise<HttpOutcome>>> m_inFlight;
    uint64_t m_lastNumber = 0;
    std::unique_ptr<CurlLoop> m_loop;
    std::unique_ptr<QSocketNotifier> m_notifier; ///< last: it watches a descriptor of the loop
};
