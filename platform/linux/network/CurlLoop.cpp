#include "platform/linux/network/CurlLoop.h"

#include <pthread.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace
{

CURLM *newMulti()
{
    // Once for the process; curl counts.
    curl_global_init(CURL_GLOBAL_DEFAULT);
    return curl_multi_init();
}

} // namespace

CurlLoop::CurlLoop(HttpSettings settings)
    : m_settings(std::move(settings))
    , m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_multi(newMulti())
    , m_thread([this] { run(); })
{
}

CurlLoop::~CurlLoop()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isClosing = true;
    }
    curl_multi_wakeup(m_multi.get());
    m_thread.join();
}

void CurlLoop::start(std::unique_ptr<CurlTransfer> transfer)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_waiting.push_back(std::move(transfer));
    }
    curl_multi_wakeup(m_multi.get());
}

std::vector<CurlLoop::Result> CurlLoop::takeResults()
{
    eventfd_t count = 0;
    eventfd_read(m_event.get(), &count);
    const std::scoped_lock lock(m_mutex);
    return std::exchange(m_results, {});
}

void CurlLoop::run()
{
    pthread_setname_np(pthread_self(), "network");
    while (takeOver()) {
        int running = 0;
        curl_multi_perform(m_multi.get(), &running);
        int left = 0;
        while (const CURLMsg *const message = curl_multi_info_read(m_multi.get(), &left)) {
            if (message->msg == CURLMSG_DONE)
                end(message->easy_handle, message->data.result);
        }
        for (const auto &transfer : m_running)
            transfer->resume(CurlTransfer::Clock::now());
        endStalled();
        curl_multi_poll(m_multi.get(), nullptr, 0, waitMilliseconds(), nullptr);
    }
    for (const auto &transfer : m_running)
        curl_multi_remove_handle(m_multi.get(), transfer->easy());
    m_running.clear();
}

/// Begins what was handed over; false when the session closes.
bool CurlLoop::takeOver()
{
    std::vector<std::unique_ptr<CurlTransfer>> waiting;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_isClosing)
            return false;
        waiting.swap(m_waiting);
    }
    for (auto &transfer : waiting)
        begin(std::move(transfer));
    return true;
}

void CurlLoop::begin(std::unique_ptr<CurlTransfer> transfer)
{
    const auto easy = transfer->prepare(m_settings);
    if (!easy) {
        report({transfer->number(), std::unexpected(easy.error())});
        return;
    }
    curl_multi_add_handle(m_multi.get(), *easy);
    m_running.push_back(std::move(transfer));
}

void CurlLoop::end(CURL *easy, CURLcode code)
{
    const auto found =
        std::ranges::find(m_running, easy, [](const auto &transfer) { return transfer->easy(); });
    curl_multi_remove_handle(m_multi.get(), easy);
    report({(*found)->number(), (*found)->outcome(code)});
    m_running.erase(found);
}

void CurlLoop::endStalled()
{
    const auto now = CurlTransfer::Clock::now();
    std::vector<CURL *> stalled;
    for (const auto &transfer : m_running) {
        if (transfer->hasStalled(now))
            stalled.push_back(transfer->easy());
    }
    for (CURL *const easy : stalled)
        end(easy, CURLE_OPERATION_TIMEDOUT);
}

void CurlLoop::report(Result result)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_results.push_back(std::move(result));
    }
    eventfd_write(m_event.get(), 1);
}

/// Until the next look at whether something has stalled; new requests wake the thread themselves.
int CurlLoop::waitMilliseconds() const
{
    const auto now = CurlTransfer::Clock::now();
    int wait = std::numeric_limits<int>::max();
    for (const auto &transfer : m_running) {
        const auto until = std::chrono::ceil<std::chrono::milliseconds>(transfer->nextLook() - now);
        wait =
            std::min(wait, static_cast<int>(std::max(until, std::chrono::milliseconds(0)).count()));
    }
    return wait;
}
