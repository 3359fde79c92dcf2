#include "tests/support/UndisturbedAttempts.h"

#include <QDebug>
#include <QThread>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

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
constexpr auto harmless = 30ms;
constexpr int priority = 95; ///< above the sound server's own threads
const int processorCount = QThread::idealThreadCount();

std::chrono::nanoseconds now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}
} // namespace

/// Processes of their own, as the tests stop theirs; one for each processor, as each may be taken
/// away alone.
class UndisturbedAttempts::Watch
{
public:
    Watch()
        : m_longest(static_cast<std::chrono::nanoseconds *>(mmap(
              nullptr, sharedSize(), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        for (int processor = 0; processor < processorCount; ++processor) {
            const pid_t process = fork();
            if (process == 0)
                run(processor);
            m_processes.push_back(process);
        }
    }
    ~Watch()
    {
        end();
        munmap(m_longest, sharedSize());
    }
    Q_DISABLE_COPY_MOVE(Watch)

    std::chrono::nanoseconds longestDelay()
    {
        end();
        return std::ranges::max(std::span(m_longest, std::size_t(processorCount)));
    }

private:
    static std::size_t sharedSize() { return sizeof(std::chrono::nanoseconds) * processorCount; }

    [[noreturn]] void run(int processor) const
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        cpu_set_t own;
        CPU_ZERO(&own);
        CPU_SET(processor, &own);
        sched_setaffinity(0, sizeof own, &own);
        // Without the right to it, any load of the test's own would count.
        const sched_param parameters{.sched_priority = priority};
        if (sched_setscheduler(0, SCHED_FIFO, &parameters) != 0)
            _exit(0);
        std::chrono::nanoseconds &longest = m_longest[processor];
        // Several short delays spoil a cycle like a long one: they add up, and time wears them off.
        std::chrono::nanoseconds delay{0};
        for (auto before = now();;) {
            constexpr timespec pause{.tv_sec = 0,
                                     .tv_nsec = std::chrono::nanoseconds(interval).count()};
            nanosleep(&pause, nullptr);
            const auto after = now();
            delay = std::max(delay - interval, 0ns) + (after - before - interval);
            longest = std::max(longest, delay);
            before = after;
        }
    }

    void end()
    {
        for (const pid_t process : std::exchange(m_processes, {})) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
    }

    std::chrono::nanoseconds
        *m_longest; ///< by processor; zeros at first; shared with the processes
    std::vector<pid_t> m_processes;
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
