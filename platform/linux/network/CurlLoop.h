#pragma once

#include "base/FileDescriptor.h"
#include "platform/linux/network/CurlTransfer.h"

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// The network thread: moves every request that is in flight, and sleeps when there is none.
///
/// Owned by the session; all operations are called on the main thread.
class CurlLoop
{
public:
    struct Result {
        uint64_t number;
        HttpOutcome outcome;
    };

    explicit CurlLoop(HttpSettings settings);

    /// Drops what is in flight; no results of it.
    ~CurlLoop();

    CurlLoop(const CurlLoop &) = delete;
    CurlLoop &operator=(const CurlLoop &) = delete;

    void start(std::unique_ptr<CurlTransfer> transfer);

    /// Becomes readable when there are results.
    int resultsDescriptor() const { return m_event.get(); }

    /// The results since the last call.
    std::vector<Result> takeResults();

private:
    void run();
    bool takeOver();
    void begin(std::unique_ptr<CurlTransfer> transfer);
    void end(CURL *easy, CURLcode code);
    void endStalled();
    void report(Result result);
    int waitMilliseconds() const;

    const HttpSettings m_settings;
    FileDescriptor m_event;

    std::mutex m_mutex;
    std::vector<std::unique_ptr<CurlTransfer>> m_waiting; ///< under the mutex
    std::vector<Result> m_results;                        ///< under the mutex
    bool m_isClosing = false;                             ///< under the mutex

    CurlMulti m_multi;
    std::vector<std::unique_ptr<CurlTransfer>> m_running; ///< network thread
    std::thread m_thread;
};
