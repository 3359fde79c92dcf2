#include "tests/support/UndisturbedAttempts.h"

#include <QDebug>

#include <algorithm>
#include <new>

#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{
constexpr auto patience = 60s;
constexpr auto interval = 2ms;
/// A cycle of the private session's sound server takes 85 ms.
constexpr auto harmless = 60ms;
constexpr int priority = 95; ///< above the sound server's own threads

std::chrono::nanoseconds now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}
} // namespace

/// A process of its own, as the tests stop theirs.
class UndisturbedAttempts::Watch
{
public:
    Watch()
        : m_longest(new(mmap(nullptr, sizeof *m_longest, PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::chrono::nanoseconds(0))
        , m_process(fork())
    {
        if (m_process == 0)
            run();
    }
    ~Watch()
    {
        end();
        munmap(m_longest, sizeof *m_longest);
    }
    Q_DISABLE_COPY_MOVE(Watch)

    std::chrono::nanoseconds longestDelay()
    {
        end();
        return *m_longest;
    }

private:
    [[noreturn]] void run() const
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // Without the right to it, any load of the test's own would count.
        const sched_param parameters{.sched_priority = priority};
        if (sched_setscheduler(0, SCHED_FIFO, &parameters) != 0)
            _exit(0);
        for (auto before = now();;) {
            constexpr timespec pause{.tv_sec = 0,
                                     .tv_nsec = std::chrono::nanoseconds(interval).count()};
            nanosleep(&pause, nullptr);
            const auto after = now();
            *m_longest = std::max(*m_longest, after - before - interval);
            before = after;
        }
    }

    void end()
    {
        if (m_process <= 0)
            return;
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        m_process = 0;
    }

    std::chrono::nanoseconds *m_longest; ///< shared with the process
    pid_t m_process;
};

UndisturbedAttempts::UndisturbedAttempts()
    : m_end(now() + patience)
{
}

UndisturbedAttempts::~UndisturbedAttempts() = default;

bool UndisturbedAttempts::next()
{
    if (m_watch && now() > m_end)
        return false;
    m_watch = std::make_unique<Watch>();
    return true;
}

bool UndisturbedAttempts::wasDisturbed()
{
    const auto delay = m_watch->longestDelay();
    if (delay < harmless)
        return false;
    qInfo("once more: the machine was held up for %lld ms",
          static_cast<long long>(std::chrono::round<std::chrono::milliseconds>(delay).count()));
    return true;
}
